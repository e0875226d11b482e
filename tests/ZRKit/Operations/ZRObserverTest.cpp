// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZRObserver.h"

#include "platform/base/NSException.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace NSKeyValueObserving;

namespace {

const QString title = QStringLiteral("title");
const QString length = QStringLiteral("length");

class Song : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(int length READ length WRITE setLength)

public:
    QString title() const { return m_title; }
    void setTitle(const QString &title) {
        m_title = title;
        Q_EMIT titleChanged(title);
    }
    int length() const { return m_length; }
    void setLength(int length) {
        willChangeValueForKey(this, QStringLiteral("length"));
        m_length = length;
        didChangeValueForKey(this, QStringLiteral("length"));
    }
    Q_SIGNAL void titleChanged(const QString &title);

private:
    QString m_title;
    int m_length = 0;
};

class Target : public QObject {
    Q_OBJECT

public:
    int pings = 0;
    std::function<void()> hook;
    Q_INVOKABLE void ping() {
        ++pings;
        if (hook)
            hook();
    }
};

const NSSelector ping("ping");

/// Blocks that write down their letter.
class Letters {
public:
    ZRObserverInfo::Block operator()(char letter) {
        return [this, letter](const QString &, QObject *, const QVariantMap &, void *) {
            m_text += QLatin1Char(letter);
        };
    }
    QString take() { return std::exchange(m_text, QString()); }

private:
    QString m_text;
};

QString exceptionOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const NSException &exception) {
        return exception.name();
    }
    return {};
}

QVariantList entriesFor(const ZRObserver &observer, const QString &keyPath) {
    return observer.actions()->value(keyPath).toList();
}

TEST(ZRObserver, BeginsWithNoActions) {
    const ZRObserver observer;
    ASSERT_TRUE(observer.actions());
    EXPECT_TRUE(observer.actions()->isEmpty());
}

TEST(ZRObserver, TellsABlockTheKeyPathObjectChangeAndContext) {
    Song song;
    song.setLength(1);
    ZRObserver observer;
    int told = 0;
    observer.observe(&song, length,
                     [&](const QString &keyPath, QObject *object, const QVariantMap &change, void *context) {
                         ++told;
                         EXPECT_EQ(keyPath, length);
                         EXPECT_EQ(object, &song);
                         EXPECT_EQ(change, (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting},
                                                        {NSKeyValueChangeOldKey, 1},
                                                        {NSKeyValueChangeNewKey, 2}}));
                         EXPECT_EQ(context, nullptr);
                     });
    song.setLength(2);
    EXPECT_EQ(told, 1);
}

TEST(ZRObserver, HearsOfNotifySignalsToo) {
    Song song;
    song.setTitle(QStringLiteral("a"));
    ZRObserver observer;
    std::vector<QVariantMap> changes;
    observer.observe(&song, title, [&](const QString &, QObject *, const QVariantMap &change, void *) {
        changes.push_back(change);
    });
    song.setTitle(QStringLiteral("b"));
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].value(NSKeyValueChangeOldKey), QVariant(QStringLiteral("a")));
    EXPECT_EQ(changes[0].value(NSKeyValueChangeNewKey), QVariant(QStringLiteral("b")));
}

TEST(ZRObserver, TheLongFormsTakeOptions) {
    Song song;
    ZRObserver observer;
    QVariantMap last;
    int told = 0;
    observer.observe(&song, length, NSKeyValueObservingOptionNew | NSKeyValueObservingOptionPrior, false,
                     [&](const QString &, QObject *, const QVariantMap &change, void *) {
                         ++told;
                         last = change;
                     });
    song.setLength(5);
    EXPECT_EQ(told, 2);
    EXPECT_EQ(last,
              (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}, {NSKeyValueChangeNewKey, 5}}));
    Target target;
    observer.observe(&song, title, NSKeyValueObservingOptionPrior, false, &target, ping);
    song.setTitle(QStringLiteral("t"));
    EXPECT_EQ(target.pings, 2);
}

TEST(ZRObserver, TheShortFormsAskForNewAndOldValues) {
    EXPECT_EQ(int(ZRObserver::defaultOptions), 3);
}

TEST(ZRObserver, AnInitialNotificationComesBeforeTheEntryIsThere) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, NSKeyValueObservingOptionInitial, false, letters('a'));
    EXPECT_EQ(letters.take(), QString());
    song.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
}

