// SPDX-License-Identifier: MIT
#include "platform/base/NSObjectLock.h"
#include "platform/values/NSAssociatedObjects.h"
#include "platform/values/NSInvocation.h"
#include "tests/platform/values/RuntimeObjects.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

const char KeyA = 0, KeyB = 0;

} // namespace

TEST(NSAssociatedObjects, AreKeptByKeyUntilTheObjectDies) {
    auto thing = std::make_shared<int>(1);
    const std::weak_ptr<int> weak = thing;
    {
        QObject object;
        EXPECT_EQ(NSAssociatedObjects::get(&object, &KeyA), nullptr);
        NSAssociatedObjects::set(&object, &KeyA, std::move(thing));
        EXPECT_EQ(*std::static_pointer_cast<int>(NSAssociatedObjects::get(&object, &KeyA)), 1);
        EXPECT_EQ(NSAssociatedObjects::get(&object, &KeyB), nullptr);
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
}

TEST(NSAssociatedObjects, AreReplacedAndTakenAway) {
    QObject object;
    const auto first = std::make_shared<int>(1), second = std::make_shared<int>(2);
    NSAssociatedObjects::set(&object, &KeyA, first);
    NSAssociatedObjects::set(&object, &KeyA, second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(NSAssociatedObjects::get(&object, &KeyA), second);
    NSAssociatedObjects::set(&object, &KeyA, nullptr);
    EXPECT_EQ(NSAssociatedObjects::get(&object, &KeyA), nullptr);
    NSAssociatedObjects::set(nullptr, &KeyA, first);
    EXPECT_EQ(NSAssociatedObjects::get(nullptr, &KeyA), nullptr);
}

TEST(NSAssociatedObjects, AnEndMayAttachAgain) {
    struct Ender {
        QObject *other;
        ~Ender() { NSAssociatedObjects::set(other, &KeyB, std::make_shared<int>(3)); }
    };
    QObject other;
    {
        QObject object;
        NSAssociatedObjects::set(&object, &KeyA, std::make_shared<Ender>(Ender{&other}));
    }
    EXPECT_NE(NSAssociatedObjects::get(&other, &KeyB), nullptr);
}

TEST(NSObjectLock, IsOneForAllWhoUseTheObject) {
    QObject object, other;
    std::atomic<bool> held{true}, entered{false};
    std::thread waiting;
    {
        const NSObjectLock lock(&object);
        const NSObjectLock again(&object);
        const NSObjectLock separate(&other);
        waiting = std::thread([&] {
            const NSObjectLock mine(&object);
            EXPECT_FALSE(held);
            entered = true;
        });
        EXPECT_FALSE(entered);
        held = false;
    }
    waiting.join();
    EXPECT_TRUE(entered);
    const NSObjectLock none(nullptr);
}

TEST(NSObjectLock, ProtectsCounts) {
    QObject object;
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                const NSObjectLock lock(&object);
                ++count;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(count, 4000);
}

TEST(NSInvocation, SendsAMessageLater) {
    auto person = std::make_unique<Person>(QStringLiteral("Ann"), 3);
    NSInvocation invocation(QVariant::fromValue(person.get()), NSSelector("add:to:"));
    EXPECT_EQ(invocation.numberOfArguments(), 2);
    EXPECT_EQ(invocation.target().value<Person *>(), person.get());
    EXPECT_EQ(invocation.selector(), NSSelector("add:to:"));
    EXPECT_FALSE(invocation.argument(1).isValid());
    invocation.setArgument(4, 0);
    EXPECT_EQ(invocation.argument(0), QVariant(4));
    EXPECT_FALSE(invocation.returnValue().isValid());
    invocation.invoke();
    EXPECT_EQ(invocation.returnValue(), QVariant(4));
    invocation.setArgument(2.5, 1);
    invocation.invoke();
    EXPECT_EQ(invocation.returnValue(), QVariant(6));
    EXPECT_THROW(invocation.setArgument(1, 2), NSException);
    EXPECT_THROW(invocation.argument(-1), NSException);
    person.reset();
    EXPECT_FALSE(invocation.target().isValid());
    invocation.invoke();
    EXPECT_FALSE(invocation.returnValue().isValid());
    EXPECT_THROW(NSInvocation(QStringLiteral("text"), NSSelector("length")), NSException);
}
