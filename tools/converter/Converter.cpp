// SPDX-License-Identifier: MIT
#include "tools/converter/Converter.h"

#include "platform/base/NSURLErrorCode.h"

using namespace Qt::StringLiterals;
using namespace zr;

Converter::Task Converter::Task::trial(NetworkMode network, std::stop_token abandoned) {
    return {
        .object = {{u"data"_s, u"<!DOCTYPE html><p>works</p>"_s}, {u"network"_s, networkModeName(network)}},
        .timeout = trialTime,
        .abandoned = std::move(abandoned)};
}

Converter::Answer Converter::Answer::fromReply(const QVariant &result, const NSError &error) {
    if (error) {
        const auto cause = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
        const bool isLost = cause.domain() == NSURLErrorDomain && cause.code() == NSURLErrorEngineLost;
        return {.outcome = isLost ? Outcome::Lost : Outcome::Failed,
                .error = error,
                .message = error.localizedDescription(),
                .cause = cause ? cause.localizedDescription() : QString()};
    }
    Answer answer{.result = result.toMap()};
    if (!answer.result.contains(u"boot"_s) && !answer.pdf().startsWith("%PDF-"))
        answer = {.outcome = Outcome::Failed, .message = u"the service's reply holds no PDF"_s};
    return answer;
}

QString Converter::Answer::text() const {
    if (cause.isNull())
        return message;
    return outcome == Outcome::Lost && !error ? message + u" ("_s + cause + u')' : message + u": "_s + cause;
}
