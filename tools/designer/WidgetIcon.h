// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QString>

namespace zr {

/// The picture of one of the kit's classes in the widget box; a null icon for any other name.
QIcon widgetIcon(const QString &className);

} // namespace zr
