// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/BodyUnpacker.h"
#include "platform/net/HTTPHeaderFields.h"
#include "platform/net/ServerTrust.h"
#include "platform/net/TransferLoop.h"
#include "platform/net/URLTransfer.h"

#include <array>
#include <memory>
#include <optional>

namespace zr {

/// Carries http and https by libcurl. Redirects and challenges are the delegate's to decide, so each hop and
/// each attempt is a transfer of its own; libcurl answers a challenge with the credential that the delegate
/// gave for it.
class HTTPTransfer : public URLTransfer, private TransferLoop::Transfer {
public:
    using URLTransfer::URLTransfer;
    ~HTTPTransfer() override;
    void start(const std::shared_ptr<NSURLRequest> &request) override;

private:
    /// What becomes of the response whose head has arrived.
    enum class Outcome {
        Deliver,  ///< it is the response
        Redirect, ///< m_next is sent
        Retry,    ///< the same request is sent with m_credential
        Renew,    ///< libcurl sends it again with the server's new nonce, in the same transfer
        Drop,     ///< the delegate cancelled the challenge
        Fail,     ///< with the attempt's failure
    };
    /// One request and its response.
    struct Attempt {
        bool headIsComplete = false;
        Outcome outcome = Outcome::Deliver;
        NSURLErrorCode failure = NSURLErrorUnknown;
        std::unique_ptr<BodyUnpacker> unpacker;
        qsizetype dropped = 0;
        int headerLines = 0;
        int codings = 0;
        curl_off_t uploaded = 0;
        bool trustCancelled = false;
    };
    template <auto release>
    struct Release {
        template <typename T>
        void operator()(T *object) const {
            release(object);
        }
    };

    void send();
    void configure();
    bool setBody();
    void setHeaderFields(bool withBody);
    void setReach();
    void setSecurity();
    void setCredential();
    bool isBearable(QByteArrayView line);
    QVariantMap takeFields();
    bool headIsComplete(qint64 status);
    Outcome decide(const std::shared_ptr<NSHTTPURLResponse> &response);
    std::optional<Outcome> redirect(const std::shared_ptr<NSHTTPURLResponse> &response);
    std::optional<Outcome> challenge(const std::shared_ptr<NSHTTPURLResponse> &response);
    void prepareUnpacking(const QVariantMap &fields);
    ServerTrust::Decision judgeServer(const NSServerTrust &trust);
    Outcome failing(NSURLErrorCode code);
    void failWith(NSURLErrorCode code, const QString &reason = {});
    void responseDidEnd(CURLcode code);
    void handleDidFinish(CURLcode code) override;
    void deadlineDidPass() override;
    void setDeadline();

    bool takeHeaderLine(QByteArrayView line);
    bool takeBody(QByteArrayView bytes);
    template <auto take>
    static size_t callback(const char *bytes, size_t size, size_t count, void *transfer) {
        const bool goesOn = (static_cast<HTTPTransfer *>(transfer)->*take)({bytes, qsizetype(size * count)});
        return goesOn ? size * count : size_t(CURL_WRITEFUNC_ERROR);
    }
    static CURLcode contextFunction(CURL *, void *context, void *transfer);
    static curl_socket_t openSocket(void *transfer, curlsocktype, curl_sockaddr *address);
    static int isConnected(void *transfer, char *address, char *, int, int);
    /// Whether it may be connected to; notes those that may not.
    bool admits(const sockaddr *address);

    template <typename Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(m_handle.get(), option, value);
    }

    std::shared_ptr<NSURLRequest> m_request;
    std::shared_ptr<NSURLRequest> m_next;
    QUrl m_url;
    QByteArray m_body;
    std::array<char, CURL_ERROR_SIZE> m_errorText{};
    QString m_refusedAddress;
    ServerTrust::Judge m_judge;
    std::unique_ptr<CURL, Release<curl_easy_cleanup>> m_handle;
    std::unique_ptr<curl_slist, Release<curl_slist_free_all>> m_lines;
    Attempt m_attempt;

    NSURLCredential m_credential;
    bool m_isDigest = false;
    int m_credentialsSent = 0;
    int m_renewals = 0;
    int m_redirects = 0;
    TransferLoop::Clock::time_point m_lastSign;
};

} // namespace zr
