// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCInterface.h"
#include "platform/xpc/NSXPCProxy.h"
#include "platform/xpc/XPCCall.h"
#include "platform/xpc/XPCLink.h"

#include <QObject>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <sys/types.h>
#include <vector>

namespace zr {

/// A connection's working: its state, its thread, and the messages that wait. It outlives its NSXPCConnection
/// as long as the thread or a proxy needs it.
class XPCConnectionCore : public std::enable_shared_from_this<XPCConnectionCore> {
public:
    using Handler = std::function<void()>;
    using ErrorHandler = NSXPCDetail::ErrorHandler;
    /// Gives a connected socket and, if known, the process behind it; or none and the text of what failed.
    using Connector = std::function<FileDescriptor(QString *error, pid_t *process)>;

    struct Settings {
        std::shared_ptr<const NSXPCInterface> remoteInterface;
        std::shared_ptr<const NSXPCInterface> exportedInterface;
        std::shared_ptr<QObject> exportedObject;
        Handler interruption;
        Handler invalidation;
        Handler hangup;
    };

    /// \param connector   makes the socket; empty if there is a link already
    /// \param reconnects  whether a lost link may be replaced
    XPCConnectionCore(QString name, Connector connector, bool reconnects, std::shared_ptr<XPCLink> link);

    void resume();
    void suspend();
    void invalidate();
    void send(const QString &selector, const QVariantList &values, NSXPCDetail::ReplyTaker reply,
              const ErrorHandler &errorHandler);

    template <typename T>
    T get(T Settings::*field) const {
        const std::lock_guard lock(m_mutex);
        return m_settings.*field;
    }
    template <typename T>
    void set(T Settings::*field, T value) {
        // The old value is destroyed after the lock is open: it may hold anything.
        const std::lock_guard lock(m_mutex);
        std::swap(m_settings.*field, value);
    }
    void setHangup(Handler handler);
    const QString &name() const { return m_name; }
    pid_t processIdentifier() const;

    /// For a listener: called on the connection's thread when it has ended, and after each message it
    /// handled.
    void setListenerHandlers(Handler ended, Handler handled);
    /// Whether a message is being handled or its reply is due.
    bool isBusy() const;
    /// Until when a service that has been told to end waits for the other side: shortly after bytes last went either
    /// way, longer while the other side still has bytes to take.
    std::chrono::steady_clock::time_point graceEnd() const;

private:
    struct Waiting {
        NSXPCDetail::ReplyTaker reply;
        ErrorHandler error;
    };
    enum class State {
        New,         ///< never resumed
        Connected,   ///< there is a link, which may have been lost already
        Interrupted, ///< no link; the next message makes one
        Invalid,
    };

    bool connect(std::unique_lock<std::mutex> &lock);
    void startThread();
    void run();
    void deliver(const std::shared_ptr<XPCLink> &link);
    void end();
    bool handle(const std::shared_ptr<XPCLink> &link, const XPCFrame &frame);
    bool handleMessage(const std::shared_ptr<XPCLink> &link, const XPCFrame &frame, const XPCCall &call);
    bool handleReply(const XPCFrame &frame, const XPCCall &call);
    void finish();
    void hangUp();
    static void guarded(const char *what, const std::function<void()> &function);
    void failLater(const ErrorHandler &handler, const NSError &error);

    const QString m_name;
    const Connector m_connector;
    const bool m_reconnects;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::New;
    std::shared_ptr<XPCLink> m_link;
    pid_t m_process = 0;
    int m_suspensions = 1;
    bool m_hasThread = false;
    int m_busy = 0;
    QString m_reason;
    quint64 m_lastExchange = 0;
    std::map<quint64, Waiting> m_waiting;
    std::vector<XPCFrame> m_unsent;
    Settings m_settings;
    Handler m_ended;
    Handler m_handled;
};

} // namespace zr
