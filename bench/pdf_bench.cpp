// SPDX-License-Identifier: MIT
// What setting the page box and stamping cost, beside qpdf rewriting the same file once. The files have the
// engine's form; both ways are timed in turn, and each row gives both medians and their ratio.
#include "platform/pdf/PDFDocument.h"

#include <QDateTime>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>
#include <random>

namespace {

// One page of `height` points with so many links and destinations, and so many bytes of content and fonts.
QByteArray engineDocument(int height, int links, int bytes) {
    std::mt19937 random(1);
    QByteArray noise(bytes, '\0');
    for (char &c : noise)
        c = char(random());
    QByteArray annotations, names;
    QList<QByteArray> objects = {"<</Title (Invoice)\n/Creator (Chromium)\n/Producer "
                                 "(Skia/PDF)\n/CreationDate (D:20240229010203+00'00')>>",
                                 "<</Type /Catalog\n/Pages 3 0 R\n/Dests 6 0 R>>",
                                 "<</Type /Pages\n/Count 1\n/Kids [4 0 R]>>",
                                 "",
                                 "",
                                 ""};
    for (int i = 0; i < links; ++i) {
        const QByteArray y = QByteArray::number(height - 20.37 * (i + 1));
        annotations += QByteArray::number(7 + i) + " 0 R ";
        names += "/s" + QByteArray::number(i) + " [4 0 R /XYZ 6 " + y + " 0]\n";
        objects << "<</Type /Annot\n/Subtype /Link\n/F 4\n/Border [0 0 0]\n/Rect [75 " + y + " 152.25 " + y +
                       "]\n/A <</Type /Action\n/S /URI\n/URI (https://example.org/item/" +
                       QByteArray::number(i) + ")>>>>";
    }
    objects[3] = "<</Type /Page\n/Resources <</ProcSet [/PDF /Text]>>\n/MediaBox [0 0 600 " +
                 QByteArray::number(height) + ".12]\n/Annots [" + annotations +
                 "]\n/Contents 5 0 R\n/Tabs /S\n/Parent 3 0 R>>";
    objects[4] = "<</Filter /FlateDecode\n/Length " + QByteArray::number(noise.size()) + ">> stream\n" +
                 noise + "\nendstream";
    objects[5] = "<<" + names + ">>";
    QByteArray out = "%PDF-1.4\n%\xD3\xEB\xE9\xE1\n", table = "0000000000 65535 f \n";
    for (qsizetype i = 0; i < objects.size(); ++i) {
        table += QByteArray::number(out.size()).rightJustified(10, '0') + " 00000 n \n";
        out += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const QByteArray count = QByteArray::number(objects.size() + 1), start = QByteArray::number(out.size());
    return out + "xref\n0 " + count + "\n" + table + "trailer\n<</Size " + count +
           "\n/Root 2 0 R\n/Info 1 0 R>>\nstartxref\n" + start + "\n%%EOF\n";
}

QByteArray ours(const QByteArray &data, int height) {
    PDFDocument captured(data);
    captured.setPageBox(0, QSizeF(600, height));
    PDFDocument document(captured.dataRepresentation());
    QVariantMap attributes = document.documentAttributes();
    attributes.insert(PDFDocumentTitleAttribute, QStringLiteral("Invoice \u4E2D"));
    attributes.remove(PDFDocumentCreatorAttribute);
    attributes.insert(PDFDocumentCreationDateAttribute, QDateTime::currentDateTimeUtc());
    document.setDocumentAttributes(attributes);
    return document.dataRepresentation();
}

QByteArray peer(const QByteArray &data, int height) {
    QPDF pdf;
    pdf.processMemoryFile("document", data.constData(), size_t(data.size()));
    QPDFObjectHandle page = pdf.getAllPages().at(0);
    QPDFObjectHandle box = page.getKey("/MediaBox");
    box.setArrayItem(3, QPDFObjectHandle::newInteger(height));
    QPDFObjectHandle info = pdf.getTrailer().getKey("/Info");
    info.replaceKey("/Title", QPDFObjectHandle::newUnicodeString("Invoice \xE4\xB8\xAD"));
    info.removeKey("/Creator");
    QPDFWriter writer(pdf);
    writer.setOutputMemory();
    writer.setStreamDataMode(qpdf_s_preserve);
    writer.write();
    const auto buffer = writer.getBufferSharedPointer();
    return QByteArray(reinterpret_cast<const char *>(buffer->getBuffer()), qsizetype(buffer->getSize()));
}

double median(std::vector<double> &times) {
    std::nth_element(times.begin(), times.begin() + qsizetype(times.size() / 2), times.end());
    return times[times.size() / 2];
}

void boxAndStamp(benchmark::State &state) {
    const int height = int(state.range(0));
    const QByteArray data = engineDocument(height, int(state.range(1)), int(state.range(2)));
    std::vector<double> mine, others;
    const auto timed = [&](auto work, std::vector<double> &times) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(work(data, height));
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    };
    for (auto _ : state) {
        timed(ours, mine);
        timed(peer, others);
        state.SetIterationTime(mine.back());
    }
    state.counters["ours_us"] = median(mine) * 1e6;
    state.counters["qpdf_us"] = median(others) * 1e6;
    state.counters["ratio"] = median(mine) / median(others);
    state.counters["bytes"] = double(data.size());
}

} // namespace

BENCHMARK(boxAndStamp)
    ->ArgNames({"height", "links", "bytes"})
    ->Args({1131, 30, 40000})
    ->Args({45000, 250, 100000})
    ->Args({600000, 0, 2000000})
    ->Args({45000, 5000, 1000000})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
