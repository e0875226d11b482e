// SPDX-License-Identifier: MIT
#include "platform/net/HTTPTransfer.h"

#include "platform/net/AddressPolicy.h"
#include "platform/net/NSHTTPCookieStorage.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

namespace zr {

namespace {

constexpr int mostRedirects = 20;
constexpr int mostRenewals = 3;
constexpr int mostHeaderLines = 1000;
/// A longer body that nobody wants is not worth keeping its connection for.
constexpr qsizetype mostDropped = qsizetype(256) * 1024;
/// Milliseconds for a look-up and a connection, if strangers say where to. libcurl's own measure is five minutes.
constexpr long connectingPatience = 15'000;
/// More would neither fit the cache nor be kept by malloc for the next transfer.
constexpr long bufferSize = 100L * 1024;

/// A delegate's answer to a challenge: the first counts.
struct Answer : NSURLAuthenticationChallengeSender {
    void useCredential(const NSURLCredential &used, const NSURLAuthenticationChallenge &) override {
        if (!std::exchange(isGiven, true))
            credential = used;
    }
    void continueWithoutCredentialForAuthenticationChallenge(const NSURLAuthenticationChallenge &) override {
        isGiven = true;
    }
    void cancelAuthenticationChallenge(const NSURLAuthenticationChallenge &) override {
        isCancelled |= !std::exchange(isGiven, true);
    }
    bool isGiven = false;
    bool isCancelled = false;
    NSURLCredential credential;
};

NSURLErrorCode codeOfCurl(CURLcode code) {
    static constexpr std::pair<CURLcode, NSURLErrorCode> codes[] = {
        {CURLE_URL_MALFORMAT, NSURLErrorBadURL},
        {CURLE_UNSUPPORTED_PROTOCOL, NSURLErrorBadServerResponse},
        {CURLE_OUT_OF_MEMORY, NSURLErrorBadServerResponse}, // header lines beyond what libcurl takes
        {CURLE_COULDNT_RESOLVE_HOST, NSURLErrorCannotFindHost},
        {CURLE_COULDNT_RESOLVE_PROXY, NSURLErrorCannotFindHost},
        {CURLE_COULDNT_CONNECT, NSURLErrorCannotConnectToHost},
        {CURLE_OPERATION_TIMEDOUT, NSURLErrorTimedOut},
        {CURLE_GOT_NOTHING, NSURLErrorNetworkConnectionLost},
        {CURLE_PARTIAL_FILE, NSURLErrorNetworkConnectionLost},
        {CURLE_SEND_ERROR, NSURLErrorNetworkConnectionLost},
        {CURLE_RECV_ERROR, NSURLErrorNetworkConnectionLost},
        {CURLE_HTTP2, NSURLErrorNetworkConnectionLost},
        {CURLE_HTTP2_STREAM, NSURLErrorNetworkConnectionLost},
        {CURLE_WEIRD_SERVER_REPLY, NSURLErrorBadServerResponse},
        {CURLE_BAD_CONTENT_ENCODING, NSURLErrorCannotDecodeContentData},
        {CURLE_SSL_CONNECT_ERROR, NSURLErrorSecureConnectionFailed},
        {CURLE_SSL_CIPHER, NSURLErrorSecureConnectionFailed},
        {CURLE_PEER_FAILED_VERIFICATION, NSURLErrorServerCertificateUntrusted},
        {CURLE_SSL_ISSUER_ERROR, NSURLErrorServerCertificateUntrusted},
        {CURLE_SSL_CACERT_BADFILE, NSURLErrorServerCertificateUntrusted},
    };
    const auto *at = std::find_if(std::begin(codes), std::end(codes),
                                  [&](const auto &entry) { return entry.first == code; });
    return at == std::end(codes) ? NSURLErrorUnknown : at->second;
}

bool isRedirect(qint64 status) {
    return status == 301 || status == 302 || status == 303 || status == 307;
}

/// Whether libcurl can answer a Digest challenge. Of "auth-int" it covers empty bodies only, and SHA-512-256
/// it takes for SHA-256.
bool canDigest(const HTTPHeaderFields::Challenge &challenge, bool withBody) {
    QString algorithm = challenge.parameter("algorithm").toLower();
    if (algorithm.endsWith(u"-sess"))
        algorithm.chop(5);
    const QString protection = challenge.parameter("qop").toLower();
    bool isKnown = protection.isEmpty();
    for (const QString &each : protection.split(u','))
        isKnown |= each.trimmed() == u"auth" || (each.trimmed() == u"auth-int" && !withBody);
    return isKnown && !challenge.parameter("nonce").isEmpty() &&
           (algorithm.isEmpty() || algorithm == u"md5" || algorithm == u"sha-256");
}

/// The strongest challenge that there is a name for, and that name; what can be answered goes first.
struct Offer {
    QString method;
    HTTPHeaderFields::Challenge challenge;
};

std::optional<Offer> bestOffer(const QList<HTTPHeaderFields::Challenge> &offered, bool withBody) {
    const std::pair<QString, QString> known[] = {
        {QStringLiteral("digest"), NSURLAuthenticationMethodHTTPDigest},
        {QStringLiteral("basic"), NSURLAuthenticationMethodHTTPBasic},
        {QStringLiteral("negotiate"), NSURLAuthenticationMethodNegotiate},
        {QStringLiteral("ntlm"), NSURLAuthenticationMethodNTLM},
    };
    for (const auto &[scheme, method] : known) {
        // libcurl, too, goes by the first of each scheme.
        const auto at = std::find_if(offered.begin(), offered.end(), [&name = scheme](const auto &challenge) {
            return challenge.scheme == name;
        });
        if (at != offered.end() && (scheme != u"digest" || canDigest(*at, withBody)))
            return Offer{method, *at};
    }
    return std::nullopt;
}

bool isForTransport(const QString &field) {
    return HTTPHeaderFields::isSameName(field, QStringLiteral("Content-Length")) ||
           HTTPHeaderFields::isSameName(field, QStringLiteral("Transfer-Encoding"));
}

int portOf(const QUrl &url) {
    return url.port(url.scheme() == u"https" ? 443 : 80);
}

bool isSameServer(const QUrl &a, const QUrl &b) {
    return a.scheme() == b.scheme() && a.host() == b.host() && portOf(a) == portOf(b);
}

} // namespace

HTTPTransfer::~HTTPTransfer() {
    m_loop.remove(m_handle.get());
}

void HTTPTransfer::start(const std::shared_ptr<NSURLRequest> &request) {
    m_url = request->URL();
    m_request = tell(&NSURLConnectionDelegate::connectionWillSendRequest, request, nullptr);
    if (isOver())
        return;
    if (m_request)
        send();
    else
        failWith(NSURLErrorCancelled);
}

void HTTPTransfer::failWith(NSURLErrorCode code, const QString &reason) {
    fail(NSURLErrorWithCode(code, m_url, reason));
}

HTTPTransfer::Outcome HTTPTransfer::failing(NSURLErrorCode code) {
    m_attempt.failure = code;
    return Outcome::Fail;
}

void HTTPTransfer::send() {
    m_url = m_request->URL();
    const bool isHTTP = m_url.scheme() == u"http" || m_url.scheme() == u"https";
    if (!isHTTP || m_url.host().isEmpty()) {
        failWith(m_redirects > 0 ? NSURLErrorRedirectToNonExistentLocation
                 : isHTTP        ? NSURLErrorBadURL
                                 : NSURLErrorUnsupportedURL);
        return;
    }
    if (m_loop.reach() == TransferLoop::Reach::PublicAddresses) {
        if (!AddressPolicy::isPublicName(m_url.host())) {
            failWith(NSURLErrorCannotConnectToHost,
                     QStringLiteral("%1 is not a public name").arg(m_url.host()));
            return;
        }
        if (!AddressPolicy::isPortForDocuments(portOf(m_url))) {
            failWith(NSURLErrorCannotConnectToHost,
                     QStringLiteral("Port %1 is not for documents").arg(portOf(m_url)));
            return;
        }
    }
    m_attempt = {};
    m_refusedAddress.clear();
    m_errorText[0] = 0;
    if (!m_handle)
        m_handle.reset(curl_easy_init());
    if (!m_handle) {
        failWith(NSURLErrorUnknown);
        return;
    }
    configure();
    m_lastSign = TransferLoop::Clock::now();
    setDeadline();
    m_loop.add(m_handle.get(), this);
}

void HTTPTransfer::configure() {
    set(CURLOPT_URL, m_url.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo).constData());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    setReach();
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    // Whoever ends a transfer must not wait for its name to be looked up.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_BUFFERSIZE, bufferSize);
    set(CURLOPT_ERRORBUFFER, m_errorText.data());
    set(CURLOPT_HEADERFUNCTION, callback<&HTTPTransfer::takeHeaderLine>);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, callback<&HTTPTransfer::takeBody>);
    set(CURLOPT_WRITEDATA, this);
    // What is sent is the request's own field; this makes libcurl unpack.
    set(CURLOPT_ACCEPT_ENCODING, "br, zstd");
    set(CURLOPT_HTTP_CONTENT_DECODING, 1L);
    setHeaderFields(setBody());
    setCredential();
    setSecurity();
}

