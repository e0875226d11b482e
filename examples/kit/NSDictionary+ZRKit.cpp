// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "examples/kit/Example.h"

#include <QObject>

using namespace ZRKit;

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

class Song : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(int year MEMBER year)
    Q_PROPERTY(QObject *owner MEMBER owner)

public:
    QString title;
    int year = 0;
    QObject *owner = nullptr;
};

void lookUps() {
    const QVariantMap map{{S("a"), 1}, {S("n"), NSNull()}, {S("e"), S("")}};
    expect(len(map) == 3);
    expect(key(map, S("a")) == QVariant(1) && !key(map, S("n")).isValid() && !key(map, S("x")).isValid());
    expect(key(map, S("n"), 5) == QVariant(5) && key(map, S("e"), 5) == S(""));
    expect(keys(map, {S("x"), S("n"), S("a")}) == QVariant(1));
    expect(has(map, S("n")) && !has(map, S("x")));
}

void whole() {
    const QVariantMap one{{S("a"), 1}, {S("b"), 2}}, other{{S("b"), 3}};
    expect(mergeDict(one, other) == QVariantMap({{S("a"), 1}, {S("b"), 3}}));
    expect(zrFlatten(one, [](const QString &k, const QVariant &v) { return k + v.toString(); }) ==
           QVariantList({S("a1"), S("b2")}));
    const auto copy = deepMutableCopy(QVariantMap{{S("a"), QStringList{S("x")}}});
    expect(copy && copy->value(S("a")).typeId() == QMetaType::QVariantList);
}

void objects() {
    Song song;
    mapValuesToObject(QVariantMap{{S("title"), S("Sol")}, {S("year"), 1999}, {S("unknown"), 1}}, &song);
    expect(song.title == S("Sol") && song.year == 1999);
    mapValuesToObject(QVariantMap{{S("year"), 1999.9}}, &song);
    expect(song.year == 1999);
    song.owner = &song; // no archive takes it
    expect(dictionaryWithValuesOfObject(&song) == QVariantMap({{S("title"), S("Sol")}, {S("year"), 1999}}));
}

void changes() {
    QVariantMap counts{{S("b"), S("41")}};
    expect(incrementCounterForKey(counts, S("a")) == 1);
    expect(incrementCounterForKey(counts, S("b")) == 42);
    keySet(counts, S("value"), S("key")); // the object first
    keySet(counts, QVariant(), S("key"));
    expect(counts.value(S("key")) == S("value"));
    expect(ZRDictionaryWithKeysAndObjectsSkipNil({{S("a"), 1}, {S("b"), QVariant()}, {S("c"), NSNull()}}) ==
           QVariantMap({{S("a"), 1}}));
}

} // namespace

EXAMPLE(NSDictionary_ZRKit) {
    lookUps();
    whole();
    objects();
    changes();
}

#include "NSDictionary+ZRKit.moc"
