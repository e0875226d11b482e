// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/HTTPHeaderFields.h"
#include "platform/net/ServerTrust.h"
#include "platform/net/TransferLoop.h"
#include "platform/net/URLTransfer.h"

#include <array>
#include <memory>
#include <optional>

/// Carries http and https by libcurl. Redirects and challenges are the delegate's to decide, so each hop and
/// each attempt is a transfer of its own on the same handle.
class HTTPTransfer : public URLTransfer, private TransferLoop::Transfer {
public:
    using URLTransfer::URLTransfer;
    ~HTTPTransfer() override;

    void start(const std::shared_ptr<NSURLRequest> &request) override;
    void stop() override;

private:
    /// What becomes of the response whose head has arrived.
    enum class Outcome {
        Deliver,  ///< it is the response
        Redirect, ///< m_next is sent
        Retry,    ///< the same request is sent with m_authorization
        Drop,     ///< the delegate cancelled the challenge
        Fail,     ///< with m_failure
    };

    void send();
    bool configure();
    bool setBody();
    void setHeaderFields(bool withBody);
    void setSecurity();
    bool headIsComplete();
    Outcome decide(const std::shared_ptr<NSHTTPURLResponse> &response);
    std::optional<Outcome> redirect(const std::shared_ptr<NSHTTPURLResponse> &response);
    QByteArray answerTo(const HTTPHeaderFields::Challenge &challenge) const;
    std::optional<Outcome> challenge(const std::shared_ptr<NSHTTPURLResponse> &response);
    ServerTrust::Decision judgeServer(const NSServerTrust &trust);
    void fail(NSURLErrorCode code, const QString &reason = {});
    void handleDidFinish(CURLcode code) override;
    void timerDidFire() override;
    void armTimer();

    size_t takeHeaderLine(QByteArrayView line);
    size_t takeBody(QByteArrayView bytes);
    static size_t headerFunction(const char *bytes, size_t size, size_t count, void *transfer);
    static size_t bodyFunction(const char *bytes, size_t size, size_t count, void *transfer);
    static CURLcode contextFunction(CURL *, void *context, void *transfer);

    template <typename Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(m_handle, option, value);
    }

    std::shared_ptr<NSURLRequest> m_request;
    std::shared_ptr<NSURLRequest> m_next;
    QUrl m_url;
    QByteArray m_address;
    QByteArray m_method;
    QByteArray m_body;
    QString m_host;
    CURL *m_handle = nullptr;
    curl_slist *m_lines = nullptr;
    std::array<char, CURL_ERROR_SIZE> m_errorText{};
    ServerTrust::Judge m_judge;

    HTTPHeaderFields::Head m_head;
    qsizetype m_headSize = 0;
    bool m_headIsComplete = false;
    Outcome m_outcome = Outcome::Deliver;
    bool m_delivered = false;
    qsizetype m_dropped = 0;
    NSURLErrorCode m_failure = NSURLErrorUnknown;
    bool m_trustCancelled = false;

    NSURLCredential m_credential;
    /// The field that answers the server's last challenge.
    QByteArray m_authorization;
    int m_credentialsSent = 0;
    int m_staleAnswers = 0;
    int m_redirects = 0;
    bool m_stopped = false;

    TransferLoop::Clock::time_point m_lastSign;
    curl_off_t m_uploaded = 0;
};
