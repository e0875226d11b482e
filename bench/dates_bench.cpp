// SPDX-License-Identifier: MIT
// Dates and decimals, each beside its peer: an ICU formatter built for each call, one that is kept, Qt's own
// reader, and another decimal type of 50 digits.
#include "ZRKit/Values/NSDate+ZRKit.h"
#include "platform/dates/NSDataDetector.h"
#include "platform/values/NSDecimalNumber.h"

#include <benchmark/benchmark.h>
#include <boost/multiprecision/cpp_dec_float.hpp>
#include <unicode/udat.h>

namespace {

const QString Mail = QStringLiteral("Mon, 01 Jan 2024 10:00:00 GMT");
const QString Stamp = QStringLiteral("2024-01-01T10:00:00.123+01:00");
// What ICU reads of it: without the colon of the zone.
const QString StampForICU = QStringLiteral("2024-01-01T10:00:00.123+0100");

const UChar *units(const QString &text) {
    return reinterpret_cast<const UChar *>(text.utf16());
}

UDateFormat *opened(const QString &pattern) {
    UErrorCode status = U_ZERO_ERROR;
    return udat_open(UDAT_PATTERN, UDAT_PATTERN, "en_US_POSIX", units(QStringLiteral("GMT")), 3,
                     units(pattern), int32_t(pattern.size()), &status);
}

double parsed(const UDateFormat *format, const QString &text) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t end = 0;
    return udat_parse(format, units(text), int32_t(text.size()), &end, &status);
}

void built(benchmark::State &state, const QString &pattern, const QString &text) {
    for (auto _ : state) {
        UDateFormat *format = opened(pattern);
        benchmark::DoNotOptimize(parsed(format, text));
        udat_close(format);
    }
}

void kept(benchmark::State &state, const QString &pattern, const QString &text) {
    UDateFormat *format = opened(pattern);
    for (auto _ : state)
        benchmark::DoNotOptimize(parsed(format, text));
    udat_close(format);
}

void kit(benchmark::State &state, QDateTime (*read)(const QString &), const QString &text) {
    for (auto _ : state)
        benchmark::DoNotOptimize(read(text));
}

void qt(benchmark::State &state, Qt::DateFormat format, const QString &text) {
    for (auto _ : state)
        benchmark::DoNotOptimize(QDateTime::fromString(text, format));
}

void detect(benchmark::State &state, const QString &sentence) {
    const QString text = sentence.repeated(100000 / sentence.size());
    NSDataDetector detector;
    detector.setReferenceDate(QDateTime(QDate(2024, 5, 15), QTime(12, 0), Qt::UTC));
    for (auto _ : state)
        benchmark::DoNotOptimize(detector.matchesInString(text));
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size() * qsizetype(sizeof(QChar)));
}

// A price less 7.7 percent, rounded to cents.
void ownDecimal(benchmark::State &state) {
    const NSDecimalNumber price(QStringLiteral("1234567.89")), percentage(QStringLiteral("7.7")),
        hundred(100);
    const NSDecimalNumberHandler cents(NSRoundPlain, 2, false, false, false, false);
    for (auto _ : state) {
        const NSDecimalNumber part =
            price.decimalNumberByDividingBy(hundred).decimalNumberByMultiplyingBy(percentage);
        benchmark::DoNotOptimize(price.decimalNumberBySubtracting(part, cents));
    }
}

void boostDecimal(benchmark::State &state) {
    using Decimal = boost::multiprecision::cpp_dec_float_50;
    const Decimal price("1234567.89"), percentage("7.7"), hundred(100);
    for (auto _ : state) {
        const Decimal part = price / hundred * percentage;
        benchmark::DoNotOptimize(Decimal(round((price - part) * hundred) / hundred));
    }
}

void ownLongDivision(benchmark::State &state) {
    const NSDecimalNumber a(QStringLiteral("12345678901234567890123456789012345678"));
    const NSDecimalNumber b(QStringLiteral("98765432109876543210987654321098765432"));
    for (auto _ : state)
        benchmark::DoNotOptimize(a.decimalNumberByDividingBy(b));
}

void boostLongDivision(benchmark::State &state) {
    using Decimal = boost::multiprecision::cpp_dec_float_50;
    const Decimal a("12345678901234567890123456789012345678"), b("98765432109876543210987654321098765432");
    for (auto _ : state)
        benchmark::DoNotOptimize(Decimal(a / b));
}

const QString MailPattern = QStringLiteral("EEE, d MMM yyyy HH:mm:ss zzz");
const QString StampPattern = QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss.SSSZZZ");

BENCHMARK_CAPTURE(kit, rfc822, &ZRKit::dateFromRFC822String, Mail);
BENCHMARK_CAPTURE(built, rfc822, MailPattern, Mail);
BENCHMARK_CAPTURE(kept, rfc822, MailPattern, Mail);
BENCHMARK_CAPTURE(qt, rfc822, Qt::RFC2822Date, Mail);
BENCHMARK_CAPTURE(kit, rfc822_unusual, &ZRKit::dateFromRFC822String,
                  QStringLiteral("Monday, 1 January 2024 10:00:00 EST"));
BENCHMARK_CAPTURE(kit, rfc3339, &ZRKit::dateFromRFC3339String, Stamp);
BENCHMARK_CAPTURE(built, rfc3339, StampPattern, StampForICU);
BENCHMARK_CAPTURE(kept, rfc3339, StampPattern, StampForICU);
BENCHMARK_CAPTURE(qt, rfc3339, Qt::ISODateWithMs, Stamp);
BENCHMARK_CAPTURE(
    detect, prose_without_dates,
    QStringLiteral("It was a bright cold day, and the clocks were striking for the third time. "));
BENCHMARK_CAPTURE(detect, prose_with_dates,
                  QStringLiteral("Seen on Tuesday, 24 December 2024 at 18:30, again am 3. Mai um 7 Uhr. "));
BENCHMARK(ownDecimal);
BENCHMARK(boostDecimal);
BENCHMARK(ownLongDivision);
BENCHMARK(boostLongDivision);

} // namespace
