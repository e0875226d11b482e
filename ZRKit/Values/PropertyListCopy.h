// SPDX-License-Identifier: MIT
#pragma once

#include <QVariant>
#include <optional>

namespace ZRKit {

/// A copy with every container in its plain, changeable form; nothing if there is a value inside that a
/// property list can't hold.
std::optional<QVariant> propertyListCopy(const QVariant &value);

} // namespace ZRKit