void HTTPTransfer::setHeaderFields(bool withBody) {
    m_lines.reset();
    const auto append = [this](const QByteArray &line) {
        if (curl_slist *lines = curl_slist_append(m_lines.get(), line.constData())) {
            static_cast<void>(m_lines.release());
            m_lines.reset(lines);
        }
    };
    // libcurl would add these by itself.
    const auto suppress = [&](const char *name) {
        if (m_request->valueForHTTPHeaderField(QString::fromLatin1(name)).isNull())
            append(QByteArray(name) + ':');
    };
    suppress("Accept");
    suppress("Accept-Encoding");
    if (withBody) {
        suppress("Content-Type");
        suppress("Expect");
    }
    const QVariantMap fields = m_request->allHTTPHeaderFields();
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (!HTTPHeaderFields::isToken(it.key()) || isForTransport(it.key()) ||
            (m_credential.hasPassword() &&
             HTTPHeaderFields::isSameName(it.key(), QStringLiteral("Authorization"))))
            continue;
        const QByteArray value = HTTPHeaderFields::safeValue(it.value().toString());
        append(it.key().toLatin1() + (value.isEmpty() ? QByteArray(";") : ": " + value));
    }
    if (m_request->HTTPShouldHandleCookies() &&
        m_request->valueForHTTPHeaderField(QStringLiteral("Cookie")).isNull()) {
        const QVariantMap field = NSHTTPCookie::requestHeaderFieldsWithCookies(
            NSHTTPCookieStorage::sharedHTTPCookieStorage().matchingCookies(m_url));
        if (!field.isEmpty())
            append("Cookie: " + HTTPHeaderFields::safeValue(field.first().toString()));
    }
    set(CURLOPT_HTTPHEADER, m_lines.get());
}

