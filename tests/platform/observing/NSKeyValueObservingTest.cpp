// SPDX-License-Identifier: MIT
#include "platform/observing/NSKeyValueObserving.h"

#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "tests/support/Gate.h"
#include "tests/support/ObserverLog.h"

#include <QObject>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace NSKeyValueObserving;

namespace {

const QString title = QStringLiteral("title");
const QString other = QStringLiteral("other");

void change(QObject &object, const QVariant &value, const QString &key = title) {
    willChangeValueForKey(&object, key);
    object.setProperty(key.toUtf8().constData(), value);
    didChangeValueForKey(&object, key);
}

TEST(NSKeyValueObserving, TellsObserversOfTheirKeyOnly) {
    QObject object;
    QObject another;
    ObserverLog log;
    addObserver(&object, &log, title);
    change(object, 1);
    change(object, 2, other);
    change(another, 3);
    EXPECT_EQ(log.entries(), QStringList{QStringLiteral("title:did")});
    removeObserver(&object, &log, title);
    change(object, 4);
    EXPECT_EQ(log.entries().size(), 1);
}

TEST(NSKeyValueObserving, PassesObjectContextAndOnlyTheChangesAskedFor) {
    struct Observer : NSKeyValueObserver {
        QObject *object = nullptr;
        QVariantMap change;
        void *context = nullptr;
        void observeValueForKeyPath(const QString &, QObject *o, const QVariantMap &c, void *x) override {
            object = o;
            change = c;
            context = x;
        }
    } plain, both;
    int mark = 0;
    QObject object;
    object.setProperty("title", QStringLiteral("before"));
    addObserver(&object, &plain, title, {}, &mark);
    addObserver(&object, &both, title, NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld);
    change(object, QStringLiteral("after"));
    EXPECT_EQ(plain.object, &object);
    EXPECT_EQ(plain.context, &mark);
    EXPECT_EQ(plain.change, (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}}));
    EXPECT_EQ(both.context, nullptr);
    EXPECT_EQ(both.change, (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting},
                                        {NSKeyValueChangeOldKey, QStringLiteral("before")},
                                        {NSKeyValueChangeNewKey, QStringLiteral("after")}}));
    change(object, QVariant());
    EXPECT_TRUE(NSIsNull(both.change.value(NSKeyValueChangeNewKey)));
    change(object, QStringLiteral(""));
    EXPECT_TRUE(NSIsNull(both.change.value(NSKeyValueChangeOldKey)));
    EXPECT_EQ(both.change.value(NSKeyValueChangeNewKey), QVariant(QStringLiteral("")));
}

TEST(NSKeyValueObserving, InitialAndPriorCallsComeAtTheirTime) {
    QObject object;
    object.setProperty("title", 1);
    std::vector<QVariantMap> changes;
    std::vector<int> values;
    ObserverLog log([&](const QString &, const QVariantMap &c) {
        changes.push_back(c);
        values.push_back(object.property("title").toInt());
    });
    addObserver(&object, &log, title,
                NSKeyValueObservingOptionInitial | NSKeyValueObservingOptionPrior |
                    NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld);
    change(object, 2);
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(values, (std::vector<int>{1, 1, 2}));
    EXPECT_EQ(changes[0].value(NSKeyValueChangeNewKey), QVariant(1));
    EXPECT_FALSE(changes[0].contains(NSKeyValueChangeOldKey));
    EXPECT_EQ(changes[1].value(NSKeyValueChangeNotificationIsPriorKey), QVariant(true));
    EXPECT_EQ(changes[1].value(NSKeyValueChangeOldKey), QVariant(1));
    EXPECT_FALSE(changes[1].contains(NSKeyValueChangeNewKey));
    EXPECT_EQ(changes[2].value(NSKeyValueChangeOldKey), QVariant(1));
    EXPECT_EQ(changes[2].value(NSKeyValueChangeNewKey), QVariant(2));
}

TEST(NSKeyValueObserving, NestedChangesKeepTheirOldValuesApart) {
    QObject object;
    object.setProperty("title", QStringLiteral("t"));
    object.setProperty("other", QStringLiteral("o"));
    QVariantMap olds;
    ObserverLog titles(
        [&](const QString &, const QVariantMap &c) { olds[title] = c[NSKeyValueChangeOldKey]; });
    ObserverLog others(
        [&](const QString &, const QVariantMap &c) { olds[other] = c[NSKeyValueChangeOldKey]; });
    addObserver(&object, &titles, title, NSKeyValueObservingOptionOld);
    addObserver(&object, &others, other, NSKeyValueObservingOptionOld);
    willChangeValueForKey(&object, title);
    willChangeValueForKey(&object, other);
    object.setProperty("title", 1);
    object.setProperty("other", 2);
    didChangeValueForKey(&object, title);
    didChangeValueForKey(&object, other);
    EXPECT_EQ(olds, (QVariantMap{{title, QStringLiteral("t")}, {other, QStringLiteral("o")}}));
}

TEST(NSKeyValueObserving, ObserversAreCalledInTheOrderTheyWereAddedAndAsOftenAsAdded) {
    QObject object;
    QString order;
    ObserverLog a([&](const QString &, const QVariantMap &) { order += QLatin1Char('a'); });
    ObserverLog b([&](const QString &, const QVariantMap &) { order += QLatin1Char('b'); });
    addObserver(&object, &a, title);
    addObserver(&object, &b, title);
    addObserver(&object, &a, title);
    change(object, 1);
    EXPECT_EQ(order, QStringLiteral("aba"));
    removeObserver(&object, &a, title);
    change(object, 2);
    EXPECT_EQ(order, QStringLiteral("abaab"));
}

