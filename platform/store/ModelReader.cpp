// SPDX-License-Identifier: MIT
#include "platform/store/ModelReader.h"

#include "platform/base/NSException.h"
#include "platform/store/ModelMembers.h"
#include "platform/text/MessageDigest.h"
#include "platform/text/NSJSONSerialization.h"
#include "platform/text/NSRegularExpression.h"

namespace zr {

namespace {

/// As model files write the types, in the order of NSAttributeType.
const QStringList TypeNames = {
    QStringLiteral("integer16"),    QStringLiteral("integer32"), QStringLiteral("integer64"),
    QStringLiteral("decimal"),      QStringLiteral("double"),    QStringLiteral("float"),
    QStringLiteral("string"),       QStringLiteral("boolean"),   QStringLiteral("date"),
    QStringLiteral("data"),         QStringLiteral("url"),       QStringLiteral("uuid"),
    QStringLiteral("transformable")};

/// As model files write the rules, in the order of NSDeleteRule.
const QStringList RuleNames = {QStringLiteral("noAction"), QStringLiteral("nullify"),
                               QStringLiteral("cascade"), QStringLiteral("deny")};

/// What every object has or answers already.
const QStringList TakenNames = {QStringLiteral("objectName"),  QStringLiteral("destroyed"),
                                QStringLiteral("deleteLater"), QStringLiteral("objectID"),
                                QStringLiteral("self"),        QStringLiteral("hash"),
                                QStringLiteral("className"),   QStringLiteral("description")};

const QString Models = QStringLiteral("models");
const QString Entities = QStringLiteral("entities");
const QString Attributes = QStringLiteral("attributes");
const QString Relationships = QStringLiteral("relationships");

QString nameOf(const ModelReader::Document &document) {
    const ModelPlace place{document.fileName, {}, {}};
    QString name = ModelMembers(place, document.contents).requiredText(QStringLiteral("name"));
    place.requireName(name);
    return name;
}

qint64 versionOf(const ModelReader::Document &document) {
    return ModelMembers({document.fileName, {}, {}}, document.contents)
        .count(QStringLiteral("version"))
        .value_or(1);
}

/// Of several files for one model the newest.
QMap<QString, ModelReader::Document> newest(const QList<ModelReader::Document> &documents) {
    QMap<QString, ModelReader::Document> newest;
    for (const ModelReader::Document &document : documents) {
        const QString name = nameOf(document);
        const qint64 version = versionOf(document);
        const auto other = newest.constFind(name);
        if (other == newest.constEnd() || versionOf(*other) < version)
            newest.insert(name, document);
        else if (versionOf(*other) == version && other->contents != document.contents)
            ModelPlace{document.fileName, {}, {}}.fail(
                QStringLiteral("Version %1 of the model \"%2\" is in %3 too.")
                    .arg(QString::number(version), name, other->fileName));
    }
    return newest;
}

} // namespace

QList<ModelReader::Document> ModelReader::documents(const QByteArray &data, const QString &fileName) {
    const ModelPlace place{fileName, {}, {}};
    NSError error;
    const QVariant json = NSJSONSerialization::JSONObjectWithData(data, 0, &error);
    if (error)
        place.fail(error.localizedDescription());
    ModelMembers members(place, json);
    if (!members.has(Models))
        return {{fileName, json.toMap()}};
    QList<Document> documents;
    for (const QVariantList all = members.array(Models); const QVariant &one : all) {
        if (one.typeId() != QMetaType::QVariantMap)
            place.fail(QStringLiteral("A model must be an object."));
        documents.append({fileName, one.toMap()});
    }
    members.end();
    return documents;
}

NSManagedObjectModel::Ptr ModelReader::model(const QList<Document> &documents) {
    ModelReader reader;
    reader.m_model = std::shared_ptr<NSManagedObjectModel>(new NSManagedObjectModel);
    for (const auto chosen = newest(documents); const Document &document : chosen)
        reader.addDocument(document);
    for (Draft &draft : reader.m_drafts)
        reader.link(draft);
    for (Draft &draft : reader.m_drafts)
        reader.complete(draft);
    for (const Draft &draft : std::as_const(reader.m_drafts))
        reader.connectInverses(draft);
    for (Draft &draft : reader.m_drafts) {
        hash(draft);
        reader.m_model->m_entities.insert(draft.entity->m_name, draft.entity);
    }
    return reader.m_model;
}

void ModelReader::addDocument(const Document &document) {
    ModelMembers members({document.fileName, {}, {}}, document.contents);
    members.value(QStringLiteral("name"));
    members.value(QStringLiteral("version"));
    for (const QVariantList entities = members.array(Entities); const QVariant &entity : entities)
        addEntity(document.fileName, ModelMembers({document.fileName, {}, {}}, entity).all());
    members.end();
    m_model->m_documents.append(document.contents);
}

void ModelReader::addEntity(const QString &fileName, const QVariantMap &contents) {
    ModelPlace place{fileName, {}, {}};
    ModelMembers members(place, contents);
    const QString name = members.requiredText(QStringLiteral("name"));
    place.requireName(name);
    place.entity = name;
    if (m_drafts.contains(name))
        place.fail(
            QStringLiteral("There is an entity of that name already, in %1.").arg(m_drafts[name].fileName));

    const std::shared_ptr<NSEntityDescription> entity(new NSEntityDescription);
    entity->m_name = name;
    entity->m_model = m_model.get();
    const QString className = members.text(QStringLiteral("class"));
    entity->m_className = className.isNull() ? name : className;
    place.requireName(entity->m_className);
    const QString renamedFrom = members.text(QStringLiteral("renamedFrom"));
    entity->m_renamingIdentifier = renamedFrom.isNull() ? name : renamedFrom;
    entity->m_abstract = members.flag(QStringLiteral("abstract"), false);
    members.text(QStringLiteral("parent"));
    members.object(Attributes);
    members.object(Relationships);
    members.end();
    m_drafts.insert(name, {fileName, contents, entity, false});
}

void ModelReader::link(Draft &draft) {
    const QString parent = draft.contents.value(QStringLiteral("parent")).toString();
    if (parent.isNull())
        return;
    const ModelPlace place{draft.fileName, draft.entity->m_name, {}};
    constexpr int Deepest = 64;
    int depth = 0;
    for (QString next = parent; !next.isNull(); ++depth) {
        const auto above = m_drafts.constFind(next);
        if (above == m_drafts.constEnd())
            place.fail(QStringLiteral("There is no entity \"%1\" to inherit from.").arg(next));
        if (above->entity == draft.entity || depth == Deepest)
            place.fail(
                QStringLiteral("It inherits from itself, or from more than %1 entities.").arg(Deepest));
        next = above->contents.value(QStringLiteral("parent")).toString();
    }
    NSEntityDescription *superentity = m_drafts[parent].entity.get();
    draft.entity->m_superentity = superentity;
    superentity->m_subentities.push_back(draft.entity.get());
}

void ModelReader::complete(Draft &draft) {
    if (draft.isComplete)
        return;
    NSEntityDescription &entity = *draft.entity;
    if (entity.m_superentity) {
        complete(m_drafts[entity.m_superentity->m_name]);
        entity.m_properties = entity.m_superentity->m_properties;
        entity.m_indexes = entity.m_superentity->m_indexes;
    }
    readProperties(draft);
    for (const auto &property : entity.m_ownProperties) {
        if (entity.m_indexes.contains(property->m_name))
            ModelPlace{draft.fileName, entity.m_name, property->m_name}.fail(
                QStringLiteral("There is a property of that name already."));
        entity.m_indexes.insert(property->m_name, int(entity.m_properties.size()));
        entity.m_properties.push_back(property.get());
    }
    draft.isComplete = true;
}

void ModelReader::readProperties(Draft &draft) {
    const auto read = [&](const QString &kind, auto make) {
        const QVariantMap all = draft.contents.value(kind).toMap();
        for (auto at = all.begin(); at != all.end(); ++at) {
            const ModelPlace place{draft.fileName, draft.entity->m_name, at.key()};
            place.requireName(at.key());
            if (TakenNames.contains(at.key()))
                place.fail(QStringLiteral("Every object has a property of that name already."));
            ModelMembers members(place, at.value());
            std::unique_ptr<NSPropertyDescription> property = (this->*make)(place, members);
            property->m_name = at.key();
            property->m_entity = draft.entity.get();
            property->m_optional = members.flag(QStringLiteral("optional"), true);
            const QString renamedFrom = members.text(QStringLiteral("renamedFrom"));
            property->m_renamingIdentifier = renamedFrom.isNull() ? at.key() : renamedFrom;
            members.end();
            draft.entity->m_ownProperties.push_back(std::move(property));
        }
    };
    read(Attributes, &ModelReader::attribute);
    read(Relationships, &ModelReader::relationship);
}

std::unique_ptr<NSPropertyDescription> ModelReader::attribute(const ModelPlace &place,
                                                              ModelMembers &members) {
    auto attribute = std::make_unique<NSAttributeDescription>();
    const auto type = members.choice(QStringLiteral("type"), TypeNames);
    if (!type)
        place.fail(QStringLiteral("\"type\" is missing."));
    attribute->m_type = NSAttributeType(*type);
    attribute->m_indexed = members.flag(QStringLiteral("indexed"), false);
    attribute->m_transient = members.flag(QStringLiteral("transient"), false);
    if (members.has(QStringLiteral("default")))
        attribute->m_defaultValue =
            modelValue(place, attribute->m_type, members.value(QStringLiteral("default")));
    readLimits(*attribute, place, members);
    for (const QVariantList texts = members.array(QStringLiteral("validation"));
         const QVariant &text : texts) {
        if (text.typeId() != QMetaType::QString)
            place.fail(QStringLiteral("\"validation\" must be an array of predicates."));
        try {
            attribute->m_validationPredicates.append(NSPredicate::predicateWithFormat(text.toString()));
        } catch (const NSException &exception) {
            place.fail(QStringLiteral("The predicate \"%1\" can't be read: %2")
                           .arg(text.toString(), exception.reason()));
        }
    }
    return attribute;
}

void ModelReader::readLimits(NSAttributeDescription &attribute, const ModelPlace &place,
                             ModelMembers &members) {
    const bool hasOrder =
        attribute.m_type <= NSAttributeType::Float || attribute.m_type == NSAttributeType::Date;
    const auto limit = [&](const QString &key) {
        if (!members.has(key))
            return QVariant();
        if (!hasOrder)
            place.fail(QStringLiteral("Only numbers and dates have \"%1\".").arg(key));
        return modelValue(place, attribute.m_type, members.value(key));
    };
    attribute.m_minimum = limit(QStringLiteral("min"));
    attribute.m_maximum = limit(QStringLiteral("max"));
    const bool isText = attribute.m_type == NSAttributeType::String;
    const auto least = members.count(QStringLiteral("minLength")),
               most = members.count(QStringLiteral("maxLength"));
    attribute.m_minimumLength = least.value_or(-1);
    attribute.m_maximumLength = most.value_or(-1);
    attribute.m_pattern = members.text(QStringLiteral("pattern"));
    if (!isText && (least || most || !attribute.m_pattern.isNull()))
        place.fail(QStringLiteral("Only strings have a length and a pattern."));
    NSError error;
    if (!attribute.m_pattern.isEmpty() && NSRegularExpression(attribute.m_pattern, 0, &error).isNil())
        place.fail(QStringLiteral("The pattern can't be read: %1").arg(error.localizedDescription()));
}

std::unique_ptr<NSPropertyDescription> ModelReader::relationship(const ModelPlace &place,
                                                                 ModelMembers &members) {
    auto relationship = std::make_unique<NSRelationshipDescription>();
    const QString destination = members.requiredText(QStringLiteral("destination"));
    const auto found = m_drafts.constFind(destination);
    if (found == m_drafts.constEnd())
        place.fail(QStringLiteral("There is no entity \"%1\" to point at.").arg(destination));
    relationship->m_destination = found->entity.get();
    members.text(QStringLiteral("inverse"));
    relationship->m_toMany = members.flag(QStringLiteral("toMany"), false);
    relationship->m_ordered = members.flag(QStringLiteral("ordered"), false);
    relationship->m_deleteRule = NSDeleteRule(
        members.choice(QStringLiteral("delete"), RuleNames).value_or(int(NSDeleteRule::Nullify)));
    const auto least = members.count(QStringLiteral("min")), most = members.count(QStringLiteral("max"));
    relationship->m_minCount = least.value_or(0);
    relationship->m_maxCount = most.value_or(0);
    if (!relationship->m_toMany && (least || most || relationship->m_ordered))
        place.fail(QStringLiteral("Only a relationship to many has an order and counts."));
    return relationship;
}

void ModelReader::connectInverses(const Draft &draft) {
    const QVariantMap relationships = draft.contents.value(Relationships).toMap();
    for (const auto &property : draft.entity->m_ownProperties) {
        auto *relationship = dynamic_cast<NSRelationshipDescription *>(property.get());
        if (!relationship)
            continue;
        const QString name =
            relationships.value(relationship->m_name).toMap().value(QStringLiteral("inverse")).toString();
        if (name.isNull())
            continue;
        const ModelPlace place{draft.fileName, draft.entity->m_name, relationship->m_name};
        const Draft &other = m_drafts[relationship->m_destination->m_name];
        const NSRelationshipDescription *inverse = other.entity->relationship(name);
        if (!inverse || inverse->m_entity != other.entity.get())
            place.fail(
                QStringLiteral("The entity \"%1\" has no relationship \"%2\" of its own to be the inverse.")
                    .arg(other.entity->m_name, name));
        const QString back = other.contents.value(Relationships)
                                 .toMap()
                                 .value(name)
                                 .toMap()
                                 .value(QStringLiteral("inverse"))
                                 .toString();
        if (inverse->m_destination != draft.entity.get() || back != relationship->m_name)
            place.fail(QStringLiteral("The inverse \"%1\" of \"%2\" doesn't lead back.")
                           .arg(name, other.entity->m_name));
        relationship->m_inverse = inverse;
    }
}

void ModelReader::hash(Draft &draft) {
    const NSEntityDescription &entity = *draft.entity;
    QStringList lines = {
        QStringLiteral("entity %1 %2 %3")
            .arg(entity.m_name, entity.m_superentity ? entity.m_superentity->m_name : QStringLiteral("-"))
            .arg(int(entity.m_abstract))};
    for (const auto &property : entity.m_ownProperties) {
        // What the store doesn't keep makes no difference to it.
        if (property->m_transient)
            continue;
        if (const auto *attribute = dynamic_cast<const NSAttributeDescription *>(property.get()))
            lines << QStringLiteral("attribute %1 %2 %3 %4")
                         .arg(attribute->m_name, TypeNames.at(int(attribute->m_type)))
                         .arg(int(attribute->m_optional))
                         .arg(int(attribute->m_indexed));
        else if (const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property.get()))
            lines << QStringLiteral("relationship %1 %2 %3 %4 %5 %6")
                         .arg(relationship->m_name, relationship->m_destination->m_name,
                              relationship->m_inverse ? relationship->m_inverse->m_name : QStringLiteral("-"))
                         .arg(int(relationship->m_optional))
                         .arg(int(relationship->m_toMany))
                         .arg(int(relationship->m_ordered));
    }
    draft.entity->m_versionHash = NSMessageDigest(MessageDigest::SHA256, lines.join(u'\n').toUtf8());
}

} // namespace zr
