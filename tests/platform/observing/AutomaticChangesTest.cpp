// SPDX-License-Identifier: MIT
// Changes that NOTIFY signals announce, and key paths.
#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/values/NSNull.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ObserverLog.h"

#include <QObject>
#include <QPointer>
#include <atomic>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace NSKeyValueObserving;

namespace {

constexpr auto newAndOld = NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld;
const QString name = QStringLiteral("name");
const QString childName = QStringLiteral("child.name");

class Node : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(bool isOpen READ isOpen WRITE setOpen NOTIFY openChanged)
    Q_PROPERTY(Node *child READ child WRITE setChild NOTIFY childChanged)
    Q_PROPERTY(QObject *manual READ manual WRITE setManual)
    Q_PROPERTY(QVariantMap info READ info WRITE setInfo NOTIFY infoChanged)
    Q_PROPERTY(QVariantList items READ items WRITE setItems NOTIFY infoChanged)

public:
    QString name() const { return m_name; }
    void setName(const QString &newName) {
        m_name = newName;
        Q_EMIT nameChanged();
    }
    /// Announced by a bracket around the signal.
    void setNameInBracket(const QString &newName) {
        willChangeValueForKey(this, QStringLiteral("name"));
        setName(newName);
        didChangeValueForKey(this, QStringLiteral("name"));
    }
    bool isOpen() const { return m_open; }
    void setOpen(bool open) {
        m_open = open;
        Q_EMIT openChanged(open);
    }
    Node *child() const { return m_child; }
    void setChild(Node *child) {
        m_child = child;
        Q_EMIT childChanged();
    }
    QObject *manual() const { return m_manual; }
    void setManual(QObject *manual) {
        willChangeValueForKey(this, QStringLiteral("manual"));
        m_manual = manual;
        didChangeValueForKey(this, QStringLiteral("manual"));
    }
    QVariantMap info() const { return m_info; }
    void setInfo(const QVariantMap &info) {
        m_info = info;
        Q_EMIT infoChanged();
    }
    QVariantList items() const { return m_items; }
    void setItems(const QVariantList &items) {
        m_items = items;
        Q_EMIT infoChanged();
    }
    int nameListeners() const { return receivers(SIGNAL(nameChanged())); }

    Q_SIGNAL void nameChanged();
    Q_SIGNAL void openChanged(bool open);
    Q_SIGNAL void childChanged();
    Q_SIGNAL void infoChanged();

private:
    QString m_name;
    bool m_open = false;
    Node *m_child = nullptr; // dangles once the child has died, as such pointers do
    QObject *m_manual = nullptr;
    QVariantMap m_info;
    QVariantList m_items;
};

/// Properties of every type of plain number; one of them announces itself in code, too.
class Counters : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool flag MEMBER m_flag NOTIFY changed)
    Q_PROPERTY(int count READ count WRITE setCount NOTIFY changed)
    Q_PROPERTY(uint mask MEMBER m_mask NOTIFY changed)
    Q_PROPERTY(qlonglong size MEMBER m_size NOTIFY changed)
    Q_PROPERTY(qulonglong total MEMBER m_total NOTIFY changed)
    Q_PROPERTY(double progress READ progress WRITE setProgress NOTIFY changed)
    Q_PROPERTY(int manual READ manual WRITE setManual)

public:
    int count() const { return m_count; }
    void setCount(int count) {
        m_count = count;
        Q_EMIT changed();
    }
    int manual() const { return m_manual; }
    void setManual(int value) {
        willChangeValueForKey(this, QStringLiteral("manual"));
        m_manual = value;
        didChangeValueForKey(this, QStringLiteral("manual"));
    }
    void setManualSilently(int value) { m_manual = value; }
    const double &progress() const { return m_progress; }
    void setProgress(double progress) {
        m_progress = progress;
        Q_EMIT changed();
    }
    Q_SIGNAL void changed();

private:
    bool m_flag = false;
    int m_count = 0;
    uint m_mask = 0;
    qlonglong m_size = 0;
    qulonglong m_total = 0;
    double m_progress = 0;
    int m_manual = 0;
};

