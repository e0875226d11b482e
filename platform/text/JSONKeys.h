// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <QAssociativeIterable>
#include <QVariant>

namespace zr {

/// Raises NSInvalidArgumentException for a dictionary whose keys aren't strings, which Qt would turn into
/// strings. Any thread.
inline void requireTextKeys(const QVariant &dictionary) {
    if (dictionary.canConvert<QAssociativeIterable>() &&
        dictionary.value<QAssociativeIterable>().metaContainer().keyMetaType() !=
            QMetaType::fromType<QString>())
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("Invalid (non-string) key in JSON dictionary"));
}

} // namespace zr
