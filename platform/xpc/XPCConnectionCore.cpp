// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCConnectionCore.h"

#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"
#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/XPCActivator.h"
#include "platform/xpc/XPCThread.h"

#include <atomic>

using namespace zr;

namespace {

NSError errorOf(int code, const QString &message) {
    return NSError(NSCocoaErrorDomain, code, {{NSLocalizedDescriptionKey, message}});
}

NSError interrupted() {
    return errorOf(NSXPCConnectionInterrupted, QStringLiteral("the connection was interrupted"));
}

/// A message's one reply. If the block is dropped unused, the sender is told, so that it doesn't wait for
/// ever.
class ReplyOnce {
public:
    ReplyOnce(std::shared_ptr<XPCLink> link, quint64 exchange, std::function<void()> done)
        : m_link(std::move(link)), m_exchange(exchange), m_done(std::move(done)) {}
    ~ReplyOnce() {
        if (!m_used)
            refuse(QStringLiteral("the message was dropped without a reply"));
        m_done();
    }
    ReplyOnce(const ReplyOnce &) = delete;
    ReplyOnce &operator=(const ReplyOnce &) = delete;

    void send(const QVariantList &results) {
        if (m_used.exchange(true))
            throw NSException(NSInternalInconsistencyException,
                              QStringLiteral("a message was replied to more than once"));
        XPCCall call;
        call.values = results;
        try {
            const XPCFrame frame = call.frame(XPCFrame::Kind::Reply, m_exchange);
            if (frame.fits())
                m_link->send(frame);
            else
                refuse(QStringLiteral("the reply is too large"));
        } catch (const NSException &) {
            refuse(QStringLiteral("the reply can't be archived"));
            throw;
        }
    }

    void refuse(const QString &why) {
        m_used = true;
        XPCCall call;
        call.error = errorOf(NSXPCConnectionReplyInvalid, why);
        m_link->send(call.frame(XPCFrame::Kind::Refusal, m_exchange));
    }

private:
    std::shared_ptr<XPCLink> m_link;
    quint64 m_exchange;
    std::function<void()> m_done;
    std::atomic<bool> m_used = false;
};

} // namespace

void NSXPCProxy::send(const QString &selector, const QVariantList &values,
                      NSXPCDetail::ReplyTaker reply) const {
    m_connection->send(selector, values, std::move(reply), m_errorHandler);
}

XPCConnectionCore::XPCConnectionCore(QString name, Connector connector, bool reconnects,
                                     std::shared_ptr<XPCLink> link)
    : m_name(std::move(name)), m_connector(std::move(connector)), m_reconnects(reconnects),
      m_link(std::move(link)) {
}

/// Calls what belongs to others; what they throw ends here, in the log.
void XPCConnectionCore::guarded(const char *what, const std::function<void()> &function) {
    if (!function)
        return;
    try {
        function();
    } catch (...) {
        NSLog("NSXPCConnection: exception in %s: %@", what, NSException::currentDescription());
    }
}

void XPCConnectionCore::failLater(const ErrorHandler &handler, const NSError &error) {
    if (handler)
        XPCThreadDetach("xpc-error",
                        [handler, error] { guarded("the error handler", [&] { handler(error); }); });
}

// MARK: From outside

void XPCConnectionCore::resume() {
    std::unique_lock lock(m_mutex);
    if (m_state == State::Invalid || m_suspensions == 0)
        return;
    --m_suspensions;
    if (m_state == State::New && connect(lock)) {
        // What was sent before goes first; m_state stays New till then, so that later messages line up.
        while (m_state == State::New && !m_unsent.empty()) {
            const auto frames = std::exchange(m_unsent, {});
            const auto link = m_link;
            lock.unlock();
            for (const XPCFrame &frame : frames)
                link->send(frame);
            lock.lock();
        }
        if (m_state == State::New)
            m_state = State::Connected;
    }
    startThread();
    m_changed.notify_all();
}

void XPCConnectionCore::suspend() {
    const std::lock_guard lock(m_mutex);
    ++m_suspensions;
}

void XPCConnectionCore::invalidate() {
    std::shared_ptr<XPCLink> link;
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Invalid)
            return;
        m_state = State::Invalid;
        m_reason = QStringLiteral("the connection was invalidated");
        link = m_link;
        // A connection that was never resumed has nobody to tell, unless a handler was set.
        if (m_hasThread || m_settings.invalidation || !m_waiting.empty() || m_ended)
            startThread();
        m_changed.notify_all();
    }
    if (link)
        link->close();
}

