// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLConnection.h"

#include <chrono>
#include <functional>
#include <optional>

namespace zr {

/// A request by http or https, and all that is wanted of its answer. Any thread.
struct HTTPExchange {
    struct Answer {
        std::shared_ptr<NSHTTPURLResponse> response; ///< nil if it didn't come to its end
        QByteArray body; ///< unpacked; nil without a response, or if it isn't wanted
        NSError error;   ///< why there is no response; nil if more came than there were bytes left
    };
    using Handler = std::function<void(const Answer &answer)>;

    std::shared_ptr<NSURLRequest> request;
    /// How many bytes of bodies may come yet; several exchanges can share it.
    std::shared_ptr<std::atomic<qint64>> bytesLeft;
    /// Otherwise a redirect is an answer like any.
    bool followsRedirects = false;
    /// Whether the body is wanted; nullptr if it always is.
    bool (*wantsBody)(const NSHTTPURLResponse &response) = nullptr;

    /// Calls the handler once, on the loop's thread, unless the connection is cancelled before.
    std::shared_ptr<NSURLConnection> start(TransferLoop &loop, Handler handler) const;
    /// Blocks the thread until the answer is there, or it is too late for one, which is the error NSURLErrorTimedOut.
    Answer wait(TransferLoop &loop,
                std::optional<std::chrono::steady_clock::time_point> deadline = std::nullopt) const;
};

} // namespace zr