/// Keeps every change, and what the object was.
struct Changes : NSKeyValueObserver {
    std::vector<QVariantMap> all;
    QObject *object = nullptr;
    QString keyPath;
    std::function<void()> hook;
    void observeValueForKeyPath(const QString &path, QObject *changed, const QVariantMap &change,
                                void *) override {
        all.push_back(change);
        object = changed;
        keyPath = path;
        if (hook)
            hook();
    }
    QVariant lastNew() const { return all.back().value(NSKeyValueChangeNewKey); }
    QVariant lastOld() const { return all.back().value(NSKeyValueChangeOldKey); }
};

QVariant text(const char *latin1) {
    return QString::fromLatin1(latin1);
}

TEST(AutomaticChanges, ANotifySignalTellsTheNewValueAndTheOneFromBefore) {
    Node node;
    node.setName(QStringLiteral("a"));
    Changes changes;
    addObserver(&node, &changes, name, newAndOld);
    node.setName(QStringLiteral("b"));
    node.setName(QStringLiteral("c"));
    ASSERT_EQ(changes.all.size(), 2U);
    EXPECT_EQ(changes.all[0], (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting},
                                           {NSKeyValueChangeOldKey, text("a")},
                                           {NSKeyValueChangeNewKey, text("b")}}));
    EXPECT_EQ(changes.lastOld(), text("b"));
    EXPECT_EQ(changes.lastNew(), text("c"));
    EXPECT_EQ(changes.object, &node);
    removeObserver(&node, &changes, name);
    node.setName(QStringLiteral("d"));
    EXPECT_EQ(changes.all.size(), 2U);
}

template <typename Number>
void expectChangesOfNumber(const QString &key, Number first, Number second) {
    Counters counters;
    counters.setProperty(key.toUtf8().constData(), QVariant::fromValue(first));
    Changes log;
    addObserver(&counters, &log, key, newAndOld);
    counters.setProperty(key.toUtf8().constData(), QVariant::fromValue(second));
    counters.setProperty(key.toUtf8().constData(), QVariant::fromValue(first));
    ASSERT_EQ(log.all.size(), 2U) << key.toStdString();
    EXPECT_EQ(log.all[0].value(NSKeyValueChangeOldKey), QVariant::fromValue(first));
    EXPECT_EQ(log.all[0].value(NSKeyValueChangeNewKey), QVariant::fromValue(second));
    EXPECT_EQ(log.all[1].value(NSKeyValueChangeOldKey), QVariant::fromValue(second));
    EXPECT_EQ(log.all[1].value(NSKeyValueChangeNewKey), QVariant::fromValue(first));
    EXPECT_EQ(log.all[1].value(NSKeyValueChangeNewKey).metaType(), QMetaType::fromType<Number>());
    removeObserver(&counters, &log, key);
}

TEST(AutomaticChanges, NumbersOfEveryTypeAreTold) {
    expectChangesOfNumber<bool>(QStringLiteral("flag"), true, false);
    expectChangesOfNumber<int>(QStringLiteral("count"), std::numeric_limits<int>::min(), 7);
    expectChangesOfNumber<uint>(QStringLiteral("mask"), std::numeric_limits<uint>::max(), 1);
    expectChangesOfNumber<qlonglong>(QStringLiteral("size"), std::numeric_limits<qlonglong>::min(), -1);
    expectChangesOfNumber<qulonglong>(QStringLiteral("total"), std::numeric_limits<qulonglong>::max(), 2);
    expectChangesOfNumber<double>(QStringLiteral("progress"), 0.1, -1e300);
}

