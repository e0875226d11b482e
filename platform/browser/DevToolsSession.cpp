// SPDX-License-Identifier: MIT
#include "platform/browser/DevToolsSession.h"

using namespace zr;

DevToolsSession::DevToolsSession(DevToolsPipe &pipe, const QByteArray &sessionId)
    : m_pipe(&pipe), m_sessionId(sessionId) {
    m_pipe->addSession(this);
}

DevToolsSession::~DevToolsSession() {
    close(QStringLiteral("The page has gone"));
}

void DevToolsSession::close(const QString &why) {
    DevToolsPipe *pipe = std::exchange(m_pipe, nullptr);
    if (!pipe)
        return;
    m_closedWhy = why;
    pipe->removeSession(this, why);
}

void DevToolsSession::call(const char *method, const DevToolsParams &params, ReplyHandler handler) {
    if (m_pipe)
        m_pipe->call(this, method, params, std::move(handler));
    else if (handler)
        handler(DevToolsMessage::failure(m_closedWhy));
}

DevToolsMessage DevToolsSession::callAndWait(const char *method, const DevToolsParams &params) {
    DevToolsMessage reply;
    bool answered = false;
    call(method, params, [&](const DevToolsMessage &message) {
        reply = message;
        answered = true;
    });
    while (!answered)
        DevToolsPipe::waitForEvents();
    return reply;
}

void DevToolsSession::on(const char *event, const EventHandler &handler) {
    if (handler)
        m_handlers.insert(QString::fromLatin1(event), handler);
    else
        m_handlers.remove(QString::fromLatin1(event));
}

void DevToolsSession::deliver(const DevToolsMessage &event) {
    // The handler may replace itself or end the session.
    if (const EventHandler handler = m_handlers.value(event.method()))
        handler(event);
}
