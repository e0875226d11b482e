// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"

#include <QVariantMap>
#include <memory>

namespace zr {

struct ModelPlace;
class ModelMembers;

/// Makes a model of the contents of model files (docs/model-format.md).
class ModelReader {
public:
    /// One file's contents, and the name by which errors call it.
    struct Document {
        QString fileName;
        QVariantMap contents;
    };
    /// The contents of a file's bytes: one document, or those of a merged model. Raises NSInvalidArgumentException with
    /// the reason for what is no model file.
    static QList<Document> documents(const QByteArray &data, const QString &fileName);

    /// The model of the documents; raises NSInvalidArgumentException with what is wrong in which file.
    static NSManagedObjectModel::Ptr model(const QList<Document> &documents);

private:
    /// An entity on its way from its document into the model.
    struct Draft {
        QString fileName;
        QVariantMap contents;
        std::shared_ptr<NSEntityDescription> entity;
        bool isComplete = false;
    };

    ModelReader() = default;
    void addDocument(const Document &document);
    void addEntity(const QString &fileName, const QVariantMap &contents);
    void link(Draft &draft);
    void complete(Draft &draft);
    void readProperties(Draft &draft);
    std::unique_ptr<NSPropertyDescription> attribute(const ModelPlace &place, ModelMembers &members);
    std::unique_ptr<NSPropertyDescription> relationship(const ModelPlace &place, ModelMembers &members);
    static void readLimits(NSAttributeDescription &attribute, const ModelPlace &place, ModelMembers &members);
    void connectInverses(const Draft &draft);
    static void hash(Draft &draft);

    QMap<QString, Draft> m_drafts;
    std::shared_ptr<NSManagedObjectModel> m_model;
};

} // namespace zr
