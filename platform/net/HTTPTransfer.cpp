// SPDX-License-Identifier: MIT
#include "platform/net/HTTPTransfer.h"

#include "platform/net/HTTPAuthorization.h"
#include "platform/net/NSHTTPCookieStorage.h"

#include <QRandomGenerator>
#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr int mostRedirects = 20;
constexpr int mostStaleAnswers = 3;
/// Of all header lines of a response.
constexpr qsizetype longestHead = 1 << 20;
/// A longer body that nobody wants is not worth keeping its connection for.
constexpr qsizetype mostDropped = qsizetype(256) * 1024;
/// More would neither fit the cache nor be kept by malloc for the next transfer.
constexpr long bufferSize = 100L * 1024;

/// A delegate's answer to a challenge: the first counts.
class Answer : public NSURLAuthenticationChallengeSender {
public:
    enum class Kind { None, Credential, Continue, Cancel };

    void useCredential(const NSURLCredential &credential, const NSURLAuthenticationChallenge &) override {
        if (take(Kind::Credential))
            m_credential = credential;
    }
    void continueWithoutCredentialForAuthenticationChallenge(const NSURLAuthenticationChallenge &) override {
        take(Kind::Continue);
    }
    void cancelAuthenticationChallenge(const NSURLAuthenticationChallenge &) override { take(Kind::Cancel); }

    Kind kind() const { return m_kind; }
    const NSURLCredential &credential() const { return m_credential; }

private:
    bool take(Kind kind) {
        if (m_kind != Kind::None)
            return false;
        m_kind = kind;
        return true;
    }
    Kind m_kind = Kind::None;
    NSURLCredential m_credential;
};

bool isRedirect(qint64 status) {
    return status == 301 || status == 302 || status == 303 || status == 307;
}

/// The strongest challenge that there is a name for, and that name; what can be answered goes first.
struct Offer {
    QString method;
    const HTTPHeaderFields::Challenge *challenge = nullptr;
};

Offer bestOffer(const QList<HTTPHeaderFields::Challenge> &offered) {
    const std::pair<QString, QString> known[] = {
        {QStringLiteral("digest"), NSURLAuthenticationMethodHTTPDigest},
        {QStringLiteral("basic"), NSURLAuthenticationMethodHTTPBasic},
        {QStringLiteral("negotiate"), NSURLAuthenticationMethodNegotiate},
        {QStringLiteral("ntlm"), NSURLAuthenticationMethodNTLM},
    };
    for (const auto &[scheme, method] : known)
        for (const HTTPHeaderFields::Challenge &challenge : offered)
            if (challenge.scheme == scheme &&
                (scheme != u"digest" || HTTPAuthorization::canDigest(challenge)))
                return {method, &challenge};
    return {};
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
    HTTPTransfer::stop();
}

void HTTPTransfer::stop() {
    m_stopped = true;
    m_loop.clearTimer(this);
    if (CURL *handle = std::exchange(m_handle, nullptr)) {
        m_loop.remove(handle);
        m_loop.giveHandleBack(handle);
    }
    curl_slist_free_all(std::exchange(m_lines, nullptr));
}

void HTTPTransfer::start(const std::shared_ptr<NSURLRequest> &request) {
    m_url = request->URL();
    m_request = willSendRequest(request, nullptr);
    if (m_request)
        send();
    else
        fail(NSURLErrorCancelled);
}

void HTTPTransfer::fail(NSURLErrorCode code, const QString &reason) {
    stop();
    didFail(NSURLErrorWithCode(code, m_url, reason));
}

void HTTPTransfer::send() {
    m_url = m_request->URL();
    const QString scheme = m_url.scheme();
    if (scheme != u"http" && scheme != u"https") {
        fail(m_redirects > 0 ? NSURLErrorRedirectToNonExistentLocation : NSURLErrorUnsupportedURL);
        return;
    }
    if (m_url.host().isEmpty()) {
        fail(NSURLErrorBadURL);
        return;
    }
    m_head = {};
    m_headSize = 0;
    m_headIsComplete = false;
    m_outcome = Outcome::Deliver;
    m_dropped = 0;
    m_uploaded = 0;
    m_errorText[0] = 0;
    if (!configure()) {
        fail(NSURLErrorUnknown);
        return;
    }
    m_lastSign = TransferLoop::Clock::now();
    armTimer();
    m_loop.add(m_handle, this);
}

bool HTTPTransfer::configure() {
    if (!m_handle)
        m_handle = m_loop.takeHandle();
    if (!m_handle)
        return false;
    m_address = m_url.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    set(CURLOPT_URL, m_address.constData());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_BUFFERSIZE, bufferSize);
    set(CURLOPT_ERRORBUFFER, m_errorText.data());
    set(CURLOPT_HEADERFUNCTION, headerFunction);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, bodyFunction);
    set(CURLOPT_WRITEDATA, this);
    // What is sent is the request's own field; this makes libcurl unpack.
    set(CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    setHeaderFields(setBody());
    setSecurity();
    return true;
}

