// SPDX-License-Identifier: MIT
#pragma once

#include <QVariantList>
#include <QVariantMap>
#include <optional>

namespace ZRKit {

/// A copy with every container in its plain, changeable form; nothing where a value is inside that a property
/// list can't hold.
std::optional<QVariantList> propertyListCopy(const QVariantList &array);
std::optional<QVariantMap> propertyListCopy(const QVariantMap &dictionary);

} // namespace ZRKit
