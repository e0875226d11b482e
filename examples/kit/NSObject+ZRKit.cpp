// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/values/NSNotificationCenter.h"
#include "platform/values/NSNull.h"

#include <QUrl>
#include <memory>

using namespace ZRKit;

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

/// Has methods, a property and a delegate.
class Player : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER m_title)
    Q_PROPERTY(int length READ length)

public:
    int length() const { return int(m_title.size()); }
    Q_INVOKABLE QString play(const QString &what) { return S("plays ") + what; }
    Q_INVOKABLE void setDelegate(QObject *delegate) { m_delegate = delegate; }
    Q_INVOKABLE void titleChanged(const NSNotification &notification) { heard << notification.name(); }
    Q_INVOKABLE QVariant objectForKey(const QString &key) {
        return key == S("none") ? NSNull() : S("for ") + key;
    }
    QObject *delegate() const { return m_delegate; }

    QStringList heard;

private:
    QString m_title;
    QObject *m_delegate = nullptr;
};

void numbers() {
    expect(toBool(S("YES")) && toBool(S(" 12")) && toBool(1) && !toBool(S("no")));
    expect(toInt(S("12abc")) == 12 && toInt(2.9) == 2 && toInt(S("abc")) == 0);
    expect(toLong(S("-7")) == -7 && toLongLong(S("99999999999999999999")) == 9223372036854775807);
    expect(toUnsignedLongLong(S("18446744073709551615")) == 18446744073709551615ULL);
    expect(toDouble(S("1.5e2")) == 150 && toFloat(S("0.5 l")) == 0.5f);
    expect(toDouble(QDateTime::fromSecsSinceEpoch(60)) == 60);
    expect(toInt(NSNull()) == 0 && toDouble(QVariantList{1}) == 0 && !toBool(QVariant()));
}

void texts() {
    expect(toString(42) == S("42") && toString(0.1) == S("0.1") && toString(true) == S("1"));
    expect(toString(QByteArray("data")) == S("data") && toString(QByteArray("\xff")).isNull());
    expect(toString(NSNull()) == S("") && toString(QVariant()).isNull());
    expect(toString(QDateTime::fromSecsSinceEpoch(60)) == S("60"));
    expect(toStringNotEmpty(NSNull()).isNull() && toStringNotEmpty(7) == S("7"));
    expect(stringDefault(S(""), S("-")) == S("-") && stringDefault(5, S("-")) == S("5"));
    expect(toData(42) == QByteArray("42") && toData(NSNull()) == QByteArray(""));
    expect(toDate(S("86400")) == QDateTime(QDate(1970, 1, 2), QTime(0, 0), Qt::UTC));
    expect(toDate(S("2014-01-02")).toLocalTime().date() == QDate(2014, 1, 2));
    expect(!toDate(QVariantList()).isValid());
}

void truth() {
    expect(isTrue(S("0")) && !toBool(S("0")));
    expect(!isTrue(S("")) && !isTrue(QVariantList()) && !isTrue(NSNull()) && !isTrue(0.0));
    expect(isTrue(QUrl(S("a:b"))) && isTrue(QDateTime::currentDateTime()));
    Player untitled;
    expect(!isTrue(QVariant::fromValue<QObject *>(&untitled)));
    expect(isNotEmpty(S("x")) && !isNotEmpty(QVariantMap()) && !isNotEmpty(NSNull()));
    expect(isNotNull(S("")) && !isNotNull(NSNull()));
    expect(!nilOrObject(NSNull()).isValid() && zrNil(5) == QVariant(5));
    expect(hashHexWith32Digits(S("x")).size() == 32 && className(NSNull()) == S("NSNull"));
}

void access() {
    const QVariant map = QVariantMap{{S("a"), 1}, {S("n"), NSNull()}}, list = QVariantList{7, NSNull()};
    expect(zrKeys(map) == QVariantList({S("a"), S("n")}) && !zrKeys(list));
    expect(zrValues(map)->size() == 2 && zrValues(list) == list.toList() && !zrValues(5));
    expect(zrKey(map, S("n"), S("default")) == S("default") && !zrKey(list, S("n"), S("default")).isValid());
    expect(zrKeys(map, {S("x"), S("n"), S("a")}) == QVariant(1));
    expect(zrHas(map, S("n")) && !zrHas(map, S("x")));
    expect(zrAt(list, 0) == QVariant(7) && !zrAt(list, 1).isValid() && !zrAt(list, -1).isValid());
    Player player;
    const QVariant object = QVariant::fromValue<QObject *>(&player);
    expect(zrKey(object, S("k")) == S("for k") && !zrKey(object, S("none")).isValid());
    expect(!zrKey(map, S("a")).isValid()); // a dictionary never answers
}

