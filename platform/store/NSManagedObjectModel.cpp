// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObjectModel.h"

#include "platform/base/NSException.h"
#include "platform/files/FileContents.h"
#include "platform/files/NSBundle.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/store/ModelReader.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/text/NSJSONSerialization.h"

#include <QDir>
#include <QFile>

using namespace zr;

namespace {

NSManagedObjectModel::Ptr failed(NSError *error, NSFileReadError code, const QString &reason) {
    if (error)
        *error = NSError(NSCocoaErrorDomain, code, {{NSLocalizedDescriptionKey, reason}});
    return nullptr;
}

NSManagedObjectModel::Ptr made(const QList<ModelReader::Document> &documents, NSError *error) {
    try {
        return ModelReader::model(documents);
    } catch (const NSException &exception) {
        return failed(error, NSFileReadCorruptFileError, exception.reason());
    }
}

/// A file's bytes, also of one that is compiled in; nil if it can't be read.
QByteArray contentsOf(const QString &path) {
    if (!path.startsWith(QStringLiteral(":/")))
        return NSDataWithContentsOfFile(path);
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

NSManagedObjectModel::Ptr modelOfFiles(const QStringList &paths, NSError *error) {
    QList<ModelReader::Document> documents;
    for (const QString &path : paths) {
        const QByteArray data = contentsOf(path);
        if (data.isNull())
            return failed(error, NSFileReadNoSuchFileError,
                          QStringLiteral("%1: The file can't be read.").arg(path));
        try {
            documents += ModelReader::documents(data, path);
        } catch (const NSException &exception) {
            return failed(error, NSFileReadCorruptFileError, exception.reason());
        }
    }
    return made(documents, error);
}

} // namespace

NSManagedObjectModel::Ptr NSManagedObjectModel::modelWithContentsOfURL(const QUrl &url, NSError *error) {
    return modelWithContentsOfURLs({url}, error);
}

NSManagedObjectModel::Ptr NSManagedObjectModel::modelWithContentsOfURLs(const QList<QUrl> &urls,
                                                                        NSError *error) {
    QStringList paths;
    for (const QUrl &url : urls) {
        const QString path =
            url.scheme() == QStringLiteral("qrc") ? QStringLiteral(":") + url.path() : NSPathOfFileURL(url);
        if (path.isNull())
            return failed(error, NSFileReadNoSuchFileError,
                          QStringLiteral("%1: This is no file's URL.").arg(url.toString()));
        paths << path;
    }
    return modelOfFiles(paths, error);
}

NSManagedObjectModel::Ptr NSManagedObjectModel::modelWithData(const QByteArray &data, NSError *error) {
    try {
        return ModelReader::model(ModelReader::documents(data, {}));
    } catch (const NSException &exception) {
        return failed(error, NSFileReadCorruptFileError, exception.reason());
    }
}

NSManagedObjectModel::Ptr NSManagedObjectModel::modelByMergingModels(const QList<Ptr> &models,
                                                                     NSError *error) {
    QList<ModelReader::Document> documents;
    for (const Ptr &model : models) {
        for (const QVariantList contents = model ? model->m_documents : QVariantList();
             const QVariant &one : contents)
            documents.append({{}, one.toMap()});
    }
    return made(documents, error);
}

NSManagedObjectModel::Ptr NSManagedObjectModel::mergedModelFromBundles(NSError *error) {
    const QString folder = NSBundle::mainBundle().resourcePath();
    QStringList paths;
    for (const QStringList names =
             QDir(folder).entryList({QStringLiteral("*.model.json")}, QDir::Files, QDir::Name);
         const QString &name : names)
        paths << folder + name;
    return modelOfFiles(paths, error);
}

std::vector<const NSEntityDescription *> NSManagedObjectModel::entities() const {
    std::vector<const NSEntityDescription *> entities;
    for (const auto &entity : m_entities)
        entities.push_back(entity.get());
    return entities;
}

const NSEntityDescription *NSManagedObjectModel::entityNamed(const QString &name) const {
    return m_entities.value(name).get();
}

QMap<QString, QByteArray> NSManagedObjectModel::entityVersionHashesByName() const {
    QMap<QString, QByteArray> hashes;
    for (auto at = m_entities.begin(); at != m_entities.end(); ++at)
        hashes.insert(at.key(), at.value()->versionHash());
    return hashes;
}

QMap<QString, qint64> NSManagedObjectModel::versions() const {
    QMap<QString, qint64> versions;
    for (const QVariant &document : m_documents) {
        const QVariantMap contents = document.toMap();
        versions.insert(contents.value(QStringLiteral("name")).toString(),
                        contents.value(QStringLiteral("version"), 1).toLongLong());
    }
    return versions;
}

QByteArray NSManagedObjectModel::data() const {
    return NSJSONSerialization::dataWithJSONObject(QVariantMap{{QStringLiteral("models"), m_documents}});
}