TEST(ZRObserver, SendsTheActionToTheTarget) {
    Song song;
    Target target;
    ZRObserver observer;
    observer.observe(&song, length, &target, ping);
    song.setLength(1);
    song.setLength(2);
    EXPECT_EQ(target.pings, 2);
}

TEST(ZRObserver, ATargetThatDoesNotRespondIsSkippedWithoutALog) {
    const LogCapture log;
    Song song;
    Target target;
    Letters letters;
    {
        ZRObserver observer;
        observer.observe(&song, length, &target, NSSelector("pong"));
        song.setLength(1);
        EXPECT_TRUE(log.lines().isEmpty());
        observer.observe(&song, length, letters('a'));
        song.setLength(2);
        EXPECT_EQ(letters.take(), QStringLiteral("a"));
        EXPECT_TRUE(log.lines().isEmpty());
    }
    EXPECT_EQ(target.pings, 0);
}

TEST(ZRObserver, TwoBlocksOfOneKeyPathAreBothToldInOrder) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, letters('a'));
    observer.observe(&song, length, letters('b'));
    song.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("ab"));
    const QVariantList entries = entriesFor(observer, length);
    ASSERT_EQ(entries.size(), 2);
    const auto first = entries[0].value<std::shared_ptr<ZRObserverInfo>>();
    EXPECT_EQ(first->keypath(), length);
    EXPECT_EQ(first->observed(), &song);
    EXPECT_EQ(first->target(), nullptr);
    EXPECT_FALSE(first->isOnce());
}

TEST(ZRObserver, AOnceBlockIsToldOnceAndRemoved) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, ZRObserver::defaultOptions, true, letters('a'));
    EXPECT_TRUE(entriesFor(observer, length)[0].value<std::shared_ptr<ZRObserverInfo>>()->isOnce());
    song.setLength(1);
    song.setLength(2);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
    EXPECT_TRUE(entriesFor(observer, length).isEmpty());
    EXPECT_TRUE(observer.actions()->contains(length));
    observer.removeAllObservers();
}

TEST(ZRObserver, AOnceEntryTakesTheRegistrationOnTheObjectThatChanged) {
    Song first;
    Song second;
    ZRObserver observer;
    Letters letters;
    observer.observe(&first, length, letters('a'));
    observer.observe(&second, length, ZRObserver::defaultOptions, true, letters('b'));
    addObserver(&second, &observer, length);
    second.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("ab"));
    EXPECT_EQ(entriesFor(observer, length).size(), 1);
    second.setLength(2);
    EXPECT_EQ(letters.take(), QString());
    first.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
}

TEST(ZRObserver, ATargetObservedOnceKeepsBeingTold) {
    Song song;
    Target target;
    ZRObserver observer;
    observer.observe(&song, length, ZRObserver::defaultOptions, true, &target, ping);
    EXPECT_FALSE(entriesFor(observer, length)[0].value<std::shared_ptr<ZRObserverInfo>>()->isOnce());
    song.setLength(1);
    song.setLength(2);
    EXPECT_EQ(target.pings, 2);
}

TEST(ZRObserver, AOnceEntryTakesTheRegistrationOfItsKeyPathWithIt) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, letters('a'));
    observer.observe(&song, length, ZRObserver::defaultOptions, true, letters('b'));
    observer.observe(&song, length, letters('c'));
    song.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("abc"));
    song.setLength(2);
    EXPECT_EQ(letters.take(), QString());
    EXPECT_EQ(entriesFor(observer, length).size(), 2);
    EXPECT_EQ(exceptionOf([&] { observer.removeAllObservers(); }), NSRangeException);
}

TEST(ZRObserver, AfterAOnceEntryItsEmptyArrayKeepsNewOnesFromRegistering) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, ZRObserver::defaultOptions, true, letters('a'));
    song.setLength(1);
    observer.observe(&song, length, letters('b'));
    song.setLength(2);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
    EXPECT_EQ(entriesFor(observer, length).size(), 1);
}

TEST(ZRObserver, ASecondOnceEntryOfTheSameObjectFindsNoRegistrationToTakeBack) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, ZRObserver::defaultOptions, true, letters('a'));
    observer.observe(&song, length, ZRObserver::defaultOptions, true, letters('b'));
    EXPECT_EQ(exceptionOf([&] { song.setLength(1); }), NSRangeException);
    EXPECT_EQ(letters.take(), QStringLiteral("ab"));
    EXPECT_EQ(entriesFor(observer, length).size(), 1);
}

