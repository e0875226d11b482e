// SPDX-License-Identifier: MIT
// An echo over a connection beside an echo of the same bytes over a plain pair of sockets, where the other
// side reads all of it and writes it back. Both run between two threads of this process.
#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/NSXPCListener.h"

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <mutex>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

class Echo {
public:
    using Reply = std::function<void(const QByteArray &)>;
    virtual ~Echo() = default;
    virtual void echo(const QByteArray &data, const Reply &reply) = 0;
};

class EchoProxy final : public Echo, NSXPCProxy {
public:
    using NSXPCProxy::NSXPCProxy;
    void echo(const QByteArray &data, const Reply &reply) override { forward<&Echo::echo>(data, reply); }
};

class Echoer : public QObject, public Echo {
public:
    void echo(const QByteArray &data, const Reply &reply) override { reply(data); }
};

class Delegate : public NSXPCListenerDelegate {
public:
    bool listenerShouldAcceptNewConnection(NSXPCListener *,
                                           const std::shared_ptr<NSXPCConnection> &connection) override;
};

} // namespace

template <>
struct NSXPCProtocolDescription<Echo> {
    static constexpr char name[] = "Echo";
    using Methods = NSXPCMethods<NSXPCMethod<"echo:reply:", &Echo::echo>>;
    using Proxy = EchoProxy;
};

namespace {

bool Delegate::listenerShouldAcceptNewConnection(NSXPCListener *,
                                                 const std::shared_ptr<NSXPCConnection> &connection) {
    connection->setExportedInterface(NSXPCInterface::interfaceWithProtocol<Echo>());
    connection->setExportedObject(std::make_shared<Echoer>());
    connection->resume();
    return true;
}

/// Lets the measured thread sleep until a reply is there.
class Turnstile {
public:
    void open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_one();
    }
    void pass() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_open; });
        m_open = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

void connection(benchmark::State &state) {
    const auto delegate = std::make_shared<Delegate>();
    const auto listener = NSXPCListener::anonymousListener();
    listener->setDelegate(delegate);
    listener->resume();
    NSXPCConnection connection(listener->endpoint());
    connection.setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<Echo>());
    connection.resume();
    const auto proxy = connection.remoteObjectProxy<Echo>();
    const QByteArray body(state.range(0), 'x');
    Turnstile turnstile;
    for (auto _ : state) {
        proxy->echo(body, [&](const QByteArray &reply) {
            benchmark::DoNotOptimize(reply.constData());
            turnstile.open();
        });
        turnstile.pass();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}

/// As the client does it: a connection a task.
void newConnection(benchmark::State &state) {
    const auto delegate = std::make_shared<Delegate>();
    const auto listener = NSXPCListener::anonymousListener();
    listener->setDelegate(delegate);
    listener->resume();
    const QByteArray body(state.range(0), 'x');
    Turnstile turnstile;
    for (auto _ : state) {
        NSXPCConnection connection(listener->endpoint());
        connection.setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<Echo>());
        connection.resume();
        connection.remoteObjectProxy<Echo>()->echo(body, [&](const QByteArray &) { turnstile.open(); });
        turnstile.pass();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}

bool readAll(int socket, char *into, std::size_t count) {
    while (count > 0) {
        const ssize_t got = ::read(socket, into, count);
        if (got <= 0)
            return false;
        into += got;
        count -= std::size_t(got);
    }
    return true;
}

bool writeAll(int socket, const char *from, std::size_t count) {
    while (count > 0) {
        const ssize_t sent = ::send(socket, from, count, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        from += sent;
        count -= std::size_t(sent);
    }
    return true;
}

void socketPair(benchmark::State &state) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return state.SkipWithError("no sockets");
    const auto size = std::size_t(state.range(0));
    std::thread other([&] {
        // A new buffer a message, as a receiver that keeps it needs.
        for (;;) {
            QByteArray body(qsizetype(size), Qt::Uninitialized);
            if (!readAll(ends[1], body.data(), size) || !writeAll(ends[1], body.constData(), size))
                return;
        }
    });
    const QByteArray body(qsizetype(size), 'x');
    for (auto _ : state) {
        QByteArray reply(qsizetype(size), Qt::Uninitialized);
        writeAll(ends[0], body.constData(), size);
        readAll(ends[0], reply.data(), size);
        benchmark::DoNotOptimize(reply.constData());
    }
    ::shutdown(ends[0], SHUT_RDWR);
    other.join();
    ::close(ends[0]);
    ::close(ends[1]);
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}

} // namespace

BENCHMARK(connection)->Arg(1024)->Arg(2 * 1024 * 1024)->UseRealTime();
BENCHMARK(newConnection)->Arg(1024)->Arg(2 * 1024 * 1024)->UseRealTime();
BENCHMARK(socketPair)->Arg(1024)->Arg(2 * 1024 * 1024)->UseRealTime();
