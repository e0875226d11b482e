// SPDX-License-Identifier: MIT
#include "tools/converter/ServicePool.h"

#include "platform/xpc/XPCActivator.h"

#include <algorithm>
#include <csignal>
#include <sys/wait.h>
#include <utility>

using namespace zr;

namespace {

/// Whether a child of this process has ended, be it that nobody has been told yet.
bool hasEnded(pid_t process, int options = WNOHANG) {
    siginfo_t info = {};
    return ::waitid(P_PID, id_t(process), &info, WEXITED | WNOWAIT | options) != 0 || info.si_pid != 0;
}

/// Ends an instance, so that nobody who comes next is sent to it.
void end(pid_t process) {
    if (process > 0 && ::kill(process, SIGKILL) == 0)
        hasEnded(process, 0);
}

} // namespace

const QString &ServicePool::defaultService() {
    static const QString name = QStringLiteral("com.velmora.zrpdf");
    return name;
}

ServicePool::ServicePool(const Options &options)
    : m_options(options), m_instances(std::size_t(std::max(options.instances, 1))) {
    m_state.instances = int(m_instances.size());
    for (std::size_t index = 0; index < m_instances.size(); ++index) {
        Instance &instance = m_instances[index];
        instance.name =
            index == 0 ? m_options.service : m_options.service + u'@' + QString::number(index + 1);
        instance.client = std::make_shared<XPCClient>(instance.name);
        watch(index);
    }
    m_thread = std::thread([this] { run(); });
}

ServicePool::~ServicePool() {
    m_events->post([this] { m_isOver = true; });
    m_thread.join();
    for (Instance &instance : m_instances) {
        instance.hangUp.request_stop();
        if (instance.monitor)
            end(instance.monitor->processIdentifier());
        // Waits for a call of its handler.
        instance.monitor.reset();
        if (instance.errand)
            m_waiting.push_back(std::move(instance.errand));
    }
    for (const auto &errand : m_waiting)
        tell(errand, {.outcome = Outcome::Abandoned});
}

std::function<void(Events::Event)> ServicePool::poster() const {
    return [weak = std::weak_ptr(m_events)](Events::Event event) {
        if (const auto events = weak.lock())
            events->post(std::move(event));
    };
}

void ServicePool::convert(Task task, Handler handler) {
    auto errand = std::make_shared<Errand>(
        Errand{.task = std::move(task), .handler = std::move(handler), .triesLeft = m_options.tries});
    const auto giveUp = [this, post = poster(), weak = std::weak_ptr(errand)] {
        post([this, weak] {
            if (const auto abandoned = weak.lock())
                abandon(abandoned);
        });
    };
    m_events->post([this, errand, giveUp] {
        m_waiting.push_back(errand);
        errand->giveUp = std::make_unique<GiveUp>(errand->task.abandoned, giveUp);
    });
}

Converter::State ServicePool::state() const {
    const std::lock_guard lock(m_stateMutex);
    return m_state;
}

void ServicePool::run() {
    while (!m_isOver) {
        m_events->run(nextDeadline());
        endOverdue();
        assign();
        publishState();
    }
}

void ServicePool::assign() {
    for (std::size_t index = 0; index < m_instances.size() && !m_waiting.empty(); ++index)
        if (m_instances[index].activity == Activity::Idle)
            send(index);
}

void ServicePool::send(std::size_t index) {
    Instance &instance = m_instances[index];
    watch(index);
    const pid_t process = instance.monitor->processIdentifier();
    if (process > 0 && hasEnded(process)) {
        // It died idle, which must cost no document its try.
        instance.activity = Activity::Ending;
        return;
    }
    instance.errand = std::move(m_waiting.front());
    m_waiting.pop_front();
    instance.activity = Activity::Working;
    if (!instance.errand->deadline)
        instance.errand->deadline = Clock::now() + instance.errand->task.timeout;
    instance.hangUp = std::stop_source();
    --instance.errand->triesLeft;
    instance.client->performXPCAsyncWithObject(
        instance.errand->task.object,
        [this, post = poster(), index, round = ++instance.round](const QVariant &result,
                                                                 const NSError &error) {
            post([this, index, round, result, error] { replied(index, round, result, error); });
        },
        instance.hangUp.get_token());
}

