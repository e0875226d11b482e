// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCListenerEndpoint.h"

#include "platform/xpc/XPCSocket.h"

#include <cerrno>

NSXPCListenerEndpoint::NSXPCListenerEndpoint(XPCDescriptor address)
    : m_address(std::make_shared<const XPCDescriptor>(std::move(address))) {
}

XPCDescriptor NSXPCListenerEndpoint::connect() const {
    if (m_address && *m_address)
        return XPCConnect(*m_address);
    errno = ENOTCONN;
    return {};
}
