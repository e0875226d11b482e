// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/PDFService.h"

#include <future>

using namespace Qt::StringLiterals;

namespace {

using Answer = zr::Converter::Answer;

PDFService::Outcome outcomeOf(const Answer &answer, const QString &service,
                              std::chrono::milliseconds patience) {
    using Outcome = zr::Converter::Outcome;
    switch (answer.outcome) {
    case Outcome::Done:
        return {answer.pdf(), {}, {}};
    case Outcome::Abandoned:
        return {};
    case Outcome::Late:
        return {
            {}, u"The conversion took too long"_s, u"more than %1 s"_s.arg(double(patience.count()) / 1000)};
    case Outcome::Unavailable:
        return {{}, u"The conversion service is not installed"_s, service};
    case Outcome::Lost:
        if (!answer.error)
            return {{}, u"The conversion service was lost"_s, answer.cause};
        break;
    case Outcome::Failed:
        if (!answer.error)
            return {{}, u"The service's reply holds no PDF"_s, {}};
        break;
    }
    return {{}, answer.message, answer.cause};
}

} // namespace

PDFService::PDFService(const QString &serviceName, std::chrono::milliseconds patience)
    : m_name(serviceName), m_patience(patience) {
}

PDFService::Outcome PDFService::convert(const QVariantMap &task, const std::stop_token &stop) {
    if (!m_pool)
        m_pool = std::make_unique<zr::ServicePool>(zr::ServicePool::Options{.service = m_name});
    std::promise<Answer> promise;
    m_pool->convert({.object = task, .timeout = m_patience, .abandoned = stop},
                    [&promise](const Answer &answer) { promise.set_value(answer); });
    return outcomeOf(promise.get_future().get(), m_name, m_patience);
}