TEST(ZRObserver, OnlyTheFirstObjectOfAKeyPathIsRegisteredAndEveryEntryIsTold) {
    Song first;
    Song second;
    ZRObserver observer;
    QObjectList changed;
    const auto block = [&](const QString &, QObject *object, const QVariantMap &, void *) {
        changed << object;
    };
    observer.observe(&first, length, block);
    observer.observe(&second, length, block);
    second.setLength(1);
    EXPECT_TRUE(changed.isEmpty());
    first.setLength(1);
    EXPECT_EQ(changed, (QObjectList{&first, &first}));
    // The second entry's object has no registration.
    EXPECT_EQ(exceptionOf([&] { observer.removeAllObservers(); }), NSRangeException);
}

TEST(ZRObserver, TheOptionsOfTheFirstEntryHold) {
    Song song;
    ZRObserver observer;
    QVariantMap seen;
    observer.observe(&song, length, NSKeyValueObservingOptionNew, false, nullptr);
    observer.observe(&song, length,
                     [&](const QString &, QObject *, const QVariantMap &change, void *) { seen = change; });
    song.setLength(3);
    EXPECT_EQ(seen,
              (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}, {NSKeyValueChangeNewKey, 3}}));
}

TEST(ZRObserver, AfterRemoveAllObserversNobodyIsToldAndNothingIsStored) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, letters('a'));
    observer.observe(&song, title, letters('b'));
    observer.removeAllObservers();
    EXPECT_FALSE(observer.actions());
    song.setLength(1);
    song.setTitle(QStringLiteral("t"));
    EXPECT_EQ(letters.take(), QString());
    observer.removeAllObservers();
    EXPECT_FALSE(observer.actions());
    // Still registered, but nobody is told.
    observer.observe(&song, length, letters('c'));
    EXPECT_FALSE(observer.actions());
    song.setLength(2);
    EXPECT_EQ(letters.take(), QString());
    removeObserver(&song, &observer, length);
}

TEST(ZRObserver, RegistrationsMadeAfterRemoveAllObserversEndWithTheObserver) {
    Song song;
    {
        ZRObserver observer;
        observer.removeAllObservers();
        observer.observe(&song, length, nullptr);
    }
    song.setLength(1);
    EXPECT_EQ(song.length(), 1);
}

TEST(ZRObserver, RemoveAllObserversRaisesWhereTheRegistrationIsMissing) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, letters('a'));
    observer.observe(&song, length, letters('b'));
    observer.observe(&song, title, letters('t'));
    EXPECT_EQ(exceptionOf([&] { observer.removeAllObservers(); }), NSRangeException);
    // It got no further than to the second entry.
    ASSERT_TRUE(observer.actions());
    song.setLength(1);
    song.setTitle(QStringLiteral("x"));
    EXPECT_EQ(letters.take(), QStringLiteral("t"));
}

TEST(ZRObserver, DestructionTakesEverythingBack) {
    const LogCapture log;
    Song song;
    Letters letters;
    {
        ZRObserver observer;
        observer.observe(&song, length, letters('a'));
        observer.observe(&song, length, letters('b'));
        observer.observe(&song, title, letters('t'));
    }
    song.setLength(1);
    song.setTitle(QStringLiteral("x"));
    EXPECT_EQ(letters.take(), QString());
    EXPECT_EQ(log.count(QStringLiteral("Exception while an observer is destroyed: ")), 1);
}

TEST(ZRObserver, MayDieFromWithinItsOwnBlock) {
    Song song;
    for (const bool once : {false, true}) {
        auto observer = std::make_unique<ZRObserver>();
        Letters letters;
        observer->observe(&song, length, ZRObserver::defaultOptions, once,
                          [&](const QString &, QObject *, const QVariantMap &, void *) { observer.reset(); });
        observer->observe(&song, length, letters('b'));
        song.setLength(song.length() + 1);
        EXPECT_FALSE(observer);
        EXPECT_EQ(letters.take(), QString());
        song.setLength(song.length() + 1);
    }
    auto observer = std::make_unique<ZRObserver>();
    observer->observe(&song, title,
                      [&](const QString &, QObject *, const QVariantMap &, void *) { observer.reset(); });
    song.setTitle(QStringLiteral("x"));
    EXPECT_FALSE(observer);
}