TEST(AutomaticChanges, NumbersInBracketsWithPriorCallsAndAloneAreToldAlike) {
    const QString count = QStringLiteral("count");
    Counters counters;
    Changes plain;
    addObserver(&counters, &plain, count, newAndOld);
    counters.setCount(1);
    willChangeValueForKey(&counters, count);
    counters.setCount(2);
    counters.setCount(3);
    didChangeValueForKey(&counters, count);
    counters.setCount(4);
    ASSERT_EQ(plain.all.size(), 3U);
    EXPECT_EQ(plain.all[1].value(NSKeyValueChangeOldKey), QVariant(1));
    EXPECT_EQ(plain.all[1].value(NSKeyValueChangeNewKey), QVariant(3));
    EXPECT_EQ(plain.all[2].value(NSKeyValueChangeOldKey), QVariant(3));
    EXPECT_EQ(plain.all[2].value(NSKeyValueChangeNewKey), QVariant(4));

    Changes prior;
    addObserver(&counters, &prior, count, newAndOld | NSKeyValueObservingOptionPrior);
    counters.setCount(5);
    ASSERT_EQ(plain.all.size(), 4U);
    EXPECT_EQ(plain.all[3].value(NSKeyValueChangeOldKey), QVariant(4));
    ASSERT_EQ(prior.all.size(), 2U);
    EXPECT_EQ(prior.all[0].value(NSKeyValueChangeOldKey), QVariant(4));
    EXPECT_EQ(prior.all[0].value(NSKeyValueChangeNotificationIsPriorKey), QVariant(true));
    EXPECT_EQ(prior.all[1].value(NSKeyValueChangeOldKey), QVariant(4));
    EXPECT_EQ(prior.all[1].value(NSKeyValueChangeNewKey), QVariant(5));
    removeObserver(&counters, &prior, count);
    removeObserver(&counters, &plain, count);
}

TEST(AutomaticChanges, ANumberWithoutASignalIsToldByItsBracketsWithTheValueFromBefore) {
    const QString manual = QStringLiteral("manual");
    Counters counters;
    Changes first;
    addObserver(&counters, &first, manual, newAndOld);
    counters.setManual(1);
    ASSERT_EQ(first.all.size(), 1U);
    EXPECT_EQ(first.lastOld(), QVariant(0));
    EXPECT_EQ(first.lastNew(), QVariant(1));
    // Changed silently, then within brackets that nest, with an observer for prior calls from halfway on.
    counters.setManualSilently(2);
    Changes prior;
    willChangeValueForKey(&counters, manual);
    counters.setManual(3);
    EXPECT_EQ(first.lastOld(), QVariant(2));
    addObserver(&counters, &prior, manual, newAndOld | NSKeyValueObservingOptionPrior);
    counters.setManualSilently(4);
    didChangeValueForKey(&counters, manual);
    ASSERT_EQ(first.all.size(), 3U);
    EXPECT_EQ(first.lastOld(), QVariant(2));
    EXPECT_EQ(first.lastNew(), QVariant(4));
    ASSERT_EQ(prior.all.size(), 1U);
    EXPECT_EQ(prior.lastNew(), QVariant(4));
    counters.setManual(5);
    EXPECT_EQ(first.lastOld(), QVariant(4));
    ASSERT_EQ(prior.all.size(), 3U);
    EXPECT_EQ(prior.lastOld(), QVariant(4));
    EXPECT_EQ(prior.lastNew(), QVariant(5));
    removeObserver(&counters, &prior, manual);
    removeObserver(&counters, &first, manual);
}

TEST(AutomaticChanges, ANumberChangedByItsObserverIsToldInside) {
    Counters counters;
    std::vector<std::pair<int, int>> seen;
    class Halver : public NSKeyValueObserver {
    public:
        explicit Halver(std::vector<std::pair<int, int>> &pairs) : m_pairs(pairs) {}
        void observeValueForKeyPath(const QString &, QObject *object, const QVariantMap &change,
                                    void *) override {
            const int value = change.value(NSKeyValueChangeNewKey).toInt();
            if (value > 1)
                static_cast<Counters *>(object)->setCount(value / 2);
            m_pairs.emplace_back(change.value(NSKeyValueChangeOldKey).toInt(),
                                 change.value(NSKeyValueChangeNewKey).toInt());
        }

    private:
        std::vector<std::pair<int, int>> &m_pairs;
    } halver(seen);
    addObserver(&counters, &halver, QStringLiteral("count"), newAndOld);
    counters.setCount(4);
    EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{2, 1}, {4, 2}, {0, 4}}));
    removeObserver(&counters, &halver, QStringLiteral("count"));
}

