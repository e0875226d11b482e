// SPDX-License-Identifier: MIT
// JSON documents of a megabyte to values and back, beside QJsonDocument with toVariant() and fromVariant(),
// and beside the same values made from what simdjson and RapidJSON parse.
#include "platform/text/NSJSONSerialization.h"
#include "platform/values/NSNull.h"

#include <QJsonDocument>
#include <QVariantList>
#include <QVariantMap>
#include <benchmark/benchmark.h>
#include <random>
#include <rapidjson/reader.h>
#include <simdjson.h>

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

QVariant fromSimdjson(simdjson::dom::element element) {
    switch (element.type()) {
    case simdjson::dom::element_type::ARRAY: {
        QVariantList list;
        for (const simdjson::dom::element child : simdjson::dom::array(element))
            list.append(fromSimdjson(child));
        return list;
    }
    case simdjson::dom::element_type::OBJECT: {
        QVariantMap map;
        for (const auto &[key, child] : simdjson::dom::object(element))
            map.insert(map.cend(), QString::fromUtf8(key.data(), qsizetype(key.size())), fromSimdjson(child));
        return map;
    }
    case simdjson::dom::element_type::STRING: {
        const std::string_view text(element);
        return QString::fromUtf8(text.data(), qsizetype(text.size()));
    }
    case simdjson::dom::element_type::INT64:
        return qlonglong(int64_t(element));
    case simdjson::dom::element_type::UINT64:
        return qulonglong(uint64_t(element));
    case simdjson::dom::element_type::DOUBLE:
        return double(element);
    case simdjson::dom::element_type::BOOL:
        return bool(element);
    default:
        return NSNull();
    }
}

void readSimdjson(benchmark::State &state) {
    const QByteArray text = document(int(state.range(0)));
    simdjson::dom::parser parser;
    for (auto _ : state)
        benchmark::DoNotOptimize(fromSimdjson(parser.parse(text.constData(), size_t(text.size()))));
    report(state);
}

/// RapidJSON's events straight into values, as our own reader does it.
struct Builder : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Builder> {
    struct Open {
        QVariantList list;
        QVariantMap map;
        QString key;
        bool isMap = false;
    };
    std::vector<Open> open{Open()};

    bool add(const QVariant &value) {
        Open &top = open.back();
        if (top.isMap)
            top.map.insert(top.map.cend(), top.key, value);
        else
            top.list.append(value);
        return true;
    }
    bool close() {
        const Open top = std::move(open.back());
        open.pop_back();
        return top.isMap ? add(top.map) : add(top.list);
    }
    bool Null() { return add(NSNull()); }
    bool Bool(bool b) { return add(b); }
    bool Int(int i) { return add(qlonglong(i)); }
    bool Uint(unsigned i) { return add(qlonglong(i)); }
    bool Int64(int64_t i) { return add(qlonglong(i)); }
    bool Uint64(uint64_t i) { return add(qulonglong(i)); }
    bool Double(double d) { return add(d); }
    bool String(const char *text, rapidjson::SizeType size, bool) {
        return add(QString::fromUtf8(text, size));
    }
    bool Key(const char *text, rapidjson::SizeType size, bool) {
        open.back().key = QString::fromUtf8(text, size);
        return true;
    }
    bool StartObject() {
        open.emplace_back().isMap = true;
        return true;
    }
    bool StartArray() {
        open.emplace_back();
        return true;
    }
    bool EndObject(rapidjson::SizeType) { return close(); }
    bool EndArray(rapidjson::SizeType) { return close(); }
};

void readRapidJSON(benchmark::State &state) {
    const QByteArray text = document(int(state.range(0)));
    for (auto _ : state) {
        Builder builder;
        rapidjson::Reader reader;
        rapidjson::StringStream stream(text.constData());
        reader.Parse<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag>(stream,
                                                                                                 builder);
        benchmark::DoNotOptimize(builder.open.back().list);
    }
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
BENCHMARK(readSimdjson)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
BENCHMARK(readRapidJSON)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
BENCHMARK(write)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
BENCHMARK(writeQt)->DenseRange(Records, Text)->Unit(benchmark::kMillisecond);
