// SPDX-License-Identifier: MIT
#include "platform/net/AddressPolicy.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/un.h>

using namespace zr;

namespace {

bool isPublic(const char *text, std::uint32_t scope = 0) {
    sockaddr_in ipv4{};
    sockaddr_in6 ipv6{};
    ipv4.sin_family = AF_INET;
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_scope_id = scope;
    if (::inet_pton(AF_INET, text, &ipv4.sin_addr) == 1)
        return AddressPolicy::isPublicAddress(reinterpret_cast<const sockaddr *>(&ipv4));
    EXPECT_EQ(::inet_pton(AF_INET6, text, &ipv6.sin6_addr), 1) << text;
    EXPECT_EQ(AddressPolicy::text(reinterpret_cast<const sockaddr *>(&ipv6)), QLatin1StringView(text));
    return AddressPolicy::isPublicAddress(reinterpret_cast<const sockaddr *>(&ipv6));
}

} // namespace

TEST(AddressPolicy, BlocksOfIPv4EndWhereTheRegistryHasIt) {
    struct Block {
        const char *before, *first, *last, *behind; // nullptr if what lies there isn't public either
    };
    for (const auto &[before, first, last, behind] :
         {Block{nullptr, "0.0.0.0", "0.255.255.255", "1.0.0.0"},
          Block{"9.255.255.255", "10.0.0.0", "10.255.255.255", "11.0.0.0"},
          Block{"100.63.255.255", "100.64.0.0", "100.127.255.255", "100.128.0.0"},
          Block{"126.255.255.255", "127.0.0.0", "127.255.255.255", "128.0.0.0"},
          Block{"168.63.129.15", "168.63.129.16", "168.63.129.16", "168.63.129.17"},
          Block{"169.253.255.255", "169.254.0.0", "169.254.255.255", "169.255.0.0"},
          Block{"172.15.255.255", "172.16.0.0", "172.31.255.255", "172.32.0.0"},
          Block{"191.255.255.255", "192.0.0.0", "192.0.0.255", "192.0.1.0"},
          Block{"192.0.1.255", "192.0.2.0", "192.0.2.255", "192.0.3.0"},
          Block{"192.88.98.255", "192.88.99.0", "192.88.99.255", "192.88.100.0"},
          Block{"192.167.255.255", "192.168.0.0", "192.168.255.255", "192.169.0.0"},
          Block{"198.17.255.255", "198.18.0.0", "198.19.255.255", "198.20.0.0"},
          Block{"198.51.99.255", "198.51.100.0", "198.51.100.255", "198.51.101.0"},
          Block{"203.0.112.255", "203.0.113.0", "203.0.113.255", "203.0.114.0"},
          Block{"223.255.255.255", "224.0.0.0", "239.255.255.255", nullptr},
          Block{nullptr, "240.0.0.0", "255.255.255.255", nullptr}}) {
        EXPECT_TRUE(!before || isPublic(before)) << before;
        EXPECT_FALSE(isPublic(first)) << first;
        EXPECT_FALSE(isPublic(last)) << last;
        EXPECT_TRUE(!behind || isPublic(behind)) << behind;
    }
    // Special, yet reachable.
    for (const char *const address :
         {"192.31.196.1", "192.52.193.1", "192.175.48.1", "93.184.216.34", "8.8.8.8"})
        EXPECT_TRUE(isPublic(address)) << address;
}

TEST(AddressPolicy, MetadataOfCloudsIsNotPublic) {
    for (const char *const address :
         {"169.254.169.254", "169.254.170.2", "169.254.170.23", "169.254.42.42", "100.100.100.200",
          "192.0.0.192", "168.63.129.16", "fd00:ec2::254", "fd00:ec2::23", "fd20:ce::254",
          "fd00:c1::a9fe:a9fe", "fd00:42::42", "fd00:100::100:200", "fe80::a9fe:a9fe"})
        EXPECT_FALSE(isPublic(address)) << address;
}

