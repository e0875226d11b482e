// SPDX-License-Identifier: MIT
#include "platform/net/AddressPolicy.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ifaddrs.h>
#include <iterator>
#include <memory>
#include <netinet/in.h>
#include <optional>

namespace zr {

namespace {

struct Block4 {
    std::uint32_t network;
    int bits;
};

constexpr std::uint32_t ipv4(unsigned a, unsigned b, unsigned c, unsigned d) {
    return a << 24U | b << 16U | c << 8U | d;
}

constexpr Block4 privateIPv4[] = {
    // IANA IPv4 Special-Purpose Address Registry, not globally reachable. Of 192.0.0.0/24 two anycast addresses are,
    // but what is nearest there is the local network's.
    {ipv4(0, 0, 0, 0), 8},       // RFC 791: this network
    {ipv4(10, 0, 0, 0), 8},      // RFC 1918: private
    {ipv4(100, 64, 0, 0), 10},   // RFC 6598: shared by an operator's customers
    {ipv4(127, 0, 0, 0), 8},     // RFC 1122: loopback
    {ipv4(169, 254, 0, 0), 16},  // RFC 3927: link-local, and most clouds' metadata
    {ipv4(172, 16, 0, 0), 12},   // RFC 1918: private
    {ipv4(192, 0, 0, 0), 24},    // RFC 6890: protocol assignments
    {ipv4(192, 0, 2, 0), 24},    // RFC 5737: documentation
    {ipv4(192, 88, 99, 0), 24},  // RFC 7526: 6to4 relays that were
    {ipv4(192, 168, 0, 0), 16},  // RFC 1918: private
    {ipv4(198, 18, 0, 0), 15},   // RFC 2544: benchmarks
    {ipv4(198, 51, 100, 0), 24}, // RFC 5737: documentation
    {ipv4(203, 0, 113, 0), 24},  // RFC 5737: documentation
    {ipv4(240, 0, 0, 0), 4},     // RFC 1112: reserved, and RFC 919: broadcast
    // IANA IPv4 Multicast Address Space Registry.
    {ipv4(224, 0, 0, 0), 4},
    // In the public range, but within each of a cloud's machines: Azure's own services.
    {ipv4(168, 63, 129, 16), 32},
};

struct Block6 {
    std::array<std::uint8_t, 4> network;
    unsigned bits;
};

/// Within 2000::/3; whatever lies outside isn't global unicast. IANA IPv6 Special-Purpose Address Registry.
constexpr Block6 privateIPv6[] = {
    {{0x20, 0x01, 0x00, 0x00},
     23}, // RFC 2928: protocol assignments; Teredo (RFC 4380) and anycast among them
    {{0x20, 0x01, 0x0d, 0xb8}, 32}, // RFC 3849: documentation
    {{0x20, 0x02, 0x00, 0x00}, 16}, // RFC 3056: 6to4
    {{0x3f, 0xff, 0x00, 0x00}, 20}, // RFC 9637: documentation
};

constexpr std::array<std::uint8_t, 12> nat64 = {0, 0x64, 0xff, 0x9b}; // RFC 6052

using Bytes = std::array<std::uint8_t, 16>;

bool isPublic(std::uint32_t address) {
    return std::none_of(std::begin(privateIPv4), std::end(privateIPv4), [address](const Block4 &block) {
        return ((address ^ block.network) >> unsigned(32 - block.bits)) == 0;
    });
}

std::uint32_t ipv4In(const Bytes &address) {
    return ipv4(address[12], address[13], address[14], address[15]);
}

bool isPublic(const Bytes &address) {
    if (std::equal(nat64.begin(), nat64.end(), address.begin()))
        return isPublic(ipv4In(address));
    if ((address[0] & 0xe0U) != 0x20)
        return false;
    const std::uint32_t start = ipv4(address[0], address[1], address[2], address[3]);
    const bool isSpecial =
        std::any_of(std::begin(privateIPv6), std::end(privateIPv6), [start](const Block6 &block) {
            const std::uint32_t network =
                ipv4(block.network[0], block.network[1], block.network[2], block.network[3]);
            return ((start ^ network) >> (32 - block.bits)) == 0;
        });
    // ISATAP: an interface identifier of 0000:5efe or 0200:5efe before the IPv4 address.
    const bool isISATAP =
        (address[8] & 0xfdU) == 0 && address[9] == 0 && address[10] == 0x5e && address[11] == 0xfe;
    return !isSpecial && (!isISATAP || isPublic(ipv4In(address)));
}

template <typename Address>
Address as(const sockaddr *address) {
    Address copy;
    std::memcpy(&copy, address, sizeof copy);
    return copy;
}

/// The address's bytes, four or sixteen in the order of the network; nothing for another family.
struct AddressBytes {
    const std::uint8_t *first;
    std::size_t count;
};

std::optional<AddressBytes> bytesOf(const sockaddr *address) {
    const auto at = [&](std::size_t offset, std::size_t count) {
        return AddressBytes{reinterpret_cast<const std::uint8_t *>(address) + offset, count};
    };
    if (address && address->sa_family == AF_INET)
        return at(offsetof(sockaddr_in, sin_addr), sizeof(in_addr));
    if (address && address->sa_family == AF_INET6)
        return at(offsetof(sockaddr_in6, sin6_addr), sizeof(in6_addr));
    return std::nullopt;
}

/// Whether an address is an interface's own, or within its network.
bool isWithin(const AddressBytes &address, const ifaddrs &interface) {
    const auto own = bytesOf(interface.ifa_addr);
    if (!own || own->count != address.count)
        return false;
    const auto mask = bytesOf(interface.ifa_netmask);
    const bool hasNetwork = mask && mask->count == own->count && mask->first[0] != 0;
    bool isSame = true;
    for (std::size_t index = 0; index < own->count; ++index) {
        const unsigned counted = hasNetwork ? mask->first[index] : 0xffU;
        isSame = isSame && ((address.first[index] ^ own->first[index]) & counted) == 0;
    }
    return isSame;
}

} // namespace

bool AddressPolicy::isOfOwnNetworks(const sockaddr *address) {
    const auto bytes = bytesOf(address);
    ifaddrs *first = nullptr;
    if (!bytes || ::getifaddrs(&first) != 0)
        return true;
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs *)> interfaces(first, ::freeifaddrs);
    for (const ifaddrs *each = first; each; each = each->ifa_next)
        if (isWithin(*bytes, *each))
            return true;
    return false;
}

