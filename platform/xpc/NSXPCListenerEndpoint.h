// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace zr {
class FileDescriptor;
}

/// Where a listener of this process can be reached; copies stand for the same place. Any thread.
class NSXPCListenerEndpoint {
public:
    NSXPCListenerEndpoint() = default;
    explicit NSXPCListenerEndpoint(zr::FileDescriptor address);

    /// A socket connected to the listener; none, with errno set, if nobody listens.
    zr::FileDescriptor connect() const;

private:
    std::shared_ptr<const zr::FileDescriptor> m_address;
};
