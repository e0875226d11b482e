// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

namespace zr {

/// An error of the kit's own domain. Any thread.
/// \param text   its description; it has none if that is empty
/// \param cause  the error that led to it, or nil
inline NSError kitError(qint64 code, const QString &text, const NSError &cause = {}) {
    QVariantMap userInfo;
    if (!text.isEmpty())
        userInfo.insert(NSLocalizedDescriptionKey, text);
    if (cause)
        userInfo.insert(NSUnderlyingErrorKey, QVariant::fromValue(cause));
    return {QStringLiteral("com.velmora.error"), code, userInfo};
}

} // namespace zr
