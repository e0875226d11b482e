// SPDX-License-Identifier: MIT
// What a conversion costs beside the browser's own work: the client's operation, archives both ways, a
// connection and its frames, the worker, cutting the page box and stamping. The browser's part is left out by
// sending the document along with a boot probe, which the service decodes and answers without rendering it;
// the reply's own way is added by archiving a reply of the true size.
#include "ZRKit/Service/ZRXPC.h"
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/pdf/PDFDocument.h"

#include <QCoreApplication>
#include <QFile>
#include <benchmark/benchmark.h>

namespace {

const QString dataKey = QStringLiteral("data");

/// A document and the PDF that it becomes.
struct Sample {
    QString html;
    QByteArray pdf;
};

ZRXPC &client() {
    static ZRXPC shared(QStringLiteral("com.velmora.zrpdf"));
    return shared;
}

Sample sample(const char *name) {
    QFile file(QString::fromLocal8Bit(qgetenv("ZR_BENCH_DOCUMENTS")) + QLatin1Char('/') +
               QString::fromLatin1(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("ZR_BENCH_DOCUMENTS names no folder with %s", name);
    Sample made{QString::fromUtf8(file.readAll()), {}};
    made.pdf =
        client().performXPCWithObject(QVariantMap{{dataKey, made.html}}).toMap().value(dataKey).toByteArray();
    if (made.pdf.isEmpty())
        qFatal("no PDF of %s", name);
    return made;
}

void stamp(const QByteArray &pdf) {
    PDFDocument boxed(pdf);
    boxed.setPageBox(0, boxed.pageBox(0).size() - QSizeF(0, 1));
    PDFDocument document(boxed.dataRepresentation());
    document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("Benchmark")},
                                    {PDFDocumentCreatorAttribute, QStringLiteral("bench")},
                                    {PDFDocumentCreationDateAttribute, QDateTime::currentDateTimeUtc()}});
    benchmark::DoNotOptimize(document.dataRepresentation());
}

void allThatIsOurs(benchmark::State &state, const char *name) {
    const Sample made = sample(name);
    const QVariantMap probe{{QStringLiteral("__boot"), true}, {dataKey, made.html}};
    for (auto _ : state) {
        benchmark::DoNotOptimize(client().performXPCWithObject(probe));
        const QByteArray reply =
            NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{dataKey, made.pdf}});
        benchmark::DoNotOptimize(NSKeyedUnarchiver::unarchiveObjectWithData(reply));
        stamp(made.pdf);
    }
}

void wholeConversion(benchmark::State &state, const char *name) {
    const Sample made = sample(name);
    for (auto _ : state)
        benchmark::DoNotOptimize(client().performXPCWithObject(QVariantMap{{dataKey, made.html}}));
}

void boxAndStamp(benchmark::State &state, const char *name) {
    const Sample made = sample(name);
    for (auto _ : state)
        stamp(made.pdf);
}

} // namespace

BENCHMARK_CAPTURE(allThatIsOurs, invoice, "invoice.html")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(wholeConversion, invoice, "invoice.html")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(boxAndStamp, invoice, "invoice.html")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(allThatIsOurs, report, "report.html")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(wholeConversion, report, "report.html")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(boxAndStamp, report, "report.html")->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
