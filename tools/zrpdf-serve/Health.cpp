// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/Health.h"

#include <future>
#include <utility>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

/// How long an answer holds.
constexpr auto freshness = std::chrono::seconds(5);
constexpr auto freshnessOfFaults = std::chrono::seconds(1);
/// Waiting for a turn included.
constexpr auto patience = Converter::Task::trialTime;
const QString stoppingText = u"The server is stopping."_s;

} // namespace

Health::Health(Converter &converter, NetworkMode network, std::chrono::milliseconds longest)
    : m_converter(converter), m_network(network), m_longest(longest), m_thread([this] { run(); }) {
}

Health::~Health() {
    beginStop();
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void Health::beginStop() {
    std::stop_source enough(std::nostopstate);
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        enough = m_enough;
    }
    enough.request_stop();
}

void Health::noteSuccess() {
    const std::lock_guard lock(m_mutex);
    m_worked = Clock::now();
}

void Health::check(const std::function<void(const QString &)> &tell) {
    std::optional<QString> known;
    {
        const std::lock_guard lock(m_mutex);
        const auto now = Clock::now();
        if (m_isStopping)
            known = stoppingText;
        else if (m_worked && now < *m_worked + freshness && (!m_failed || *m_failed < *m_worked))
            known = QString();
        else if (m_failed && now < *m_failed + freshnessOfFaults && (!m_worked || *m_worked < *m_failed))
            known = m_fault;
        else
            m_asking.push_back(tell);
    }
    if (known)
        tell(*known);
    else
        m_changed.notify_all();
}

void Health::run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isOver || !m_asking.empty(); });
        QString fault;
        if (!m_isStopping) {
            m_enough = std::stop_source();
            const std::stop_source enough = m_enough;
            lock.unlock();
            const std::optional<QString> found = tryOut(enough);
            lock.lock();
            if (found)
                (found->isNull() ? m_worked : m_failed) = Clock::now();
            fault = found.value_or(QString());
        }
        if (m_isStopping)
            fault = stoppingText;
        m_fault = fault;
        const auto asking = std::exchange(m_asking, {});
        lock.unlock();
        for (const auto &tell : asking)
            tell(fault);
        lock.lock();
        if (m_isOver && m_asking.empty())
            return;
    }
}

/// Whether documents that take long keep all instances from trying, but they do come.
bool Health::isOnlyBusy(const Converter::State &state) {
    const std::lock_guard lock(m_mutex);
    return state.working >= state.instances && state.waiting > 0 && m_worked &&
           Clock::now() < *m_worked + m_longest + patience;
}

/// Converts a tiny document; nil if that works, nothing if it can't be told yet.
std::optional<QString> Health::tryOut(const std::stop_source &enough) {
    const auto promise = std::make_shared<std::promise<Converter::Answer>>();
    auto answer = promise->get_future();
    m_converter.convert(Converter::Task::trial(m_network, enough.get_token()),
                        [promise](const Converter::Answer &given) { promise->set_value(given); });
    if (answer.wait_for(patience) != std::future_status::ready) {
        const Converter::State state = m_converter.state();
        enough.request_stop();
        if (isOnlyBusy(state))
            return std::nullopt;
        return u"A tiny document had not been converted after %1 s. %2 of %3 instances are working, and %4 documents wait."_s
            .arg(patience.count())
            .arg(state.working)
            .arg(state.instances)
            .arg(state.waiting);
    }
    const Converter::Answer given = answer.get();
    if (given.outcome == Converter::Outcome::Done)
        return QString();
    return u"A tiny document could not be converted: "_s +
           (given.outcome == Converter::Outcome::Abandoned ? u"it was abandoned"_s : given.text());
}
