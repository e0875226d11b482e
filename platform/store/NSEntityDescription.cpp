// SPDX-License-Identifier: MIT
#include "platform/store/NSEntityDescription.h"

const NSEntityDescription *NSEntityDescription::rootEntity() const {
    const NSEntityDescription *root = this;
    while (root->m_superentity)
        root = root->m_superentity;
    return root;
}

bool NSEntityDescription::isKindOfEntity(const NSEntityDescription *other) const {
    for (const NSEntityDescription *entity = this; entity; entity = entity->m_superentity) {
        if (entity == other)
            return true;
    }
    return false;
}

const NSPropertyDescription *NSEntityDescription::property(const QString &name) const {
    const int index = indexOfProperty(name);
    return index < 0 ? nullptr : m_properties.at(size_t(index));
}

const NSAttributeDescription *NSEntityDescription::attribute(const QString &name) const {
    return dynamic_cast<const NSAttributeDescription *>(property(name));
}

const NSRelationshipDescription *NSEntityDescription::relationship(const QString &name) const {
    return dynamic_cast<const NSRelationshipDescription *>(property(name));
}
