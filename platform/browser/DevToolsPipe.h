// SPDX-License-Identifier: MIT
#pragma once

#include "platform/browser/DevToolsMessage.h"

#include <QHash>
#include <QSocketNotifier>
#include <deque>
#include <functional>
#include <memory>

namespace zr {

class DevToolsSession;

/// Calls and events over the browser's pipe: JSON messages that end in a NUL byte.
///
/// Lives on the main thread and works from its event loop: replies and events are delivered there, in the order in which
/// the browser sent them. When the browser is gone, every pending call fails at once, and so does every later one. A call
/// with more than the browser takes fails alone.
class DevToolsPipe {
public:
    using ReplyHandler = std::function<void(const DevToolsMessage &)>;

    /// \param commandFd  written to; stays the caller's
    /// \param replyFd    read from; stays the caller's
    DevToolsPipe(int commandFd, int replyFd);
    ~DevToolsPipe();
    DevToolsPipe(const DevToolsPipe &) = delete;
    DevToolsPipe &operator=(const DevToolsPipe &) = delete;

    /// False once the browser has gone.
    bool isOpen() const { return m_open; }
    /// Called once, from the event loop, when the browser has gone; pending calls have failed by then.
    void setClosedHandler(std::function<void()> handler) { m_closed = std::move(handler); }

    /// Waits for the next events of the main run loop and handles them. Blocking calls are loops of this.
    static void waitForEvents();

private:
    friend class DevToolsSession;
    struct Pending {
        DevToolsSession *session;
        ReplyHandler handler;
    };

    void call(DevToolsSession *session, const char *method, const DevToolsParams &params,
              ReplyHandler handler);
    void addSession(DevToolsSession *session);
    /// Fails the session's pending calls.
    void removeSession(DevToolsSession *session, const QString &why);

    void writeSome();
    void readSome();
    void takeMessages();
    void deliver();
    void close();
    void fail(const std::vector<Pending> &calls, const QString &why);

    const int m_commandFd;
    const int m_replyFd;
    QSocketNotifier m_readable;
    QSocketNotifier m_writable;
    bool m_open = true;
    bool m_deliveryPosted = false;
    int m_lastId = 0;
    QByteArray m_outgoing;
    qsizetype m_written = 0;
    QByteArray m_incoming;
    qsizetype m_searched = 0; ///< as far as no message ends
    std::deque<DevToolsMessage> m_messages;
    QHash<int, Pending> m_pending;
    QHash<QByteArray, DevToolsSession *> m_sessions;
    std::function<void()> m_closed;
    /// Tells a delivery on the stack that this object is gone.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

} // namespace zr
