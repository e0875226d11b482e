// SPDX-License-Identifier: MIT
// Strings, Base64 and digests, each beside the plain way to the same result: Qt, OpenSSL called directly, or
// the loop that one would write.
#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKitBase64.h"
#include "platform/text/Base64.h"
#include "platform/text/EditDistance.h"

#include <QUrl>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <numeric>
#include <openssl/evp.h>
#include <random>
#include <vector>

namespace {

constexpr qsizetype megabyte = 1 << 20;

QByteArray randomBytes(qsizetype size) {
    std::mt19937 random(1);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &c : bytes)
        c = char(random());
    return bytes;
}

QString randomText(qsizetype size, unsigned seed) {
    std::mt19937 random(seed);
    QString text(size, Qt::Uninitialized);
    for (QChar &c : text)
        c = char16_t(u'a' + random() % 26);
    return text;
}

/// Running text with what the escaping operations escape, in the usual places.
QString prose(qsizetype size) {
    const QString paragraph = QStringLiteral(
        "The <b>quick</b> brown fox & the \"lazy\" dog: it's über-lazy, 100 %.\n"
        "\tA second line without anything special in it, somewhat longer than the first one.\n");
    QString text = paragraph.repeated(size / paragraph.size() + 1);
    text.truncate(size);
    return text;
}

// Base64

void base64EncodeKit(benchmark::State &state) {
    const QByteArray bytes = randomBytes(megabyte);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::base64EncodedString(bytes));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64EncodeWay(benchmark::State &state) {
    const auto way = Base64::Way(state.range(0));
    const QByteArray bytes = randomBytes(megabyte);
    for (auto _ : state)
        benchmark::DoNotOptimize(Base64::encoded(bytes, way));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64EncodeQt(benchmark::State &state) {
    const QByteArray bytes = randomBytes(megabyte);
    for (auto _ : state)
        benchmark::DoNotOptimize(bytes.toBase64());
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64EncodeOpenSSL(benchmark::State &state) {
    const QByteArray bytes = randomBytes(megabyte);
    for (auto _ : state) {
        QByteArray text((megabyte + 2) / 3 * 4 + 1, Qt::Uninitialized);
        EVP_EncodeBlock(reinterpret_cast<uchar *>(text.data()), reinterpret_cast<const uchar *>(bytes.data()),
                        int(megabyte));
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64DecodeLenientKit(benchmark::State &state) {
    const QString text = ZRKit::base64EncodedString(randomBytes(megabyte));
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::dataWithBase64EncodedString(text));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64DecodeLinesKit(benchmark::State &state) {
    const QString whole = ZRKit::base64EncodedString(randomBytes(megabyte));
    QString text;
    for (qsizetype at = 0; at < whole.size(); at += 76)
        text += whole.mid(at, 76) + u'\n';
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::dataWithBase64EncodedString(text));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64DecodeByLengthKit(benchmark::State &state) {
    const QString text = ZRKit::base64EncodedString(randomBytes(megabyte));
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::dataWithBase64DecodedString(text));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64DecodeWay(benchmark::State &state) {
    const auto way = Base64::Way(state.range(0));
    const QString text = ZRKit::base64EncodedString(randomBytes(megabyte));
    for (auto _ : state)
        benchmark::DoNotOptimize(Base64::decodedLeniently(text, way));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64DecodeQt(benchmark::State &state) {
    const QByteArray text = randomBytes(megabyte).toBase64();
    for (auto _ : state)
        benchmark::DoNotOptimize(QByteArray::fromBase64(text));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void base64DecodeOpenSSL(benchmark::State &state) {
    const QByteArray text = randomBytes(megabyte).toBase64();
    for (auto _ : state) {
        QByteArray bytes(text.size() / 4 * 3, Qt::Uninitialized);
        EVP_DecodeBlock(reinterpret_cast<uchar *>(bytes.data()), reinterpret_cast<const uchar *>(text.data()),
                        int(text.size()));
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(state.iterations() * megabyte);
}

// Digests

using DigestOperation = QString (*)(const QByteArray &);

void digestKit(benchmark::State &state, DigestOperation operation) {
    const QByteArray bytes = randomBytes(megabyte);
    for (auto _ : state)
        benchmark::DoNotOptimize(operation(bytes));
    state.SetBytesProcessed(state.iterations() * megabyte);
}

void digestOpenSSL(benchmark::State &state, const EVP_MD *type) {
    const QByteArray bytes = randomBytes(megabyte);
    uchar result[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    for (auto _ : state) {
        EVP_Digest(bytes.data(), size_t(megabyte), result, &size, type, nullptr);
        benchmark::DoNotOptimize(result);
    }
    state.SetBytesProcessed(state.iterations() * megabyte);
}

// Edit distance

qint64 twoRowDistance(QStringView a, QStringView b) {
    std::vector<qint64> above(size_t(b.size()) + 1);
    std::vector<qint64> row(above.size());
    std::iota(above.begin(), above.end(), 0);
    for (qsizetype i = 0; i < a.size(); ++i) {
        row[0] = i + 1;
        for (size_t j = 1; j < row.size(); ++j)
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (a[i] != b[qsizetype(j) - 1])});
        std::swap(above, row);
    }
    return above.back();
}

void editDistanceKit(benchmark::State &state) {
    const QString a = randomText(state.range(0), 1);
    const QString b = randomText(state.range(0), 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::computeLevenshteinDistanceWithString(a, b));
}

void editDistanceTwoRows(benchmark::State &state) {
    const QString a = randomText(state.range(0), 1);
    const QString b = randomText(state.range(0), 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(twoRowDistance(a, b));
}

// Everyday operations, on 8 KB of running text

constexpr qsizetype page = 8192;

void stripKit(benchmark::State &state) {
    const QString text = QStringLiteral("  \t ") + prose(page) + QStringLiteral(" \n");
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::strip(text));
}

void stripQt(benchmark::State &state) {
    const QString text = QStringLiteral("  \t ") + prose(page) + QStringLiteral(" \n");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.trimmed());
}

void splitKit(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::split(text));
}

void splitQt(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state) {
        QVariantList pieces;
        for (const QString &piece : text.simplified().split(u' ', Qt::SkipEmptyParts))
            pieces.append(piece);
        benchmark::DoNotOptimize(pieces);
    }
}

void splitByKit(benchmark::State &state) {
    const QString text = prose(page);
    const QString separator = QStringLiteral("\n");
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::splitBy(text, separator));
}

void splitByQt(benchmark::State &state) {
    const QString text = prose(page);
    const QString separator = QStringLiteral("\n");
    for (auto _ : state) {
        QVariantList pieces;
        for (const QString &piece : text.split(separator))
            pieces.append(piece);
        benchmark::DoNotOptimize(pieces);
    }
}

void replaceKit(benchmark::State &state) {
    const QString text = prose(page);
    const QString search = QStringLiteral("lazy");
    const QString replacement = QStringLiteral("sleepy");
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::replace(text, search, replacement));
}

void replaceQt(benchmark::State &state) {
    const QString text = prose(page);
    const QString search = QStringLiteral("lazy");
    const QString replacement = QStringLiteral("sleepy");
    for (auto _ : state)
        benchmark::DoNotOptimize(QString(text).replace(search, replacement));
}

void urlEncodeKit(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::urlEncode(text));
}

