// SPDX-License-Identifier: MIT
// Searching a megabyte, beside ICU called directly over the same units; and having a cached wrapper.
#include "ZRKit/Values/ZRRegex.h"
#include "platform/text/NSRegularExpression.h"

#include <array>
#include <benchmark/benchmark.h>
#include <random>
#include <unicode/uregex.h>

namespace {

constexpr qsizetype megabyte = 1 << 20;

struct Case {
    const char *name;
    const char16_t *pattern;
};

constexpr std::array<Case, 5> cases{{
    {"no match", u"zq[0-9]{7}x"},
    {"addresses", u"[\\w.]+@\\w+\\.test"},
    {"dates with groups", u"(\\d{4})-(\\d\\d)-(\\d\\d)"},
    {"alternatives", u"\\b(?:invoice|total|amount)\\b"},
    {"every word", u"\\w+"},
}};

QString text() {
    static const QString made = [] {
        const QStringList words{QStringLiteral("invoice"),    QStringLiteral("of"),
                                QStringLiteral("2024-12-24"), QStringLiteral("the"),
                                QStringLiteral("page"),       QStringLiteral("a.b@host.test"),
                                QStringLiteral("number"),     QStringLiteral("line")};
        std::mt19937 random(1);
        QString result;
        while (result.size() < megabyte) {
            // Most words are ordinary ones.
            const unsigned pick = random() % 64;
            result += pick < 8 ? words[int(pick)] : words[int(pick % 2 ? 3 : 6 + pick / 2 % 2)];
            result += u' ';
        }
        return result;
    }();
    return made;
}

QString pattern(const benchmark::State &state) {
    return QString::fromUtf16(cases[size_t(state.range(0))].pattern);
}

void report(benchmark::State &state, qint64 found) {
    state.SetLabel(cases[size_t(state.range(0))].name);
    state.counters["matches"] = double(found);
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void bareICU(benchmark::State &state) {
    const QString searched = text(), sought = pattern(state);
    UErrorCode status = U_ZERO_ERROR;
    URegularExpression *regex = uregex_open(reinterpret_cast<const UChar *>(sought.utf16()),
                                            int32_t(sought.size()), 0, nullptr, &status);
    const int groups = uregex_groupCount(regex, &status);
    qint64 found = 0, sum = 0;
    for (auto _ : state) {
        found = 0;
        uregex_setText(regex, reinterpret_cast<const UChar *>(searched.utf16()), int32_t(searched.size()),
                       &status);
        while (uregex_findNext(regex, &status)) {
            for (int group = 0; group <= groups; ++group)
                sum += uregex_start(regex, group, &status) + uregex_end(regex, group, &status);
            ++found;
        }
    }
    benchmark::DoNotOptimize(sum);
    uregex_close(regex);
    report(state, found);
}

void enumerated(benchmark::State &state) {
    const QString searched = text();
    const NSRegularExpression regex(pattern(state));
    qint64 found = 0, sum = 0;
    for (auto _ : state) {
        found = 0;
        regex.enumerateMatchesInString(searched, 0, {}, [&](const NSTextCheckingResult *result, auto, auto) {
            for (qsizetype group = 0; group < result->numberOfRanges(); ++group) {
                const NSRange range = result->rangeAtIndex(group);
                sum += range.location + range.end();
            }
            ++found;
        });
    }
    benchmark::DoNotOptimize(sum);
    report(state, found);
}

void counted(benchmark::State &state) {
    const QString searched = text();
    const NSRegularExpression regex(pattern(state));
    qint64 found = 0;
    for (auto _ : state)
        found = regex.numberOfMatchesInString(searched);
    report(state, found);
}

void matches(benchmark::State &state) {
    const QString searched = text();
    const NSRegularExpression regex(pattern(state));
    qint64 found = 0;
    for (auto _ : state)
        found = regex.matchesInString(searched).size();
    report(state, found);
}

void cachedWrapper(benchmark::State &state) {
    const QString sought = QStringLiteral("(?<user>[\\w.]+)@(?<host>\\w+\\.test)");
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRRegex::regexWithPattern(sought, ZRRegex::DefaultOptions, true));
}

void newWrapper(benchmark::State &state) {
    const QString sought = QStringLiteral("(?<user>[\\w.]+)@(?<host>\\w+\\.test)");
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRRegex::regexWithPattern(sought, ZRRegex::DefaultOptions, false));
}

constexpr int lastCase = int(cases.size()) - 1;

} // namespace

BENCHMARK(bareICU)->DenseRange(0, lastCase)->Unit(benchmark::kMillisecond);
BENCHMARK(enumerated)->DenseRange(0, lastCase)->Unit(benchmark::kMillisecond);
BENCHMARK(counted)->DenseRange(0, lastCase)->Unit(benchmark::kMillisecond);
BENCHMARK(matches)->DenseRange(0, lastCase)->Unit(benchmark::kMillisecond);
BENCHMARK(cachedWrapper);
BENCHMARK(newWrapper);
