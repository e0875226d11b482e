// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/PDFService.h"

#include "platform/xpc/XPCActivator.h"

#include <csignal>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// How long an instance that was killed may take to be gone.
constexpr auto endPatience = std::chrono::seconds(5);
/// How long it may take until it is known that there is no service. One without an executable may still have a socket unit.
constexpr auto absencePatience = std::chrono::seconds(1);

PDFService::Outcome outcomeOf(const QVariant &result, const NSError &error) {
    if (error) {
        const auto cause = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
        return {{}, error.localizedDescription(), cause ? cause.localizedDescription() : QString()};
    }
    const QByteArray pdf = result.toMap().value(u"data"_s).toByteArray();
    if (!pdf.startsWith("%PDF-"))
        return {{}, u"The service's reply holds no PDF"_s, {}};
    return {pdf, {}, {}};
}

} // namespace

PDFService::PDFService(const QString &serviceName, std::chrono::milliseconds patience)
    : m_name(serviceName), m_patience(patience) {
}

PDFService::Outcome PDFService::convert(const QVariantMap &task, const std::stop_token &stop) {
    const auto event = std::make_shared<Event>();
    watch(event);
    if (!m_client) {
        // The first task of a client would wait for ever for a service that there isn't.
        std::unique_lock lock(event->mutex);
        if (zr::XPCActivator::executable(m_name).isEmpty() &&
            event->happened.wait_for(lock, stop, absencePatience, [&] { return event->exit.has_value(); })) {
            const NSXPCServiceMonitor::Exit exit = *event->exit;
            // It waits for a handler, which may want the lock.
            lock.unlock();
            m_monitor.reset();
            return loss(exit);
        }
        m_client = std::make_unique<ZRXPC>(m_name);
    }
    m_client->performXPCAsyncWithObject(task, [event](const QVariant &result, const NSError &error) {
        const std::lock_guard lock(event->mutex);
        event->outcome = outcomeOf(result, error);
        event->happened.notify_all();
    });
    std::unique_lock lock(event->mutex);
    event->happened.wait_for(lock, stop, m_patience, [&] {
        // An instance that died idle may be told of late, when another one works already.
        if (event->exit && event->exit->pid != 0 && m_monitor->processIdentifier() > 0 &&
            m_monitor->processIdentifier() != event->exit->pid)
            event->exit.reset();
        return event->outcome || event->exit;
    });
    if (event->outcome) {
        m_idleProcess = m_monitor->processIdentifier();
        return *event->outcome;
    }
    if (event->exit) {
        const NSXPCServiceMonitor::Exit exit = *event->exit;
        lock.unlock();
        // One that had died idle never got the document.
        if (exit.pid != 0 && exit.pid == std::exchange(m_idleProcess, 0))
            return convert(task, stop);
        if (exit.pid == 0)
            m_monitor.reset();
        return loss(exit);
    }
    const bool isLate = !stop.stop_requested();
    lock.unlock();
    endInstance(*event);
    if (!isLate)
        return {};
    return {
        {}, u"The conversion took too long"_s, u"more than %1 s"_s.arg(double(m_patience.count()) / 1000)};
}

/// Makes the service's end known to the task at hand; starts the service.
void PDFService::watch(const std::shared_ptr<Event> &event) {
    {
        const std::lock_guard lock(m_mutex);
        m_event = event;
    }
    if (m_monitor)
        return;
    m_monitor = std::make_unique<NSXPCServiceMonitor>(m_name, [this](const NSXPCServiceMonitor::Exit &exit) {
        std::shared_ptr<Event> current;
        {
            const std::lock_guard lock(m_mutex);
            current = m_event;
        }
        const std::lock_guard lock(current->mutex);
        current->exit = exit;
        current->happened.notify_all();
    });
}

void PDFService::endInstance(Event &event) {
    const pid_t process = m_monitor->processIdentifier();
    if (process <= 0 || ::kill(process, SIGKILL) != 0)
        return;
    std::unique_lock lock(event.mutex);
    event.happened.wait_for(lock, endPatience, [&] { return event.exit.has_value(); });
}

PDFService::Outcome PDFService::loss(const NSXPCServiceMonitor::Exit &exit) const {
    if (exit.pid == 0 && zr::XPCActivator::executable(m_name).isEmpty())
        return {{}, u"The conversion service is not installed"_s, m_name};
    return {{}, u"The conversion service was lost"_s, exit.pid == 0 ? QString() : exit.description()};
}