TEST(AutomaticChanges, OnlyWhatWasAskedForIsTold) {
    Node node;
    Changes plain;
    Changes onlyNew;
    Changes onlyOld;
    addObserver(&node, &plain, name);
    addObserver(&node, &onlyNew, name, NSKeyValueObservingOptionNew);
    addObserver(&node, &onlyOld, name, NSKeyValueObservingOptionOld);
    for (const char *each : {"a", "b"})
        node.setName(QString::fromLatin1(each));
    EXPECT_EQ(plain.all[1].keys(), QStringList{NSKeyValueChangeKindKey});
    EXPECT_EQ(onlyNew.all[1].keys(), (QStringList{NSKeyValueChangeKindKey, NSKeyValueChangeNewKey}));
    EXPECT_EQ(onlyNew.lastNew(), text("b"));
    EXPECT_EQ(onlyOld.all[1].keys(), (QStringList{NSKeyValueChangeKindKey, NSKeyValueChangeOldKey}));
    EXPECT_TRUE(NSIsNull(onlyOld.all[0].value(NSKeyValueChangeOldKey)));
    EXPECT_EQ(onlyOld.lastOld(), text("a"));
}

TEST(AutomaticChanges, AKeptChangeDictionaryStaysAsItWas) {
    Node node;
    Changes changes;
    addObserver(&node, &changes, name, newAndOld);
    for (const char *each : {"a", "b", "c"})
        node.setName(QString::fromLatin1(each));
    EXPECT_EQ(changes.all[0].value(NSKeyValueChangeNewKey), text("a"));
    EXPECT_EQ(changes.all[1].value(NSKeyValueChangeNewKey), text("b"));
    EXPECT_EQ(changes.all[1].value(NSKeyValueChangeOldKey), text("a"));
}

TEST(AutomaticChanges, AnObserverThatOnlyLooksSeesEachChangeWhole) {
    Node node;
    QStringList seen;
    ObserverLog log([&](const QString &, const QVariantMap &change) {
        EXPECT_EQ(change.size(), 3);
        EXPECT_EQ(change.value(NSKeyValueChangeKindKey), QVariant(NSKeyValueChangeSetting));
        seen << change.value(NSKeyValueChangeOldKey).toString() + QLatin1Char('>') +
                    change.value(NSKeyValueChangeNewKey).toString();
    });
    addObserver(&node, &log, name, newAndOld);
    for (const char *each : {"a", "b", "c"})
        node.setName(QString::fromLatin1(each));
    EXPECT_EQ(seen, (QStringList{QStringLiteral(">a"), QStringLiteral("a>b"), QStringLiteral("b>c")}));
}

TEST(AutomaticChanges, InitialAndPriorCallsComeToo) {
    Node node;
    node.setName(QStringLiteral("a"));
    Changes changes;
    addObserver(&node, &changes, name,
                newAndOld | NSKeyValueObservingOptionInitial | NSKeyValueObservingOptionPrior);
    ASSERT_EQ(changes.all.size(), 1U);
    EXPECT_EQ(changes.lastNew(), text("a"));
    EXPECT_FALSE(changes.all[0].contains(NSKeyValueChangeOldKey));
    node.setName(QStringLiteral("b"));
    ASSERT_EQ(changes.all.size(), 3U);
    EXPECT_EQ(changes.all[1], (QVariantMap{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting},
                                           {NSKeyValueChangeNotificationIsPriorKey, true},
                                           {NSKeyValueChangeOldKey, text("a")}}));
    EXPECT_EQ(changes.lastOld(), text("a"));
    EXPECT_EQ(changes.lastNew(), text("b"));
    EXPECT_FALSE(changes.all[2].contains(NSKeyValueChangeNotificationIsPriorKey));
}

TEST(AutomaticChanges, TheKeyOfAnIsPropertyIsItsPlainName) {
    Node node;
    Changes changes;
    addObserver(&node, &changes, QStringLiteral("open"), newAndOld);
    node.setOpen(true);
    ASSERT_EQ(changes.all.size(), 1U);
    EXPECT_EQ(changes.lastOld(), QVariant(false));
    EXPECT_EQ(changes.lastNew(), QVariant(true));
}

TEST(AutomaticChanges, ASignalInsideABracketIsPartOfIt) {
    Node node;
    node.setName(QStringLiteral("a"));
    Changes changes;
    addObserver(&node, &changes, name, newAndOld);
    node.setNameInBracket(QStringLiteral("b"));
    ASSERT_EQ(changes.all.size(), 1U);
    EXPECT_EQ(changes.lastOld(), text("a"));
    EXPECT_EQ(changes.lastNew(), text("b"));
    node.setName(QStringLiteral("c"));
    EXPECT_EQ(changes.all.size(), 2U);
    EXPECT_EQ(changes.lastOld(), text("b"));
}

