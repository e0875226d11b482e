// SPDX-License-Identifier: MIT
#include "platform/values/NSNotificationCenter.h"

#include "platform/values/NSNull.h"
#include "tests/platform/values/RuntimeObjects.h"
#include "tests/support/Gate.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

QVariant ref(QObject &object) {
    return QVariant::fromValue(&object);
}

} // namespace

class Listener : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void heard(const NSNotification &notification) {
        log << notification.name() + QLatin1Char(':') +
                   notification.userInfo().value(QStringLiteral("k")).toString();
        lastSender = notification.object();
    }
    Q_INVOKABLE void any(const QVariant &notification) {
        log << QStringLiteral("any ") + notification.value<NSNotification>().name();
    }
    Q_INVOKABLE void plain() { log << QStringLiteral("plain"); }
    Q_INVOKABLE void broken() { throw NSException(QStringLiteral("Broken"), QStringLiteral("broken")); }

    QStringList log;
    QVariant lastSender;
};

TEST(NSNotificationCenter, TellsObserversInTheOrderOfTheirAdding) {
    NSNotificationCenter center;
    Listener listener;
    center.addObserver(&listener, NSSelector("heard:"), S("A"));
    center.addObserver(&listener, NSSelector("any:"), QString());
    center.addObserver(&listener, NSSelector("plain"), S("A"));
    QObject sender;
    center.postNotificationName(S("A"), ref(sender), {{S("k"), S("v")}});
    EXPECT_EQ(listener.log, (QStringList{S("A:v"), S("any A"), S("plain")}));
    EXPECT_EQ(listener.lastSender.value<QObject *>(), &sender);
    listener.log.clear();
    center.postNotificationName(S("B"));
    EXPECT_EQ(listener.log, QStringList{S("any B")});
}

TEST(NSNotificationCenter, TellsOnlyOfTheSenderAskedFor) {
    NSNotificationCenter center;
    Listener listener;
    QObject one, other;
    center.addObserver(&listener, NSSelector("heard:"), S("A"), ref(one));
    center.addObserver(&listener, NSSelector("plain"), S("A"), S("text"));
    center.postNotificationName(S("A"), ref(other));
    center.postNotificationName(S("A"));
    EXPECT_TRUE(listener.log.isEmpty());
    center.postNotificationName(S("A"), ref(one));
    center.postNotificationName(S("A"), S("text"));
    EXPECT_EQ(listener.log, (QStringList{S("A:"), S("plain")}));
}

TEST(NSNotificationCenter, AddedTwiceIsToldTwiceAndRemovedAtOnce) {
    NSNotificationCenter center;
    Listener listener;
    center.addObserver(&listener, NSSelector("plain"), S("A"));
    center.addObserver(&listener, NSSelector("plain"), S("A"));
    center.addObserver(&listener, NSSelector("any:"), S("B"));
    center.postNotificationName(S("A"));
    EXPECT_EQ(listener.log.size(), 2);
    center.removeObserver(&listener, S("A"));
    center.postNotificationName(S("A"));
    EXPECT_EQ(listener.log.size(), 2);
    center.postNotificationName(S("B"));
    EXPECT_EQ(listener.log.size(), 3);
    center.removeObserver(&listener);
    center.postNotificationName(S("B"));
    EXPECT_EQ(listener.log.size(), 3);
    center.removeObserver(&listener);
    center.removeObserver(nullptr);
}

TEST(NSNotificationCenter, RemovalMayNameTheSender) {
    NSNotificationCenter center;
    Listener listener;
    QObject one, other;
    center.addObserver(&listener, NSSelector("plain"), S("A"), ref(one));
    center.addObserver(&listener, NSSelector("plain"), S("A"), ref(other));
    center.removeObserver(&listener, QString(), ref(one));
    center.postNotificationName(S("A"), ref(one));
    EXPECT_TRUE(listener.log.isEmpty());
    center.postNotificationName(S("A"), ref(other));
    EXPECT_EQ(listener.log.size(), 1);
}

