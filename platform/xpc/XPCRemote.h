// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QString>
#include <QVariantList>
#include <functional>
#include <memory>

class XPCConnectionCore;

/// The other end of a connection as a proxy sees it.
class XPCRemote {
public:
    /// Takes a reply's results; false where they aren't what the protocol says.
    using Reply = std::function<bool(const QVariantList &results)>;
    using ErrorHandler = std::function<void(const NSError &error)>;

    XPCRemote(std::shared_ptr<XPCConnectionCore> core, ErrorHandler errorHandler);

    /// Sends a message; exactly one of reply and error handler is called later where a reply is wanted, the
    /// error handler alone may be where none is. Throws NSException for values that can't be archived.
    void send(const QString &selector, const QVariantList &values, Reply reply) const;

private:
    std::shared_ptr<XPCConnectionCore> m_core;
    ErrorHandler m_errorHandler;
};
