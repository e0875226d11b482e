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

namespace zr {
class TransferLoop;
class URLTransfer;
} // namespace zr

/// Who is told of a connection, always on its loop's thread. Exceptions that these functions raise are
/// logged.
class NSURLConnectionDelegate {
public:
    using Connection = std::shared_ptr<NSURLConnection>;
    virtual ~NSURLConnectionDelegate() = default;

    /// Called once before the request is sent (without a redirect response), and for each redirect: a 301,
    /// 302, 303 or 307 with a location. The others of that class are responses like any. The request that it
    /// returns is sent; if that is nil, the redirect is the response. A location that can't be loaded is an
    /// error.
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
    /// A piece of the unpacked body; the bytes are valid during the call.
    virtual void connectionDidReceiveData(const Connection &, QByteArrayView) {}
    /// The end: one of the two, once, unless the connection was cancelled.
    virtual void connectionDidFinishLoading(const Connection &) {}
    virtual void connectionDidFailWithError(const Connection &, const NSError &) {}
};

/// Loads one request: http and https by libcurl, file and data by itself. Made with std::make_shared.
///
/// HTTP/1.1 and, over TLS, HTTP/2; connections are kept and used again by all requests of a loop. Bodies
/// packed with gzip, deflate, br or zstd arrive unpacked; with any other coding they arrive as they came.
/// Sent are the request's header fields, Host, the body's Content-Length, an answer to a challenge (Basic or
/// Digest), and, if the request says so, the shared store's cookies; nothing else. Nothing is cached.
///
/// A cancelled challenge ends the connection as finished, without a response: the delegate knows why.
///
/// Functions may be called from any thread unless they say otherwise.
class NSURLConnection : public std::enable_shared_from_this<NSURLConnection> {
public:
    /// Keeps the delegate until the end.
    NSURLConnection(const std::shared_ptr<NSURLRequest> &request,
                    const std::shared_ptr<NSURLConnectionDelegate> &delegate);
    ~NSURLConnection();
    NSURLConnection(const NSURLConnection &) = delete;
    NSURLConnection &operator=(const NSURLConnection &) = delete;

    /// Sets the proxy for every http and https request of the process that is sent from now on; nil, the
    /// initial value, is none. The environment's variables for proxies count for nothing.
    /// \param url  http, socks5 or socks5h (which leaves names for the proxy to look up), with host and port,
    ///             perhaps a user name and password. Raises NSInvalidArgumentException for anything else.
    static void setProxyURL(const QUrl &url);
    static QUrl proxyURL();

    /// Says which loop carries it, such as ZRFetchOperation::networkRequestThread(); before start(). The loop
    /// must outlive the connection's end.
    void scheduleInRunLoop(zr::TransferLoop &loop) { m_loop = &loop; }
    /// Once. The delegate hears of it later, never before this returns. Raises
    /// NSInternalInconsistencyException without a request or a loop.
    void start();
    /// On the loop's thread: once it returns, the delegate hears nothing more. Elsewhere: as soon as the
    /// thread gets to it.
    void cancel();

    /// The request as it was given.
    std::shared_ptr<NSURLRequest> originalRequest() const { return m_request; }

private:
    friend class zr::URLTransfer;

    void begin();
    void end();

    const std::shared_ptr<NSURLRequest> m_request;
    std::shared_ptr<NSURLConnectionDelegate> m_delegate;
    zr::TransferLoop *m_loop = nullptr;
    std::unique_ptr<zr::URLTransfer> m_transfer;
    std::atomic<bool> m_started{false};
    bool m_ended = false;
};
