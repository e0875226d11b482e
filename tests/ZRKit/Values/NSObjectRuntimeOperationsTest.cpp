// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/NSException.h"
#include "platform/base/NSObjectLock.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/operations/NSThread.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNotificationCenter.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/support/LogCapture.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

/// Runs the main run loop until the condition holds; false after a time that only a broken program needs.
bool spin(const std::function<bool()> &done) {
    QElapsedTimer time;
    time.start();
    while (!done() && time.elapsed() < 60'000)
        NSRunLoop::mainRunLoop().runUntilDate(0.001);
    return done();
}

} // namespace

class Device : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER m_title)
    Q_PROPERTY(int fixed READ fixed)
    Q_PROPERTY(int _count MEMBER m_count)
    Q_PROPERTY(bool _isOpen MEMBER m_open)
    Q_PROPERTY(bool isNew MEMBER m_new)
    Q_PROPERTY(QVariant part MEMBER m_part)

public:
    int fixed() const { return 1; }
    Q_INVOKABLE QString doitnow() { return S("did it"); }
    Q_INVOKABLE QString doitnow(const QString &what) { return S("did ") + what; }
    Q_INVOKABLE QString pair(const QString &a, const QVariant &b) {
        return a + (b.isValid() ? S("+value") : S("+nil"));
    }
    Q_INVOKABLE void setDelegate(QObject *delegate) { m_delegate = delegate; }
    Q_INVOKABLE void setMode(const QString &mode) { m_mode = mode; }
    Q_INVOKABLE void changed(const NSNotification &notification) {
        heard << notification.name();
        sender = notification.object();
        details = notification.userInfo();
    }

    QObject *m_delegate = nullptr;
    QStringList heard;
    QVariant sender;
    QVariantMap details;

private:
    QString m_title, m_mode;
    int m_count = 0;
    bool m_open = false, m_new = false;
    QVariant m_part;
};

class Sealed : public Device {
    Q_OBJECT
    Q_CLASSINFO("accessInstanceVariablesDirectly", "NO")
    Q_PROPERTY(int _own MEMBER m_own)
    int m_own = 0;
};

class Derived : public Device {
    Q_OBJECT
    Q_PROPERTY(int _own MEMBER m_own)
    int m_own = 0;
};

TEST(NSObjectRuntimeOperations, MethodsArrayIsTheClassesOwn) {
    Device device;
    const QStringList names = ZRKit::methodsArray(&device);
    EXPECT_EQ(names, (QStringList{S("doitnow"), S("doitnow:"), S("pair::"), S("setDelegate:"), S("setMode:"),
                                  S("changed:")}));
    EXPECT_EQ(ZRKit::methodsArray(Device::staticMetaObject), names);
    Derived derived;
    EXPECT_TRUE(ZRKit::methodsArray(&derived).isEmpty());
    EXPECT_TRUE(ZRKit::methodsArray(S("text")).isEmpty());
    EXPECT_TRUE(ZRKit::methodsArray(nullptr).isEmpty());
}