void HTTPTransfer::setHeaderFields(bool withBody) {
    curl_slist_free_all(std::exchange(m_lines, nullptr));
    const auto append = [this](const QByteArray &line) {
        if (curl_slist *lines = curl_slist_append(m_lines, line.constData()))
            m_lines = lines;
    };
    // libcurl would add these by itself.
    const auto suppress = [&](const char *name) {
        if (m_request->valueForHTTPHeaderField(QString::fromLatin1(name)).isNull())
            append(QByteArray(name) + ':');
    };
    suppress("Accept");
    if (withBody) {
        suppress("Content-Type");
        suppress("Expect");
    }
    const QVariantMap fields = m_request->allHTTPHeaderFields();
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (!HTTPHeaderFields::isToken(it.key()) || isForTransport(it.key()) ||
            (!m_authorization.isEmpty() &&
             HTTPHeaderFields::isSameName(it.key(), QStringLiteral("Authorization"))))
            continue;
        const QByteArray value = HTTPHeaderFields::safeValue(it.value().toString());
        append(it.key().toLatin1() + (value.isEmpty() ? QByteArray(";") : ": " + value));
    }
    if (!m_authorization.isEmpty())
        append("Authorization: " + HTTPHeaderFields::safeValue(QString::fromUtf8(m_authorization)));
    if (m_request->HTTPShouldHandleCookies() &&
        m_request->valueForHTTPHeaderField(QStringLiteral("Cookie")).isNull()) {
        const QVariantList found = NSHTTPCookieStorage::sharedHTTPCookieStorage().cookiesForURL(m_url);
        QList<NSHTTPCookie> cookies;
        for (const QVariant &cookie : found)
            cookies.append(cookie.value<NSHTTPCookie>());
        const QVariantMap field = NSHTTPCookie::requestHeaderFieldsWithCookies(cookies);
        if (!field.isEmpty())
            append("Cookie: " + HTTPHeaderFields::safeValue(field.first().toString()));
    }
    set(CURLOPT_HTTPHEADER, m_lines);
}

/// True where a body is sent, be it an empty one.
bool HTTPTransfer::setBody() {
    const QString method = m_request->HTTPMethod();
    m_method = HTTPHeaderFields::isToken(method) ? method.toLatin1() : QByteArray("GET");
    m_body = m_request->HTTPBody();
    const bool wantsLength = m_method == "POST" || m_method == "PUT" || m_method == "PATCH";
    set(CURLOPT_CUSTOMREQUEST, nullptr);
    if (m_method == "HEAD") {
        set(CURLOPT_NOBODY, 1L);
        return false;
    }
    set(CURLOPT_NOBODY, 0L);
    const bool withBody = wantsLength || !m_body.isEmpty();
    if (withBody) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_body.size()));
        set(CURLOPT_POSTFIELDS, m_body.isEmpty() ? "" : m_body.constData());
    } else {
        set(CURLOPT_HTTPGET, 1L);
    }
    if (withBody || m_method != "GET")
        set(CURLOPT_CUSTOMREQUEST, m_method.constData());
    return withBody;
}

void HTTPTransfer::setSecurity() {
    m_host = m_url.host(QUrl::FullyEncoded);
    if (m_url.scheme() != u"https")
        return;
    const bool delegateJudges = canAuthenticate(NSURLProtectionSpace(
        m_host, portOf(m_url), m_url.scheme(), QString(), NSURLAuthenticationMethodServerTrust));
    set(CURLOPT_SSL_VERIFYPEER, delegateJudges ? 0L : 1L);
    set(CURLOPT_SSL_VERIFYHOST, delegateJudges ? 0L : 2L);
    m_judge = [this](const NSServerTrust &trust) { return judgeServer(trust); };
    set(CURLOPT_SSL_CTX_FUNCTION, delegateJudges ? contextFunction : nullptr);
    set(CURLOPT_SSL_CTX_DATA, this);
    // As every program on OpenSSL has it.
    const QByteArray certificates = qgetenv("SSL_CERT_FILE");
    if (!certificates.isEmpty())
        set(CURLOPT_CAINFO, certificates.constData());
}

CURLcode HTTPTransfer::contextFunction(CURL *, void *context, void *transfer) {
    auto &self = *static_cast<HTTPTransfer *>(transfer);
    ServerTrust::install(context, &self.m_judge, &self.m_host);
    return CURLE_OK;
}