TEST(AddressPolicy, OfIPv6GlobalUnicastIsPublicWithoutItsSpecialBlocks) {
    for (const char *const address : {"::",           "::1",
                                      "100::1",       "100:0:0:1::1",
                                      "1fff:ffff::1", "4000::",
                                      "5f00::1",      "8000::1",
                                      "fc00::1",      "fd00::88",
                                      "fe80::1",      "febf::1",
                                      "fec0::1",      "ff02::1",
                                      "ff0e::1",      "2001::1",
                                      "2001:1::1",    "2001:1ff:ffff::1",
                                      "2001:db8::1",  "2001:db8:ffff::1",
                                      "3fff::1",      "3fff:fff:ffff::1"})
        EXPECT_FALSE(isPublic(address)) << address;
    for (const char *const address :
         {"2000::", "2001:200::1", "2001:db7::1", "2001:db9::1", "2003::1", "2606:2800:220:1::1",
          "2a00:1450::1", "3ffe::1", "3fff:1000::1", "3fff:ffff::1"})
        EXPECT_TRUE(isPublic(address)) << address;
}

TEST(AddressPolicy, IPv4InIPv6IsNoWayRound) {
    for (const char *const address : {
             "::ffff:127.0.0.1",
             "::ffff:10.1.2.3",
             "::ffff:93.184.216.34", // mapped
             "::127.0.0.1",
             "::10.1.2.3",
             "::93.184.216.34", // compatible
             "::ffff:0:a01:203",
             "::ffff:0:5db8:d822", // translated
             "64:ff9b::a01:203",
             "64:ff9b::7f00:1",
             "64:ff9b::a9fe:a9fe", // NAT64
             "64:ff9b:1::a01:203",
             "64:ff9b:1::5db8:d822",   // its local prefix
             "64:ff9b:0:1::5db8:d822", // close to it
             "2002:a01:203::1",
             "2002:7f00:1::",
             "2002:5db8:d822::1",                 // 6to4
             "2001:0:5db8:d822:0:f5ff:f5fe:fdfc", // Teredo, whose bits are inverted
             "2606:2800:220:1:0:5efe:a01:203",
             "2606:2800:220:1:200:5efe:7f00:1",
             "fe80::5efe:a01:203", // ISATAP
         })
        EXPECT_FALSE(isPublic(address)) << address;
    for (const char *const address : {"64:ff9b::5db8:d822", "2606:2800:220:1:0:5efe:5db8:d822"})
        EXPECT_TRUE(isPublic(address)) << address;
}

TEST(AddressPolicy, AnAddressWithAZoneIsOfALocalNetwork) {
    EXPECT_FALSE(isPublic("2606:2800:220:1::1", 1));
    EXPECT_FALSE(isPublic("fe80::1", 2));
}

TEST(AddressPolicy, OtherKindsOfAddressesAreNotPublic) {
    sockaddr_un local{};
    local.sun_family = AF_UNIX;
    EXPECT_FALSE(AddressPolicy::isPublicAddress(reinterpret_cast<const sockaddr *>(&local)));
    EXPECT_FALSE(AddressPolicy::isPublicAddress(nullptr));
    EXPECT_TRUE(AddressPolicy::text(reinterpret_cast<const sockaddr *>(&local)).isNull());
    EXPECT_TRUE(AddressPolicy::text(nullptr).isNull());
}

TEST(AddressPolicy, SomeNamesAreNeverPublic) {
    for (const char *const name :
         {"", ".", "localhost", "LocalHost", "localhost.", "a.localhost", "A.LOCALHOST..",
          "metadata.google.internal", "Metadata.Google.Internal.", "metadata.goog", "instance-data",
          "instance-data.ec2.internal", "printer.local", "router.home.arpa"})
        EXPECT_FALSE(AddressPolicy::isPublicName(QString::fromLatin1(name))) << name;
    for (const char *const name : {"example.com", "notlocalhost", "localhost.example.com",
                                   "internal.example.com", "xmetadata.goog.org", "127.0.0.1", "::1"})
        EXPECT_TRUE(AddressPolicy::isPublicName(QString::fromLatin1(name))) << name;
}

TEST(AddressPolicy, PortsOfOtherServicesAreNotForDocuments) {
    for (const int port :
         {-1,  0,   1,   7,   9,    21,   22,   23,   25,   53,   69,   110,  143,  161,   389,  465,
          514, 587, 993, 995, 2049, 3659, 4190, 5060, 6000, 6566, 6665, 6669, 6697, 10080, 65536})
        EXPECT_FALSE(AddressPolicy::isPortForDocuments(port)) << port;
    for (const int port : {80, 443, 591, 3000, 3128, 5000, 6001, 8000, 8080, 8443, 65535})
        EXPECT_TRUE(AddressPolicy::isPortForDocuments(port)) << port;
}
