// SPDX-License-Identifier: MIT
#include "platform/browser/DevToolsPipe.h"

#include "platform/base/BlockedPipeSignal.h"
#include "platform/browser/DevToolsSession.h"

#include <QAbstractEventDispatcher>
#include <QJsonDocument>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using namespace zr;

namespace {

/// The room that a read is given; what the pipe holds at most.
constexpr qsizetype readSize = 1 << 20;
/// Buffers above this size are given back once they are empty.
constexpr qsizetype keptCapacity = 2 * readSize;
/// The browser ends if a message has more than 100 MiB, its end included.
constexpr qsizetype longestMessage = (qsizetype(100) << 20) - 1;

QString goneText() {
    return QStringLiteral("The browser has gone");
}

void setNonBlocking(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

} // namespace

DevToolsPipe::DevToolsPipe(int commandFd, int replyFd)
    : m_commandFd(commandFd), m_replyFd(replyFd), m_readable(replyFd, QSocketNotifier::Read),
      m_writable(commandFd, QSocketNotifier::Write) {
    setNonBlocking(m_commandFd);
    setNonBlocking(m_replyFd);
    m_writable.setEnabled(false);
    QObject::connect(&m_readable, &QSocketNotifier::activated, &m_readable, [this] { readSome(); });
    QObject::connect(&m_writable, &QSocketNotifier::activated, &m_writable, [this] { writeSome(); });
}

DevToolsPipe::~DevToolsPipe() {
    *m_alive = false;
    m_open = false;
    std::vector<Pending> calls(m_pending.cbegin(), m_pending.cend());
    m_pending.clear();
    for (DevToolsSession *session : std::exchange(m_sessions, {})) {
        session->m_pipe = nullptr;
        session->m_closedWhy = goneText();
    }
    fail(calls, goneText());
}

void DevToolsPipe::waitForEvents() {
    QThread::currentThread()->eventDispatcher()->processEvents(QEventLoop::WaitForMoreEvents);
}

void DevToolsPipe::addSession(DevToolsSession *session) {
    m_sessions.insert(session->sessionId(), session);
}

void DevToolsPipe::removeSession(DevToolsSession *session, const QString &why) {
    if (m_sessions.value(session->sessionId()) == session)
        m_sessions.remove(session->sessionId());
    std::vector<Pending> calls;
    for (auto it = m_pending.begin(); it != m_pending.end();) {
        if (it->session == session) {
            calls.push_back(std::move(*it));
            it = m_pending.erase(it);
        } else {
            ++it;
        }
    }
    fail(calls, why);
}

void DevToolsPipe::fail(const std::vector<Pending> &calls, const QString &why) {
    const DevToolsMessage failure = DevToolsMessage::failure(why);
    for (const Pending &call : calls) {
        if (call.handler)
            call.handler(failure);
    }
}

void DevToolsPipe::call(DevToolsSession *session, const char *method, const DevToolsParams &params,
                        ReplyHandler handler) {
    if (!m_open) {
        if (handler)
            handler(DevToolsMessage::failure(goneText()));
        return;
    }
    const int id = ++m_lastId;
    QJsonObject message{{QStringLiteral("id"), id}, {QStringLiteral("method"), QLatin1StringView(method)}};
    if (!params.object().isEmpty())
        message[u"params"] = params.object();
    if (!session->sessionId().isEmpty())
        message[u"sessionId"] = QString::fromLatin1(session->sessionId());
    const QByteArray text = QJsonDocument(message).toJson(QJsonDocument::Compact);
    if (text.size() > longestMessage) {
        if (handler)
            handler(DevToolsMessage::failure(QStringLiteral("The document is too large for the browser")));
        return;
    }
    m_outgoing += text;
    m_outgoing += '\0';
    m_pending.insert(id, {session, std::move(handler)});
    if (!m_writable.isEnabled())
        writeSome();
}

void DevToolsPipe::writeSome() {
    const BlockedPipeSignal blocked;
    while (m_written < m_outgoing.size()) {
        const ssize_t n =
            ::write(m_commandFd, m_outgoing.constData() + m_written, size_t(m_outgoing.size() - m_written));
        if (n > 0) {
            m_written += n;
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno == EAGAIN) {
            m_writable.setEnabled(true);
            return;
        }
        // The other end is closed; the reading side finds the end as well, after what was still sent.
        break;
    }
    m_writable.setEnabled(false);
    m_written = 0;
    if (m_outgoing.capacity() > keptCapacity)
        m_outgoing = QByteArray();
    else
        m_outgoing.resize(0);
}

void DevToolsPipe::readSome() {
    bool ended = false;
    for (;;) {
        const qsizetype filled = m_incoming.size();
        m_incoming.resize(filled + readSize);
        const ssize_t n = ::read(m_replyFd, m_incoming.data() + filled, size_t(readSize));
        const int error = errno;
        m_incoming.resize(filled + std::max<ssize_t>(n, 0));
        if (n < 0 && error == EINTR)
            continue;
        ended = n == 0 || (n < 0 && error != EAGAIN);
        // A full read means that there may be more.
        if (n < readSize)
            break;
    }
    takeMessages();
    const std::shared_ptr<bool> alive = m_alive;
    deliver();
    if (ended && *alive)
        close();
}

void DevToolsPipe::takeMessages() {
    qsizetype start = 0;
    for (qsizetype end; (end = m_incoming.indexOf('\0', std::max(start, m_searched))) >= 0; start = end + 1)
        m_messages.emplace_back(m_incoming.sliced(start, end - start));
    const qsizetype rest = m_incoming.size() - start;
    // Not removed from the front: a byte array keeps room there, and grows with every such remainder.
    if (start > 0 && rest > 0)
        std::memmove(m_incoming.data(), m_incoming.constData() + start, size_t(rest));
    m_incoming.resize(rest);
    m_searched = rest;
    if (rest == 0 && m_incoming.capacity() > keptCapacity)
        m_incoming = QByteArray();
}

void DevToolsPipe::deliver() {
    const std::shared_ptr<bool> alive = m_alive;
    while (*alive && !m_messages.empty()) {
        const DevToolsMessage message = std::move(m_messages.front());
        m_messages.pop_front();
        // A handler may run the event loop and wait for what has arrived together with its own message.
        if (!m_messages.empty() && !std::exchange(m_deliveryPosted, true)) {
            QMetaObject::invokeMethod(
                &m_readable,
                [this] {
                    m_deliveryPosted = false;
                    deliver();
                },
                Qt::QueuedConnection);
        }
        if (message.id() > 0) {
            const ReplyHandler handler = m_pending.take(message.id()).handler;
            if (handler)
                handler(message);
        } else if (DevToolsSession *session = m_sessions.value(message.session())) {
            session->deliver(message);
        }
    }
}

void DevToolsPipe::close() {
    if (!m_open)
        return;
    m_open = false;
    m_readable.setEnabled(false);
    m_writable.setEnabled(false);
    std::vector<Pending> calls(m_pending.cbegin(), m_pending.cend());
    m_pending.clear();
    const std::shared_ptr<bool> alive = m_alive;
    fail(calls, goneText());
    if (*alive && m_closed)
        m_closed();
}
