// SPDX-License-Identifier: MIT
#include "platform/net/NSURLConnection.h"

#include "platform/base/NSException.h"
#include "platform/net/HTTPTransfer.h"
#include "platform/net/LocalTransfer.h"
#include "platform/net/TransferLoop.h"
#include "platform/net/URLTransfer.h"
#include "platform/values/NSLog.h"

#include <utility>

NSURLConnection::NSURLConnection(const std::shared_ptr<NSURLRequest> &request,
                                 const std::shared_ptr<NSURLConnectionDelegate> &delegate)
    : m_request(request), m_delegate(delegate) {
}

NSURLConnection::~NSURLConnection() = default;

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
    const auto self = shared_from_this();
    m_loop->keep(self);
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
        return;
    }
    if (m_loop->isCurrentThread())
        end();
    else
        m_loop->perform([self = shared_from_this()] { self->end(); });
}

void NSURLConnection::end() {
    if (std::exchange(m_ended, true))
        return;
    const auto self = shared_from_this();
    m_delegate.reset();
    if (m_loop->isInsideCurl()) {
        // The handle is in use below this call.
        m_loop->perform([self] {
            if (self->m_transfer)
                self->m_transfer->stop();
            self->m_transfer.reset();
            self->m_loop->release(self);
        });
        return;
    }
    if (m_transfer)
        m_transfer->stop();
    // Its own functions may be running.
    m_loop->perform([self, transfer = std::shared_ptr<URLTransfer>(std::move(m_transfer))] {});
    m_loop->release(self);
}

template <typename Call>
void URLTransfer::tell(Call call) {
    const auto delegate = m_connection.m_delegate;
    if (!delegate)
        return;
    try {
        call(*delegate, m_connection.shared_from_this());
    } catch (...) {
        NSLog("Exception in a connection's delegate: %@", NSException::currentDescription());
    }
}

std::shared_ptr<NSURLRequest>
URLTransfer::willSendRequest(const std::shared_ptr<NSURLRequest> &request,
                             const std::shared_ptr<NSURLResponse> &redirectResponse) {
    std::shared_ptr<NSURLRequest> answer;
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &connection) {
        answer = delegate.connectionWillSendRequest(connection, request, redirectResponse);
    });
    return answer;
}

bool URLTransfer::canAuthenticate(const NSURLProtectionSpace &space) {
    bool answer = false;
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &connection) {
        answer = delegate.connectionCanAuthenticateAgainstProtectionSpace(connection, space);
    });
    return answer;
}

void URLTransfer::didReceiveChallenge(const NSURLAuthenticationChallenge &challenge) {
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &connection) {
        delegate.connectionDidReceiveAuthenticationChallenge(connection, challenge);
    });
}

void URLTransfer::didReceiveResponse(const std::shared_ptr<NSURLResponse> &response) {
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &connection) {
        delegate.connectionDidReceiveResponse(connection, response);
    });
}

void URLTransfer::didReceiveData(QByteArrayView data) {
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &connection) {
        delegate.connectionDidReceiveData(connection, data);
    });
}

void URLTransfer::didFinishLoading() {
    const auto connection = m_connection.shared_from_this();
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &self) {
        delegate.connectionDidFinishLoading(self);
    });
    connection->end();
}

void URLTransfer::didFail(const NSError &error) {
    const auto connection = m_connection.shared_from_this();
    tell([&](NSURLConnectionDelegate &delegate, const std::shared_ptr<NSURLConnection> &self) {
        delegate.connectionDidFailWithError(self, error);
    });
    connection->end();
}

void URLTransfer::later(std::function<void()> block) {
    m_loop.perform([connection = m_connection.shared_from_this(), block = std::move(block)] {
        if (!connection->m_ended)
            block();
    });
}
