// SPDX-License-Identifier: MIT
// Archives and property lists of the sizes that tasks have, beside libplist. Each pair does the same work:
// values in Qt's types to bytes, and bytes to values in Qt's types.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/archive/NSPropertyList.h"

#include <QFile>
#include <QRandomGenerator>
#include <benchmark/benchmark.h>
#include <cstring>
#include <plist/plist.h>

namespace {

enum class Subject { Boot, Invoice, HtmlAscii, HtmlUnicode, Pdf2M, Pdf40M, Records };

QVariant make(Subject subject) {
    switch (subject) {
    case Subject::Boot:
        return QVariantMap{{QStringLiteral("__boot"), true}};
    case Subject::Invoice:
    case Subject::HtmlAscii:
    case Subject::HtmlUnicode: {
        const qsizetype size = subject == Subject::Invoice ? 6000 : 300000;
        const QString piece = subject == Subject::HtmlUnicode
                                  ? QStringLiteral("<p>Grüße aus Zürich – 紙</p>\n")
                                  : QStringLiteral("<tr><td>Position</td></tr>\n");
        return QVariantMap{{QStringLiteral("data"), piece.repeated(size / piece.size())},
                           {QStringLiteral("utiType"), QStringLiteral("public.html")},
                           {QStringLiteral("pdfTitle"), QStringLiteral("Invoice 2024-0815")},
                           {QStringLiteral("pdfCreator"), QStringLiteral("Bench")}};
    }
    case Subject::Pdf2M:
    case Subject::Pdf40M: {
        QByteArray pdf(subject == Subject::Pdf2M ? 2'000'000 : 40'000'000, Qt::Uninitialized);
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(pdf.data()), pdf.size() / 4);
        return QVariantMap{{QStringLiteral("data"), pdf}};
    }
    case Subject::Records: {
        QVariantList records;
        for (int i = 0; i < 10000; ++i)
            records.append(QVariantMap{{QStringLiteral("id"), qlonglong(i)},
                                       {QStringLiteral("name"), QStringLiteral("Record number %1").arg(i)},
                                       {QStringLiteral("price"), i / 100.0},
                                       {QStringLiteral("sold"), i % 3 == 0}});
        return records;
    }
    }
    return {};
}

// The peer, between the same types.

plist_t toNode(const QVariant &value) {
    switch (value.metaType().id()) {
    case QMetaType::QString:
        return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::QByteArray: {
        const QByteArray data = value.toByteArray();
        return plist_new_data(data.constData(), quint64(data.size()));
    }
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::LongLong:
        return plist_new_uint(value.toULongLong());
    case QMetaType::Double:
        return plist_new_real(value.toDouble());
    case QMetaType::QVariantList: {
        const plist_t node = plist_new_array();
        for (const QVariant &element : value.toList())
            plist_array_append_item(node, toNode(element));
        return node;
    }
    default: {
        const plist_t node = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            plist_dict_set_item(node, it.key().toUtf8().constData(), toNode(it.value()));
        return node;
    }
    }
}

QVariant fromNode(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        uint64_t size = 0;
        const char *text = plist_get_string_ptr(node, &size);
        return QString::fromUtf8(text, qsizetype(size));
    }
    case PLIST_DATA: {
        uint64_t size = 0;
        const char *data = plist_get_data_ptr(node, &size);
        return QByteArray(data, qsizetype(size));
    }
    case PLIST_BOOLEAN: {
        uint8_t truth = 0;
        plist_get_bool_val(node, &truth);
        return truth != 0;
    }
    case PLIST_UINT: {
        uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return qlonglong(number);
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return number;
    }
    case PLIST_ARRAY: {
        QVariantList list;
        for (uint32_t i = 0; i < plist_array_get_size(node); ++i)
            list.append(fromNode(plist_array_get_item(node, i)));
        return list;
    }
    default: {
        QVariantMap map;
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        for (;;) {
            char *key = nullptr;
            plist_t content = nullptr;
            plist_dict_next_item(node, iterator, &key, &content);
            if (!content)
                break;
            map.insert(QString::fromUtf8(key), fromNode(content));
            std::free(key);
        }
        std::free(iterator);
        return map;
    }
    }
}

QByteArray peerBytes(const QVariant &value) {
    const plist_t node = toNode(value);
    char *bytes = nullptr;
    uint32_t size = 0;
    plist_to_bin(node, &bytes, &size);
    QByteArray data(bytes, qsizetype(size));
    plist_to_bin_free(bytes);
    plist_free(node);
    return data;
}

