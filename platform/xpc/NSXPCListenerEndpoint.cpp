// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCListenerEndpoint.h"

#include "platform/base/FileDescriptor.h"
#include "platform/xpc/XPCSocket.h"

#include <cerrno>

NSXPCListenerEndpoint::NSXPCListenerEndpoint(zr::FileDescriptor address)
    : m_address(std::make_shared<const zr::FileDescriptor>(std::move(address))) {
}

zr::FileDescriptor NSXPCListenerEndpoint::connect() const {
    if (m_address && *m_address)
        return zr::XPCConnect(*m_address);
    errno = ENOTCONN;
    return {};
}
