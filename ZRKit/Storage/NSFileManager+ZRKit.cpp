// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileManager+ZRKit.h"

#include "ZRKit/Values/NSString+ZRKit.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/files/FileDigest.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/files/NSWorkspace.h"
#include "platform/files/UniformTypes.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <algorithm>
#include <atomic>
#include <mutex>

using namespace zr;

namespace ZRKit {

namespace {

std::atomic<bool> usesAppName = false;

/// The private temporary folder, made on first use.
struct TempFolder {
    std::once_flag once;
    std::atomic<bool> isMade = false;
    QString path;
};

TempFolder &tempFolder() {
    static TempFolder folder;
    return folder;
}

/// The path of a file argument; nil where it is none.
QString pathOf(const QVariant &file) {
    switch (kindOf(file)) {
    case ValueKind::String:
        return held<QString>(file);
    case ValueKind::URL:
        return NSPathOfFileURL(held<QUrl>(file));
    default:
        return {};
    }
}

/// The file URL of a file argument; nil where it is none.
QUrl urlOf(const QVariant &file) {
    return NSFileURLWithPath(pathOf(file));
}

QString appFolderName() {
    return usesAppName ? zxAppName() : zxAppID();
}

QString madeIn(const NSFileManager &manager, const QString &folder) {
    return zrMakeDirs(manager, joinPath(folder, appFolderName()));
}

QString privateCachePath(const NSFileManager &manager) {
    const QString identifier = zxAppID();
    return joinPath(joinPath(zrCachesFolder(manager), identifier), identifier);
}

void assertion(const char *condition, int line) {
    zxAssertFailed("-[NSFileManager(ZRKit) zrIsFile:ofUTITypes:]", condition, "NSFileManager+ZRKit", line);
}

} // namespace

void zrUseAppName(bool flag) {
    usesAppName = flag;
}

QString zrHomeFolder(const NSFileManager &) {
    return NSHomeDirectory();
}

QString zrCachesFolder(const NSFileManager &) {
    return NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::Caches);
}

QString zrDocumentFolder(const NSFileManager &) {
    return NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::Documents);
}

QString zrLibraryFolder(const NSFileManager &) {
    return NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::Library);
}

QString zrApplicationSupportFolder(const NSFileManager &) {
    return NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::ApplicationSupport);
}

QString zrTempFolder(const NSFileManager &manager) {
    return madeIn(manager, NSTemporaryDirectory());
}

QString zrPrivateLibraryFolder(const NSFileManager &manager) {
    return madeIn(manager, zrLibraryFolder(manager));
}

QString zrPrivateApplicationSupportFolder(const NSFileManager &manager) {
    return madeIn(manager, zrApplicationSupportFolder(manager));
}

QString zrPrivateFolder(const NSFileManager &manager) {
    return zrPrivateApplicationSupportFolder(manager);
}

QString zrPrivateCacheFolder(const NSFileManager &manager) {
    return zrMakeDirs(manager, privateCachePath(manager));
}

QString zrPrivateCacheFolderPathOnlyForObject(const NSFileManager &manager, const QVariant &object) {
    const auto low = uint(NSObjectRuntime::hash(object) & 0xFF);
    return joinPath(privateCachePath(manager), QStringLiteral("%1").arg(low, 2, 16, QLatin1Char('0')));
}

QString zrCreatePrivateTempFolder(const NSFileManager &manager) {
    TempFolder &folder = tempFolder();
    std::call_once(folder.once, [&] {
        folder.path = zrMakeDirs(manager, joinPath(zrTempFolder(manager), uuidShort()));
        folder.isMade = true;
    });
    return folder.path;
}

void zrDestroyPrivateTempFolder(const NSFileManager &manager) {
    if (tempFolder().isMade)
        zrRemove(manager, tempFolder().path);
}

QString zrPrivateTempFolderFileNameWithSuffix(const NSFileManager &manager, const QString &suffix) {
    const QString path = joinPath(zrCreatePrivateTempFolder(manager), uuidShort());
    return path.isNull() ? path : path + u'.' + (suffix.isNull() ? QStringLiteral("tmp") : suffix);
}

QString zrPathForPrivateFile(const NSFileManager &manager, const QString &name) {
    return joinPath(zrPrivateFolder(manager), name);
}

QString zrPathForPrivateFolder(const NSFileManager &manager, const QString &name) {
    return zrMakeDirs(manager, zrPathForPrivateFile(manager, name));
}

QString zrPathForDocumentFile(const NSFileManager &manager, const QString &name) {
    return joinPath(zrDocumentFolder(manager), name);
}

std::optional<QVariantMap> zrHomeAttributes(const NSFileManager &manager) {
    return manager.attributesOfFileSystemForPath(zrHomeFolder(manager));
}

