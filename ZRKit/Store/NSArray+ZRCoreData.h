// SPDX-License-Identifier: MIT
#pragma once

#include <QVariantList>

namespace ZRKit {

/// The identifiers, as texts, of an array of managed objects, one for each, in their order; see objectIDString(). Raises
/// NSUndefinedKeyException for other elements. Where the objects' contexts may be used.
QVariantList objectIDs(const QVariantList &array);

} // namespace ZRKit
