// SPDX-License-Identifier: MIT
#include "platform/net/HTTPExchange.h"

#include "platform/net/NSURLError.h"

#include <future>
#include <utility>

using namespace zr;

namespace {

class Collector : public NSURLConnectionDelegate {
public:
    Collector(HTTPExchange exchange, HTTPExchange::Handler handler)
        : m_exchange(std::move(exchange)), m_handler(std::move(handler)) {}

    std::shared_ptr<NSURLRequest>
    connectionWillSendRequest(const Connection &, const std::shared_ptr<NSURLRequest> &request,
                              const std::shared_ptr<NSURLResponse> &redirectResponse) override {
        return redirectResponse && !m_exchange.followsRedirects ? nullptr : request;
    }
    void connectionDidReceiveResponse(const Connection &connection,
                                      const std::shared_ptr<NSURLResponse> &response) override {
        m_answer.response = std::dynamic_pointer_cast<NSHTTPURLResponse>(response);
        if (m_exchange.wantsBody && !m_exchange.wantsBody(*m_answer.response))
            end(connection, m_answer);
        else
            m_answer.body = "";
    }
    void connectionDidReceiveData(const Connection &connection, QByteArrayView data) override {
        if (m_exchange.bytesLeft->fetch_sub(data.size()) >= data.size())
            m_answer.body.append(data);
        else
            end(connection, {});
    }
    void connectionDidFinishLoading(const Connection &) override { m_handler(m_answer); }
    void connectionDidFailWithError(const Connection &, const NSError &error) override {
        m_handler({{}, {}, error});
    }

private:
    void end(const Connection &connection, const HTTPExchange::Answer &answer) {
        m_handler(answer);
        connection->cancel();
    }

    const HTTPExchange m_exchange;
    const HTTPExchange::Handler m_handler;
    HTTPExchange::Answer m_answer;
};

} // namespace

std::shared_ptr<NSURLConnection> HTTPExchange::start(TransferLoop &loop, Handler handler) const {
    auto connection =
        std::make_shared<NSURLConnection>(request, std::make_shared<Collector>(*this, std::move(handler)));
    connection->scheduleInRunLoop(loop);
    connection->start();
    return connection;
}

HTTPExchange::Answer HTTPExchange::wait(TransferLoop &loop,
                                        std::optional<std::chrono::steady_clock::time_point> deadline) const {
    const auto promise = std::make_shared<std::promise<Answer>>();
    std::future<Answer> answer = promise->get_future();
    const auto connection = start(loop, [promise](const Answer &given) { promise->set_value(given); });
    if (deadline && answer.wait_until(*deadline) == std::future_status::timeout) {
        connection->cancel();
        return {{}, {}, NSURLErrorWithCode(NSURLErrorTimedOut, request->URL())};
    }
    return answer.get();
}
