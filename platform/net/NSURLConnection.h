// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLAuthenticationChallenge.h"
#include "platform/net/NSURLError.h"
#include "platform/net/NSURLRequest.h"
#include "platform/net/NSURLResponse.h"

#include <QByteArrayView>
#include <atomic>
#include <memory>

class NSURLConnection;
class TransferLoop;
class URLTransfer;

/// Who is told of a connection, always on its loop's thread. What these functions throw is logged.
class NSURLConnectionDelegate {
public:
    using Connection = std::shared_ptr<NSURLConnection>;
    virtual ~NSURLConnectionDelegate() = default;

    /// Once before the request is sent (without a redirect response), and for each redirect (301, 302, 303
    /// and 307 with a location; the others are responses like any). What it gives is sent; for nil the
    /// redirect is the response.
    virtual std::shared_ptr<NSURLRequest>
    connectionWillSendRequest(const Connection &, const std::shared_ptr<NSURLRequest> &request,
                              const std::shared_ptr<NSURLResponse> &redirectResponse) {
        return request;
    }
    /// Whether it wants to answer challenges of the kind. If not: certificates and host names are verified,
    /// user name and password of the URL are used, and a 401 without them is a response like any.
    virtual bool connectionCanAuthenticateAgainstProtectionSpace(const Connection &,
                                                                 const NSURLProtectionSpace &) {
        return false;
    }
    /// To be answered before it returns; without an answer the connection goes on without a credential.
    virtual void connectionDidReceiveAuthenticationChallenge(const Connection &,
                                                             const NSURLAuthenticationChallenge &) {}
    virtual void connectionDidReceiveResponse(const Connection &, const std::shared_ptr<NSURLResponse> &) {}
    /// A piece of the decoded body; the bytes are valid during the call.
    virtual void connectionDidReceiveData(const Connection &, QByteArrayView) {}
    /// The end: one of the two, once, unless the connection was cancelled.
    virtual void connectionDidFinishLoading(const Connection &) {}
    virtual void connectionDidFailWithError(const Connection &, const NSError &) {}
};

/// Loads one request: http and https by libcurl, file and data by itself. Made with std::make_shared.
///
/// HTTP/1.1 and, over TLS, HTTP/2; connections are kept and used again by all requests of a loop. Packed
/// bodies (gzip, deflate, br, zstd) arrive unpacked. Sent are the request's header fields, Host, the body's
/// Content-Length, an answer to a challenge, and, where the request says so, the shared store's cookies;
/// nothing else. Nothing is cached.
///
/// A cancelled challenge ends the connection as finished, without a response: the delegate knows why.
class NSURLConnection : public std::enable_shared_from_this<NSURLConnection> {
public:
    /// Keeps the delegate until the end.
    NSURLConnection(const std::shared_ptr<NSURLRequest> &request,
                    const std::shared_ptr<NSURLConnectionDelegate> &delegate);
    ~NSURLConnection();
    NSURLConnection(const NSURLConnection &) = delete;
    NSURLConnection &operator=(const NSURLConnection &) = delete;

    /// Says which loop carries it; before start(). The loop must outlive the connection's end.
    void scheduleInRunLoop(TransferLoop &loop) { m_loop = &loop; }
    /// Once; any thread. The delegate hears of it later, never before this returns.
    void start();
    /// On the loop's thread: once it returns, the delegate hears nothing more. Elsewhere: as soon as the
    /// thread gets to it.
    void cancel();

    /// The request as it was given.
    std::shared_ptr<NSURLRequest> originalRequest() const { return m_request; }

private:
    friend class URLTransfer;

    void begin();
    void end();

    const std::shared_ptr<NSURLRequest> m_request;
    std::shared_ptr<NSURLConnectionDelegate> m_delegate;
    TransferLoop *m_loop = nullptr;
    std::unique_ptr<URLTransfer> m_transfer;
    std::atomic<bool> m_started{false};
    bool m_ended = false;
};
