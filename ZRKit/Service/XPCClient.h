// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPC.h"

namespace zr {

/// What a client and its tasks share: it lives as long as any of them. Any thread.
class XPCClient : public QObject, public std::enable_shared_from_this<XPCClient> {
public:
    explicit XPCClient(const QString &serviceName);

    /// One exchange on a connection of its own, as ZRXPC has it.
    void performXPCAsyncWithObject(const QVariant &object, const ZRXPC::Block &block,
                                   const std::stop_token &abandoned = {});

    NSOperationQueue queue;

private:
    const QString m_serviceName;
};

} // namespace zr