TEST(NSObjectRuntimeOperations, SelectorByCNameLeavesThreeCharactersOut) {
    QObject object;
    EXPECT_EQ(ZRKit::selectorByCName(&object, "do-it.now/x:").name(), S("doitnowx:"));
    EXPECT_EQ(ZRKit::selectorByCName(&object, "-./").name(), S(""));
    EXPECT_FALSE(ZRKit::selectorByCName(&object, "").isNil());
    EXPECT_EQ(ZRKit::selectorByCName(&object, ",0\xc3\xa4_:+").name(), S(",0ä_:+"));
    const QByteArray longName(100'000, 'x');
    EXPECT_EQ(ZRKit::selectorByCName(&object, longName.constData()).name().size(), 100'000);
    EXPECT_TRUE(ZRKit::selectorByCName(&object, nullptr).isNil());
    EXPECT_TRUE(ZRKit::selectorByCName(nullptr, "x").isNil());
}

TEST(NSObjectRuntimeOperations, PerformByCName) {
    Device device;
    EXPECT_EQ(ZRKit::performByCName(&device, "do-it.now", S("x")), QVariant(S("did it")));
    EXPECT_EQ(ZRKit::performByCName(&device, "do/it/now:", S("x")), QVariant(S("did x")));
    EXPECT_EQ(ZRKit::performByCName(&device, "pair:with:", S("x")), QVariant(S("x+nil")));
    EXPECT_FALSE(ZRKit::performByCName(&device, "unknown:", S("x")).isValid());
    EXPECT_FALSE(ZRKit::performByCName(&device, "", S("x")).isValid());
    EXPECT_FALSE(ZRKit::performByCName(nullptr, "doitnow", S("x")).isValid());
    EXPECT_FALSE(ZRKit::performByCName(S("text"), "length", S("x")).isValid());
    ZRKit::performByCName(&device, "setTitle:", S("T"));
    EXPECT_EQ(ZRKit::performByCName(&device, "title", {}), QVariant(S("T")));
}

/// A value whose methods change it.
struct Meter {
    Q_GADGET
    Q_PROPERTY(int count MEMBER count)
public:
    int count = 0;
    Q_INVOKABLE int advance(int more) { return count += more; }
};

TEST(NSObjectRuntimeOperations, PerformByCNameOnAValueLeavesItAndItsCopiesAlone) {
    const QVariant meter = QVariant::fromValue(Meter{3}), copy = meter;
    EXPECT_EQ(ZRKit::performByCName(meter, "advance:", 4), QVariant(7));
    EXPECT_EQ(meter.value<Meter>().count, 3);
    EXPECT_EQ(copy.value<Meter>().count, 3);
}

TEST(NSObjectRuntimeOperations, InvocationByCNameIsNotInvoked) {
    Device device;
    auto invocation = ZRKit::invocationByCName(&device, "set-Title:");
    ASSERT_TRUE(invocation.has_value());
    EXPECT_EQ(invocation->target().value<QObject *>(), &device);
    EXPECT_EQ(invocation->selector(), NSSelector("setTitle:"));
    EXPECT_EQ(device.property("title").toString(), QString());
    EXPECT_FALSE(invocation->argument(0).isValid());
    invocation->setArgument(S("later"), 0);
    invocation->invoke();
    EXPECT_EQ(device.property("title").toString(), S("later"));
    EXPECT_FALSE(ZRKit::invocationByCName(&device, "unknown").has_value());
    EXPECT_FALSE(ZRKit::invocationByCName(nullptr, "doitnow").has_value());
}

TEST(NSObjectRuntimeOperations, NewWithDelegateSetsItWhereThereIsOne) {
    QObject delegate;
    EXPECT_EQ(ZRKit::newWithDelegate<Device>(&delegate)->m_delegate, &delegate);
    EXPECT_EQ(ZRKit::newWithDelegate<Device>(nullptr)->m_delegate, nullptr);
    EXPECT_NE(ZRKit::newWithDelegate<QObject>(&delegate), nullptr);
}

TEST(NSObjectRuntimeOperations, CanSetValueForKey) {
    Device device;
    device.setObjectName(S("x"));
    for (const char *key :
         {"title", "mode", "delegate", "count", "_count", "open", "new", "isNew", "objectName", "part"})
        EXPECT_TRUE(ZRKit::canSetValueForKey(&device, S(key))) << key;
    for (const char *key : {"fixed", "doitnow", "unknown", "Count", ":", "a:b"})
        EXPECT_FALSE(ZRKit::canSetValueForKey(&device, S(key))) << key;
    EXPECT_FALSE(ZRKit::canSetValueForKey(nullptr, S("title")));
    EXPECT_FALSE(ZRKit::canSetValueForKey(S("text"), S("length")));
    EXPECT_FALSE(ZRKit::canSetValueForKey(QVariantMap{{S("a"), 1}}, S("a")));
}

TEST(NSObjectRuntimeOperations, VariablesAreSearchedInTheOwnClassOnlyAndMayBeClosed) {
    Derived derived;
    EXPECT_TRUE(ZRKit::canSetValueForKey(&derived, S("own")));
    EXPECT_FALSE(ZRKit::canSetValueForKey(&derived, S("count")));
    EXPECT_TRUE(ZRKit::canSetValueForKey(&derived, S("title")));
    Sealed sealed;
    EXPECT_FALSE(ZRKit::canSetValueForKey(&sealed, S("own")));
    EXPECT_TRUE(ZRKit::canSetValueForKey(&sealed, S("title")));
}

TEST(NSObjectRuntimeOperations, CanSetValueForKeyRaisesForTheEmptyKey) {
    Device device;
    for (const char *key : {"", ".title"}) {
        try {
            ZRKit::canSetValueForKeyPath(&device, S(key));
            FAIL() << key;
        } catch (const NSException &e) {
            EXPECT_EQ(e.name(), NSRangeException);
        }
    }
    EXPECT_THROW(ZRKit::canSetValueForKey(&device, QString()), NSException);
    EXPECT_FALSE(ZRKit::canSetValueForKey(nullptr, S("")));
}

TEST(NSObjectRuntimeOperations, CanSetValueForKeyPathAsksEachObjectOnTheWay) {
    Device device, part;
    EXPECT_TRUE(ZRKit::canSetValueForKeyPath(&device, S("title")));
    EXPECT_FALSE(ZRKit::canSetValueForKeyPath(&device, S("part.title")));
    device.setProperty("part", QVariant::fromValue<QObject *>(&part));
    EXPECT_TRUE(ZRKit::canSetValueForKeyPath(&device, S("part.title")));
    EXPECT_FALSE(ZRKit::canSetValueForKeyPath(&device, S("part.fixed")));
    EXPECT_FALSE(ZRKit::canSetValueForKeyPath(&device, S("fixed.title")));
    EXPECT_FALSE(ZRKit::canSetValueForKeyPath(&device, S("part.part.title")));
    EXPECT_THROW(ZRKit::canSetValueForKeyPath(&device, S("part.")), NSException);
}

TEST(NSObjectRuntimeOperations, HandleIBKeyCallsTheFirstMatchOnce) {
    QStringList called;
    const ZRKit::IBKeyTable table = {
        {S("color"), [&] { called << S("color"); }},
        {QStringList{S("size"), S("color")}, [&] { called << S("second"); }},
        {QVariantList{1, S("font")}, [&] { called << S("font"); }},
        {S("Upper"), [&] { called << S("upper"); }},
        {7, [&] { called << S("number"); }},
        {S(""), [&] { called << S("empty"); }},
        {S("$x"), [&] { called << S("dollar"); }},
    };
    QObject object;
    for (const char *key : {"IB$Color", "SIZE", "IBFont", "$font"})
        ZRKit::handleIBKey(&object, S(key), table);
    EXPECT_EQ(called, (QStringList{S("color"), S("second"), S("font"), S("font")}));
    called.clear();
    for (const char *key : {"Upper", "upper", "$IBcolor", "ibcolor", "7", "unknown"})
        ZRKit::handleIBKey(&object, S(key), table);
    EXPECT_TRUE(called.isEmpty());
    ZRKit::handleIBKey(&object, S("IB$"), table);
    ZRKit::handleIBKey(&object, S("IB$$X"), table);
    EXPECT_EQ(called, (QStringList{S("empty"), S("dollar")}));
    ZRKit::handleIBKey(nullptr, S("color"), table);
    EXPECT_EQ(called.size(), 2);
}

TEST(NSObjectRuntimeOperations, ABlockOfATableMayChangeTheTable) {
    ZRKit::IBKeyTable table;
    QString called;
    table.emplace_back(S("color"), [&table, &called, name = S("a text too long to be kept in place")] {
        table.clear();
        table.shrink_to_fit();
        called = name;
    });
    ZRKit::handleIBKey(S("any"), u"IB$Color", table);
    EXPECT_EQ(called, S("a text too long to be kept in place"));
    EXPECT_TRUE(table.empty());
}

TEST(NSObjectRuntimeOperations, NotificationsOfTheDefaultCenter) {
    Device device, other;
    ZRKit::addObserverName(&device, S("Changed"), NSSelector("changed:"));
    ZRKit::postNotificationName(&other, S("Changed"));
    ZRKit::postNotificationName(&other, S("Unknown"));
    EXPECT_EQ(device.heard, QStringList{S("Changed")});
    EXPECT_EQ(device.sender.value<QObject *>(), &other);
    EXPECT_TRUE(device.details.isEmpty());
    ZRKit::postNotificationName(S("a value"), S("Changed"));
    EXPECT_EQ(device.sender, QVariant(S("a value")));
    ZRKit::addObserverName(&device, S("More"), NSSelector("changed:"));
    ZRKit::removeAllObservers(&device);
    ZRKit::postNotificationName(&other, S("Changed"));
    ZRKit::postNotificationName(&other, S("More"));
    EXPECT_EQ(device.heard.size(), 2);
    ZRKit::addObserverName(nullptr, S("Changed"), NSSelector("changed:"));
    ZRKit::postNotificationName(nullptr, S("Changed"));
    ZRKit::removeAllObservers(nullptr);
}

TEST(NSObjectRuntimeOperations, BlocksRunOnTheMainQueueAfterTheirDelay) {
    QObject object;
    QElapsedTimer time;
    time.start();
    QStringList ran;
    ZRKit::performBlock(
        &object, [&] { ran << S("negative"); }, -5);
    ZRKit::performBlock(
        &object, [&] { ran << S("undefined"); }, std::numeric_limits<double>::quiet_NaN());
    ZRKit::performAfterDelay(&object, 1e-10, [&] { ran << S("tiny"); });
    ZRKit::performAfterDelay(&object, 1e300, [&] { ran << S("never"); });
    ZRKit::performAfterDelay(nullptr, 0, [&] { ran << S("nil"); });
    // Last, so that whatever this thread waits for it is due after the others.
    std::thread([&] {
        ZRKit::performAfterDelay(&object, 0.03, [&] {
            EXPECT_TRUE(NSThread::isMainThread());
            EXPECT_GE(time.nsecsElapsed(), 30'000'000);
            ran << S("delay");
        });
    }).join();
    EXPECT_TRUE(ran.isEmpty());
    ASSERT_TRUE(spin([&] { return ran.size() >= 4; }));
    EXPECT_EQ(ran, (QStringList{S("negative"), S("undefined"), S("tiny"), S("delay")}));
}

TEST(NSObjectRuntimeOperations, BlockAfterUIRefreshWaitsTenMilliseconds) {
    QObject object;
    QElapsedTimer time;
    time.start();
    bool ran = false;
    ZRKit::performBlockAfterUIRefresh(&object, [&] {
        EXPECT_GE(time.nsecsElapsed(), 10'000'000);
        ran = true;
    });
    EXPECT_TRUE(spin([&] { return ran; }));
    ZRKit::performBlockAfterUIRefresh(nullptr, [] { FAIL(); });
}

TEST(NSObjectRuntimeOperations, BlockOnMainThreadIsAlwaysLater) {
    bool ran = false;
    ZRKit::performBlockOnMainThread(S("any value"), [&] { ran = NSThread::isMainThread(); });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(spin([&] { return ran; }));
    ZRKit::performBlockOnMainThread(nullptr, [] { FAIL(); });
    bool after = false;
    ZRKit::performBlockOnMainThread(S("any value"), [&] { after = true; });
    EXPECT_TRUE(spin([&] { return after; }));
}

TEST(NSObjectRuntimeOperations, AssociatedValuesAreMadeOnDemand) {
    QObject object;
    EXPECT_FALSE(ZRKit::associatedValues(&object).isValid());
    EXPECT_FALSE(ZRKit::associatedObjectForKey(&object, S("a")).isValid());
    ZRKit::setAssociatedObject(&object, 1, S("a"));
    ZRKit::setAssociatedObject(&object, NSNull(), S("b"));
    EXPECT_EQ(ZRKit::associatedValues(&object), QVariant(QVariantMap{{S("a"), 1}, {S("b"), NSNull()}}));
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, S("b")), NSNull());
    ZRKit::setAssociatedValues(&object, QVariantMap{{S("c"), 2}});
    EXPECT_EQ(ZRKit::associatedValues(&object), QVariant(QVariantMap{{S("c"), 2}}));
    ZRKit::setAssociatedObject(&object, 3, S("d"));
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, S("d")), QVariant(3));
    QObject other;
    EXPECT_FALSE(ZRKit::associatedValues(&other).isValid());
    ZRKit::setAssociatedObject(nullptr, 1, S("a"));
    ZRKit::setAssociatedValues(nullptr, 1);
    EXPECT_FALSE(ZRKit::associatedValues(nullptr).isValid());
}

