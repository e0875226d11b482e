// SPDX-License-Identifier: MIT
#include "platform/operations/NSDelayedPerforming.h"

#include "platform/operations/NSRunLoop.h"
#include "tests/support/LogCapture.h"

#include <QObject>
#include <QStringList>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace NSDelayedPerforming;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

class Target : public QObject {
    Q_OBJECT

public:
    QStringList log;
    std::function<void()> hook;

    Q_INVOKABLE void ping() {
        log << QStringLiteral("ping");
        if (hook)
            hook();
    }
    Q_INVOKABLE void take(const QString &text) { log << text; }
};

const NSSelector ping("ping");
const NSSelector take("take:");

template <typename Condition>
bool runUntil(Condition condition) {
    const auto end = Clock::now() + 60s;
    while (!condition() && Clock::now() < end)
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
    return condition();
}

TEST(NSDelayedPerforming, SendsTheMessageAfterTheDelayWithItsArgument) {
    const auto target = std::make_shared<Target>();
    const auto start = Clock::now();
    performSelector(target, take, QStringLiteral("later"), 0.03);
    performSelector(target, take, QStringLiteral("sooner"), 0.01);
    performSelector(target, ping, QStringLiteral("ignored"), -1);
    performSelector(nullptr, ping, {}, 0);
    EXPECT_TRUE(target->log.isEmpty());
    ASSERT_TRUE(runUntil([&] { return target->log.size() == 3; }));
    EXPECT_GE(Clock::now() - start, 30ms);
    EXPECT_EQ(target->log,
              (QStringList{QStringLiteral("ping"), QStringLiteral("sooner"), QStringLiteral("later")}));
}

TEST(NSDelayedPerforming, WithdrawsAllMessagesOfATargetOrTheOnesNamed) {
    const auto target = std::make_shared<Target>();
    const auto other = std::make_shared<Target>();
    for (const char *text : {"a", "b", "a"})
        performSelector(target, take, QString::fromLatin1(text), 0);
    performSelector(target, ping, {}, 0);
    performSelector(other, ping, {}, 0);
    cancelPreviousPerformRequestsWithTarget(target.get(), take, QStringLiteral("a"));
    ASSERT_TRUE(runUntil([&] { return !other->log.isEmpty(); }));
    EXPECT_EQ(target->log, (QStringList{QStringLiteral("b"), QStringLiteral("ping")}));
    performSelector(target, take, QStringLiteral("c"), 0);
    performSelector(target, ping, {}, 0);
    performSelector(other, ping, {}, 0);
    cancelPreviousPerformRequestsWithTarget(target.get());
    ASSERT_TRUE(runUntil([&] { return other->log.size() == 2; }));
    EXPECT_EQ(target->log.size(), 2);
}

TEST(NSDelayedPerforming, KeepsTheTargetUntilItIsSentOrWithdrawn) {
    auto target = std::make_shared<Target>();
    const std::weak_ptr<Target> weak = target;
    performSelector(target, ping, {}, 0);
    performSelector(target, ping, {}, 3600);
    target.reset();
    ASSERT_TRUE(runUntil([&] { return weak.lock()->log.size() == 1; }));
    ASSERT_FALSE(weak.expired());
    cancelPreviousPerformRequestsWithTarget(weak.lock().get());
    EXPECT_TRUE(weak.expired());
}

TEST(NSDelayedPerforming, WithdrawsOnlyWhatTheCallingThreadAskedFor) {
    const auto target = std::make_shared<Target>();
    performSelector(target, ping, {}, 0);
    std::thread([&] {
        cancelPreviousPerformRequestsWithTarget(target.get());
        performSelector(target, take, QStringLiteral("elsewhere"), 0);
        EXPECT_EQ(target.use_count(), 3);
    }).join();
    EXPECT_EQ(target.use_count(), 2); // the other thread took its request with it
    ASSERT_TRUE(runUntil([&] { return !target->log.isEmpty(); }));
    EXPECT_EQ(target->log, QStringList{QStringLiteral("ping")});
}

TEST(NSDelayedPerforming, AMessageSentFromAMessageWaitsForTheNextRound) {
    const auto target = std::make_shared<Target>();
    bool eventServed = false;
    target->hook = [&] {
        if (target->log.size() == 1) {
            QMetaObject::invokeMethod(
                target.get(), [&] { eventServed = true; }, Qt::QueuedConnection);
            performSelector(target, ping, {}, 0);
        } else {
            EXPECT_TRUE(eventServed);
        }
    };
    performSelector(target, ping, {}, 0);
    EXPECT_TRUE(runUntil([&] { return target->log.size() == 2; }));
}

TEST(NSDelayedPerforming, NestedRunsServeWhatIsDue) {
    const auto target = std::make_shared<Target>();
    target->hook = [&] {
        if (target->log.size() == 1) {
            EXPECT_TRUE(runUntil([&] { return target->log.size() == 3; }));
        }
    };
    for (int i = 0; i < 3; ++i)
        performSelector(target, ping, {}, 0);
    EXPECT_TRUE(runUntil([&] { return target->log.size() == 3; }));
}

TEST(NSDelayedPerforming, UnknownMessagesAreLogged) {
    const LogCapture log;
    const auto target = std::make_shared<Target>();
    performSelector(target, NSSelector("unknown"), {}, 0);
    EXPECT_TRUE(runUntil(
        [&] { return log.count(QStringLiteral("Exception in a timer or delayed message: ")) == 1; }));
}

} // namespace

#include "NSDelayedPerformingTest.moc"
