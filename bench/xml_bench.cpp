// SPDX-License-Identifier: MIT
// 10 MB of records into trees of dictionaries, beside QDomDocument's trees and beside a bare pass of
// QXmlStreamReader, which keeps nothing.
#include "ZRKit/Network/ZRXML.h"

#include <QDomDocument>
#include <QXmlStreamReader>
#include <benchmark/benchmark.h>
#include <random>

namespace {

const QByteArray &records() {
    static const QByteArray made = [] {
        std::mt19937 random(1);
        const QByteArrayList words{"invoice",           "amount", "the", "of", "customer &amp; sons", "total",
                                   "price \xE2\x82\xAC"};
        const auto text = [&](int count) {
            QByteArray joined;
            for (int i = 0; i < count; ++i)
                joined += words[qsizetype(random() % unsigned(words.size()))] + ' ';
            return joined;
        };
        QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<records xmlns:x=\"urn:x\">\n";
        for (int i = 0; document.size() < 10'000'000; ++i)
            document += "  <record id=\"" + QByteArray::number(i) + "\" x:state=\"" +
                        (random() % 2 ? "open" : "paid") + "\">\n    <name>" + text(2) +
                        "</name>\n    <date>2014-01-0" + QByteArray::number(1 + random() % 9) +
                        "</date>\n    <sum currency=\"EUR\">" + QByteArray::number(random() % 1'000'000) +
                        "</sum>\n    <x:note>" + text(8) +
                        "</x:note>\n    <lines><line n=\"1\"/><line n=\"2\"/></lines>\n  </record>\n";
        return document + "</records>\n";
    }();
    return made;
}

void report(benchmark::State &state) {
    state.SetBytesProcessed(state.iterations() * records().size());
}

void tree(benchmark::State &state) {
    const QByteArray &document = records();
    for (auto _ : state) {
        const auto root = ZRXML().parseData(document);
        if (!root)
            state.SkipWithError("not parsed");
    }
    report(state);
}

void treeQDom(benchmark::State &state) {
    const QByteArray &document = records();
    for (auto _ : state) {
        QDomDocument dom;
        if (!dom.setContent(document, true))
            state.SkipWithError("not parsed");
    }
    report(state);
}

void bareQXmlStreamReader(benchmark::State &state) {
    const QByteArray &document = records();
    for (auto _ : state) {
        QXmlStreamReader reader(document);
        while (!reader.atEnd())
            benchmark::DoNotOptimize(reader.readNext());
        if (reader.hasError())
            state.SkipWithError("not parsed");
    }
    report(state);
}

BENCHMARK(tree)->Unit(benchmark::kMillisecond);
BENCHMARK(treeQDom)->Unit(benchmark::kMillisecond);
BENCHMARK(bareQXmlStreamReader)->Unit(benchmark::kMillisecond);

} // namespace