TEST(NSObjectRuntimeOperations, AssociatedValuesKeepACollectionsOrder) {
    QObject object;
    ZRKit::setAssociatedValues(&object, QVariant::fromValue(ZRCollection{{S("z"), 1}, {S("a"), 2}}));
    ZRKit::setAssociatedObject(&object, u"value", u"m");
    ZRKit::setAssociatedObject(&object, 3, S("z"));
    const QVariant values = ZRKit::associatedValues(&object);
    ASSERT_EQ(values.metaType(), QMetaType::fromType<ZRCollection>());
    EXPECT_EQ(values.value<ZRCollection>().array(), (QStringList{S("z"), S("a"), S("m")}));
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, u"m"), QVariant(S("value")));
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, u"z"), QVariant(3));
}

TEST(NSObjectRuntimeOperations, AttachingNilRaisesAfterTheDictionaryIsMade) {
    QObject object;
    EXPECT_THROW(ZRKit::setAssociatedObject(&object, QVariant(), S("a")), NSException);
    EXPECT_EQ(ZRKit::associatedValues(&object), QVariant(QVariantMap()));
    EXPECT_THROW(ZRKit::setAssociatedObject(&object, 1, QString()), NSException) << "a nil key";
    ZRKit::setAssociatedObject(&object, 1, S(""));
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, S("")), QVariant(1));
    EXPECT_FALSE(ZRKit::associatedObjectForKey(&object, QString()).isValid());
}