bool AddressPolicy::isPublicAddress(const sockaddr *address) {
    if (address && address->sa_family == AF_INET)
        return isPublic(ntohl(as<sockaddr_in>(address).sin_addr.s_addr));
    if (!address || address->sa_family != AF_INET6)
        return false;
    const auto ipv6 = as<sockaddr_in6>(address);
    Bytes bytes;
    std::memcpy(bytes.data(), &ipv6.sin6_addr, bytes.size());
    return ipv6.sin6_scope_id == 0 && isPublic(bytes);
}

bool AddressPolicy::isPublicName(const QString &host) {
    static constexpr std::array<QStringView, 6> domains = {u"localhost", u"local",         u"internal",
                                                           u"home.arpa", u"metadata.goog", u"instance-data"};
    QString name = host.toLower();
    while (name.endsWith(u'.'))
        name.chop(1);
    return !name.isEmpty() && std::none_of(domains.begin(), domains.end(), [&name](QStringView domain) {
        return name == domain || (name.endsWith(domain) && name.at(name.size() - domain.size() - 1) == u'.');
    });
}

bool AddressPolicy::isPortForDocuments(int port) {
    static constexpr std::array blocked = {
        0,    1,    7,    9,    11,   13,   15,   17,   19,   20,   21,   22,   23,   25,   37,    42,   43,
        53,   69,   77,   79,   87,   95,   101,  102,  103,  104,  109,  110,  111,  113,  115,   117,  119,
        123,  135,  137,  139,  143,  161,  179,  389,  427,  465,  512,  513,  514,  515,  526,   530,  531,
        532,  540,  548,  554,  556,  563,  587,  601,  636,  989,  990,  993,  995,  1719, 1720,  1723, 2049,
        3659, 4045, 4190, 5060, 5061, 6000, 6566, 6665, 6666, 6667, 6668, 6669, 6679, 6697, 10080,
    };
    return port > 0 && port <= 65535 && !std::binary_search(blocked.begin(), blocked.end(), port);
}

QString AddressPolicy::text(const sockaddr *address) {
    std::array<char, INET6_ADDRSTRLEN> buffer{};
    const char *written = nullptr;
    if (address && address->sa_family == AF_INET) {
        const auto ipv4Address = as<sockaddr_in>(address);
        written = ::inet_ntop(AF_INET, &ipv4Address.sin_addr, buffer.data(), buffer.size());
    } else if (address && address->sa_family == AF_INET6) {
        const auto ipv6Address = as<sockaddr_in6>(address);
        written = ::inet_ntop(AF_INET6, &ipv6Address.sin6_addr, buffer.data(), buffer.size());
    }
    return QString::fromLatin1(written);
}

} // namespace zr
