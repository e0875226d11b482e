// SPDX-License-Identifier: MIT
// Any bytes give a model or an NSException; a model's entities agree with one another.
#include "platform/base/NSException.h"
#include "platform/store/ModelReader.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    NSManagedObjectModel::Ptr model;
    try {
        model = zr::ModelReader::model(zr::ModelReader::documents(
            QByteArray(reinterpret_cast<const char *>(bytes), qsizetype(size)), QStringLiteral("file")));
    } catch (const NSException &) {
        return 0;
    }
    for (const NSEntityDescription *entity : model->entities()) {
        if (model->entityNamed(entity->name()) != entity || !entity->isKindOfEntity(entity->rootEntity()) ||
            entity->versionHash().size() != 32)
            std::abort();
        for (const NSPropertyDescription *property : entity->properties()) {
            const NSRelationshipDescription *relationship = entity->relationship(property->name());
            const auto *inverse = relationship ? relationship->inverseRelationship() : nullptr;
            if (entity->property(property->name()) != property ||
                !entity->isKindOfEntity(property->entity()) ||
                (inverse && inverse->inverseRelationship() != relationship))
                std::abort();
        }
    }
    return 0;
}
