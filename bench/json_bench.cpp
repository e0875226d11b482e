// SPDX-License-Identifier: MIT
// JSON documents of a megabyte to values and back, beside QJsonDocument with toVariant() and fromVariant().
#include "platform/text/NSJSONSerialization.h"
#include "platform/values/NSNull.h"

#include <QJsonDocument>
#include <QVariantList>
#include <QVariantMap>
#include <benchmark/benchmark.h>
#include <random>

namespace {

constexpr qsizetype megabyte = 1 << 20;

enum Document { Records, Numbers, Text };

QString words(std::mt19937 &random, int count) {
    static const QStringList vocabulary{
        QStringLiteral("invoice"), QStringLiteral("amount"),        QStringLiteral("the"),
        QStringLiteral("über"),    QStringLiteral("see \"below\""), QStringLiteral("of"),
        QStringLiteral("page"),    QStringLiteral("line\nbreak"),   QStringLiteral("customer"),
        QStringLiteral("total"),   QStringLiteral("price €"),       QStringLiteral("number"),
    };
    QStringList chosen;
    for (int i = 0; i < count; ++i)
        chosen.append(vocabulary[int(random() % unsigned(vocabulary.size()))]);
    return chosen.join(u' ');
}

QVariant element(int document, std::mt19937 &random, int i) {
    switch (document) {
    case Records:
        return QVariantMap{
            {QStringLiteral("id"), 100000 + i},
            {QStringLiteral("name"), QStringLiteral("Customer %1").arg(random() % 10000)},
            {QStringLiteral("email"), QStringLiteral("customer%1@host.test").arg(i)},
            {QStringLiteral("active"), random() % 2 == 0},
            {QStringLiteral("balance"), double(random() % 1000000) / 100},
            {QStringLiteral("notes"), NSNull()},
            {QStringLiteral("tags"), QVariantList{QStringLiteral("new"), QStringLiteral("paid")}},
            {QStringLiteral("address"), QVariantMap{{QStringLiteral("street"), words(random, 2)},
                                                    {QStringLiteral("zip"), int(random() % 99999)}}}};
    case Numbers:
        return QVariantList{int(random() % 1000), double(random()) / 4294967296.0,
                            double(random() % 100000) / 100, -qlonglong(random()) * 1000000};
    default:
        return words(random, 200);
    }
}

QByteArray document(int kind) {
    std::mt19937 random(1);
    QVariantList list;
    for (int i = 0; list.size() % 100 != 0 || NSJSONSerialization::dataWithJSONObject(list).size() < megabyte;
         ++i)
        list.append(element(kind, random, i));
    return NSJSONSerialization::dataWithJSONObject(list);
}

QVariant values(int kind) {
    return NSJSONSerialization::JSONObjectWithData(document(kind));
}

void report(benchmark::State &state) {
    static const char *const names[] = {"records", "numbers", "text"};
    state.SetLabel(names[state.range(0)]);
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void read(benchmark::State &state) {
    const QByteArray text = document(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(NSJSONSerialization::JSONObjectWithData(text));
    report(state);
}

void readQt(benchmark::State &state) {
    const QByteArray text = document(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(text).toVariant());
    report(state);
}

void write(benchmark::State &state) {
    const QVariant value = values(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(NSJSONSerialization::dataWithJSONObject(value));
    report(state);
}

void writeQt(benchmark::State &state) {
    const QVariant value = values(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact));
    report(state);
}

} // namespace

BENCHMARK(read)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
BENCHMARK(readQt)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
BENCHMARK(write)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
BENCHMARK(writeQt)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
