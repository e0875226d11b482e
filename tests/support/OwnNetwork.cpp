// SPDX-License-Identifier: MIT
#include "tests/support/OwnNetwork.h"

#include <QDir>
#include <QFile>
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Milliseconds between two looks at whether a thread is to end.
constexpr int patience = 50;

bool write(const char *path, const QByteArray &text) {
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

bool makeNamespaces() {
    if (::unshare(CLONE_NEWNET | CLONE_NEWNS) == 0)
        return true;
    const QByteArray user = QByteArray::number(::geteuid()), group = QByteArray::number(::getegid());
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) == 0 &&
           write("/proc/self/setgroups", "deny") && write("/proc/self/uid_map", user + ' ' + user + " 1") &&
           write("/proc/self/gid_map", group + ' ' + group + " 1");
}

void raiseLoopback() {
    const int any = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback{};
    loopback.ifr_name[0] = 'l';
    loopback.ifr_name[1] = 'o';
    loopback.ifr_flags = IFF_UP;
    EXPECT_EQ(::ioctl(any, SIOCSIFFLAGS, &loopback), 0);
    ::close(any);
}

/// Has the kernel's network do something (rtnetlink(7)).
void exchange(const void *request, std::size_t size) {
    const int netlink = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    struct {
        nlmsghdr head;
        nlmsgerr error;
        std::array<char, 256> rest;
    } reply{};
    EXPECT_EQ(::send(netlink, request, size, 0), ssize_t(size));
    EXPECT_GT(::recv(netlink, &reply, sizeof reply, 0), 0);
    EXPECT_EQ(reply.error.error, 0);
    ::close(netlink);
}

/// Makes every address of the family one of this machine's.
void makeAllLocal(unsigned char family) {
    struct {
        nlmsghdr head;
        rtmsg route;
        rtattr attribute;
        std::uint32_t interface;
    } request{};
    request.head.nlmsg_len = sizeof request;
    request.head.nlmsg_type = RTM_NEWROUTE;
    request.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_CREATE | NLM_F_ACK;
    request.route.rtm_family = family;
    request.route.rtm_table = RT_TABLE_LOCAL;
    request.route.rtm_protocol = RTPROT_STATIC;
    request.route.rtm_scope = RT_SCOPE_HOST;
    request.route.rtm_type = RTN_LOCAL;
    request.attribute.rta_len = RTA_LENGTH(sizeof request.interface);
    request.attribute.rta_type = RTA_OIF;
    request.interface = ::if_nametoindex("lo");
    exchange(&request, sizeof request);
}

/// Has the path show this text, for this process and its children. The file goes at once: the mount keeps it.
void replace(const char *path, const QByteArray &text) {
    QByteArray file = QFile::encodeName(QDir::tempPath()) + "/own-network-XXXXXX";
    const int descriptor = ::mkstemp(file.data());
    EXPECT_EQ(::write(descriptor, text.constData(), size_t(text.size())), text.size());
    EXPECT_EQ(::fchmod(descriptor, 0644), 0);
    ::close(descriptor);
    // Nothing can be mounted on what was mounted before, whose file is gone.
    ::umount2(path, MNT_DETACH);
    EXPECT_EQ(::mount(file.constData(), path, nullptr, MS_BIND, nullptr), 0);
    ::unlink(file.constData());
}

sockaddr_in loopbackAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(std::uint16_t(port));
    return address;
}

int bindToLoopback(int port) {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopbackAddress(port);
    if (::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot take a port of the own network");
    return socket;
}

bool isReadable(int socket) {
    pollfd ready{.fd = socket, .events = POLLIN, .revents = 0};
    return ::poll(&ready, 1, patience) == 1;
}

quint16 number(const QByteArray &bytes, qsizetype at) {
    return at + 1 < bytes.size() ? quint16(quint8(bytes[at]) << 8U | quint8(bytes[at + 1])) : quint16(0);
}

QByteArray bigEndian(unsigned value, int bytes) {
    QByteArray text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text.append(char(value >> unsigned(shift) & 0xffU));
    return text;
}

} // namespace

