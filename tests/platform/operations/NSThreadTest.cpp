// SPDX-License-Identifier: MIT
#include "platform/operations/NSThread.h"

#include "tests/support/Gate.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <limits>
#include <pthread.h>
#include <thread>

namespace {

TEST(NSThread, TheMainThreadIsTheOneTheProcessBeganWith) {
    EXPECT_TRUE(NSThread::isMainThread());
    bool elsewhere = true;
    std::thread([&] { elsewhere = NSThread::isMainThread(); }).join();
    EXPECT_FALSE(elsewhere);
}

TEST(NSThread, DetachedBlocksRunOnAThreadOfTheirOwn) {
    Gate done;
    std::thread::id id;
    NSThread::detachNewThread([&] {
        id = std::this_thread::get_id();
        done.open();
    });
    ASSERT_TRUE(done.pass());
    EXPECT_NE(id, std::this_thread::get_id());
}

TEST(NSThread, NamesAreThreadsOwnAndTheSystemShowsTheirBeginning) {
    std::thread([] {
        EXPECT_TRUE(NSThread::currentThread().name().isNull());
        const auto shown = [](const QString &name) {
            NSThread::currentThread().setName(name);
            EXPECT_EQ(NSThread::currentThread().name(), name);
            std::array<char, 32> text{};
            ::pthread_getname_np(::pthread_self(), text.data(), text.size());
            return QString::fromUtf8(text.data());
        };
        EXPECT_EQ(shown(QStringLiteral("network")), QStringLiteral("network"));
        EXPECT_EQ(shown(QStringLiteral("123456789012345")), QStringLiteral("123456789012345"));
        EXPECT_EQ(shown(QStringLiteral("1234567890123456")), QStringLiteral("123456789012345"));
        // The fifteenth byte would be the first half of a character.
        EXPECT_EQ(shown(QStringLiteral("12345678901234ä")), QStringLiteral("12345678901234"));
        EXPECT_EQ(shown(QStringLiteral("1234567890123ä")), QStringLiteral("1234567890123ä"));
        EXPECT_EQ(shown(QStringLiteral("")), QStringLiteral(""));
    }).join();
    EXPECT_TRUE(NSThread::currentThread().name().isNull());
}

TEST(NSThread, SleepsAtLeastTheInterval) {
    using Clock = std::chrono::steady_clock;
    auto start = Clock::now();
    NSThread::sleepForTimeInterval(0.02);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20));
    start = Clock::now();
    NSThread::sleepForTimeInterval(-1000);
    NSThread::sleepForTimeInterval(std::numeric_limits<double>::quiet_NaN());
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(100));
}

} // namespace
