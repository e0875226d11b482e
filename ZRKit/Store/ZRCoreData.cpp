// SPDX-License-Identifier: MIT
#include "ZRKit/Store/ZRCoreData.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"
#include "ZRKit/Values/KitError.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/base/NSException.h"
#include "platform/base/SystemError.h"
#include "platform/files/NSFileManager.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/operations/NSErrorPresenter.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/values/ValueKind.h"

#include <QCoreApplication>
#include <algorithm>
#include <sys/stat.h>

using namespace zr;

namespace {

/// A system call's failure as the platform's error for a file that is read or written.
NSError fileError(std::error_code code, const QString &path, bool isWritten) {
    qint64 number = isWritten ? 512 : 256; // for reasons that have no number of their own
    if (code == std::errc::no_such_file_or_directory)
        number = isWritten ? 4 : qint64(NSFileReadNoSuchFileError);
    else if (code == std::errc::permission_denied || code == std::errc::operation_not_permitted)
        number = isWritten ? 513 : 257;
    else if (code == std::errc::no_space_on_device)
        number = 640;
    else if (code == std::errc::read_only_file_system)
        number = 642;
    const NSError cause(QStringLiteral("NSPOSIXErrorDomain"), code.value(),
                        {{NSLocalizedDescriptionKey, QString::fromStdString(code.message())}});
    return {NSCocoaErrorDomain,
            number,
            {{NSLocalizedDescriptionKey,
              QStringLiteral("%1: %2.").arg(path, QString::fromStdString(code.message()))},
             {QStringLiteral("NSFilePath"), path},
             {NSUnderlyingErrorKey, QVariant::fromValue(cause)}}};
}

/// Whether a folder is at the path; none, and the error, if that can't be told.
std::optional<bool> isDirectory(const QString &path, std::error_code &error) {
    struct stat status {};
    if (::stat(NSFileSystemRepresentation(path).constData(), &status) == 0)
        return S_ISDIR(status.st_mode);
    error = systemError();
    return std::nullopt;
}

/// The text in the user's language; the prefix is the translation's context.
QString localizeWithPrefix(const QString &text, const QString &prefix) {
    return QCoreApplication::translate(prefix.toUtf8().constData(), text.toUtf8().constData());
}

/// The path without its last component.
QString folderOf(const QString &path) {
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == QLatin1Char('/'))
        --end;
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'), end - 1);
    return slash < 0 ? QString() : path.left(std::max<qsizetype>(slash, 1));
}

QUrl storeFile(const QVariant &path) {
    if (kindOf(path) == ValueKind::URL)
        return held<QUrl>(path).isLocalFile() ? held<QUrl>(path) : QUrl();
    return kindOf(path) == ValueKind::String ? NSFileURLWithPath(held<QString>(path)) : QUrl();
}

} // namespace

ZRCoreData &ZRCoreData::shared(const std::function<std::unique_ptr<ZRCoreData>()> &make) {
    static ZRCoreData *const object = make().release(); // for the rest of the process
    return *object;
}

ZRCoreData::ZRCoreData()
    : ZRCoreData(NSFileURLWithPath(
          ZRKit::zrPathForPrivateFile(NSFileManager::defaultManager(), QStringLiteral("Data.db")))) {
}

ZRCoreData::ZRCoreData(const ZRKit::AnyObject &path) : m_storeURL(storeFile(path.value())) {
    if (m_storeURL.isEmpty())
        ZRKit::zxAssertFailed("-[ZRCoreData initWithPath:]", "(self.storeURL)", "ZRCoreData", 277);
}

ZRCoreData::~ZRCoreData() = default;

// ---- The stack

NSManagedObjectModel::Ptr ZRCoreData::managedObjectModel() {
    if (!m_model) {
        NSError error;
        m_model = NSManagedObjectModel::mergedModelFromBundles(&error);
        zr_handleError(error);
    }
    return m_model;
}

/// nil if the store's folder is there, or has been made.
NSError ZRCoreData::checkFolder() const {
    const QString folder = folderOf(NSPathOfFileURL(m_storeURL));
    std::error_code failure;
    const auto isFolder = isDirectory(folder, failure);
    if (isFolder)
        return *isFolder
                   ? NSError()
                   : kitError(101, QStringLiteral(
                                       "Expected a folder to store application data, found a file (%1).")
                                       .arg(folder));
    if (NSError error = fileError(failure, folder, false); error.code() != NSFileReadNoSuchFileError)
        return error;
    failure = NSFileManager::defaultManager().createDirectoryAtPath(folder);
    return failure ? fileError(failure, folder, true) : NSError();
}

