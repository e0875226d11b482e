// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QObject;

namespace zr {

/// Has an object whose class declares `localizeWithPrefix` localise itself. Not if it is doing so already: then it
/// asks for what is done without its own. Main thread.
/// \return whether the object did it
bool localizesItself(QObject *object, const QString &prefix);

/// Localises a property, if the object's class declares it as a text that can be set.
void localizeProperty(QObject *object, const char *name, const QString &prefix);

} // namespace zr
