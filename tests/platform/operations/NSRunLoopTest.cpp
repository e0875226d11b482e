// SPDX-License-Identifier: MIT
#include "platform/operations/NSRunLoop.h"

#include "platform/base/NSException.h"
#include "tests/support/Gate.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double threadTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

TEST(NSRunLoop, TheMainThreadsRunLoopIsTheMainRunLoop) {
    EXPECT_EQ(&NSRunLoop::currentRunLoop(), &NSRunLoop::mainRunLoop());
    std::thread([] { EXPECT_NE(&NSRunLoop::currentRunLoop(), &NSRunLoop::mainRunLoop()); }).join();
}

TEST(NSRunLoop, ServesEventsUntilTheDate) {
    int timers = 0;
    QTimer::singleShot(0, [&] { ++timers; });
    QTimer::singleShot(10, [&] { ++timers; });
    const auto start = Clock::now();
    NSRunLoop::mainRunLoop().runUntilDate(0.05);
    EXPECT_GE(secondsSince(start), 0.05);
    EXPECT_EQ(timers, 2);
}

TEST(NSRunLoop, ServesEventsUntilADateOfTheCalendar) {
    int timers = 0;
    QTimer::singleShot(5, [&] { ++timers; });
    const QDateTime date = QDateTime::currentDateTimeUtc().addMSecs(30);
    NSRunLoop::mainRunLoop().runUntilDate(date);
    EXPECT_GE(QDateTime::currentDateTimeUtc(), date.addMSecs(-1));
    EXPECT_EQ(timers, 1);
}

TEST(NSRunLoop, APastDateServesWhatIsDueAndReturns) {
    for (const double seconds : {0.0, -5.0, std::numeric_limits<double>::quiet_NaN()}) {
        bool served = false;
        QMetaObject::invokeMethod(
            qApp, [&] { served = true; }, Qt::QueuedConnection);
        NSRunLoop::mainRunLoop().runUntilDate(seconds);
        EXPECT_TRUE(served);
    }
    NSRunLoop::mainRunLoop().runUntilDate(QDateTime());
    NSRunLoop::mainRunLoop().runUntilDate(QDateTime::currentDateTimeUtc().addSecs(-100));
}

TEST(NSRunLoop, ATinySliceWaitsInTheSystemAndEndsWithItsDate) {
    constexpr int slices = 500;
    NSRunLoop &loop = NSRunLoop::mainRunLoop();
    loop.runUntilDate(0.0001);
    rusage before{};
    ::getrusage(RUSAGE_THREAD, &before);
    for (int i = 0; i < slices; ++i) {
        const auto start = Clock::now();
        loop.runUntilDate(0.0001);
        EXPECT_GE(secondsSince(start), 0.0001);
    }
    rusage after{};
    ::getrusage(RUSAGE_THREAD, &after);
    // A slice that didn't sleep would not give up the processor of its own accord.
    EXPECT_GE(after.ru_nvcsw - before.ru_nvcsw, slices / 2);
}

TEST(NSRunLoop, ALongWaitTakesNoProcessorTime) {
    const double before = threadTime();
    NSRunLoop::mainRunLoop().runUntilDate(0.3);
    EXPECT_LT(threadTime() - before, 0.1);
}

TEST(NSRunLoop, AnEventFromAnotherThreadIsServedBeforeTheDate) {
    struct Receiver : QObject {
        std::atomic<bool> made{false};
        bool served = false;
        void customEvent(QEvent *) override { served = made; }
    } receiver;
    std::thread thread([&] {
        auto event = std::make_unique<QEvent>(QEvent::User);
        receiver.made = true;
        QCoreApplication::postEvent(&receiver, event.release());
    });
    const auto start = Clock::now();
    while (!receiver.served && secondsSince(start) < 60)
        NSRunLoop::mainRunLoop().runUntilDate(0.0001);
    thread.join();
    EXPECT_TRUE(receiver.served);
}

TEST(NSRunLoop, RunsNestInOneAnother) {
    NSRunLoop &loop = NSRunLoop::mainRunLoop();
    QStringList order;
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [&] {
            loop.runUntilDate(0.01);
            order << QStringLiteral("innermost");
        });
        loop.runUntilDate(0.03);
        order << QStringLiteral("inner");
    });
    const auto start = Clock::now();
    loop.runUntilDate(0.06);
    order << QStringLiteral("outer");
    EXPECT_GE(secondsSince(start), 0.06);
    EXPECT_EQ(order,
              (QStringList{QStringLiteral("innermost"), QStringLiteral("inner"), QStringLiteral("outer")}));
}

TEST(NSRunLoop, AnOuterRunEndsAfterAnInnerOneThatTookLonger) {
    NSRunLoop &loop = NSRunLoop::mainRunLoop();
    QTimer::singleShot(0, [&] { loop.runUntilDate(0.05); });
    const auto start = Clock::now();
    loop.runUntilDate(0.01);
    EXPECT_GE(secondsSince(start), 0.05);
    EXPECT_LT(secondsSince(start), 30);
}

TEST(NSRunLoop, OtherThreadsHaveRunLoopsOfTheirOwn) {
    int timers = 0;
    std::thread([&] {
        NSRunLoop &loop = NSRunLoop::currentRunLoop();
        QTimer::singleShot(5, [&] { ++timers; });
        const auto start = Clock::now();
        loop.runUntilDate(0.03);
        EXPECT_GE(secondsSince(start), 0.03);
    }).join();
    EXPECT_EQ(timers, 1);
}

TEST(NSRunLoop, OnlyItsThreadMayRunIt) {
    std::thread([] { EXPECT_THROW(NSRunLoop::mainRunLoop().runUntilDate(0.001), NSException); }).join();
}

TEST(NSRunLoop, ThreadsThatEndLeaveNoDescriptorsBehind) {
    const auto freeDescriptor = [] {
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(fd);
        return fd;
    };
    const auto runOnce = [] { std::thread([] { NSRunLoop::currentRunLoop().runUntilDate(0.001); }).join(); };
    runOnce();
    const int before = freeDescriptor();
    for (int i = 0; i < 10; ++i)
        runOnce();
    EXPECT_EQ(freeDescriptor(), before);
}

} // namespace