TEST(ZRObserver, TheObservedObjectMayDieFirst) {
    const LogCapture log;
    {
        ZRObserver observer;
        Letters letters;
        {
            Song song;
            observer.observe(&song, length, letters('a'));
        }
        EXPECT_EQ(exceptionOf([&] { observer.removeAllObservers(); }), NSRangeException);
    }
    EXPECT_EQ(log.count(QStringLiteral("Exception while an observer is destroyed: ")), 1);
}

TEST(ZRObserver, TheObservedObjectMayDieFromWithinABlock) {
    for (const bool once : {false, true}) {
        ZRObserver observer;
        Letters letters;
        auto song = std::make_unique<Song>();
        Song *const changed = song.get();
        observer.observe(changed, title, ZRObserver::defaultOptions, once,
                         [&](const QString &, QObject *, const QVariantMap &, void *) { song.reset(); });
        observer.observe(changed, title, letters('b'));
        changed->setTitle(QStringLiteral("x"));
        EXPECT_FALSE(song);
        EXPECT_EQ(letters.take(), QString());
        EXPECT_EQ(entriesFor(observer, title).size(), once ? 1 : 2);
    }
}

TEST(ZRObserver, ATargetThatHasDiedIsSkipped) {
    Song song;
    ZRObserver observer;
    auto target = std::make_unique<Target>();
    observer.observe(&song, length, target.get(), ping);
    QObject *const address = target.get();
    target.reset();
    song.setLength(1);
    const auto info = entriesFor(observer, length)[0].value<std::shared_ptr<ZRObserverInfo>>();
    EXPECT_EQ(info->target(), address);
    EXPECT_EQ(info->livingTarget(), nullptr);
}

TEST(ZRObserver, ANilObjectIsNeverToldOf) {
    ZRObserver observer;
    Letters letters;
    observer.observe(nullptr, length, letters('a'));
    EXPECT_EQ(entriesFor(observer, length).size(), 1);
    observer.removeAllObservers();
    EXPECT_FALSE(observer.actions());
}

TEST(ZRObserver, WhatABlockThrowsGoesToTheChangeAndEndsTheWalk) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, [](const QString &, QObject *, const QVariantMap &, void *) {
        throw std::runtime_error("no");
    });
    observer.observe(&song, length, letters('b'));
    EXPECT_THROW(song.setLength(1), std::runtime_error);
    EXPECT_EQ(letters.take(), QString());
    EXPECT_EQ(song.length(), 1);
}

TEST(ZRObserver, EntriesAddedDuringANotificationWaitForTheNext) {
    Song song;
    ZRObserver observer;
    Letters letters;
    bool added = false;
    observer.observe(&song, length, [&](const QString &, QObject *, const QVariantMap &, void *) {
        if (!std::exchange(added, true))
            observer.observe(&song, length, letters('b'));
    });
    song.setLength(1);
    EXPECT_EQ(letters.take(), QString());
    song.setLength(2);
    EXPECT_EQ(letters.take(), QStringLiteral("b"));
}

TEST(ZRObserver, EntriesRemovedDuringANotificationAreToldThisTime) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, [&](const QString &, QObject *, const QVariantMap &, void *) {
        observer.setActions(QVariantMap());
    });
    observer.observe(&song, length, letters('b'));
    song.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("b"));
    song.setLength(2);
    EXPECT_EQ(letters.take(), QString());
}

TEST(ZRObserver, AnEntryWithATargetNeverCallsItsBlockAndEndsIfItIsOnce) {
    Song song;
    Target target;
    ZRObserver observer;
    Letters letters;
    observer.observe(&song, length, letters('a'));
    const auto info = entriesFor(observer, length)[0].value<std::shared_ptr<ZRObserverInfo>>();
    info->setTarget(&target);
    info->setAction(NSSelector("pong"));
    song.setLength(1);
    info->setAction(ping);
    song.setLength(2);
    EXPECT_EQ(target.pings, 1);
    info->setOnce(true);
    song.setLength(3);
    song.setLength(4);
    EXPECT_EQ(target.pings, 2);
    EXPECT_EQ(letters.take(), QString());
    EXPECT_TRUE(entriesFor(observer, length).isEmpty());
}

