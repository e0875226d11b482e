// SPDX-License-Identifier: MIT
#include "platform/operations/NSRunLoop.h"

#include "platform/operations/NSThread.h"
#include "platform/values/NSException.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QPointer>
#include <QSocketNotifier>
#include <optional>
#include <sys/timerfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

/// Wakes the dispatcher at a point in time. Qt's own timers count in milliseconds; a timer descriptor
/// doesn't.
class NSRunLoop::Alarm {
public:
    explicit Alarm(QAbstractEventDispatcher *dispatcher)
        : m_fd(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)), m_dispatcher(dispatcher) {
        if (m_fd < 0)
            throw std::system_error(errno, std::generic_category(), "timerfd_create");
        m_notifier.emplace(m_fd, QSocketNotifier::Read);
        // Reading takes the alarm back; that it woke the dispatcher is all it is for.
        QObject::connect(&*m_notifier, &QSocketNotifier::activated, [fd = m_fd] {
            std::uint64_t expirations;
            [[maybe_unused]] const ssize_t count = ::read(fd, &expirations, sizeof expirations);
        });
    }
    ~Alarm() {
        m_notifier.reset();
        ::close(m_fd);
    }
    Alarm(const Alarm &) = delete;
    Alarm &operator=(const Alarm &) = delete;

    /// A new application brings a new dispatcher, which knows nothing of the old one's notifiers.
    bool belongsTo(const QAbstractEventDispatcher *dispatcher) const { return m_dispatcher == dispatcher; }

    /// Sets the alarm and gives what it was set to.
    std::optional<Clock::time_point> set(Clock::time_point date) {
        // Zero would switch the timer off.
        const auto since = std::max(date.time_since_epoch(), Clock::duration(1));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
        itimerspec spec{};
        spec.it_value.tv_sec = time_t(seconds.count());
        spec.it_value.tv_nsec = long(std::chrono::nanoseconds(since - seconds).count());
        ::timerfd_settime(m_fd, TFD_TIMER_ABSTIME, &spec, nullptr);
        return std::exchange(m_date, date);
    }

    /// Sets it to what it was before; that may have been due meanwhile, and then goes off at once. Without an
    /// earlier date a timer that still goes off wakes the next loop once, which costs less than switching it
    /// off each time.
    void reset(std::optional<Clock::time_point> date) {
        m_date.reset();
        if (date)
            set(*date);
    }

private:
    const int m_fd;
    QPointer<QAbstractEventDispatcher> m_dispatcher;
    std::optional<QSocketNotifier> m_notifier;
    std::optional<Clock::time_point> m_date;
};

NSRunLoop::NSRunLoop() = default;
NSRunLoop::~NSRunLoop() = default;

NSRunLoop &NSRunLoop::mainRunLoop() {
    // Never destroyed: threads that outlive main() may still ask for it.
    static auto *loop = new NSRunLoop;
    return *loop;
}

NSRunLoop &NSRunLoop::currentRunLoop() {
    if (NSThread::isMainThread())
        return mainRunLoop();
    static thread_local const std::unique_ptr<NSRunLoop> loop = [] {
        // Gives the thread its dispatcher, which timers and sockets need from now on.
        const QEventLoop dispatcher;
        return std::unique_ptr<NSRunLoop>(new NSRunLoop);
    }();
    return *loop;
}

void NSRunLoop::runUntilDate(const QDateTime &date) {
    const qint64 left = date.isValid() ? QDateTime::currentDateTimeUtc().msecsTo(date) : 0;
    runUntilDate(double(left) / 1000);
}

void NSRunLoop::runUntilDate(double secondsFromNow) {
    // A hundred years stand for ever: the clock's own range ends not much later.
    constexpr double longest = 100.0 * 366 * 24 * 3600;
    const double seconds = secondsFromNow > 0 ? std::min(secondsFromNow, longest) : 0;
    runUntil(Clock::now() +
             std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
}

void NSRunLoop::runUntil(Clock::time_point date) {
    if (this != &currentRunLoop())
        throw NSException(NSInternalInconsistencyException,
                          QStringLiteral("A run loop can only be run by its own thread."));
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher) {
        // The main thread without an application: there can be no events.
        std::this_thread::sleep_until(date);
        return;
    }
    if (Clock::now() >= date) {
        dispatcher->processEvents(QEventLoop::AllEvents);
        return;
    }
    if (!m_alarm || !m_alarm->belongsTo(dispatcher))
        m_alarm = std::make_unique<Alarm>(dispatcher);

    const std::optional<Clock::time_point> outer = m_alarm->set(date);
    while (Clock::now() < date)
        dispatcher->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    m_alarm->reset(outer);
}