QString zrMakeDirs(const NSFileManager &manager, const QVariant &path) {
    const QString text = pathOf(path);
    return manager.fileExistsAtPath(text) || !manager.createDirectoryAtPath(text) ? text : QString();
}

bool zrCopy(const NSFileManager &manager, const QVariant &source, const QVariant &to) {
    return !manager.copyItemAtPath(pathOf(source), pathOf(to));
}

bool zrMove(const NSFileManager &manager, const QVariant &source, const QVariant &to) {
    return !manager.moveItemAtPath(pathOf(source), pathOf(to));
}

bool zrRemove(const NSFileManager &manager, const QVariant &path) {
    return !manager.removeItemAtPath(pathOf(path));
}

bool zrRemoveFile(const NSFileManager &manager, const QVariant &path) {
    return zrIsFile(manager, path) && zrRemove(manager, path);
}

bool zrIsFile(const NSFileManager &manager, const QVariant &path) {
    bool isDirectory = false;
    return manager.fileExistsAtPath(pathOf(path), &isDirectory) && !isDirectory;
}

bool zrIsDir(const NSFileManager &manager, const QVariant &path) {
    bool isDirectory = false;
    return manager.fileExistsAtPath(pathOf(path), &isDirectory) && isDirectory;
}

std::optional<QVariantList> zrListDir(const NSFileManager &manager, const QVariant &path) {
    const auto names = manager.contentsOfDirectoryAtPath(pathOf(path));
    return names ? std::optional(QVariantList(names->cbegin(), names->cend())) : std::nullopt;
}

bool zrTouch(const NSFileManager &manager, const QVariant &path) {
    return !manager.setModificationDate(QDateTime::currentDateTimeUtc(), pathOf(path));
}

std::optional<QVariantMap> zrAttributes(const NSFileManager &manager, const QVariant &path) {
    return manager.attributesOfItemAtPath(pathOf(path));
}

quint64 zrFileSize(const NSFileManager &manager, const QVariant &path) {
    return zrAttributes(manager, path).value_or(QVariantMap()).value(NSFileSize).toULongLong();
}

QDateTime zrFileModificationDate(const NSFileManager &manager, const QVariant &path) {
    return zrAttributes(manager, path).value_or(QVariantMap()).value(NSFileModificationDate).toDateTime();
}

bool zrFileCompare(const NSFileManager &manager, const QVariant &path, const QVariant &with) {
    return manager.contentsEqualAtPath(pathOf(path), pathOf(with));
}

QByteArray zrFileMD5Data(const NSFileManager &, const QVariant &path) {
    return NSMessageDigestOfFile(zr::MessageDigest::MD5, pathOf(path));
}

QString zrFileMD5String(const NSFileManager &manager, const QVariant &path) {
    return QString::fromLatin1(zrFileMD5Data(manager, path).toHex());
}

QByteArray zrFileSHA256Data(const NSFileManager &, const QVariant &path) {
    return NSMessageDigestOfFile(zr::MessageDigest::SHA256, pathOf(path));
}

QString zrFileSHA256String(const NSFileManager &manager, const QVariant &path) {
    return QString::fromLatin1(zrFileSHA256Data(manager, path).toHex());
}

QString zrFileUTI(const NSFileManager &, const QVariant &file) {
    return NSTypeIdentifierOfItem(NSPathOfFileURL(urlOf(file)));
}

bool zrIsFile(const NSFileManager &, const QVariant &file, const std::optional<QVariantList> &ofUTITypes) {
    const QUrl url = urlOf(file);
    const NSWorkspace *const workspace = NSWorkspace::sharedWorkspace();
    if (!ofUTITypes)
        assertion("(utiTypes)", 310);
    if (kindOf(file) == ValueKind::Nil)
        assertion("(file)", 311);
    if (!workspace)
        assertion("(workspace)", 312);
    if (url.isEmpty())
        assertion("(url)", 313);
    const QString type = NSTypeIdentifierOfItem(NSPathOfFileURL(url));
    return !type.isNull() && ofUTITypes &&
           std::any_of(ofUTITypes->cbegin(), ofUTITypes->cend(), [&](const QVariant &wanted) {
               return kindOf(wanted) == ValueKind::String &&
                      workspace->typeConformsToType(type, held<QString>(wanted));
           });
}

QString zrUnusedFileName(const NSFileManager &manager, const QVariant &path) {
    const QString wanted = pathOf(path);
    const QString extension = NSPathExtension(wanted);
    const QString base = NSPathByDeletingExtension(wanted);
    QString candidate = wanted;
    for (quint64 n = 2; zrIsFile(manager, candidate); ++n)
        candidate = NSPathByAppendingExtension(base + u' ' + QString::number(n), extension);
    return candidate;
}

} // namespace ZRKit
