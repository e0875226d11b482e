// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/base/NeverDestroyed.h"

#include <QtGlobal>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace zr {

/// The process's one thread that waits for rare events on descriptors: lost peers, room to write again, ended
/// child processes. Messages themselves never pass through it.
///
/// All operations may be called on any thread; handlers run on the reactor's and must not block.
class XPCReactor {
public:
    using Handler = std::function<void(quint32 events)>;

    /// The reactor; its thread starts with the first use and lives as long as the process.
    static XPCReactor &shared();

    /// Watches a descriptor for the events, as epoll(7) names them. The handler may still be running once
    /// when remove() returns on another thread, so it keeps what it needs alive itself. \return a token for
    /// the calls below, 0 on failure
    quint64 add(int descriptor, quint32 events, Handler handler);
    void modify(quint64 token, int descriptor, quint32 events);
    /// Ends the watch; call it before the descriptor is closed.
    void remove(quint64 token, int descriptor);

private:
    friend class NeverDestroyed<XPCReactor>;
    XPCReactor();
    void run();

    FileDescriptor m_epoll;
    std::mutex m_mutex;
    quint64 m_lastToken = 0;
    std::unordered_map<quint64, std::shared_ptr<Handler>> m_handlers;
};

} // namespace zr