std::shared_ptr<NSPersistentStoreCoordinator> ZRCoreData::persistentStoreCoordinator() {
    if (m_coordinator)
        return m_coordinator;
    if (const NSError error = checkFolder()) {
        NSPresentError(error);
        return nullptr;
    }
    const NSManagedObjectModel::Ptr model = managedObjectModel();
    if (!model)
        return nullptr;
    m_coordinator = std::make_shared<NSPersistentStoreCoordinator>(model);
    NSError error;
    const bool isAdded =
        bool(m_coordinator->addPersistentStoreWithType(NSSQLiteStoreType, {}, m_storeURL,
                                                       {{NSMigratePersistentStoresAutomaticallyOption, true},
                                                        {NSInferMappingModelAutomaticallyOption, true}},
                                                       &error));
    if (isAdded)
        return m_coordinator;
    // The coordinator stays, without a store: what it is asked for from now on fails.
    zr_handleError(error);
    zr_handleError(kitError(9999, localizeWithPrefix(QStringLiteral("Failed to initialize the store"),
                                                     QString::fromLatin1(metaObject()->className()))));
    return nullptr;
}

std::shared_ptr<NSManagedObjectContext> ZRCoreData::managedObjectContext() {
    if (m_context)
        return m_context;
    const auto coordinator = persistentStoreCoordinator();
    if (!coordinator)
        return nullptr;
    m_context = std::make_shared<NSManagedObjectContext>(NSMainQueueConcurrencyType);
    m_context->setRetainsRegisteredObjects(true);
    m_context->setPersistentStoreCoordinator(coordinator);
    m_context->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
    return m_context;
}

std::shared_ptr<NSManagedObjectContext> ZRCoreData::submoc() {
    auto child = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
    if (const auto parent = managedObjectContext())
        child->setParentContext(parent);
    child->setUndoManager(nullptr);
    return child;
}

// ---- Shortcuts

NSManagedObjectContext &ZRCoreData::requiredContext() {
    const auto context = managedObjectContext();
    if (!context)
        throw NSException(NSInvalidArgumentException, QStringLiteral("There is no context for an entity."));
    return *context;
}

const NSEntityDescription *ZRCoreData::entity(const QString &name) {
    return ZRKit::entity(requiredContext(), name);
}

NSManagedObject *ZRCoreData::object(const QString &entityName) {
    return ZRKit::object(requiredContext(), entityName);
}

void ZRCoreData::deleteObject(NSManagedObject *object) {
    if (const auto context = managedObjectContext())
        context->deleteObject(object);
}

void ZRCoreData::deleteObjects(const QVariant &objects) {
    if (const auto context = managedObjectContext())
        ZRKit::deleteObjects(*context, objects);
}

std::optional<QVariantList> ZRCoreData::fetch(const QString &entityName, const NSPredicate &predicate) {
    const auto context = managedObjectContext();
    return context ? ZRKit::fetch(*context, entityName, predicate) : std::nullopt;
}

std::optional<QVariantList> ZRCoreData::fetchAll(const QString &entityName) {
    return fetch(entityName, NSPredicate());
}

void ZRCoreData::deleteAll(const QString &entityName) {
    deleteObjects(fetchAll(entityName).value_or(QVariantList()));
}

bool ZRCoreData::save() {
    const auto context = managedObjectContext();
    if (!context)
        return true;
    context->commitEditing();
    context->processPendingChanges();
    NSError error;
    if (!context->save(&error))
        zr_handleError(error);
    return error.isNil();
}

void ZRCoreData::reset() {
    NSRunModalAlert(kitError(0, QStringLiteral("Resetting Database!")));
    m_context.reset();
    m_model.reset();
    // Whoever still holds the coordinator must not write into the file that is removed.
    if (const auto coordinator = std::exchange(m_coordinator, nullptr)) {
        for (const auto stores = coordinator->persistentStores(); const auto &store : stores)
            coordinator->removePersistentStore(store);
    }
    NSFileManager::defaultManager().removeItemAtPath(NSPathOfFileURL(m_storeURL));
}

void ZRCoreData::zr_handleError(const NSError &error) {
    NSPresentError(error);
}

#include "moc_ZRCoreData.cpp"
