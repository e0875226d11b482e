// SPDX-License-Identifier: MIT
// Archives and property lists of the sizes that tasks have, beside libplist. Each pair does the same work:
// values in Qt's types to bytes, and bytes to values in Qt's types.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/archive/NSPropertyList.h"

#include <QRandomGenerator>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <plist/plist.h>
#include <vector>

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

double median(std::vector<double> &times) {
    std::nth_element(times.begin(), times.begin() + qsizetype(times.size() / 2), times.end());
    return times[times.size() / 2];
}

template <typename Work>
void timed(Work work, std::vector<double> &times) {
    const auto start = std::chrono::steady_clock::now();
    {
        auto result = work();
        benchmark::DoNotOptimize(result);
    }
    times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

template <typename Ours, typename Peer, typename Keyed>
void compare(benchmark::State &state, Ours ours, Peer peer, Keyed keyed) {
    std::vector<double> mine, others, archives;
    for (auto _ : state) {
        timed(ours, mine);
        timed(peer, others);
        timed(keyed, archives);
        state.SetIterationTime(mine.back());
    }
    state.counters["ours_us"] = median(mine) * 1e6;
    state.counters["libplist_us"] = median(others) * 1e6;
    state.counters["ratio"] = median(mine) / median(others);
    state.counters["keyed_us"] = median(archives) * 1e6;
}

void write(benchmark::State &state, Subject subject) {
    const QVariant value = make(subject);
    if (NSPropertyList::propertyListFromData(NSPropertyList::dataFromPropertyList(value)) != value ||
        peerValue(peerBytes(value)) != value)
        state.SkipWithError("the value did not come back");
    compare(
        state, [&] { return NSPropertyList::dataFromPropertyList(value); }, [&] { return peerBytes(value); },
        [&] { return NSKeyedArchiver::archivedDataWithRootObject(value); });
}

void read(benchmark::State &state, Subject subject) {
    const QVariant value = make(subject);
    const QByteArray list = NSPropertyList::dataFromPropertyList(value);
    const QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(value);
    if (peerValue(list) != value || NSKeyedUnarchiver::unarchiveObjectWithData(archive) != value)
        state.SkipWithError("the value did not come back");
    compare(
        state, [&] { return NSPropertyList::propertyListFromData(list); }, [&] { return peerValue(list); },
        [&] { return NSKeyedUnarchiver::unarchiveObjectWithData(archive); });
}

/// What a plain copy of the large data costs, as the floor of both.
void copy(benchmark::State &state, Subject subject) {
    const QByteArray data = make(subject).toMap().value(QStringLiteral("data")).toByteArray();
    for (auto _ : state) {
        QByteArray copied(data.constData(), data.size());
        benchmark::DoNotOptimize(copied);
    }
}

#define ZR_ARCHIVE_BENCH(subject)                                                                            \
    BENCHMARK_CAPTURE(write, subject, Subject::subject)->UseManualTime()->Unit(benchmark::kMicrosecond);     \
    BENCHMARK_CAPTURE(read, subject, Subject::subject)->UseManualTime()->Unit(benchmark::kMicrosecond)

ZR_ARCHIVE_BENCH(Boot);
ZR_ARCHIVE_BENCH(Invoice);
ZR_ARCHIVE_BENCH(HtmlAscii);
ZR_ARCHIVE_BENCH(HtmlUnicode);
ZR_ARCHIVE_BENCH(Pdf2M);
ZR_ARCHIVE_BENCH(Pdf40M);
ZR_ARCHIVE_BENCH(Records);
BENCHMARK_CAPTURE(copy, Pdf2M, Subject::Pdf2M)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(copy, Pdf40M, Subject::Pdf40M)->Unit(benchmark::kMicrosecond);

} // namespace
