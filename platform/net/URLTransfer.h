// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"
#include "platform/net/NSURLConnection.h"
#include "platform/net/TransferLoop.h"
#include "platform/values/NSLog.h"

#include <functional>
#include <memory>
#include <type_traits>

namespace zr {

/// How one connection is carried; one class for each kind of URL. Everything happens on the loop's thread.
class URLTransfer {
public:
    URLTransfer(NSURLConnection &connection, TransferLoop &loop) : m_loop(loop), m_connection(connection) {}
    /// Ends what still runs.
    virtual ~URLTransfer() = default;
    URLTransfer(const URLTransfer &) = delete;
    URLTransfer &operator=(const URLTransfer &) = delete;

    virtual void start(const std::shared_ptr<NSURLRequest> &request) = 0;

protected:
    /// Whether the connection has ended, as the delegate may have it do whenever it is told something:
    /// nothing is to be done any more, and the transfer will be destroyed.
    bool isOver() const { return m_connection.m_ended; }

    /// Calls a function of the delegate. The result is an empty one if there is no delegate any more or it
    /// throws.
    template <typename Result, typename... Parameters>
    Result tell(Result (NSURLConnectionDelegate::*function)(const std::shared_ptr<NSURLConnection> &,
                                                            Parameters...),
                const std::type_identity_t<Parameters> &...arguments) {
        const auto delegate = m_connection.m_delegate;
        try {
            if (delegate)
                return (*delegate.*function)(m_connection.shared_from_this(), arguments...);
        } catch (...) {
            NSLog("Exception in a connection's delegate: %@", NSException::currentDescription());
        }
        return Result();
    }
    /// The end.
    void finish() {
        tell(&NSURLConnectionDelegate::connectionDidFinishLoading);
        m_connection.end();
    }
    void fail(const NSError &error) {
        tell(&NSURLConnectionDelegate::connectionDidFailWithError, error);
        m_connection.end();
    }
    /// Runs the block after what waits now, if the connection has not ended by then.
    void later(std::function<void()> block) {
        m_loop.perform([connection = m_connection.shared_from_this(), block = std::move(block)] {
            if (!connection->m_ended)
                block();
        });
    }

    TransferLoop &m_loop;

private:
    NSURLConnection &m_connection;
};

} // namespace zr