TEST(NSNotificationCenter, DyingObserversAndSendersAreForgotten) {
    NSNotificationCenter center;
    Listener listener;
    {
        Listener dying;
        center.addObserver(&dying, NSSelector("plain"), S("A"));
        QObject sender;
        center.addObserver(&listener, NSSelector("plain"), QString(), ref(sender));
    }
    center.postNotificationName(S("A"));
    EXPECT_TRUE(listener.log.isEmpty());
}

TEST(NSNotificationCenter, CenterMayDieBeforeItsObservers) {
    Listener listener;
    {
        NSNotificationCenter center;
        center.addObserver(&listener, NSSelector("plain"), S("A"));
        center.addObserverForName(S("A"), {}, [](const NSNotification &) {});
    }
    EXPECT_TRUE(listener.log.isEmpty());
}

TEST(NSNotificationCenter, BlocksAreToldUntilTheirTokenIsRemoved) {
    NSNotificationCenter center;
    int told = 0;
    QObject *token = center.addObserverForName(S("A"), {}, [&](const NSNotification &notification) {
        EXPECT_EQ(notification.name(), S("A"));
        ++told;
    });
    center.postNotificationName(S("A"));
    std::thread([&] { center.removeObserver(token); }).join();
    center.postNotificationName(S("A"));
    EXPECT_EQ(told, 1);
}

TEST(NSNotificationCenter, ObserversMayAddRemoveAndPost) {
    NSNotificationCenter center;
    QStringList log;
    QObject *token = nullptr;
    token = center.addObserverForName(S("A"), {}, [&](const NSNotification &) {
        log << S("first");
        center.removeObserver(token);
        center.addObserverForName(S("A"), {}, [&](const NSNotification &) { log << S("second"); });
        center.postNotificationName(S("B"));
    });
    center.addObserverForName(S("B"), {}, [&](const NSNotification &) { log << S("B"); });
    center.postNotificationName(S("A"));
    EXPECT_EQ(log, (QStringList{S("first"), S("B")}));
    center.postNotificationName(S("A"));
    EXPECT_EQ(log.last(), S("second"));
}

TEST(NSNotificationCenter, EverybodyIsToldBeforeTheFirstExceptionIsThrownOn) {
    NSNotificationCenter center;
    Listener listener;
    center.addObserver(&listener, NSSelector("broken"), S("A"));
    center.addObserver(&listener, NSSelector("unknown:"), S("A"));
    center.addObserver(&listener, NSSelector("plain"), S("A"));
    try {
        center.postNotificationName(S("A"));
        FAIL();
    } catch (const NSException &e) {
        EXPECT_EQ(e.name(), S("Broken"));
    }
    EXPECT_EQ(listener.log, QStringList{S("plain")});
    EXPECT_THROW(center.addObserver(nullptr, NSSelector("plain"), S("A")), NSException);
    EXPECT_THROW(center.addObserver(&listener, NSSelector(), S("A")), NSException);
    EXPECT_THROW(center.addObserverForName(S("A"), {}, nullptr), NSException);
}

TEST(NSNotificationCenter, RemovalWaitsForCallsOnOtherThreads) {
    NSNotificationCenter center;
    Gate inside, go;
    std::atomic<bool> left{false}, removed{false};
    QObject *token = center.addObserverForName(S("A"), {}, [&](const NSNotification &) {
        inside.open();
        EXPECT_TRUE(go.pass());
        EXPECT_FALSE(removed);
        left = true;
    });
    std::thread poster([&] { center.postNotificationName(S("A")); });
    ASSERT_TRUE(inside.pass());
    std::thread remover([&] {
        center.removeObserver(token);
        removed = true;
        EXPECT_TRUE(left);
    });
    go.open();
    poster.join();
    remover.join();
}

TEST(NSNotificationCenter, ManyThreadsMayUseOneCenter) {
    NSNotificationCenter center;
    std::atomic<int> told{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const QString own = QString::number(t);
            for (int i = 0; i < 200; ++i) {
                QObject *token = center.addObserverForName(own, {}, [&](const NSNotification &) { ++told; });
                center.postNotificationName(own);
                center.postNotificationName(S("shared"));
                center.removeObserver(token);
                center.postNotificationName(own);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(told, 800);
}

#include "NSNotificationCenterTest.moc"
