// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/xpc/XPCFrame.h"

#include <QString>
#include <QVariantList>

namespace zr {

/// What a frame says: a message's selector and arguments, a reply's results, or a refusal's error.
struct XPCCall {
    QString selector;
    QVariantList values;
    NSError error;

    /// Raises an NSException if a value is of a kind that archives don't hold.
    XPCFrame frame(XPCFrame::Kind kind, quint64 exchange) const;
    /// Raises an NSException if the archive can't be read or describes no call.
    static XPCCall fromFrame(const XPCFrame &frame);
};

} // namespace zr