ServerTrust::Decision HTTPTransfer::judgeServer(const NSServerTrust &trust) {
    Answer answer;
    if (!m_stopped)
        didReceiveChallenge(NSURLAuthenticationChallenge(
            NSURLProtectionSpace(m_host, portOf(m_url), m_url.scheme(), QString(),
                                 NSURLAuthenticationMethodServerTrust, trust),
            0, nullptr, &answer));
    if (answer.kind() == Answer::Kind::Credential && answer.credential().isTrust())
        return ServerTrust::Decision::Accept;
    m_trustCancelled = answer.kind() == Answer::Kind::Cancel;
    return m_trustCancelled ? ServerTrust::Decision::Refuse : ServerTrust::Decision::Evaluate;
}

size_t HTTPTransfer::headerFunction(const char *bytes, size_t size, size_t count, void *transfer) {
    return static_cast<HTTPTransfer *>(transfer)->takeHeaderLine({bytes, qsizetype(size * count)});
}

size_t HTTPTransfer::bodyFunction(const char *bytes, size_t size, size_t count, void *transfer) {
    return static_cast<HTTPTransfer *>(transfer)->takeBody({bytes, qsizetype(size * count)});
}

size_t HTTPTransfer::takeHeaderLine(QByteArrayView line) {
    const auto taken = size_t(line.size());
    if (m_stopped)
        return CURL_WRITEFUNC_ERROR;
    m_lastSign = TransferLoop::Clock::now();
    m_headSize += line.size();
    if (m_headSize > longestHead) {
        m_failure = NSURLErrorBadServerResponse;
        m_outcome = Outcome::Fail;
        return CURL_WRITEFUNC_ERROR;
    }
    if (m_head.begin(line)) {
        m_headIsComplete = false;
    } else if (m_headIsComplete) {
        return taken; // a trailer
    } else if (line != "\r\n" && line != "\n") {
        m_head.add(line);
    } else if (m_head.statusCode >= 200 || m_head.statusCode == 101) {
        m_headIsComplete = true;
        if (!headIsComplete())
            return CURL_WRITEFUNC_ERROR;
    }
    return taken;
}

/// False where the transfer is to end here.
bool HTTPTransfer::headIsComplete() {
    const auto response = std::make_shared<NSHTTPURLResponse>(m_url, m_head.statusCode, m_head.fields);
    if (m_request->HTTPShouldHandleCookies())
        for (const QString &line : std::as_const(m_head.cookies))
            NSHTTPCookieStorage::sharedHTTPCookieStorage().setCookie(
                NSHTTPCookie::cookieWithHeaderLine(line, m_url));
    m_outcome = decide(response);
    if (m_outcome == Outcome::Deliver) {
        m_delivered = true;
        didReceiveResponse(response);
    }
    return !m_stopped && m_outcome != Outcome::Fail;
}

HTTPTransfer::Outcome HTTPTransfer::decide(const std::shared_ptr<NSHTTPURLResponse> &response) {
    if (const auto outcome = redirect(response))
        return *outcome;
    if (const auto outcome = challenge(response))
        return *outcome;
    return Outcome::Deliver;
}

std::optional<HTTPTransfer::Outcome>
HTTPTransfer::redirect(const std::shared_ptr<NSHTTPURLResponse> &response) {
    if (!isRedirect(response->statusCode()))
        return std::nullopt;
    const QString location = response->valueForHTTPHeaderField(QStringLiteral("Location"));
    if (location.isEmpty())
        return std::nullopt;
    QUrl target = m_url.resolved(QUrl(location, QUrl::TolerantMode));
    if (!target.isValid())
        return std::nullopt;
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
    const std::shared_ptr<NSURLRequest> next = willSendRequest(proposed, response);
    if (m_stopped || !next)
        return std::nullopt;
    if (++m_redirects > mostRedirects) {
        m_failure = NSURLErrorHTTPTooManyRedirects;
        return Outcome::Fail;
    }
    m_next = next;
    return Outcome::Redirect;
}

std::optional<HTTPTransfer::Outcome>
HTTPTransfer::challenge(const std::shared_ptr<NSHTTPURLResponse> &response) {
    if (response->statusCode() != 401)
        return std::nullopt;
    const auto offered =
        HTTPHeaderFields::challenges(response->valueForHTTPHeaderField(QStringLiteral("WWW-Authenticate")));
    const Offer offer = bestOffer(offered);
    if (!offer.challenge)
        return std::nullopt;
    const auto parameter = [&](const char *name) {
        return offer.challenge->parameters.value(QString::fromLatin1(name)).toString();
    };
    // The credential was good, but the server wants a newer nonce used.
    if (!m_credential.isNil() && parameter("stale").compare(u"true", Qt::CaseInsensitive) == 0 &&
        m_staleAnswers < mostStaleAnswers) {
        ++m_staleAnswers;
        m_authorization = answerTo(*offer.challenge);
        return Outcome::Retry;
    }
    const NSURLProtectionSpace space(m_host, portOf(m_url), m_url.scheme(), parameter("realm"), offer.method);
    NSURLCredential credential;
    if (canAuthenticate(space)) {
        Answer answer;
        didReceiveChallenge(NSURLAuthenticationChallenge(space, m_credentialsSent, response, &answer));
        if (answer.kind() == Answer::Kind::Cancel)
            return Outcome::Drop;
        credential = answer.credential();
    } else if (m_credentialsSent == 0 && !m_url.userName().isEmpty()) {
        credential = NSURLCredential(m_url.userName(QUrl::FullyDecoded), m_url.password(QUrl::FullyDecoded));
    }
    if (!credential.hasPassword())
        return std::nullopt;
    m_credential = credential;
    m_authorization = answerTo(*offer.challenge);
    if (m_authorization.isNull())
        return std::nullopt;
    ++m_credentialsSent;
    return Outcome::Retry;
}