/// Makes a link, or the state Invalid. The lock is held: nobody else needs it meanwhile.
bool XPCConnectionCore::connect(std::unique_lock<std::mutex> &lock) {
    if (!m_link) {
        QString reason;
        FileDescriptor socket = m_connector(&reason, &m_process);
        if (!socket) {
            NSLog("NSXPCConnection: %@", reason);
            m_state = State::Invalid;
            m_reason = reason;
            return false;
        }
        m_link = XPCLink::make(std::move(socket), XPCLink::End::Connecting);
    }
    const auto link = m_link;
    lock.unlock();
    link->setLossHandler([weak = weak_from_this()] {
        if (const auto core = weak.lock())
            core->hangUp();
    });
    lock.lock();
    return m_state != State::Invalid;
}

void XPCConnectionCore::startThread() {
    if (std::exchange(m_hasThread, true))
        return;
    XPCThreadDetach("xpc-connection", [core = shared_from_this()] { core->run(); });
}

void XPCConnectionCore::send(const QString &selector, const QVariantList &values,
                             NSXPCDetail::ReplyTaker reply, const ErrorHandler &errorHandler) {
    XPCCall call;
    call.selector = selector;
    call.values = values;
    XPCFrame frame = call.frame(XPCFrame::Kind::Message, 0);
    if (!frame.fits()) {
        failLater(errorHandler, errorOf(NSXPCConnectionInvalid, QStringLiteral("the message is too large")));
        return;
    }
    const bool wantsReply = bool(reply);
    std::shared_ptr<XPCLink> link;
    {
        std::unique_lock lock(m_mutex);
        if (m_state == State::Interrupted && connect(lock) && m_state == State::Interrupted) {
            m_state = State::Connected;
            m_changed.notify_all();
        }
        if (m_state == State::Invalid) {
            const NSError failure = errorOf(NSXPCConnectionInvalid, m_reason);
            m_changed.notify_all();
            lock.unlock();
            failLater(errorHandler, failure);
            return;
        }
        if (wantsReply) {
            frame.exchange = ++m_lastExchange;
            m_waiting.emplace(frame.exchange, Waiting{std::move(reply), errorHandler});
        }
        if (m_state == State::New) {
            m_unsent.push_back(std::move(frame));
            return;
        }
        link = m_link;
    }
    // If a reply is due, the connection's thread tells its sender when it finds the link lost.
    if (!link->send(frame) && !wantsReply)
        failLater(errorHandler, interrupted());
}

void XPCConnectionCore::setHangup(Handler handler) {
    bool isLate = false;
    {
        const std::lock_guard lock(m_mutex);
        m_settings.hangup.swap(handler);
        isLate = m_state == State::Invalid || (m_link && m_link->isLost());
    }
    if (isLate)
        hangUp();
}

/// Takes the handler out, so that it is called once however many threads find the loss.
void XPCConnectionCore::hangUp() {
    Handler handler;
    {
        const std::lock_guard lock(m_mutex);
        handler.swap(m_settings.hangup);
    }
    guarded("the hangup handler", handler);
}

void XPCConnectionCore::setListenerHandlers(Handler ended, Handler handled) {
    const std::lock_guard lock(m_mutex);
    m_ended = std::move(ended);
    m_handled = std::move(handled);
}

std::chrono::steady_clock::time_point XPCConnectionCore::graceEnd() const {
    // A client that has just connected is about to send; one that takes its reply at all does so without such a
    // pause.
    constexpr std::chrono::milliseconds quiet(250);
    constexpr std::chrono::seconds untaken(5);
    std::shared_ptr<XPCLink> link;
    {
        const std::lock_guard lock(m_mutex);
        link = m_link;
    }
    if (!link)
        return {};
    return link->lastMoved() + (link->hasBytesUnderWay() ? untaken : quiet);
}

bool XPCConnectionCore::isBusy() const {
    const std::lock_guard lock(m_mutex);
    return m_busy > 0;
}

pid_t XPCConnectionCore::processIdentifier() const {
    const std::lock_guard lock(m_mutex);
    return m_process ? m_process : m_link && !m_connector ? m_link->peer() : 0;
}

void XPCConnectionCore::end() {
    Handler handled;
    {
        const std::lock_guard lock(m_mutex);
        --m_busy;
        handled = m_handled;
    }
    guarded("the listener", handled);
}

// MARK: On the connection's thread

void XPCConnectionCore::run() {
    for (;;) {
        std::shared_ptr<XPCLink> link;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] {
                return m_state == State::Invalid || (m_state == State::Connected && m_suspensions == 0);
            });
            link = m_link;
        }
        if (link)
            deliver(link);

        std::map<quint64, Waiting> waiting;
        Handler interruption;
        bool isOver = false;
        NSError failure;
        {
            const std::lock_guard lock(m_mutex);
            // Before anybody is told of the loss: nobody is to connect to a service that is ending.
            if (m_reconnects && m_process && m_state != State::Invalid)
                XPCActivator::shared().connectionWasLost(m_name, m_process);
            m_link.reset();
            waiting.swap(m_waiting);
            m_unsent.clear();
            isOver = m_state == State::Invalid || !m_reconnects;
            failure = m_state == State::Invalid ? errorOf(NSXPCConnectionInvalid, m_reason) : interrupted();
            if (isOver && m_state != State::Invalid)
                m_reason = QStringLiteral("the other side has gone");
            m_state = isOver ? State::Invalid : State::Interrupted;
            interruption = m_settings.interruption;
        }
        for (const auto &exchange : waiting) {
            if (exchange.second.error)
                guarded("the error handler", [&] { exchange.second.error(failure); });
        }
        waiting.clear();
        if (isOver)
            break;
        guarded("the interruption handler", interruption);
    }
    finish();
}

