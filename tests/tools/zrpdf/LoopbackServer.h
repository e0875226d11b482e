// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <atomic>
#include <functional>
#include <thread>

/// A small HTTP server on this machine's loopback. Paths it has no page for are never answered.
class LoopbackServer {
public:
    /// \param page  gives the body for a path, on the server's thread; nil for no answer
    explicit LoopbackServer(std::function<QByteArray(const QByteArray &path)> page = {});
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer &) = delete;
    LoopbackServer &operator=(const LoopbackServer &) = delete;

    QByteArray url(const QByteArray &path) const;
    /// How many requests are waiting for an answer that won't come.
    int waiting() const { return m_waiting; }

private:
    void serve();

    std::function<QByteArray(const QByteArray &)> m_page;
    int m_port = 0;
    int m_listener = -1;
    int m_stop = -1;
    std::atomic<int> m_waiting = 0;
    std::thread m_thread;
};
