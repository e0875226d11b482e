// SPDX-License-Identifier: MIT
#include "platform/broker/BrokerAddress.h"

#include "platform/broker/BrokerError.h"

#include <QUrlQuery>

using namespace zr;

namespace {

constexpr int plainPort = 5672;
constexpr int securePort = 5671;
constexpr int longestHeartbeat = 600;

QByteArray decoded(const QString &encoded, const char *otherwise) {
    return encoded.isEmpty() ? QByteArray(otherwise) : QByteArray::fromPercentEncoding(encoded.toUtf8());
}

} // namespace

BrokerAddress BrokerAddress::fromUrl(const QUrl &url) {
    BrokerAddress address;
    const QString scheme = url.scheme();
    if (scheme != u"amqp" && scheme != u"amqps")
        throw BrokerError(QStringLiteral("a broker's URL begins with amqp:// or amqps://"));
    if (!url.isValid() || url.host().isEmpty())
        throw BrokerError(QStringLiteral("a broker's URL names a host"));
    address.isSecure = scheme == u"amqps";
    address.host = url.host(QUrl::FullyEncoded).toUtf8();
    // Qt gives IPv6 addresses without their brackets or with them, as they were written.
    if (address.host.startsWith('[') && address.host.endsWith(']'))
        address.host = address.host.mid(1, address.host.size() - 2);
    address.port = url.port(address.isSecure ? securePort : plainPort);
    address.user = decoded(url.userName(QUrl::FullyEncoded), "guest");
    address.password = decoded(url.password(QUrl::FullyEncoded), "guest");
    const QString path = url.path(QUrl::FullyEncoded);
    // Taken literally, "amqp://host/" names a virtual host with an empty name, which nobody has.
    address.virtualHost = decoded(path.mid(1), "/");
    if (path.mid(1).contains(u'/'))
        throw BrokerError(QStringLiteral("the slash in a virtual host's name is written %2F"));
    if (url.hasFragment())
        throw BrokerError(QStringLiteral("a broker's URL has no fragment"));
    const QUrlQuery query(url);
    for (const auto &[key, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (key == u"cacertfile") {
            address.authorityFile = value.toUtf8();
        } else if (key == u"certfile") {
            address.certificateFile = value.toUtf8();
        } else if (key == u"keyfile") {
            address.keyFile = value.toUtf8();
        } else if (key == u"heartbeat") {
            bool good = false;
            address.heartbeat = value.toInt(&good);
            if (!good || address.heartbeat < 1 || address.heartbeat > longestHeartbeat)
                throw BrokerError(QStringLiteral("a broker's heartbeat is a number of seconds from 1 to %1")
                                      .arg(longestHeartbeat));
        } else {
            throw BrokerError(QStringLiteral("a broker's URL knows no parameter \"%1\"").arg(key));
        }
    }
    if (!address.isSecure &&
        (query.hasQueryItem(QStringLiteral("cacertfile")) || query.hasQueryItem(QStringLiteral("certfile"))))
        throw BrokerError(QStringLiteral("certificates are for amqps:// only"));
    if (address.port == 0)
        throw BrokerError(QStringLiteral("a broker's port is a number from 1 to 65535"));
    if (address.certificateFile.isEmpty() != address.keyFile.isEmpty())
        throw BrokerError(QStringLiteral("certfile and keyfile go together in a broker's URL"));
    for (const QByteArray *text : {&address.host, &address.user, &address.password, &address.virtualHost,
                                   &address.authorityFile, &address.certificateFile, &address.keyFile})
        if (text->contains('\0'))
            throw BrokerError(QStringLiteral("a broker's URL holds a zero"));
    return address;
}

QString BrokerAddress::shown() const {
    const bool bare = host.contains(':');
    return QStringLiteral("%1://%2:%3")
        .arg(isSecure ? QStringLiteral("amqps") : QStringLiteral("amqp"),
             QString::fromUtf8(bare ? '[' + host + ']' : host))
        .arg(port);
}