void urlEncodeQt(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state)
        benchmark::DoNotOptimize(QString::fromLatin1(QUrl::toPercentEncoding(text)));
}

void escapeKit(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::escape(text));
}

void escapeQt(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.toHtmlEscaped());
}

void reprKit(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::repr(text));
}

void reprLoop(benchmark::State &state) {
    const QString text = prose(page);
    for (auto _ : state) {
        QString quoted;
        quoted.reserve(text.size() + 2);
        quoted += u'"';
        for (const QChar unit : text) {
            switch (unit.unicode()) {
            case u'\\':
            case u'\'':
            case u'"':
                quoted += u'\\';
                quoted += unit;
                break;
            case u'\b':
                quoted += QStringLiteral("\\b");
                break;
            case u'\t':
                quoted += QStringLiteral("\\t");
                break;
            case u'\n':
                quoted += QStringLiteral("\\n");
                break;
            case u'\f':
                quoted += QStringLiteral("\\f");
                break;
            case u'\r':
                quoted += QStringLiteral("\\r");
                break;
            default:
                if (unit < u' ')
                    quoted += QString::asprintf("\\u%04x", unsigned(unit.unicode()));
                else
                    quoted += unit;
            }
        }
        quoted += u'"';
        benchmark::DoNotOptimize(quoted);
    }
}

} // namespace

BENCHMARK(base64EncodeKit);
BENCHMARK(base64EncodeQt);
BENCHMARK(base64EncodeOpenSSL);
BENCHMARK(base64EncodeWay)->ArgName("way")->DenseRange(0, int(Base64::fastestWay()));
BENCHMARK(base64DecodeLenientKit);
BENCHMARK(base64DecodeLinesKit);
BENCHMARK(base64DecodeByLengthKit);
BENCHMARK(base64DecodeQt);
BENCHMARK(base64DecodeOpenSSL);
BENCHMARK(base64DecodeWay)->ArgName("way")->DenseRange(0, int(Base64::fastestWay()));
BENCHMARK_CAPTURE(digestKit, md5, ZRKit::zrMD5HexString);
BENCHMARK_CAPTURE(digestOpenSSL, md5, EVP_md5());
BENCHMARK_CAPTURE(digestKit, sha1, ZRKit::zrSHA1HexString);
BENCHMARK_CAPTURE(digestOpenSSL, sha1, EVP_sha1());
BENCHMARK_CAPTURE(digestKit, sha256, ZRKit::zrSHA256HexString);
BENCHMARK_CAPTURE(digestOpenSSL, sha256, EVP_sha256());
BENCHMARK(editDistanceKit)->ArgName("units")->Arg(4)->Arg(8)->Arg(16)->Arg(20)->Arg(40)->Arg(100)->Arg(1000);
BENCHMARK(editDistanceTwoRows)
    ->ArgName("units")
    ->Arg(4)
    ->Arg(8)
    ->Arg(16)
    ->Arg(20)
    ->Arg(40)
    ->Arg(100)
    ->Arg(1000);
BENCHMARK(stripKit);
BENCHMARK(stripQt);
BENCHMARK(splitKit);
BENCHMARK(splitQt);
BENCHMARK(splitByKit);
BENCHMARK(splitByQt);
BENCHMARK(replaceKit);
BENCHMARK(replaceQt);
BENCHMARK(urlEncodeKit);
BENCHMARK(urlEncodeQt);
BENCHMARK(escapeKit);
BENCHMARK(escapeQt);
BENCHMARK(reprKit);
BENCHMARK(reprLoop);