bool OwnNetwork::mayEnter() {
    // Half a success can't be taken back.
    const pid_t trial = ::fork();
    if (trial == 0)
        ::_exit(makeNamespaces() ? 0 : 1);
    int status = -1;
    return ::waitpid(trial, &status, 0) == trial && status == 0;
}

bool OwnNetwork::enter() {
    if (!mayEnter() || !makeNamespaces())
        return false;
    raiseLoopback();
    makeAllLocal(AF_INET);
    makeAllLocal(AF_INET6);
    EXPECT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    replace("/etc/resolv.conf", "nameserver 127.0.0.1\noptions timeout:30 attempts:3\n");
    replace("/etc/nsswitch.conf", "hosts: files dns\n");
    return true;
}

void OwnNetwork::addAddress(const char *address, int bits) {
    struct {
        nlmsghdr head;
        ifaddrmsg message;
        rtattr attribute;
        std::array<std::uint8_t, sizeof(in6_addr)> bytes;
    } request{};
    const bool isIPv6 = QByteArrayView(address).contains(':');
    const std::size_t size = isIPv6 ? sizeof(in6_addr) : sizeof(in_addr);
    request.message.ifa_family = isIPv6 ? AF_INET6 : AF_INET;
    request.message.ifa_prefixlen = std::uint8_t(bits);
    request.message.ifa_index = ::if_nametoindex("lo");
    request.attribute.rta_type = IFA_LOCAL;
    request.attribute.rta_len = std::uint16_t(RTA_LENGTH(size));
    EXPECT_EQ(::inet_pton(request.message.ifa_family, address, request.bytes.data()), 1);
    request.head.nlmsg_len = std::uint32_t(NLMSG_LENGTH(sizeof request.message) + RTA_LENGTH(size));
    request.head.nlmsg_type = RTM_NEWADDR;
    request.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_CREATE | NLM_F_ACK;
    exchange(&request, request.head.nlmsg_len);
}

int OwnNetwork::listenEverywhere(int port) {
    const int listener = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1, off = 0;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(std::uint16_t(port));
    if (::bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener, 1024) != 0)
        throw std::runtime_error("cannot listen in the own network");
    return listener;
}

NameServer::NameServer(Answers answers) : m_answers(std::move(answers)), m_socket(bindToLoopback(53)) {
    m_thread = std::thread([this] { serve(); });
}

NameServer::~NameServer() {
    ::shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    ::close(m_socket);
}

void NameServer::serve() {
    for (;;) {
        QByteArray question(512, Qt::Uninitialized);
        sockaddr_in from{};
        socklen_t size = sizeof from;
        const ssize_t count = ::recvfrom(m_socket, question.data(), size_t(question.size()), 0,
                                         reinterpret_cast<sockaddr *>(&from), &size);
        if (count <= 0)
            return;
        question.truncate(count);
        const QByteArray bytes = answer(question);
        ::sendto(m_socket, bytes.constData(), size_t(bytes.size()), 0,
                 reinterpret_cast<const sockaddr *>(&from), size);
    }
}