TEST(AutomaticChanges, WithoutObserversTheSignalIsFree) {
    Node node;
    Changes changes;
    EXPECT_EQ(node.nameListeners(), 0);
    for (int round = 0; round < 3; ++round) {
        addObserver(&node, &changes, name);
        addObserver(&node, &changes, name);
        EXPECT_EQ(node.nameListeners(), 1);
        removeObserver(&node, &changes, name);
        EXPECT_EQ(node.nameListeners(), 1);
        removeObserver(&node, &changes, name);
        EXPECT_EQ(node.nameListeners(), 0);
    }
}

TEST(AutomaticChanges, WhatAnObserverThrowsIsLoggedAndTheOthersHear) {
    const LogCapture log;
    Node node;
    Changes thrower;
    thrower.hook = [] { throw NSException(NSGenericException, QStringLiteral("no")); };
    Changes changes;
    addObserver(&node, &thrower, name);
    addObserver(&node, &changes, name);
    node.setName(QStringLiteral("a"));
    EXPECT_EQ(changes.all.size(), 1U);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Exception in an observer of the key \"name\": no")});
}

TEST(AutomaticChanges, ChangesFromWithinANotificationAreToldInside) {
    Node node;
    Changes changes;
    changes.hook = [&] {
        if (changes.all.size() == 1)
            node.setName(QStringLiteral("b"));
    };
    addObserver(&node, &changes, name, newAndOld);
    node.setName(QStringLiteral("a"));
    ASSERT_EQ(changes.all.size(), 2U);
    EXPECT_EQ(changes.lastOld(), text("a"));
    EXPECT_EQ(changes.lastNew(), text("b"));
}

TEST(AutomaticChanges, TheObjectMayDieDuringItsNotification) {
    for (const auto options :
         {NSKeyValueObservingOptions(newAndOld), newAndOld | NSKeyValueObservingOptionPrior}) {
        auto node = std::make_unique<Node>();
        Node *const changed = node.get();
        Changes killer;
        killer.hook = [&] { node.reset(); };
        Changes later;
        addObserver(changed, &killer, name, options);
        addObserver(changed, &later, name, options);
        changed->setName(QStringLiteral("a"));
        EXPECT_EQ(killer.all.size(), 1U);
        EXPECT_TRUE(later.all.empty());
        EXPECT_THROW(removeObserver(changed, &killer, name), NSException);
    }
}

TEST(AutomaticChanges, ABracketsObjectMayDieDuringItsNotifications) {
    for (const auto options :
         {NSKeyValueObservingOptions(newAndOld), newAndOld | NSKeyValueObservingOptionPrior}) {
        auto object = std::make_unique<QObject>();
        QObject *const changed = object.get();
        Changes killer;
        killer.hook = [&] { object.reset(); };
        Changes later;
        addObserver(changed, &killer, name, options);
        addObserver(changed, &later, name, options);
        willChangeValueForKey(changed, name);
        didChangeValueForKey(changed, name);
        EXPECT_EQ(killer.all.size(), 1U);
        EXPECT_TRUE(later.all.empty());
        // A new object in its place has nothing pending.
        EXPECT_FALSE(object);
    }
}

TEST(AutomaticChanges, AnObserverThatDiesIsDropped) {
    Node node;
    {
        Changes changes;
        addObserver(&node, &changes, name, newAndOld);
        addObserver(&node, &changes, childName, newAndOld);
    }
    EXPECT_EQ(node.nameListeners(), 0);
    node.setName(QStringLiteral("a"));
    auto dying = std::make_unique<Changes>();
    dying->hook = [&] { dying.reset(); };
    Changes later;
    addObserver(&node, dying.get(), name, newAndOld);
    addObserver(&node, &later, name, newAndOld);
    node.setName(QStringLiteral("b"));
    EXPECT_FALSE(dying);
    EXPECT_EQ(later.all.size(), 1U);
    node.setName(QStringLiteral("c"));
    EXPECT_EQ(later.all.size(), 2U);
}