QVariant peerValue(const QByteArray &data) {
    plist_t node = nullptr;
    plist_from_bin(data.constData(), uint32_t(data.size()), &node);
    const QVariant value = node ? fromNode(node) : QVariant();
    plist_free(node);
    return value;
}

void finish(benchmark::State &state, const QByteArray &bytes, bool right) {
    if (!right)
        state.SkipWithError("the value did not come back");
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

void archive(benchmark::State &state, Subject subject) {
    const QVariant value = make(subject);
    QByteArray bytes;
    for (auto _ : state)
        benchmark::DoNotOptimize(bytes = NSKeyedArchiver::archivedDataWithRootObject(value));
    finish(state, bytes, NSKeyedUnarchiver::unarchiveObjectWithData(bytes) == value);
}

void unarchive(benchmark::State &state, Subject subject) {
    const QByteArray bytes = NSKeyedArchiver::archivedDataWithRootObject(make(subject));
    QVariant value;
    for (auto _ : state)
        benchmark::DoNotOptimize(value = NSKeyedUnarchiver::unarchiveObjectWithData(bytes));
    finish(state, bytes, value == make(subject));
}

void listWrite(benchmark::State &state, Subject subject) {
    const QVariant value = make(subject);
    QByteArray bytes;
    for (auto _ : state)
        benchmark::DoNotOptimize(bytes = NSPropertyList::dataFromPropertyList(value));
    finish(state, bytes, NSPropertyList::propertyListFromData(bytes) == value);
}

void listRead(benchmark::State &state, Subject subject) {
    const QByteArray bytes = NSPropertyList::dataFromPropertyList(make(subject));
    QVariant value;
    for (auto _ : state)
        benchmark::DoNotOptimize(value = NSPropertyList::propertyListFromData(bytes));
    finish(state, bytes, value == make(subject));
}

void peerWrite(benchmark::State &state, Subject subject) {
    const QVariant value = make(subject);
    QByteArray bytes;
    for (auto _ : state)
        benchmark::DoNotOptimize(bytes = peerBytes(value));
    finish(state, bytes, peerValue(bytes) == value);
}

void peerRead(benchmark::State &state, Subject subject) {
    const QByteArray bytes = NSPropertyList::dataFromPropertyList(make(subject));
    QVariant value;
    for (auto _ : state)
        benchmark::DoNotOptimize(value = peerValue(bytes));
    finish(state, bytes, value == make(subject));
}

/// What a copy of the large data costs, for comparison.
void copyOnly(benchmark::State &state, Subject subject) {
    const QByteArray data = make(subject).toMap().value(QStringLiteral("data")).toByteArray();
    for (auto _ : state)
        benchmark::DoNotOptimize(QByteArray(data.constData(), data.size()));
    state.SetBytesProcessed(int64_t(state.iterations()) * data.size());
}

#define ZR_ARCHIVE_BENCH(subject)                                                                            \
    BENCHMARK_CAPTURE(listWrite, subject, Subject::subject)->Unit(benchmark::kMicrosecond);                  \
    BENCHMARK_CAPTURE(peerWrite, subject, Subject::subject)->Unit(benchmark::kMicrosecond);                  \
    BENCHMARK_CAPTURE(archive, subject, Subject::subject)->Unit(benchmark::kMicrosecond);                    \
    BENCHMARK_CAPTURE(listRead, subject, Subject::subject)->Unit(benchmark::kMicrosecond);                   \
    BENCHMARK_CAPTURE(peerRead, subject, Subject::subject)->Unit(benchmark::kMicrosecond);                   \
    BENCHMARK_CAPTURE(unarchive, subject, Subject::subject)->Unit(benchmark::kMicrosecond)

ZR_ARCHIVE_BENCH(Boot);
ZR_ARCHIVE_BENCH(Invoice);
ZR_ARCHIVE_BENCH(HtmlAscii);
ZR_ARCHIVE_BENCH(HtmlUnicode);
ZR_ARCHIVE_BENCH(Pdf2M);
ZR_ARCHIVE_BENCH(Pdf40M);
ZR_ARCHIVE_BENCH(Records);
BENCHMARK_CAPTURE(copyOnly, Pdf2M, Subject::Pdf2M)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(copyOnly, Pdf40M, Subject::Pdf40M)->Unit(benchmark::kMicrosecond);

} // namespace
