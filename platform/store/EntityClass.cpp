// SPDX-License-Identifier: MIT
#include "platform/store/EntityClass.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/store/ManagedObjectFactories.h"

#include <QMetaType>
#include <QObject>
#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>

using namespace zr;

namespace {

// What follows is the form in which Qt's meta-object compiler writes its tables, as Qt 6 reads it.

constexpr uint TableRevision = 9;
constexpr uint HeaderLength = 14;
constexpr uint MethodLength = 6;
constexpr uint PublicSignal = 0x06;
constexpr uint Readable = 0x1, Writable = 0x2, Constant = 0x400, Designable = 0x1000, Scriptable = 0x4000,
               Stored = 0x10000;
constexpr uint NoSignal = ~0U;

/// The strings of a meta-object: first their places and lengths, then their bytes.
std::vector<uint> stringTable(const std::vector<QByteArray> &strings) {
    const size_t places = strings.size() * 2;
    QByteArray bytes;
    std::vector<uint> table;
    for (const QByteArray &string : strings) {
        table.push_back(uint(places * sizeof(uint) + size_t(bytes.size())));
        table.push_back(uint(string.size()));
        bytes += string;
        bytes += '\0';
    }
    table.resize(places + (size_t(bytes.size()) + sizeof(uint) - 1) / sizeof(uint));
    std::memcpy(table.data() + places, bytes.constData(), size_t(bytes.size()));
    return table;
}

} // namespace

EntityClass::EntityClass(const NSEntityDescription *entity)
    : m_entity(entity), m_factory(objectFactory(entity->managedObjectClassName())) {
    for (const NSPropertyDescription *description : entity->properties()) {
        EntityProperty property;
        property.description = description;
        property.attribute = dynamic_cast<const NSAttributeDescription *>(description);
        property.relationship = dynamic_cast<const NSRelationshipDescription *>(description);
        if (property.relationship && property.relationship->isToMany())
            property.toMany = m_toManyCount++;
        if (const auto *inverse =
                property.relationship ? property.relationship->inverseRelationship() : nullptr)
            property.inverse = inverse->entity()->indexOfProperty(inverse->name());
        if (property.attribute && !property.attribute->pattern().isNull())
            property.pattern = NSPredicate::predicateWithFormat(QStringLiteral("SELF MATCHES %@"),
                                                                property.attribute->pattern());
        property.hasRules = hasRules(property);
        m_hasTransients |= description->isTransient();
        m_properties.push_back(property);
        m_defaults.push_back(property.attribute ? property.attribute->defaultValue() : QVariant());
    }
    buildMetaObject();
}

bool EntityClass::hasRules(const EntityProperty &property) {
    if (!property.description->isOptional() || !property.description->validationPredicates().isEmpty())
        return true;
    if (property.relationship)
        return property.relationship->minCount() > 0 || property.relationship->maxCount() > 0;
    const NSAttributeDescription &attribute = *property.attribute;
    switch (attribute.attributeType()) {
    case NSAttributeType::Double:
    case NSAttributeType::Float:
    case NSAttributeType::Decimal:
    case NSAttributeType::Transformable:
        return true; // not everything can be saved
    default:
        return attribute.minimum().isValid() || attribute.maximum().isValid() ||
               attribute.minimumLength() >= 0 || attribute.maximumLength() >= 0 ||
               !attribute.pattern().isNull();
    }
}

void EntityClass::buildMetaObject() {
    const auto count = uint(m_properties.size());
    std::vector<QByteArray> strings{m_entity->managedObjectClassName().toUtf8(), QByteArray("")};
    for (const EntityProperty &property : m_properties)
        strings.push_back(property.description->name().toUtf8());
    strings.push_back("objectID");
    for (const EntityProperty &property : m_properties)
        strings.push_back(property.description->name().toUtf8() + "Changed");
    m_strings = stringTable(strings);

    const uint firstName = 2, firstSignalName = firstName + count + 1;
    const uint methods = HeaderLength, parameters = methods + count * MethodLength,
               properties = parameters + 1;
    m_data = {TableRevision, 0, 0, 0, count, methods, count + 1, properties, 0, 0, 0, 0, 0, count};
    for (uint i = 0; i < count; ++i)
        m_data.insert(m_data.end(), {firstSignalName + i, 0, parameters, 1, PublicSignal, count + 1 + i});
    m_data.push_back(QMetaType::Void); // what every signal returns
    for (uint i = 0; i < count; ++i)
        m_data.insert(m_data.end(), {firstName + i, QMetaType::QVariant,
                                     Readable | Writable | Designable | Scriptable | Stored, i, 0});
    m_data.insert(m_data.end(), {firstName + count, QMetaType::QVariant,
                                 Readable | Constant | Designable | Scriptable, NoSignal, 0});
    m_data.push_back(0);

    m_types.assign(count + 1, QMetaType::fromType<QVariant>().iface());
    m_types.insert(m_types.end(), count, QMetaType::fromType<void>().iface());

    m_metaObject.d.superdata = &QObject::staticMetaObject;
    m_metaObject.d.stringdata = m_strings.data();
    m_metaObject.d.data = m_data.data();
    m_metaObject.d.metaTypes = m_types.data();
}

EntityClasses::EntityClasses(NSManagedObjectModel::Ptr model) : m_model(std::move(model)) {
    for (const NSEntityDescription *entity : m_model->entities())
        m_classes.insert(entity, std::make_shared<const EntityClass>(entity));
}

const EntityClass *EntityClasses::of(const NSEntityDescription *entity) const {
    return m_classes.value(entity).get();
}

std::shared_ptr<const EntityClasses> EntityClasses::ofModel(const NSManagedObjectModel::Ptr &model) {
    static std::mutex mutex;
    static NeverDestroyed<std::map<const NSManagedObjectModel *, std::weak_ptr<const EntityClasses>>> all;
    const std::lock_guard lock(mutex);
    // Classes keep their model, so a model that lies where another one was never finds that one's classes.
    if (auto known = (*all)[model.get()].lock())
        return known;
    std::erase_if(*all, [](const auto &entry) { return entry.second.expired(); });
    auto made = std::make_shared<const EntityClasses>(model);
    (*all)[model.get()] = made;
    return made;
}