/// True if a body is sent, be it an empty one.
bool HTTPTransfer::setBody() {
    const QString given = m_request->HTTPMethod();
    const QByteArray method = HTTPHeaderFields::isToken(given) ? given.toLatin1() : QByteArray("GET");
    m_body = m_request->HTTPBody();
    const bool isHead = method == "HEAD";
    const bool withBody =
        !isHead && (method == "POST" || method == "PUT" || method == "PATCH" || !m_body.isEmpty());
    set(CURLOPT_NOBODY, long(isHead));
    if (withBody) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_body.size()));
        set(CURLOPT_POSTFIELDS, m_body.isEmpty() ? "" : m_body.constData());
    } else if (!isHead) {
        set(CURLOPT_HTTPGET, 1L);
    }
    set(CURLOPT_CUSTOMREQUEST, method.constData());
    return withBody;
}

/// Nothing is sent before there is a credential. Even then libcurl has a user name, an empty one: without any it
/// would take the next challenge for a duplicate of the first, and ignore its nonce.
void HTTPTransfer::setCredential() {
    const bool isGiven = m_credential.hasPassword();
    set(CURLOPT_HTTPAUTH, !isGiven ? CURLAUTH_NONE : m_isDigest ? CURLAUTH_DIGEST : CURLAUTH_BASIC);
    set(CURLOPT_USERNAME, m_credential.user().toUtf8().constData());
    set(CURLOPT_PASSWORD, m_credential.password().toUtf8().constData());
}

