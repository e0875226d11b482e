// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

/// A network of this process's own, without a way to any other: every unicast address of IPv4 and IPv6 is this machine, so
/// that a server listens at all of them.
namespace OwnNetwork {

/// What a test says that can't have one.
inline constexpr char needs[] =
    "this test needs a network of its own: root, or a user who may make namespaces, as on Debian";

/// Whether the system lets this user make one; for a process with one thread.
bool mayEnter();
/// Moves the process, which must have one thread, into such a network, for good. Names are asked of 127.0.0.1. Children are
/// in it, too.
/// \return false if mayEnter() is; the process is as it was
bool enter();

/// Gives the network's interface one more address, IPv4 or IPv6, and with it the network of that many leading bits.
void addAddress(const char *address, int bits);

/// A socket that listens at a port of all addresses; the caller closes it.
int listenEverywhere(int port);

} // namespace OwnNetwork

/// The network's name server: answers at 127.0.0.1, in its thread, until destroyed.
class NameServer {
public:
    /// Gives the addresses, as text, of a name in small letters; the count says how often it was asked for before. Called
    /// for IPv4 and IPv6 addresses together, so once for each look-up of the system's resolver.
    using Answers = std::function<QList<QByteArray>(const QByteArray &name, int count)>;
    explicit NameServer(Answers answers);
    ~NameServer();
    NameServer(const NameServer &) = delete;
    NameServer &operator=(const NameServer &) = delete;

private:
    void serve();
    QByteArray answer(const QByteArray &question);

    const Answers m_answers;
    int m_socket;
    QMap<QByteArray, QList<QByteArray>> m_given; ///< for the other half of a look-up
    QMap<QByteArray, int> m_counts;
    std::thread m_thread;
};

/// Notes where every packet of the network goes, as long as it lives.
class PacketLog {
public:
    PacketLog();
    ~PacketLog();
    PacketLog(const PacketLog &) = delete;
    PacketLog &operator=(const PacketLog &) = delete;

    /// "10.1.2.3:80", "[fd00::88]:443", or an address alone for what is neither TCP nor UDP; without answers, so of TCP
    /// only what opens a connection, and without ICMP. All packets that were sent before the call are in it.
    QSet<QByteArray> destinations();

private:
    void listen();
    void note(const QByteArray &packet);

    int m_socket;
    int m_sentinelPort = 0;
    std::atomic<bool> m_ending{false};
    mutable std::mutex m_mutex;
    QSet<QByteArray> m_destinations;
    std::thread m_thread;
};