/// Reads and handles frames until the link ends.
void XPCConnectionCore::deliver(const std::shared_ptr<XPCLink> &link) {
    for (;;) {
        XPCFrame frame;
        if (!link->read(frame))
            return;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_state == State::Invalid || m_suspensions == 0; });
            if (m_state == State::Invalid)
                return;
            ++m_busy;
        }
        const bool good = handle(link, frame);
        frame = {};
        if (!good)
            link->close();
        end();
    }
}

/// False if the frame ends the connection.
bool XPCConnectionCore::handle(const std::shared_ptr<XPCLink> &link, const XPCFrame &frame) {
    XPCCall call;
    try {
        call = XPCCall::fromFrame(frame);
    } catch (...) {
        NSLog("NSXPCConnection: malformed message: %@", NSException::currentDescription());
        return false;
    }
    return frame.kind == XPCFrame::Kind::Message ? handleMessage(link, frame, call)
                                                 : handleReply(frame, call);
}

bool XPCConnectionCore::handleMessage(const std::shared_ptr<XPCLink> &link, const XPCFrame &frame,
                                      const XPCCall &call) {
    std::shared_ptr<ReplyOnce> reply;
    if (frame.exchange) {
        {
            const std::lock_guard lock(m_mutex);
            ++m_busy;
        }
        reply = std::make_shared<ReplyOnce>(link, frame.exchange, [weak = weak_from_this()] {
            if (const auto core = weak.lock())
                core->end();
        });
    }
    const auto interface = get(&Settings::exportedInterface);
    const auto object = get(&Settings::exportedObject);
    auto outcome = NSXPCInterface::Outcome::WrongObject;
    try {
        if (interface && object)
            outcome = interface->invoke(
                object.get(), call.selector, call.values,
                reply ? NSXPCInterface::Reply([reply](const QVariantList &results) { reply->send(results); })
                      : NSXPCInterface::Reply());
    } catch (...) {
        // The object's state is unknown now, so its connection ends.
        NSLog("NSXPCConnection: exception in \"%@\": %@", call.selector, NSException::currentDescription());
        return false;
    }
    const char *why = nullptr;
    switch (outcome) {
    case NSXPCInterface::Outcome::Called:
        return true;
    case NSXPCInterface::Outcome::UnknownSelector:
        why = "the interface has no such message";
        break;
    case NSXPCInterface::Outcome::WrongArguments:
        why = "the message has other arguments";
        break;
    case NSXPCInterface::Outcome::WrongObject:
        why = "nothing is exported that takes it";
        break;
    }
    const QString text = NSFormat("\"%@\" was refused: %s", {call.selector, why});
    NSLog("NSXPCConnection: %@", text);
    if (reply)
        reply->refuse(text);
    return true;
}

bool XPCConnectionCore::handleReply(const XPCFrame &frame, const XPCCall &call) {
    Waiting waiting;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_waiting.find(frame.exchange);
        if (found == m_waiting.end())
            return false;
        waiting = std::move(found->second);
        m_waiting.erase(found);
    }
    NSError failure = call.error;
    if (frame.kind == XPCFrame::Kind::Reply) {
        bool understood = true;
        guarded("the reply block", [&] { understood = waiting.reply(call.values); });
        if (understood)
            return true;
        failure = NSError();
    }
    if (!failure)
        failure =
            errorOf(NSXPCConnectionReplyInvalid, QStringLiteral("the reply is not what the interface says"));
    if (waiting.error)
        guarded("the error handler", [&] { waiting.error(failure); });
    return true;
}

void XPCConnectionCore::finish() {
    Handler invalidation;
    Handler ended;
    {
        const std::lock_guard lock(m_mutex);
        invalidation = m_settings.invalidation;
    }
    guarded("the invalidation handler", invalidation);
    Settings settings;
    {
        const std::lock_guard lock(m_mutex);
        std::swap(settings, m_settings);
        m_settings.remoteInterface = settings.remoteInterface;
        m_settings.exportedInterface = settings.exportedInterface;
        ended.swap(m_ended);
        m_handled = nullptr;
    }
    settings = {};
    guarded("the listener", ended);
}