void HTTPTransfer::setReach() {
    const bool isForAnything = m_loop.reach() == TransferLoop::Reach::Anything;
    // Without the first, libcurl would ask the environment for a proxy, without the second, for exceptions.
    set(CURLOPT_PROXY, isForAnything ? NSURLConnection::proxyURL().toEncoded().constData() : "");
    set(CURLOPT_NOPROXY, "");
    if (isForAnything)
        return;
    set(CURLOPT_OPENSOCKETFUNCTION, openSocket);
    set(CURLOPT_OPENSOCKETDATA, this);
    // Called for connections that are used again, too.
    set(CURLOPT_PREREQFUNCTION, isConnected);
    set(CURLOPT_PREREQDATA, this);
    set(CURLOPT_CONNECTTIMEOUT_MS, connectingPatience);
}

bool HTTPTransfer::admits(const sockaddr *address) {
    m_refusedAddress.clear();
    if (AddressPolicy::isPublicAddress(address) && !AddressPolicy::isOfOwnNetworks(address))
        return true;
    const QString text = AddressPolicy::text(address);
    m_refusedAddress = text.isNull() ? QStringLiteral("What it leads to") : text;
    return false;
}

curl_socket_t HTTPTransfer::openSocket(void *transfer, curlsocktype, curl_sockaddr *address) {
    if (!static_cast<HTTPTransfer *>(transfer)->admits(&address->addr))
        return CURL_SOCKET_BAD;
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int HTTPTransfer::isConnected(void *transfer, char *address, char *, int, int) {
    sockaddr_in ipv4{};
    sockaddr_in6 ipv6{};
    ipv4.sin_family = AF_INET;
    ipv6.sin6_family = AF_INET6;
    const sockaddr *known = nullptr;
    if (::inet_pton(AF_INET, address, &ipv4.sin_addr) == 1)
        known = reinterpret_cast<const sockaddr *>(&ipv4);
    else if (::inet_pton(AF_INET6, address, &ipv6.sin6_addr) == 1)
        known = reinterpret_cast<const sockaddr *>(&ipv6);
    return static_cast<HTTPTransfer *>(transfer)->admits(known) ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

void HTTPTransfer::setSecurity() {
    m_judge.host = m_url.host(QUrl::FullyEncoded);
    if (m_url.scheme() != u"https")
        return;
    const bool delegateJudges =
        tell(&NSURLConnectionDelegate::connectionCanAuthenticateAgainstProtectionSpace,
             NSURLProtectionSpace(m_judge.host, portOf(m_url), m_url.scheme(), QString(),
                                  NSURLAuthenticationMethodServerTrust));
    set(CURLOPT_SSL_VERIFYPEER, delegateJudges ? 0L : 1L);
    set(CURLOPT_SSL_VERIFYHOST, delegateJudges ? 0L : 2L);
    m_judge.decide = [this](const NSServerTrust &trust) { return judgeServer(trust); };
    set(CURLOPT_SSL_CTX_FUNCTION, delegateJudges ? contextFunction : nullptr);
    set(CURLOPT_SSL_CTX_DATA, this);
    // As every program on OpenSSL has it.
    const QByteArray certificates = qgetenv("SSL_CERT_FILE");
    if (!certificates.isEmpty())
        set(CURLOPT_CAINFO, certificates.constData());
}

CURLcode HTTPTransfer::contextFunction(CURL *, void *context, void *transfer) {
    ServerTrust::install(context, static_cast<HTTPTransfer *>(transfer)->m_judge);
    return CURLE_OK;
}

ServerTrust::Decision HTTPTransfer::judgeServer(const NSServerTrust &trust) {
    Answer answer;
    tell(&NSURLConnectionDelegate::connectionDidReceiveAuthenticationChallenge,
         NSURLAuthenticationChallenge(NSURLProtectionSpace(m_judge.host, portOf(m_url), m_url.scheme(),
                                                           QString(), NSURLAuthenticationMethodServerTrust,
                                                           trust),
                                      0, nullptr, &answer));
    m_attempt.trustCancelled = answer.isCancelled;
    return answer.credential.isTrust() ? ServerTrust::Decision::Accept
           : answer.isCancelled        ? ServerTrust::Decision::Refuse
                                       : ServerTrust::Decision::Evaluate;
}

bool HTTPTransfer::takeHeaderLine(QByteArrayView line) {
    m_lastSign = TransferLoop::Clock::now();
    long status = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    if (!isBearable(line))
        return false;
    // Interim responses come before the head, trailers behind the body.
    const bool isEnd = (line == "\r\n" || line == "\n") && (status >= 200 || status == 101);
    return !isOver() && (!isEnd || m_attempt.headIsComplete || headIsComplete(status));
}

/// Takes the answer's header lines together, interim ones too. Fields are looked up in a list, so very many are a burden; and of
/// codings in codings little can become very much between two of libcurl's looks at anything else.
bool HTTPTransfer::isBearable(QByteArrayView line) {
    if (++m_attempt.headerLines > mostHeaderLines) {
        m_attempt.outcome = failing(NSURLErrorBadServerResponse);
        return false;
    }
    const qsizetype colon = line.indexOf(':');
    const QString name = colon < 0 ? QString() : QString::fromLatin1(line.first(colon).trimmed());
    if (HTTPHeaderFields::isSameName(name, QStringLiteral("Content-Encoding")) ||
        HTTPHeaderFields::isSameName(name, QStringLiteral("Transfer-Encoding")))
        for (const QByteArray &coding : line.sliced(colon + 1).toByteArray().toLower().split(','))
            m_attempt.codings += !coding.trimmed().isEmpty() && coding.trimmed() != "chunked" &&
                                 coding.trimmed() != "identity";
    if (m_attempt.codings <= 1 || m_loop.reach() == TransferLoop::Reach::Anything)
        return true;
    m_attempt.outcome = failing(NSURLErrorCannotDecodeContentData);
    return false;
}

/// The head's fields; their cookies go to the shared store if the request says so.
QVariantMap HTTPTransfer::takeFields() {
    QVariantMap fields;
    curl_header *header = nullptr;
    while ((header = curl_easy_nextheader(m_handle.get(), CURLH_HEADER, -1, header))) {
        const QString name = HTTPHeaderFields::canonicalName(QByteArrayView(header->name).trimmed());
        const QString content = HTTPHeaderFields::text(QByteArrayView(header->value).trimmed());
        if (name == u"Set-Cookie" && m_request->HTTPShouldHandleCookies())
            NSHTTPCookieStorage::sharedHTTPCookieStorage().setCookie(
                NSHTTPCookie::cookieWithHeaderLine(content, m_url));
        if (name.isEmpty())
            continue;
        const QVariant before = fields.value(name);
        fields.insert(name, before.isValid() ? before.toString() + QStringLiteral(", ") + content : content);
    }
    return fields;
}

/// False if the transfer is to end here.
bool HTTPTransfer::headIsComplete(qint64 status) {
    const auto response = std::make_shared<NSHTTPURLResponse>(m_url, status, takeFields());
    m_attempt.outcome = decide(response);
    if (isOver())
        return false;
    m_attempt.headIsComplete = m_attempt.outcome != Outcome::Renew;
    if (m_attempt.outcome == Outcome::Deliver) {
        prepareUnpacking(response->allHeaderFields());
        tell(&NSURLConnectionDelegate::connectionDidReceiveResponse, response);
    }
    return !isOver() && m_attempt.outcome != Outcome::Fail;
}

HTTPTransfer::Outcome HTTPTransfer::decide(const std::shared_ptr<NSHTTPURLResponse> &response) {
    if (const auto outcome = redirect(response))
        return *outcome;
    return challenge(response).value_or(Outcome::Deliver);
}

std::optional<HTTPTransfer::Outcome>
HTTPTransfer::redirect(const std::shared_ptr<NSHTTPURLResponse> &response) {
    const QString location = response->valueForHTTPHeaderField(QStringLiteral("Location"));
    if (!isRedirect(response->statusCode()) || location.isNull())
        return std::nullopt;
    QUrl target = m_url.resolved(QUrl(location, QUrl::TolerantMode));
    if (location.isEmpty() || !target.isValid())
        return failing(NSURLErrorRedirectToNonExistentLocation);
    if (!target.hasFragment() && m_url.hasFragment())
        target.setFragment(m_url.fragment(QUrl::FullyEncoded));
    const auto proposed = m_request->mutableCopy();
    proposed->setURL(target);
    const QString method = m_request->HTTPMethod();
    // What browsers do, and RFC 9110, 15.4, allows.
    if ((response->statusCode() == 303 && method != u"HEAD") ||
        (response->statusCode() < 303 && method == u"POST")) {
        proposed->setHTTPMethod(QStringLiteral("GET"));
        proposed->setHTTPBody(QByteArray());
        for (const char *name : {"Content-Length", "Content-Type"})
            proposed->setValue(QString(), QString::fromLatin1(name));
    }
    if (!isSameServer(m_url, target))
        proposed->setValue(QString(), QStringLiteral("Authorization"));
    m_next = tell(&NSURLConnectionDelegate::connectionWillSendRequest, proposed, response);
    if (!m_next)
        return std::nullopt;
    return ++m_redirects > mostRedirects ? failing(NSURLErrorHTTPTooManyRedirects) : Outcome::Redirect;
}

std::optional<HTTPTransfer::Outcome>
HTTPTransfer::challenge(const std::shared_ptr<NSHTTPURLResponse> &response) {
    if (response->statusCode() != 401)
        return std::nullopt;
    const auto offer = bestOffer(
        HTTPHeaderFields::challenges(response->valueForHTTPHeaderField(QStringLiteral("WWW-Authenticate"))),
        !m_body.isEmpty());
    if (!offer)
        return std::nullopt;
    // The credential was good, but the server wants a newer nonce used.
    if (m_credential.hasPassword() && m_isDigest && offer->method == NSURLAuthenticationMethodHTTPDigest &&
        offer->challenge.parameter("stale").compare(u"true", Qt::CaseInsensitive) == 0)
        return ++m_renewals > mostRenewals ? failing(NSURLErrorUserCancelledAuthentication) : Outcome::Renew;
    const NSURLProtectionSpace space(m_judge.host, portOf(m_url), m_url.scheme(),
                                     offer->challenge.parameter("realm"), offer->method);
    m_credential = {};
    if (tell(&NSURLConnectionDelegate::connectionCanAuthenticateAgainstProtectionSpace, space)) {
        Answer answer;
        tell(&NSURLConnectionDelegate::connectionDidReceiveAuthenticationChallenge,
             NSURLAuthenticationChallenge(space, m_credentialsSent, response, &answer));
        if (answer.isCancelled)
            return Outcome::Drop;
        m_credential = answer.credential;
    } else if (m_credentialsSent == 0 && !m_url.userName().isEmpty()) {
        m_credential =
            NSURLCredential(m_url.userName(QUrl::FullyDecoded), m_url.password(QUrl::FullyDecoded));
    }
    m_isDigest = offer->method == NSURLAuthenticationMethodHTTPDigest;
    const bool canAnswer = m_isDigest || offer->method == NSURLAuthenticationMethodHTTPBasic;
    if (!m_credential.hasPassword() || !canAnswer)
        return std::nullopt;
    ++m_credentialsSent;
    return Outcome::Retry;
}

/// gzip and deflate are for zlib, other codings that libcurl knows, and lists, for libcurl; with any other
/// the body stays as it came.
void HTTPTransfer::prepareUnpacking(const QVariantMap &fields) {
    static constexpr std::array<QStringView, 6> known = {u"gzip", u"x-gzip", u"deflate",
                                                         u"br",   u"zstd",   u"identity"};
    const QString field = HTTPHeaderFields::value(fields, QStringLiteral("Content-Encoding")).toLower();
    const QList<QStringView> codings = QStringView(field).split(u',');
    const auto isKnown = [](QStringView coding) {
        return std::find(known.begin(), known.end(), coding.trimmed()) != known.end();
    };
    const auto *only = std::find(known.begin(), known.begin() + 3, QStringView(field).trimmed());
    const bool isForZlib = only != known.begin() + 3;
    if (isForZlib)
        m_attempt.unpacker = std::make_unique<BodyUnpacker>(
            *only == u"deflate" ? BodyUnpacker::Coding::Deflate : BodyUnpacker::Coding::Gzip);
    if (isForZlib || !std::all_of(codings.begin(), codings.end(), isKnown))
        set(CURLOPT_HTTP_CONTENT_DECODING, 0L);
}

bool HTTPTransfer::takeBody(QByteArrayView bytes) {
    m_lastSign = TransferLoop::Clock::now();
    if (isOver())
        return false;
    const auto deliver = [this](QByteArrayView piece) {
        tell(&NSURLConnectionDelegate::connectionDidReceiveData, piece);
        return !isOver();
    };
    if (m_attempt.outcome != Outcome::Deliver) {
        m_attempt.dropped += bytes.size();
        return m_attempt.dropped <= mostDropped;
    }
    if (!m_attempt.unpacker)
        return deliver(bytes);
    if (m_attempt.unpacker->take(bytes, deliver))
        return !isOver();
    m_attempt.outcome = failing(NSURLErrorCannotDecodeContentData);
    return false;
}

void HTTPTransfer::handleDidFinish(CURLcode code) {
    if (isOver())
        return;
    switch (m_attempt.outcome) {
    case Outcome::Redirect:
        m_request = std::exchange(m_next, nullptr);
        // The new place asks for itself.
        m_credential = {};
        m_credentialsSent = 0;
        m_handle.reset();
        send();
        return;
    case Outcome::Retry:
        send();
        return;
    case Outcome::Drop:
        finish();
        return;
    case Outcome::Fail:
        failWith(m_attempt.failure);
        return;
    case Outcome::Renew:
    case Outcome::Deliver:
        responseDidEnd(code);
    }
}

void HTTPTransfer::responseDidEnd(CURLcode code) {
    const QString reason = QString::fromUtf8(m_errorText.data());
    const bool isUnconnected = code == CURLE_COULDNT_CONNECT || code == CURLE_ABORTED_BY_CALLBACK;
    if (isUnconnected && !m_refusedAddress.isNull())
        failWith(NSURLErrorCannotConnectToHost,
                 QStringLiteral("%1 is not a public address").arg(m_refusedAddress));
    else if (m_attempt.trustCancelled)
        failWith(NSURLErrorUserCancelledAuthentication, reason);
    else if (code == CURLE_OK ? !m_attempt.headIsComplete : reason.startsWith(u"Too large"))
        // No answer, or header lines beyond what libcurl takes.
        failWith(NSURLErrorBadServerResponse, reason);
    else if (code != CURLE_OK)
        failWith(codeOfCurl(code), reason.isEmpty() ? QString::fromUtf8(curl_easy_strerror(code)) : reason);
    else if (m_attempt.unpacker && !m_attempt.unpacker->isComplete())
        failWith(NSURLErrorCannotDecodeContentData, QStringLiteral("The packed body is cut short."));
    else
        finish();
}

void HTTPTransfer::setDeadline() {
    const double seconds = m_request->timeoutInterval();
    constexpr double longest = 100.0 * 366 * 24 * 3600;
    m_deadline = TransferLoop::Clock::time_point::max();
    if (seconds > 0)
        m_deadline = m_lastSign + std::chrono::duration_cast<TransferLoop::Clock::duration>(
                                      std::chrono::duration<double>(std::min(seconds, longest)));
}

void HTTPTransfer::deadlineDidPass() {
    // That the server takes what is sent is a sign of it too.
    curl_off_t uploaded = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_SIZE_UPLOAD_T, &uploaded);
    if (std::exchange(m_attempt.uploaded, uploaded) != uploaded)
        m_lastSign = TransferLoop::Clock::now();
    setDeadline();
    if (m_deadline > TransferLoop::Clock::now())
        return;
    m_loop.remove(m_handle.get());
    failWith(NSURLErrorTimedOut);
}

} // namespace zr