TEST(ZRObserver, ANilTargetIsToldNothing) {
    const LogCapture log;
    Song song;
    ZRObserver observer;
    observer.observe(&song, length, nullptr, ping);
    song.setLength(1);
    EXPECT_EQ(entriesFor(observer, length).size(), 1);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZRObserver, TheActionsAreAProperty) {
    Song song;
    ZRObserver observer;
    observer.observe(&song, length, nullptr);
    const QVariant actions = NSKeyValueCoding::valueForKey(&observer, QStringLiteral("actions"));
    EXPECT_EQ(actions, QVariant(*observer.actions()));
    NSKeyValueCoding::setValueForKey(&observer, QVariant(), QStringLiteral("actions"));
    EXPECT_FALSE(observer.actions());
    EXPECT_TRUE(NSIsNil(NSKeyValueCoding::valueForKey(&observer, QStringLiteral("actions"))));
    NSKeyValueCoding::setValueForKey(&observer, actions, QStringLiteral("actions"));
    EXPECT_EQ(entriesFor(observer, length).size(), 1);
}

TEST(ZRObserverInfo, HasSixProperties) {
    Song song;
    Target target;
    Letters letters;
    ZRObserverInfo info;
    EXPECT_FALSE(info.isOnce() || info.block() || info.target() || info.observed());
    EXPECT_TRUE(info.keypath().isNull());
    info.setProperty("once", true);
    info.setProperty("action", QVariant::fromValue(ping));
    info.setProperty("block", QVariant::fromValue(letters('a')));
    info.setProperty("keypath", length);
    info.setProperty("target", QVariant::fromValue<QObject *>(&target));
    info.setProperty("observed", QVariant::fromValue<QObject *>(&song));
    EXPECT_TRUE(info.dynamicPropertyNames().isEmpty());
    EXPECT_TRUE(info.isOnce());
    EXPECT_EQ(info.action(), ping);
    info.block()(length, &song, {}, nullptr);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
    EXPECT_EQ(info.keypath(), length);
    EXPECT_EQ(info.target(), &target);
    EXPECT_EQ(info.observed(), &song);
    EXPECT_EQ(info.metaObject()->propertyCount() - info.metaObject()->propertyOffset(), 6);
}

TEST(ZRObserver, TheNullMarkerInTheActionsCountsAsNone) {
    Song song;
    ZRObserver observer;
    Letters letters;
    observer.setActions(QVariantMap{{length, NSNull()}});
    observer.observe(&song, length, letters('a'));
    song.setLength(1);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
    const auto actions = observer.actions();
    observer.setActions(std::nullopt);
    song.setLength(2);
    EXPECT_EQ(letters.take(), QString());
    observer.setActions(actions);
    song.setLength(3);
    EXPECT_EQ(letters.take(), QStringLiteral("a"));
}

TEST(ZRObserver, ObservesKeyPaths) {
    Song song;
    QObject album;
    album.setProperty("song", QVariant::fromValue<QObject *>(&song));
    ZRObserver observer;
    QStringList seen;
    observer.observe(&album, QStringLiteral("song.title"),
                     [&](const QString &keyPath, QObject *object, const QVariantMap &change, void *) {
                         EXPECT_EQ(keyPath, QStringLiteral("song.title"));
                         EXPECT_EQ(object, &album);
                         seen << change.value(NSKeyValueChangeNewKey).toString();
                     });
    song.setTitle(QStringLiteral("inside"));
    EXPECT_EQ(seen, QStringList{QStringLiteral("inside")});
}

template <typename Once>
concept IsAOnceFlag = requires(ZRObserver &observer, QObject *object, Once once, ZRObserver::Block block,
                               const NSSelector &action) {
    observer.observe(object, "title", NSKeyValueObservingOptionNew, once, block);
    observer.observe(object, "title", NSKeyValueObservingOptionNew, once, object, action);
};
static_assert(IsAOnceFlag<bool> && !IsAOnceFlag<int> && !IsAOnceFlag<const char *>);

TEST(ZRObserver, TakesLiteralsForKeyPaths) {
    Song song;
    ZRObserver observer;
    QString seen;
    observer.observe(&song, "title",
                     [&](const QString &keyPath, QObject *, const QVariantMap &, void *) { seen = keyPath; });
    observer.observe(&song, u"length", NSKeyValueObservingOptionNew, false,
                     [&](const QString &keyPath, QObject *, const QVariantMap &, void *) { seen = keyPath; });
    song.setTitle(QStringLiteral("a"));
    EXPECT_EQ(seen, title);
    song.setLength(1);
    EXPECT_EQ(seen, length);
}

} // namespace

#include "ZRObserverTest.moc"