/// Has the instance's end told; starts the service.
void ServicePool::watch(std::size_t index) {
    Instance &instance = m_instances[index];
    if (instance.monitor)
        return;
    const auto handler = [this, post = poster(), index](const NSXPCServiceMonitor::Exit &exit) {
        post([this, index, exit] { ended(index, exit); });
    };
    instance.monitor = std::make_unique<NSXPCServiceMonitor>(instance.name, handler);
}

void ServicePool::replied(std::size_t index, std::uint64_t round, const QVariant &result,
                          const NSError &error) {
    Instance &instance = m_instances[index];
    if (instance.activity == Activity::Working && instance.round == round)
        settle(instance, Answer::fromReply(result, error));
}

void ServicePool::ended(std::size_t index, const NSXPCServiceMonitor::Exit &exit) {
    Instance &instance = m_instances[index];
    if (exit.pid == 0)
        instance.monitor.reset();
    else
        ++m_ended;
    if (instance.activity == Activity::Ending) {
        instance.activity = Activity::Idle;
    } else if (instance.activity == Activity::Working) {
        // An earlier instance's end may be told late.
        const pid_t current = instance.monitor ? instance.monitor->processIdentifier() : 0;
        if (exit.pid == 0 || current == 0 || current == exit.pid)
            settle(instance, loss(instance, exit));
    }
}

Converter::Answer ServicePool::loss(const Instance &instance, const NSXPCServiceMonitor::Exit &exit) const {
    if (exit.pid != 0)
        return {.outcome = Outcome::Lost,
                .message = QStringLiteral("the conversion service was lost"),
                .cause = exit.description()};
    if (!XPCActivator::executable(instance.name).isEmpty())
        return {.outcome = Outcome::Lost,
                .message = QStringLiteral("the conversion service was lost or can't be started")};
    return {.outcome = Outcome::Unavailable,
            .message = QStringLiteral("the conversion service %1 is not installed").arg(m_options.service)};
}

void ServicePool::endOverdue() {
    for (Instance &instance : m_instances) {
        if (instance.activity != Activity::Working || Clock::now() < *instance.errand->deadline)
            continue;
        const double seconds = double(instance.errand->task.timeout.count()) / 1000;
        const pid_t process = instance.monitor ? instance.monitor->processIdentifier() : 0;
        settle(instance,
               {.outcome = Outcome::Late, .message = QStringLiteral("took longer than %1 s").arg(seconds)});
        if (process > 0 && ::kill(process, SIGKILL) == 0)
            instance.activity = Activity::Ending;
    }
}

void ServicePool::abandon(const std::shared_ptr<Errand> &errand) {
    if (std::erase(m_waiting, errand) > 0)
        return tell(errand, {.outcome = Outcome::Abandoned});
    for (Instance &instance : m_instances)
        if (instance.errand == errand)
            settle(instance, {.outcome = Outcome::Abandoned});
}

void ServicePool::settle(Instance &instance, const Answer &answer) {
    const std::shared_ptr<Errand> errand = std::move(instance.errand);
    instance.hangUp.request_stop();
    instance.activity = Activity::Idle;
    if (answer.outcome == Outcome::Lost && errand->triesLeft > 0 && !errand->task.abandoned.stop_requested())
        m_waiting.push_front(errand);
    else
        tell(errand, answer);
}

void ServicePool::tell(const std::shared_ptr<Errand> &errand, const Answer &answer) {
    errand->giveUp.reset();
    std::exchange(errand->handler, {})(answer);
}

ServicePool::Clock::time_point ServicePool::nextDeadline() const {
    Clock::time_point next = Clock::now() + std::chrono::hours(1);
    for (const Instance &instance : m_instances)
        if (instance.activity == Activity::Working)
            next = std::min(next, *instance.errand->deadline);
    return next;
}

void ServicePool::publishState() {
    const auto working = std::count_if(m_instances.begin(), m_instances.end(), [](const Instance &instance) {
        return instance.activity == Activity::Working;
    });
    const std::lock_guard lock(m_stateMutex);
    m_state.working = int(working);
    m_state.waiting = m_waiting.size();
    m_state.ended = m_ended;
}
