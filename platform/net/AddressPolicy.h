// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <sys/socket.h>

/// What anybody on the internet can reach, for those who load what strangers ask for. Plain functions; any thread.
namespace zr::AddressPolicy {

/// Whether the address that a socket is about to be connected to is one of the public internet.
///
/// Not public is what the IANA special-purpose address registries (RFC 6890) have as not globally reachable: loopback,
/// private, link-local, shared, documentation, benchmarking and reserved addresses; multicast; the address of a cloud's
/// metadata in the public range; of IPv6, all but global unicast (2000::/3, RFC 4291), all with a zone, and all forms that
/// stand for an IPv4 address, with two exceptions: those of NAT64's well-known prefix (RFC 6052) and of ISATAP (RFC 5214)
/// are as public as the IPv4 address in them. What an operator's own NAT64 prefix leads to can't be known.
///
/// \param address  AF_INET or AF_INET6; every other family, and nullptr, is not public
bool isPublicAddress(const sockaddr *address);

/// Whether it is an address of this machine, or of a network that one of its interfaces is on, whatever kind of address that
/// is: packets to oneself pass no firewall, and neighbours no router. As it is now; asks the system each time.
/// \param address  AF_INET or AF_INET6; every other family, and nullptr, counts as such, and so does all if the system
///                 doesn't say
bool isOfOwnNetworks(const sockaddr *address);

/// Whether a host's name may lead to the public internet: not "localhost", the names of cloud metadata, or those that are
/// never in the public name system (RFC 6761, RFC 6762, RFC 8375). Case and a trailing dot don't count. Which
/// addresses a name has is another question.
bool isPublicName(const QString &host);

/// Whether the port is for documents: not one of those that the Fetch standard blocks (2.9, "port blocking"), which belong
/// to services that would take a request for commands of theirs.
bool isPortForDocuments(int port);

/// The address as text, without a port; nil if it is neither IPv4 nor IPv6.
QString text(const sockaddr *address);

} // namespace zr::AddressPolicy