TEST(NSObjectRuntimeOperations, AssociatedValuesThatAreNoDictionaryFailAnAssertion) {
    QObject object;
    {
        const LogCapture log;
        ZRKit::setAssociatedValues(&object, QVariantList{1});
        ASSERT_EQ(log.lines().size(), 1);
        const QString start =
            S("Assertion <NSObject+ZRKit:761> -[NSObject(ZRKit) setAssociatedValues:]\n\n"
              "    ([associatedValues isKindOfClass:[NSDictionary class]]) failed assertion\n\n");
        EXPECT_TRUE(log.lines().front().startsWith(start));
        EXPECT_GT(log.lines().front().size(), start.size());
    }
    EXPECT_EQ(ZRKit::associatedValues(&object), QVariant(QVariantList{1}));
    EXPECT_THROW(ZRKit::associatedObjectForKey(&object, S("a")), NSException);
    EXPECT_THROW(ZRKit::setAssociatedObject(&object, 1, S("a")), NSException);
    const LogCapture log;
    for (const QVariant &value : {QVariant(1), QVariant::fromValue(NSDecimalNumber()), NSNull()})
        EXPECT_THROW(ZRKit::setAssociatedValues(&object, value), NSException);
    EXPECT_EQ(ZRKit::associatedValues(&object), QVariant(QVariantList{1}));
    ZRKit::setAssociatedValues(&object, QVariant());
    EXPECT_FALSE(ZRKit::associatedValues(&object).isValid());
    EXPECT_EQ(log.lines().size(), 4);
    ZRKit::setAssociatedValues(&object, QVariantHash{{S("a"), 1}});
    EXPECT_EQ(log.lines().size(), 4);
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, S("a")), QVariant(1));
}

TEST(NSObjectRuntimeOperations, AssociatingWaitsForTheObjectsLock) {
    QObject object;
    std::thread setter;
    {
        const NSObjectLock lock(&object);
        setter = std::thread([&] { ZRKit::setAssociatedObject(&object, 1, S("a")); });
        EXPECT_FALSE(ZRKit::associatedValues(&object).isValid());
    }
    setter.join();
    EXPECT_EQ(ZRKit::associatedObjectForKey(&object, S("a")), QVariant(1));
}

TEST(NSObjectRuntimeOperations, ManyThreadsMayAssociate) {
    QObject object;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i)
                ZRKit::setAssociatedObject(&object, i, QStringLiteral("%1/%2").arg(t).arg(i));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(ZRKit::associatedValues(&object).toMap().size(), 400);
}

#include "NSObjectRuntimeOperationsTest.moc"
