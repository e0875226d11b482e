// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/EntityClass.h"

#include <QString>

namespace zr {

/// What makes the objects of the class with that name: NSManagedObject itself if none was registered. Any thread.
ObjectFactory objectFactory(const QString &className);

/// Classes that were registered before the first context uses the name count. Any thread.
bool registerObjectFactory(const QString &className, ObjectFactory factory);

} // namespace zr