/// RFC 1035, 4.1.
QByteArray NameServer::answer(const QByteArray &question) {
    constexpr qsizetype headSize = 12;
    QByteArray name;
    qsizetype at = headSize;
    while (at < question.size() && question[at] != 0) {
        const auto length = qsizetype(quint8(question[at]));
        name += (name.isEmpty() ? "" : ".") + question.mid(at + 1, length).toLower();
        at += length + 1;
    }
    const quint16 type = number(question, at + 1);
    const QByteArray asked = question.mid(headSize, at + 5 - headSize);
    // Both halves of a look-up get what its first one was given.
    const QByteArray other = name + (type == 1 ? " 28" : " 1"), own = name + (type == 1 ? " 1" : " 28");
    if (!m_given.contains(own)) {
        const QList<QByteArray> addresses = m_answers(name, m_counts[name]++);
        m_given.insert(own, addresses);
        m_given.insert(other, addresses);
    }
    QByteArray records;
    unsigned count = 0;
    for (const QByteArray &address : m_given.take(own)) {
        QByteArray bytes(type == 1 ? 4 : 16, 0);
        if (::inet_pton(type == 1 ? AF_INET : AF_INET6, address.constData(), bytes.data()) != 1)
            continue;
        records += "\xc0\x0c" + bigEndian(type, 2) + bigEndian(1, 2) + bigEndian(0, 4) +
                   bigEndian(unsigned(bytes.size()), 2) + bytes;
        ++count;
    }
    return question.left(2) + "\x81\x80" + bigEndian(1, 2) + bigEndian(count, 2) + bigEndian(0, 4) + asked +
           records;
}

PacketLog::PacketLog() : m_socket(::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, htons(ETH_P_ALL))) {
    if (m_socket < 0)
        throw std::runtime_error("cannot watch the own network");
    constexpr int largeBuffer = 64 << 20;
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUFFORCE, &largeBuffer, sizeof largeBuffer);
    m_thread = std::thread([this] { listen(); });
}

PacketLog::~PacketLog() {
    m_ending = true;
    m_thread.join();
    ::close(m_socket);
}

void PacketLog::listen() {
    constexpr size_t headSize = 128;
    std::array<char, headSize> bytes{};
    while (!m_ending) {
        sockaddr_ll from{};
        socklen_t size = sizeof from;
        if (!isReadable(m_socket))
            continue;
        const ssize_t count =
            ::recvfrom(m_socket, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr *>(&from), &size);
        // Loopback shows each packet twice.
        if (count > 0 && from.sll_pkttype == PACKET_OUTGOING)
            note(QByteArray(bytes.data(), count));
    }
}

void PacketLog::note(const QByteArray &packet) {
    constexpr char icmp = 1, tcp = 6, udp = 17, icmpv6 = 58;
    const int version = quint8(packet[0]) >> 4U;
    const bool isIPv6 = version == 6;
    const qsizetype head = isIPv6 ? 40 : (quint8(packet[0]) & 0xfU) * 4;
    if (packet.size() < head + 14)
        return;
    const char protocol = packet[isIPv6 ? 6 : 9];
    std::array<char, INET6_ADDRSTRLEN> text{};
    ::inet_ntop(isIPv6 ? AF_INET6 : AF_INET, packet.constData() + (isIPv6 ? 24 : 16), text.data(),
                text.size());
    QByteArray destination = isIPv6 ? '[' + QByteArray(text.data()) + ']' : QByteArray(text.data());
    // The kernel's own messages.
    if (protocol == icmp || protocol == icmpv6)
        return;
    if (protocol == tcp || protocol == udp)
        destination += ':' + QByteArray::number(number(packet, head + 2));
    constexpr quint8 syn = 0x02, ack = 0x10;
    if (protocol == tcp && (quint8(packet[head + 13]) & (syn | ack)) != syn)
        return;
    // The name server's answers.
    if (protocol == udp && number(packet, head) == 53)
        return;
    const std::lock_guard lock(m_mutex);
    m_destinations.insert(destination);
}

QSet<QByteArray> PacketLog::destinations() {
    // A packet of our own: once it is noted, those before it are.
    constexpr int firstPort = 40000;
    const int port = firstPort + m_sentinelPort++;
    const QByteArray sentinel = "127.99.99.99:" + QByteArray::number(port);
    sockaddr_in address = loopbackAddress(port);
    ::inet_pton(AF_INET, "127.99.99.99", &address.sin_addr);
    const int sender = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ::sendto(sender, "sentinel", 8, 0, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    ::close(sender);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_destinations.remove(sentinel))
                return QSet<QByteArray>(m_destinations.cbegin(), m_destinations.cend());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ADD_FAILURE() << "the packet log lost a packet";
    return {};
}