void slashPaths() {
    const QVariant feed = QVariantMap{
        {S("items"), QVariantList{QVariantMap{{S("id"), 1}},
                                  QVariantMap{{S("id"), 2}, {S("title"), S("Two")}, {S("note"), NSNull()}}}}};
    expect(path(feed, S("items/1/title")) == S("Two"));
    expect(path(feed, S("//items//1/title/")) == S("Two"));
    expect(path(feed, S("items/*/title")) == S("Two")); // the first element that has one
    expect(!path(feed, S("items/9/title")).isValid() && !path(feed, S("items/x")).isValid());
    expect(!path(feed, S("items/1/note")).isValid() && path(feed, S("items/1/note"), false) == NSNull());
    expect(path(feed, S("items/0/title"), S("untitled")) == S("untitled"));
    expect(path(feed, u"items/0/title", u"untitled") == S("untitled"));
    expect(paths(feed, {S("items/0/title"), S("items/1/title")}) == S("Two"));
    expect(stringAtPath(feed, S("items/0/id")) == S("1") && stringAtPath(feed, S("items/0/x")).isNull());
}

void dumping() {
    const QVariant value = QVariantMap{{S("a"), QVariantList{1, S("x")}}};
    expect(dump(value) == S("/ = {1}\n/a = [2]\n/a/0 = 1\n/a/1 = \"x\""));
    QStringList lines{S("before")};
    dump(value, 5, S("/b"), &lines);
    expect(lines == QStringList({S("before"), S("/b = 5")}));
    dumpToLog(value);
}

void introspection() {
    Player player;
    expect(methodsArray(&player).first() == S("play:"));
    expect(selectorByCName(&player, "pl-a.y/:").name() == S("play:"));
    expect(performByCName(&player, "play:", S("on")) == S("plays on"));
    expect(!performByCName(&player, "unknown:", S("on")).isValid());
    auto invocation = invocationByCName(&player, "play:");
    invocation->setArgument(S("later"), 0);
    invocation->invoke();
    expect(invocation->returnValue() == S("plays later"));
    expect(newWithDelegate<Player>(&player)->delegate() == &player);
    expect(canSetValueForKey(&player, S("title")) && !canSetValueForKey(&player, S("length")));
    expect(!canSetValueForKeyPath(&player, S("title.length")));
}

void attributes() {
    Player player;
    QStringList seen;
    const IBKeyTable table = {
        {S("title"), [&] { seen << S("title"); }},
        {QStringList{S("color"), S("colour")}, [&] { seen << S("colour"); }},
    };
    handleIBKey(&player, S("IB$Colour"), table);
    handleIBKey(&player, S("unknown"), table);
    expect(seen == QStringList{S("colour")});
}

void notifications() {
    Player player;
    addObserverName(&player, S("TitleChanged"), NSSelector("titleChanged:"));
    postNotificationName(&player, S("TitleChanged"));
    removeAllObservers(&player);
    postNotificationName(&player, S("TitleChanged"));
    expect(player.heard == QStringList{S("TitleChanged")});
}

void scheduling() {
    QObject object;
    QStringList ran;
    performBlockOnMainThread(&object, [&] { ran << S("next"); });
    performBlockAfterUIRefresh(&object, [&] { ran << S("refreshed"); });
    performAfterDelay(&object, 0.02, [&] { ran << S("delayed"); });
    performBlock(
        &object, [&] { ran << S("delayed too"); }, 0.03);
    expect(ran.isEmpty()); // always later
    while (ran.size() < 4)
        NSRunLoop::mainRunLoop().runUntilDate(0.001);
    expect(ran.contains(S("next")) && ran.last() == S("delayed too"));
}

void association() {
    QObject object;
    expect(!associatedValues(&object).isValid());
    setAssociatedObject(&object, 5, S("count"));
    expect(associatedObjectForKey(&object, S("count")) == QVariant(5));
    setAssociatedValues(&object, QVariantMap{{S("name"), S("x")}});
    expect(!associatedObjectForKey(&object, S("count")).isValid());
    expect(associatedValues(&object).toMap().size() == 1);
}

} // namespace

EXAMPLE(NSObject_ZRKit) {
    numbers();
    texts();
    truth();
    access();
    slashPaths();
    dumping();
    introspection();
    attributes();
    notifications();
    scheduling();
    association();
}

#include "NSObject+ZRKit.moc"
