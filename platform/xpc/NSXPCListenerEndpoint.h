// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/XPCDescriptor.h"

#include <memory>

/// Where a listener of this process can be reached; copies stand for the same place. Any thread.
class NSXPCListenerEndpoint {
public:
    NSXPCListenerEndpoint() = default;
    explicit NSXPCListenerEndpoint(XPCDescriptor address);

    /// A socket connected to the listener; none, with errno set, when nobody listens.
    XPCDescriptor connect() const;

private:
    std::shared_ptr<const XPCDescriptor> m_address;
};