QByteArray HTTPTransfer::answerTo(const HTTPHeaderFields::Challenge &challenge) const {
    const QString user = m_credential.user();
    const QString password = m_credential.password();
    if (challenge.scheme == u"basic")
        return HTTPAuthorization::basic(user, password);
    QByteArray target = m_url.toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority | QUrl::RemoveFragment);
    if (!target.startsWith('/'))
        target.prepend('/');
    const QByteArray clientNonce = QByteArray::number(QRandomGenerator::system()->generate64(), 16) +
                                   QByteArray::number(QRandomGenerator::system()->generate64(), 16);
    return HTTPAuthorization::digest(challenge, user, password, {m_method, target, m_body}, clientNonce);
}

size_t HTTPTransfer::takeBody(QByteArrayView bytes) {
    if (m_stopped)
        return CURL_WRITEFUNC_ERROR;
    m_lastSign = TransferLoop::Clock::now();
    if (m_outcome == Outcome::Deliver) {
        didReceiveData(bytes);
    } else {
        m_dropped += bytes.size();
        if (m_dropped > mostDropped)
            return CURL_WRITEFUNC_ERROR;
    }
    return m_stopped ? size_t(CURL_WRITEFUNC_ERROR) : size_t(bytes.size());
}

void HTTPTransfer::handleDidFinish(CURLcode code) {
    m_loop.clearTimer(this);
    if (m_stopped)
        return;
    switch (m_headIsComplete || m_outcome == Outcome::Fail ? m_outcome : Outcome::Deliver) {
    case Outcome::Redirect:
        m_request = std::exchange(m_next, nullptr);
        // The new place asks for itself.
        m_credential = {};
        m_authorization.clear();
        m_credentialsSent = 0;
        // So do libcurl's counters of this handle.
        curl_easy_reset(m_handle);
        send();
        return;
    case Outcome::Retry:
        send();
        return;
    case Outcome::Drop:
        stop();
        didFinishLoading();
        return;
    case Outcome::Fail:
        fail(m_failure);
        return;
    case Outcome::Deliver:
        break;
    }
    if (m_stopped)
        return;
    const QString reason = QString::fromUtf8(m_errorText.data());
    if (m_trustCancelled)
        fail(NSURLErrorUserCancelledAuthentication, reason);
    else if ((code == CURLE_OK && !m_delivered) || code == CURLE_UNSUPPORTED_PROTOCOL ||
             code == CURLE_OUT_OF_MEMORY || (code == CURLE_RECV_ERROR && reason.startsWith(u"Too large")))
        // No answer, an answer that is no HTTP, and header lines beyond what libcurl takes.
        fail(NSURLErrorBadServerResponse, reason);
    else if (code != CURLE_OK)
        fail(NSURLErrorCodeOfCurl(code),
             reason.isEmpty() ? QString::fromUtf8(curl_easy_strerror(code)) : reason);
    else {
        stop();
        didFinishLoading();
    }
}

void HTTPTransfer::armTimer() {
    const double seconds = m_request->timeoutInterval();
    if (!(seconds > 0))
        return;
    constexpr double longest = 100.0 * 366 * 24 * 3600;
    m_loop.setTimer(this, m_lastSign + std::chrono::duration_cast<TransferLoop::Clock::duration>(
                                           std::chrono::duration<double>(std::min(seconds, longest))));
}

void HTTPTransfer::timerDidFire() {
    // That the server takes what is sent is a sign of it too.
    curl_off_t uploaded = 0;
    curl_easy_getinfo(m_handle, CURLINFO_SIZE_UPLOAD_T, &uploaded);
    const auto now = TransferLoop::Clock::now();
    if (std::exchange(m_uploaded, uploaded) != uploaded)
        m_lastSign = now;
    const std::chrono::duration<double> quiet = now - m_lastSign;
    if (quiet.count() >= m_request->timeoutInterval())
        fail(NSURLErrorTimedOut);
    else
        armTimer();
}
