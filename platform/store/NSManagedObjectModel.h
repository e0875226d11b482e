// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/store/NSEntityDescription.h"

#include <QMap>
#include <QUrl>
#include <QVariantList>

/// The entities of an object store, read from model files; docs/model-format.md describes these. Immutable, read by any
/// thread, and shared by all who use it.
///
/// What can't be made gives nullptr and an error that names the file, the entity, the property and the reason
/// (NSCocoaErrorDomain, NSFileReadCorruptFileError or NSFileReadNoSuchFileError). A model is read whole or not at all.
class NSManagedObjectModel : public std::enable_shared_from_this<NSManagedObjectModel> {
public:
    using Ptr = std::shared_ptr<const NSManagedObjectModel>;

    /// The model of one file.
    static Ptr modelWithContentsOfURL(const QUrl &url, NSError *error = nullptr);
    /// The model of several files, whose entities may refer to one another. Of files for the same model ("name") the
    /// one with the highest "version" counts. No files make a model without entities.
    static Ptr modelWithContentsOfURLs(const QList<QUrl> &urls, NSError *error = nullptr);
    /// The model of a file's bytes.
    static Ptr modelWithData(const QByteArray &data, NSError *error = nullptr);
    /// The model with the entities of all of them, by the rules of modelWithContentsOfURLs(). nullptr stands for no model.
    static Ptr modelByMergingModels(const QList<Ptr> &models, NSError *error = nullptr);
    /// The model of all files "*.model.json" in the program's resource folder (NSBundle::resourcePath()).
    static Ptr mergedModelFromBundles(NSError *error = nullptr);

    NSManagedObjectModel(const NSManagedObjectModel &) = delete;
    NSManagedObjectModel &operator=(const NSManagedObjectModel &) = delete;

    /// All entities, by name.
    std::vector<const NSEntityDescription *> entities() const;
    /// nullptr if there is none of that name.
    const NSEntityDescription *entityNamed(const QString &name) const;

    /// The version hash of each entity, by its name. Two models with the same hashes can use the same store.
    QMap<QString, QByteArray> entityVersionHashesByName() const;
    /// The version of each model file that it was made of, by the model's name.
    QMap<QString, qint64> versions() const;
    /// A text from which modelWithData() makes an equal model.
    QByteArray data() const;

private:
    friend class zr::ModelReader;
    NSManagedObjectModel() = default;

    QMap<QString, std::shared_ptr<NSEntityDescription>> m_entities;
    /// The files' contents.
    QVariantList m_documents;
};
