// SPDX-License-Identifier: MIT
#include "platform/net/NSURLConnection.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/net/HTTPTransfer.h"
#include "platform/net/LocalTransfer.h"
#include "platform/net/TransferLoop.h"

#include <mutex>
#include <utility>

using namespace zr;

namespace {

struct Proxy {
    std::mutex mutex;
    QUrl url;
};

Proxy &proxy() {
    static NeverDestroyed<Proxy> proxy;
    return *proxy;
}

} // namespace

NSURLConnection::NSURLConnection(const std::shared_ptr<NSURLRequest> &request,
                                 const std::shared_ptr<NSURLConnectionDelegate> &delegate)
    : m_request(request), m_delegate(delegate) {
}

NSURLConnection::~NSURLConnection() = default;

void NSURLConnection::setProxyURL(const QUrl &url) {
    const QString scheme = url.scheme();
    if (!url.isEmpty() && ((scheme != u"http" && scheme != u"socks5" && scheme != u"socks5h") ||
                           url.host().isEmpty() || url.port() <= 0))
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("A proxy is http, socks5 or socks5h, with host and port."));
    const std::lock_guard lock(proxy().mutex);
    proxy().url = url;
}

QUrl NSURLConnection::proxyURL() {
    const std::lock_guard lock(proxy().mutex);
    return proxy().url;
}

void NSURLConnection::start() {
    if (!m_loop || !m_request)
        throw NSException(NSInternalInconsistencyException,
                          QStringLiteral("A connection needs a request and a loop."));
    if (!m_started.exchange(true))
        m_loop->perform([self = shared_from_this()] { self->begin(); });
}

void NSURLConnection::begin() {
    if (m_ended)
        return;
    m_loop->keep(shared_from_this());
    const QString scheme = m_request->URL().scheme();
    if (scheme == u"file" || scheme == u"data")
        m_transfer = std::make_unique<LocalTransfer>(*this, *m_loop);
    else
        m_transfer = std::make_unique<HTTPTransfer>(*this, *m_loop);
    m_transfer->start(m_request);
}

void NSURLConnection::cancel() {
    if (!m_loop || !m_started.exchange(true)) {
        m_ended = true;
        m_delegate.reset();
    } else if (m_loop->isCurrentThread()) {
        end();
    } else {
        m_loop->perform([self = shared_from_this()] { self->end(); });
    }
}

void NSURLConnection::end() {
    if (std::exchange(m_ended, true))
        return;
    m_delegate.reset();
    // Not yet: functions of the transfer, and of libcurl with its handle, may be running below this call.
    m_loop->perform([self = shared_from_this()] {
        self->m_transfer.reset();
        self->m_loop->release(self);
    });
}