TEST(NSKeyValueObserving, RemovalByContextTakesThatRegistration) {
    QObject object;
    std::vector<void *> contexts;
    struct Observer : NSKeyValueObserver {
        std::vector<void *> contexts;
        void observeValueForKeyPath(const QString &, QObject *, const QVariantMap &, void *context) override {
            contexts.push_back(context);
        }
    } observer;
    int first = 0;
    int second = 0;
    addObserver(&object, &observer, title, {}, &first);
    addObserver(&object, &observer, title, {}, &second);
    removeObserver(&object, &observer, title, &first);
    change(object, 1);
    EXPECT_EQ(observer.contexts, std::vector<void *>{&second});
    EXPECT_THROW(removeObserver(&object, &observer, title, &first), NSException);
}

TEST(NSKeyValueObserving, RemovingWhatIsNotRegisteredThrows) {
    QObject object;
    ObserverLog log;
    const auto nameOf = [&](auto &&remove) {
        try {
            remove();
        } catch (const NSException &e) {
            return e.name();
        }
        return QString();
    };
    EXPECT_EQ(nameOf([&] { removeObserver(&object, &log, title); }), NSRangeException);
    addObserver(&object, &log, title);
    EXPECT_EQ(nameOf([&] { removeObserver(&object, &log, other); }), NSRangeException);
    removeObserver(&object, &log, title);
    EXPECT_EQ(nameOf([&] { removeObserver(&object, &log, title); }), NSRangeException);
    EXPECT_EQ(nameOf([&] { addObserver(nullptr, &log, title); }), NSInvalidArgumentException);
    EXPECT_EQ(nameOf([&] { addObserver(&object, nullptr, title); }), NSInvalidArgumentException);
}

TEST(NSKeyValueObserving, ObserversMayRemoveThemselvesAndOthersWhileTheyAreCalled) {
    QObject object;
    ObserverLog second;
    ObserverLog first([&](const QString &, const QVariantMap &) {
        removeObserver(&object, &first, title);
        removeObserver(&object, &second, title);
    });
    addObserver(&object, &first, title);
    addObserver(&object, &second, title);
    change(object, 1);
    change(object, 2);
    EXPECT_EQ(first.entries().size(), 1);
    EXPECT_TRUE(second.entries().isEmpty());
}

TEST(NSKeyValueObserving, AllObserversHearOfAChangeEvenIfOneThrows) {
    QObject object;
    ObserverLog thrower([](const QString &, const QVariantMap &) { throw std::runtime_error("no"); });
    ObserverLog log;
    addObserver(&object, &thrower, title);
    addObserver(&object, &log, title);
    EXPECT_THROW(change(object, 1), std::runtime_error);
    EXPECT_EQ(log.entries().size(), 1);
    // The failed call left nothing behind that removal would wait for.
    removeObserver(&object, &thrower, title);
    change(object, 2);
    EXPECT_EQ(log.entries().size(), 2);
}

TEST(NSKeyValueObserving, ADyingObjectDropsItsObservers) {
    ObserverLog log;
    alignas(QObject) std::byte place[sizeof(QObject)];
    auto *object = new (place) QObject;
    addObserver(object, &log, title);
    object->~QObject();
    object = new (place) QObject;
    change(*object, 1);
    EXPECT_TRUE(log.entries().isEmpty());
    EXPECT_THROW(removeObserver(object, &log, title), NSException);
    object->~QObject();
}

TEST(NSKeyValueObserving, RemovalWaitsForACallOnAnotherThread) {
    QObject object;
    Gate entered;
    Gate leave;
    std::atomic<bool> left{false};
    ObserverLog log([&](const QString &, const QVariantMap &) {
        entered.open();
        leave.pass();
        left = true;
    });
    addObserver(&object, &log, title);
    std::thread changer([&] { didChangeValueForKey(&object, title); });
    ASSERT_TRUE(entered.pass());
    bool removedBeforeLeft = true;
    std::thread remover([&] {
        removeObserver(&object, &log, title);
        removedBeforeLeft = !left;
    });
    leave.open();
    remover.join();
    changer.join();
    EXPECT_FALSE(removedBeforeLeft);
}

TEST(NSKeyValueObserving, ManyThreadsAddChangeAndRemoveAtOnce) {
    constexpr int threads = 8;
    constexpr int rounds = 500;
    QObject shared;
    std::atomic<int> heard{0};
    std::vector<std::thread> all;
    for (int t = 0; t < threads; ++t)
        all.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                QObject own;
                bool alive = true;
                ObserverLog log([&](const QString &, const QVariantMap &) {
                    EXPECT_TRUE(alive);
                    ++heard;
                });
                addObserver(&own, &log, title);
                addObserver(&shared, &log, title);
                didChangeValueForKey(&own, title);
                didChangeValueForKey(&shared, title);
                removeObserver(&shared, &log, title);
                removeObserver(&own, &log, title);
                alive = false;
            }
        });
    for (auto &thread : all)
        thread.join();
    EXPECT_GE(heard, 2 * threads * rounds);
}

} // namespace
