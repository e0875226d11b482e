// SPDX-License-Identifier: MIT
#include "platform/net/HTTPAuthorization.h"

#include <array>
#include <openssl/evp.h>
#include <utility>

namespace HTTPAuthorization {

namespace {

/// OpenSSL's name for a challenge's algorithm; null where it isn't one of the three.
const char *digestName(const QString &algorithm) {
    static constexpr std::array<std::pair<QStringView, const char *>, 4> names = {{
        {u"", "MD5"},
        {u"MD5", "MD5"},
        {u"SHA-256", "SHA256"},
        {u"SHA-512-256", "SHA512-256"},
    }};
    QStringView plain = algorithm;
    if (plain.endsWith(u"-sess", Qt::CaseInsensitive))
        plain.chop(5);
    for (const auto &[name, digest] : names)
        if (plain.compare(name, Qt::CaseInsensitive) == 0)
            return digest;
    return nullptr;
}

QByteArray hexDigest(const char *name, const QByteArray &data) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    size_t size = 0;
    if (EVP_Q_digest(nullptr, name, nullptr, data.constData(), size_t(data.size()), bytes.data(), &size) != 1)
        return {};
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(size)).toHex();
}

QByteArray quoted(QByteArray text) {
    return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

QString parameter(const HTTPHeaderFields::Challenge &challenge, const char *name) {
    return challenge.parameters.value(QString::fromLatin1(name)).toString();
}

/// The protection to use; empty for none, nil where none of those offered is known.
QByteArray protection(const HTTPHeaderFields::Challenge &challenge) {
    const QString offered = parameter(challenge, "qop");
    if (offered.isEmpty())
        return "";
    const QStringList all = offered.split(u',');
    QByteArray chosen;
    for (const QString &each : all) {
        const QString name = each.trimmed().toLower();
        if (name == u"auth")
            return "auth";
        if (name == u"auth-int")
            chosen = "auth-int";
    }
    return chosen;
}

} // namespace

QByteArray basic(const QString &user, const QString &password) {
    return "Basic " + (user + u':' + password).toUtf8().toBase64();
}

bool canDigest(const HTTPHeaderFields::Challenge &challenge) {
    return challenge.scheme == u"digest" && !parameter(challenge, "nonce").isEmpty() &&
           digestName(parameter(challenge, "algorithm")) && !protection(challenge).isNull();
}

QByteArray digest(const HTTPHeaderFields::Challenge &challenge, const QString &user, const QString &password,
                  const Request &request, const QByteArray &clientNonce) {
    if (!canDigest(challenge))
        return {};
    const QString algorithm = parameter(challenge, "algorithm");
    const auto hash = [name = digestName(algorithm)](const QByteArray &data) {
        return hexDigest(name, data);
    };
    const QByteArray realm = parameter(challenge, "realm").toUtf8();
    const QByteArray nonce = parameter(challenge, "nonce").toUtf8();
    const QByteArray opaque = parameter(challenge, "opaque").toUtf8();
    const QByteArray qop = protection(challenge);
    constexpr const char *count = "00000001";

    QByteArray secret = hash(user.toUtf8() + ':' + realm + ':' + password.toUtf8());
    if (algorithm.endsWith(u"-sess", Qt::CaseInsensitive))
        secret = hash(secret + ':' + nonce + ':' + clientNonce);
    QByteArray subject = request.method + ':' + request.target;
    if (qop == "auth-int")
        subject += ':' + hash(request.body);
    const QByteArray response =
        qop.isEmpty()
            ? hash(secret + ':' + nonce + ':' + hash(subject))
            : hash(secret + ':' + nonce + ':' + count + ':' + clientNonce + ':' + qop + ':' + hash(subject));

    const bool hidesUser = parameter(challenge, "userhash").compare(u"true", Qt::CaseInsensitive) == 0;
    QByteArray answer =
        "Digest username=" + quoted(hidesUser ? hash(user.toUtf8() + ':' + realm) : user.toUtf8()) +
        ", realm=" + quoted(realm) + ", nonce=" + quoted(nonce) + ", uri=" + quoted(request.target) +
        ", response=\"" + response + '"';
    if (!algorithm.isEmpty())
        answer += ", algorithm=" + algorithm.toUtf8();
    if (!qop.isEmpty())
        answer += ", qop=" + qop + ", nc=" + count;
    if (!qop.isEmpty() || algorithm.endsWith(u"-sess", Qt::CaseInsensitive))
        answer += ", cnonce=" + quoted(clientNonce);
    if (challenge.parameters.contains(QStringLiteral("opaque")))
        answer += ", opaque=" + quoted(opaque);
    if (hidesUser)
        answer += ", userhash=true";
    return answer;
}

} // namespace HTTPAuthorization
