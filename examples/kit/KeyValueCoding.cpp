// SPDX-License-Identifier: MIT
#include "platform/values/NSKeyValueCoding.h"

#include "examples/kit/Example.h"
#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"

#include <QObject>

using namespace NSKeyValueCoding;

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

class Person : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QObject *boss MEMBER boss)

public:
    Q_INVOKABLE bool isAdult() const { return true; }
    QString name;
    QObject *boss = nullptr;
};

void reading() {
    Person boss, clerk;
    boss.name = S("Bea");
    clerk.boss = &boss;
    expect(valueForKey(&clerk, S("adult")) == QVariant(true));
    expect(valueForKeyPath(&clerk, S("boss.name.length")) == QVariant(3));
    expect(!valueForKeyPath(&clerk, S("boss.boss.name")).isValid());
    expect(valueForKey(QVariantList{S("a"), S("bcd")}, S("length")) == QVariant(QVariantList{1, 3}));
    QString unknown;
    try {
        valueForKey(&clerk, S("salary"));
    } catch (const NSException &exception) {
        unknown = exception.name();
    }
    expect(unknown == NSUndefinedKeyException);
}

void operators() {
    const auto line = [](const char *name, int amount) {
        return QVariantMap{{S("name"), S(name)}, {S("amount"), amount}};
    };
    const QVariant order =
        QVariantMap{{S("lines"), QVariantList{line("pen", 3), line("ink", 5), line("pen", 1)}}};
    expect(valueForKeyPath(order, S("lines.@count")) == QVariant(3));
    expect(valueForKeyPath(order, S("lines.@sum.amount")) == QVariant(9));
    expect(valueForKeyPath(order, S("lines.@avg.amount")) == QVariant(3.0));
    expect(valueForKeyPath(order, S("lines.@min.amount")) == QVariant(1));
    expect(valueForKeyPath(order, S("lines.@max.name")) == S("pen"));
    expect(valueForKeyPath(order, S("lines.@unionOfObjects.name")).toList().size() == 3);
    expect(valueForKeyPath(order, S("lines.@distinctUnionOfObjects.name")) ==
           QVariant(QVariantList{S("pen"), S("ink")}));
}

void writing() {
    Person boss, clerk;
    clerk.boss = &boss;
    setValueForKeyPath(&clerk, S("Cem"), S("boss.name"));
    expect(boss.name == S("Cem"));
    QVariant map = QVariantMap{{S("a"), QVariantMap{{S("b"), 1}}}};
    setValueForKeyPath(map, 2, S("a.b"));
    setValueForKey(map, QVariant(), S("unknown"));
    expect(map == QVariant(QVariantMap{{S("a"), QVariantMap{{S("b"), 2}}}}));
}

} // namespace

EXAMPLE(KeyValueCoding) {
    reading();
    operators();
    writing();
}

#include "KeyValueCoding.moc"
