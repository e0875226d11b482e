// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLConnection.h"

#include <functional>
#include <memory>

/// How one connection is carried; one class for each kind of URL. Everything happens on the loop's thread.
class URLTransfer {
public:
    explicit URLTransfer(NSURLConnection &connection, TransferLoop &loop)
        : m_loop(loop), m_connection(connection) {}
    virtual ~URLTransfer() = default;
    URLTransfer(const URLTransfer &) = delete;
    URLTransfer &operator=(const URLTransfer &) = delete;

    virtual void start(const std::shared_ptr<NSURLRequest> &request) = 0;
    /// The delegate hears nothing more, and the transfer may be destroyed.
    virtual void stop() = 0;

protected:
    std::shared_ptr<NSURLRequest> willSendRequest(const std::shared_ptr<NSURLRequest> &request,
                                                  const std::shared_ptr<NSURLResponse> &redirectResponse);
    bool canAuthenticate(const NSURLProtectionSpace &space);
    void didReceiveChallenge(const NSURLAuthenticationChallenge &challenge);
    void didReceiveResponse(const std::shared_ptr<NSURLResponse> &response);
    void didReceiveData(QByteArrayView data);
    /// These two end the connection; the transfer must not be touched afterwards.
    void didFinishLoading();
    void didFail(const NSError &error);
    /// Runs the block later, if the connection has not ended by then.
    void later(std::function<void()> block);

    TransferLoop &m_loop;

private:
    template <typename Call>
    void tell(Call call);

    NSURLConnection &m_connection;
};
