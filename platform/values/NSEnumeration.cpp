// SPDX-License-Identifier: MIT
#include "platform/values/NSEnumeration.h"

void NSEnumerationMutation() {
    throw NSException(NSGenericException,
                      QStringLiteral("The collection was mutated while it was being enumerated."));
}