TEST(KeyPaths, ChangesOfEveryKeyOnThePathAreTold) {
    Node parent;
    Node first;
    Node second;
    first.setName(QStringLiteral("first"));
    second.setName(QStringLiteral("second"));
    Changes changes;
    addObserver(&parent, &changes, childName, newAndOld);
    parent.setChild(&first);
    ASSERT_EQ(changes.all.size(), 1U);
    EXPECT_TRUE(NSIsNull(changes.lastOld()));
    EXPECT_EQ(changes.lastNew(), text("first"));
    EXPECT_EQ(changes.object, &parent);
    EXPECT_EQ(changes.keyPath, childName);
    first.setName(QStringLiteral("renamed"));
    ASSERT_EQ(changes.all.size(), 2U);
    EXPECT_EQ(changes.lastOld(), text("first"));
    EXPECT_EQ(changes.lastNew(), text("renamed"));
    EXPECT_EQ(changes.object, &parent);
    parent.setChild(&second);
    ASSERT_EQ(changes.all.size(), 3U);
    EXPECT_EQ(changes.lastOld(), text("renamed"));
    EXPECT_EQ(changes.lastNew(), text("second"));
    first.setName(QStringLiteral("elsewhere"));
    EXPECT_EQ(changes.all.size(), 3U);
    EXPECT_EQ(first.nameListeners(), 0);
    parent.setChild(nullptr);
    EXPECT_TRUE(NSIsNull(changes.lastNew()));
    EXPECT_EQ(second.nameListeners(), 0);
    parent.setChild(&first);
    removeObserver(&parent, &changes, childName);
    EXPECT_EQ(first.nameListeners(), 0);
    first.setName(QStringLiteral("x"));
    EXPECT_EQ(changes.all.size(), 5U);
}

TEST(KeyPaths, MayBeLongAndMixBracketsWithSignals) {
    Node root;
    Node middle;
    Node leaf;
    middle.setManual(&leaf);
    Changes changes;
    const QString path = QStringLiteral("child.manual.name");
    addObserver(&root, &changes, path, newAndOld);
    leaf.setName(QStringLiteral("a"));
    EXPECT_TRUE(changes.all.empty());
    root.setChild(&middle);
    EXPECT_EQ(changes.lastNew(), text("a"));
    leaf.setName(QStringLiteral("b"));
    EXPECT_EQ(changes.lastOld(), text("a"));
    EXPECT_EQ(changes.lastNew(), text("b"));
    Node other;
    other.setName(QStringLiteral("c"));
    middle.setManual(&other);
    EXPECT_EQ(changes.lastOld(), text("b"));
    EXPECT_EQ(changes.lastNew(), text("c"));
    EXPECT_EQ(changes.all.size(), 3U);
    other.setNameInBracket(QStringLiteral("d"));
    EXPECT_EQ(changes.lastOld(), text("c"));
    EXPECT_EQ(changes.all.size(), 4U);
}

TEST(KeyPaths, BracketedKeysWithPriorCalls) {
    Node root;
    Node leaf;
    leaf.setName(QStringLiteral("leaf"));
    Changes changes;
    addObserver(&root, &changes, QStringLiteral("manual.name"), newAndOld | NSKeyValueObservingOptionPrior);
    root.setManual(&leaf);
    ASSERT_EQ(changes.all.size(), 2U);
    EXPECT_TRUE(NSIsNull(changes.all[0].value(NSKeyValueChangeOldKey)));
    EXPECT_EQ(changes.all[0].value(NSKeyValueChangeNotificationIsPriorKey), QVariant(true));
    EXPECT_EQ(changes.lastNew(), text("leaf"));
}

TEST(KeyPaths, LeadIntoDictionariesAndArrays) {
    Node node;
    Changes entry;
    Changes count;
    addObserver(&node, &entry, QStringLiteral("info.city"), newAndOld);
    addObserver(&node, &count, QStringLiteral("items.@count"), newAndOld);
    node.setInfo({{QStringLiteral("city"), QStringLiteral("Kyiv")}});
    EXPECT_EQ(entry.lastNew(), text("Kyiv"));
    node.setItems({1, 2, 3});
    EXPECT_EQ(count.lastOld().toInt(), 0);
    EXPECT_EQ(count.lastNew().toInt(), 3);
}

