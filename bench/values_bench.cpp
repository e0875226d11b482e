// SPDX-License-Identifier: MIT
// Reading loosely typed values: slash paths beside the look-ups that one would write by hand, and the
// coercions beside QVariant's own conversions.
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/predicates/NSPredicate.h"
#include "platform/values/NSKeyValueCoding.h"

#include <benchmark/benchmark.h>

namespace {

/// So many entries in each dictionary, elements in each array.
QVariant tree(int width) {
    QVariant value = QVariantMap{{QStringLiteral("title"), QStringLiteral("found")}};
    const auto inDictionary = [&](const QString &key) {
        QVariantMap map;
        for (int i = 1; i < width; ++i)
            map.insert(QStringLiteral("key%1").arg(i), i);
        map.insert(key, value);
        value = map;
    };
    const auto inArray = [&] {
        QVariantList list(width);
        list[width / 2] = value;
        value = list;
    };
    inArray();
    inDictionary(QStringLiteral("entries"));
    inArray();
    inDictionary(QStringLiteral("feed"));
    return value;
}

QString pathInto(int width) {
    return QStringLiteral("feed/%1/entries/%1/title").arg(width / 2);
}

void pathKit(benchmark::State &state) {
    const int width = int(state.range(0));
    const QVariant root = tree(width);
    const QString path = pathInto(width);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::path(root, path));
}

/// Look-ups as one writes them: each value is taken as what it ought to be.
void pathByHand(benchmark::State &state) {
    const int width = int(state.range(0));
    const QVariant root = tree(width);
    for (auto _ : state) {
        const QVariant feed = root.toMap().value(QStringLiteral("feed"));
        const QVariant item = feed.toList().value(width / 2);
        const QVariant entries = item.toMap().value(QStringLiteral("entries"));
        const QVariant entry = entries.toList().value(width / 2);
        benchmark::DoNotOptimize(entry.toMap().value(QStringLiteral("title")));
    }
}

/// The least that finds it: every type is looked at, nothing is copied on the way, keys and indexes are
/// constants.
void pathByCarefulHand(benchmark::State &state) {
    const int width = int(state.range(0));
    const QVariant root = tree(width);
    const auto entry = [](const QVariant *value, const QString &key) -> const QVariant * {
        if (!value || value->typeId() != QMetaType::QVariantMap)
            return nullptr;
        const auto &map = *static_cast<const QVariantMap *>(value->constData());
        const auto at = map.constFind(key);
        return at == map.constEnd() ? nullptr : &at.value();
    };
    const auto element = [](const QVariant *value, qsizetype index) -> const QVariant * {
        if (!value || value->typeId() != QMetaType::QVariantList)
            return nullptr;
        const auto &list = *static_cast<const QVariantList *>(value->constData());
        return index >= 0 && index < list.size() ? &list[index] : nullptr;
    };
    const QString feed = QStringLiteral("feed"), entries = QStringLiteral("entries"),
                  title = QStringLiteral("title");
    for (auto _ : state) {
        const QVariant *found =
            entry(element(entry(element(entry(&root, feed), width / 2), entries), width / 2), title);
        benchmark::DoNotOptimize(found ? *found : QVariant());
    }
}

BENCHMARK(pathByHand)->Arg(1)->Arg(10)->Arg(100);
BENCHMARK(pathByCarefulHand)->Arg(1)->Arg(10)->Arg(100);
BENCHMARK(pathKit)->Arg(1)->Arg(10)->Arg(100);

void keyPathKit(benchmark::State &state) {
    const QVariant root = QVariantMap{
        {QStringLiteral("a"),
         QVariantMap{{QStringLiteral("b"), QVariantMap{{QStringLiteral("c"), QStringLiteral("found")}}}}}};
    const QString path = QStringLiteral("a.b.c");
    for (auto _ : state)
        benchmark::DoNotOptimize(NSKeyValueCoding::valueForKeyPath(root, path));
}
BENCHMARK(keyPathKit);

// Coercions of an integer, a double, a text that begins with a number, and a word

QVariant sample(int which) {
    switch (which) {
    case 0:
        return 1234567;
    case 1:
        return 1234.5;
    case 2:
        return QStringLiteral("1234567");
    default:
        return QStringLiteral("abc");
    }
}

template <auto coercion>
void coerceKit(benchmark::State &state) {
    const QVariant value = sample(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(coercion(value));
}

template <auto conversion>
void coerceQt(benchmark::State &state) {
    const QVariant value = sample(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(conversion(value));
}

qint64 qtInt(const QVariant &value) {
    return value.toLongLong();
}
double qtDouble(const QVariant &value) {
    return value.toDouble();
}
QString qtString(const QVariant &value) {
    return value.toString();
}
bool qtBool(const QVariant &value) {
    return value.toBool();
}

BENCHMARK(coerceQt<qtInt>)->Name("toInt/Qt")->DenseRange(0, 3);
BENCHMARK(coerceKit<ZRKit::toInt>)->Name("toInt/kit")->DenseRange(0, 3);
BENCHMARK(coerceQt<qtDouble>)->Name("toDouble/Qt")->DenseRange(0, 3);
BENCHMARK(coerceKit<ZRKit::toDouble>)->Name("toDouble/kit")->DenseRange(0, 3);
BENCHMARK(coerceQt<qtString>)->Name("toString/Qt")->DenseRange(0, 3);
BENCHMARK(coerceKit<ZRKit::toString>)->Name("toString/kit")->DenseRange(0, 3);
BENCHMARK(coerceQt<qtBool>)->Name("isTrue/Qt")->DenseRange(0, 3);
BENCHMARK(coerceKit<ZRKit::isTrue>)->Name("isTrue/kit")->DenseRange(0, 3);

// A predicate over a thousand records, beside the loop that one would write.

QVariantList records() {
    QVariantList list;
    for (int i = 0; i < 1000; ++i)
        list.append(
            QVariantMap{{QStringLiteral("age"), i % 90}, {QStringLiteral("name"), QString::number(i)}});
    return list;
}

void filterPredicate(benchmark::State &state) {
    const QVariantList list = records();
    const NSPredicate predicate = NSPredicate::predicateWithFormat(
        QStringLiteral("age > %@ AND name BEGINSWITH %@"), 30, QStringLiteral("1"));
    for (auto _ : state)
        benchmark::DoNotOptimize(filteredArrayUsingPredicate(list, predicate));
}

void filterByHand(benchmark::State &state) {
    const QVariantList list = records();
    for (auto _ : state) {
        QVariantList kept;
        for (const QVariant &record : list) {
            const QVariantMap map = record.toMap();
            if (map.value(QStringLiteral("age")).toInt() > 30 &&
                map.value(QStringLiteral("name")).toString().startsWith(QStringLiteral("1")))
                kept.append(record);
        }
        benchmark::DoNotOptimize(kept);
    }
}

BENCHMARK(filterByHand);
BENCHMARK(filterPredicate);

} // namespace
