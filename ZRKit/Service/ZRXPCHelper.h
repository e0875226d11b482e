// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPC.h"

/// What a client and its tasks share: it lives as long as any of them.
class ZRXPC::Helper : public QObject, public std::enable_shared_from_this<Helper> {
public:
    explicit Helper(const QString &serviceName);

    void performXPCAsyncWithObject(const QVariant &object, const Block &block,
                                   const std::stop_token &abandoned = {});

    NSOperationQueue queue;

private:
    const QString m_serviceName;
};