TEST(KeyPaths, KeysThatAreNotThereAreNil) {
    Node node;
    Changes changes;
    addObserver(&node, &changes, QStringLiteral("name.nothing"),
                NSKeyValueObservingOptionNew | NSKeyValueObservingOptionInitial);
    EXPECT_TRUE(NSIsNull(changes.lastNew()));
    addObserver(&node, &changes, QStringLiteral("nothing.more"),
                NSKeyValueObservingOptionNew | NSKeyValueObservingOptionInitial);
    EXPECT_EQ(changes.all.size(), 2U);
    EXPECT_TRUE(NSIsNull(changes.lastNew()));
}

TEST(KeyPaths, AnObjectThatLeadsToItselfIsToldOnce) {
    Node node;
    node.setChild(&node);
    Changes changes;
    addObserver(&node, &changes, QStringLiteral("child.child"), newAndOld);
    addObserver(&node, &changes, QStringLiteral("child.name"), newAndOld);
    node.setName(QStringLiteral("a"));
    EXPECT_EQ(changes.all.size(), 1U);
    Node other;
    changes.all.clear();
    node.setChild(&other);
    EXPECT_EQ(changes.all.size(), 2U);
    removeObserver(&node, &changes, QStringLiteral("child.child"));
    removeObserver(&node, &changes, QStringLiteral("child.name"));
}

TEST(KeyPaths, AnObjectOnThePathMayDie) {
    Node parent;
    Changes changes;
    Node other;
    other.setName(QStringLiteral("other"));
    {
        Node child;
        child.setName(QStringLiteral("child"));
        parent.setChild(&child);
        addObserver(&parent, &changes, childName, newAndOld);
    }
    // The parent still points there; nobody may look.
    willChangeValueForKey(&parent, QStringLiteral("child"));
    parent.setChild(&other);
    didChangeValueForKey(&parent, QStringLiteral("child"));
    ASSERT_EQ(changes.all.size(), 1U);
    EXPECT_TRUE(NSIsNull(changes.lastOld()));
    EXPECT_EQ(changes.lastNew(), text("other"));
    other.setName(QStringLiteral("again"));
    EXPECT_EQ(changes.all.size(), 2U);
    parent.setChild(nullptr);
    removeObserver(&parent, &changes, childName);
}

TEST(KeyPaths, TheFirstObjectMayDieBeforeTheOthers) {
    Node child;
    Changes changes;
    {
        Node parent;
        parent.setChild(&child);
        addObserver(&parent, &changes, childName, newAndOld);
        EXPECT_EQ(child.nameListeners(), 1);
    }
    EXPECT_EQ(child.nameListeners(), 0);
    child.setName(QStringLiteral("a"));
    EXPECT_TRUE(changes.all.empty());
}

TEST(KeyPaths, RemovalNamesTheWholePath) {
    Node parent;
    Changes changes;
    addObserver(&parent, &changes, childName);
    EXPECT_THROW(removeObserver(&parent, &changes, QStringLiteral("child")), NSException);
    EXPECT_THROW(removeObserver(&parent, &changes, QStringLiteral("child.open")), NSException);
    removeObserver(&parent, &changes, childName);
    EXPECT_THROW(removeObserver(&parent, &changes, childName), NSException);
}

TEST(AutomaticChanges, ThreadsMayChangeAndObserveAtOnce) {
    constexpr int rounds = 300;
    Node shared;
    std::atomic<int> heard{0};
    std::atomic<bool> done{false};
    std::thread changer([&] {
        while (!done)
            Q_EMIT shared.openChanged(true);
    });
    std::vector<std::thread> observers;
    for (int t = 0; t < 3; ++t)
        observers.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                ObserverLog log([&](const QString &, const QVariantMap &change) {
                    EXPECT_EQ(change.value(NSKeyValueChangeNewKey), QVariant(false));
                    ++heard;
                });
                addObserver(&shared, &log, QStringLiteral("open"), newAndOld);
                Q_EMIT shared.openChanged(true);
                removeObserver(&shared, &log, QStringLiteral("open"));
            }
        });
    for (auto &observer : observers)
        observer.join();
    done = true;
    changer.join();
    EXPECT_GE(heard, 3 * rounds);
}

} // namespace

#include "AutomaticChangesTest.moc"
