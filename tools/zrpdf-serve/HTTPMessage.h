// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <algorithm>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

namespace zr {

using HTTPField = std::pair<QByteArray, QByteArray>;
using HTTPFields = QList<HTTPField>;

/// A request as it came. A value.
struct HTTPRequest {
    QByteArray method = {};
    QByteArray path = {};   ///< decoded, without the query
    HTTPFields query = {};  ///< decoded; a value is null if there was no "="
    HTTPFields header = {}; ///< names in lower case
    QByteArray body = {};
    QByteArray id = {};               ///< tells it from others, in answers and in the log
    bool isFromBrowsersReach = false; ///< came by a port that a web page could address, too
    std::stop_token abandoned = {};   ///< a stop is requested when the client hangs up

    /// The first field of that name (in lower case); null if there is none.
    QByteArray field(const char *name) const {
        const auto found =
            std::find_if(header.begin(), header.end(), [&](const auto &each) { return each.first == name; });
        return found == header.end() ? QByteArray() : found->second;
    }
    qsizetype count(const char *name) const {
        return std::count_if(header.begin(), header.end(),
                             [&](const auto &each) { return each.first == name; });
    }
};

/// What is answered. A value.
struct HTTPAnswer {
    int status = 200;
    HTTPFields header = {};
    QByteArray body = {};
    QByteArray code = {}; ///< of a problem, for the log; empty for others
};

/// Answers the requests that come in by a door. Called on the door's threads; must not block.
class HTTPHandler {
public:
    virtual ~HTTPHandler() = default;

    /// The answer to a request that is refused for its head alone, before its body has come. Gives the request its id.
    virtual std::optional<HTTPAnswer> refuse(HTTPRequest &head) = 0;
    /// The answer to a body that is too long, or that there is no room for.
    virtual HTTPAnswer refuseBody(const HTTPRequest &head, bool isTooLong) = 0;
    /// Has the request answered: `reply` is called once, on any thread, during this call or later.
    virtual void handle(HTTPRequest request, std::function<void(HTTPAnswer)> reply) = 0;
    /// The request is over.
    /// \param answer      what was sent, or begun to be; nullptr if nothing was
    /// \param seconds     since its head had come
    /// \param isComplete  false if the client closed the connection before that was seen
    virtual void finished(const HTTPRequest &head, const HTTPAnswer *answer, qsizetype bodySize,
                          double seconds, bool isComplete) = 0;
};

} // namespace zr
