// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/NetworkMode.h"
#include "platform/base/NSError.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stop_token>

namespace zr {

/// Where documents are converted: by the services of this machine, or elsewhere. Any thread.
class Converter {
public:
    struct Task {
        /// The service's task: "data", "utiType", "pdfTitle" and so on.
        QVariantMap object;
        /// How long the document may be worked on. The time in which it waits for its turn doesn't count.
        std::chrono::milliseconds timeout = std::chrono::seconds(60);
        /// When a stop is requested nobody wants the result any more.
        std::stop_token abandoned = {};

        /// A tiny document: if it can't be converted, no document can.
        /// \param network  that of the usual documents, whose browser is then tried
        static Task trial(NetworkMode network, std::stop_token abandoned = {});
        /// What it may take. A browser may have to be started first.
        static constexpr std::chrono::seconds trialTime{15};
    };

    enum class Outcome {
        Done,
        Failed,      ///< the document can't be converted
        Late,        ///< it took too long
        Lost,        ///< what worked on it has gone: the browser or its page, told by `error`, or the service
        Unavailable, ///< there is nobody who converts
        Abandoned,
    };

    struct Answer {
        Outcome outcome = Outcome::Done;
        QVariantMap result = {}; ///< empty unless it is done
        NSError error = {};      ///< the service's own, nil if it said none
        QString message = {};    ///< what went wrong, part of a sentence; nil if it is done or abandoned
        QString cause = {};      ///< what led to that; nil if it isn't known

        /// The PDF; nil without one.
        QByteArray pdf() const { return result.value(QStringLiteral("data")).toByteArray(); }

        /// What went wrong and why, part of a sentence.
        QString text() const;

        /// The answer to a task that the service replied to.
        static Answer fromReply(const QVariant &result, const NSError &error);
    };
    /// Called on a thread of the converter; must not block.
    using Handler = std::function<void(const Answer &answer)>;

    struct State {
        int instances = 0;       ///< how many documents can be worked on at once
        int working = 0;         ///< how many are
        std::size_t waiting = 0; ///< documents that wait for their turn
        std::uint64_t ended = 0; ///< instances that have ended so far, for whatever reason
    };

    virtual ~Converter() = default;

    /// Queues a task. The handler is called exactly once, never by this call itself: when the task is answered, or
    /// abandoned, or the converter is destroyed.
    virtual void convert(Task task, Handler handler) = 0;

    virtual State state() const = 0;
};

} // namespace zr
