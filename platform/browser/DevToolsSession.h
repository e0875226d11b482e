// SPDX-License-Identifier: MIT
#pragma once

#include "platform/browser/DevToolsPipe.h"

namespace zr {

/// One conversation with the browser itself or with one of its pages: calls and events by name.
///
/// \code
/// DevToolsSession page(pipe, sessionId);
/// page.on("Page.loadEventFired", [](const DevToolsMessage &event) { ... });
/// page.call("Page.enable");
/// const DevToolsMessage tree = page.callAndWait("Page.getFrameTree");
/// \endcode
///
/// Main thread only. The session ends with the object: pending calls fail.
class DevToolsSession {
public:
    using ReplyHandler = DevToolsPipe::ReplyHandler;
    using EventHandler = std::function<void(const DevToolsMessage &)>;

    /// \param pipe       if it goes first, the session is closed
    /// \param sessionId  as Target.attachToTarget gave it; empty for the browser itself
    explicit DevToolsSession(DevToolsPipe &pipe, const QByteArray &sessionId = {});
    ~DevToolsSession();
    DevToolsSession(const DevToolsSession &) = delete;
    DevToolsSession &operator=(const DevToolsSession &) = delete;

    const QByteArray &sessionId() const { return m_sessionId; }
    /// False once the browser has gone or the session was closed.
    bool isOpen() const { return m_pipe && m_pipe->isOpen(); }
    /// Fails pending calls and later ones: for a page whose process has ended.
    void close(const QString &why);

    /// Sends a call and returns at once; the reply, if anyone wants it, arrives from the event loop.
    void call(const char *method, const DevToolsParams &params = {}, ReplyHandler handler = {});
    /// Sends a call and runs the main run loop until it is answered; other events are delivered meanwhile.
    /// The reply is an error if the browser goes away or the session is destroyed in between.
    DevToolsMessage callAndWait(const char *method, const DevToolsParams &params = {});

    /// Sets the one handler of an event; an empty function removes it.
    void on(const char *event, const EventHandler &handler);

private:
    friend class DevToolsPipe;
    void deliver(const DevToolsMessage &event);

    DevToolsPipe *m_pipe;
    const QByteArray m_sessionId;
    QString m_closedWhy;
    QHash<QString, EventHandler> m_handlers;
};

} // namespace zr
