// SPDX-License-Identifier: MIT
// Reading through filters: right, and never without bounds.
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

// zlib's form (RFC 1950).
QByteArray deflated(const QByteArray &data) {
    return qCompress(data, 9).mid(4);
}

// LZW with codes of 9 to 12 bits, as TIFF and PDF have it.
QByteArray lzw(const QByteArray &data, bool early) {
    QByteArray out;
    unsigned bits = 0, held = 0, width = 9, next = 258;
    const auto put = [&](unsigned code) {
        bits = bits << width | code;
        held += width;
        while (held >= 8) {
            held -= 8;
            out.append(char(bits >> held & 0xFF));
        }
    };
    // By the code of a text and the byte after it.
    std::vector<unsigned short> table(4096 * 256, 0);
    put(256);
    unsigned text = 0;
    bool isFirst = true;
    for (const char c : data) {
        const auto byte = unsigned(quint8(c));
        if (isFirst) {
            text = byte;
            isFirst = false;
            continue;
        }
        if (const unsigned known = table[text * 256 + byte]) {
            text = known;
            continue;
        }
        put(text);
        table[text * 256 + byte] = static_cast<unsigned short>(next++);
        // The reader's table is one entry behind.
        if (next - 1 + (early ? 1 : 0) >= 1u << width && width < 12)
            ++width;
        if (next == 4095) {
            put(256);
            table.assign(table.size(), 0);
            next = 258;
            width = 9;
        }
        text = byte;
    }
    put(text);
    if (next + (early ? 1 : 0) >= 1u << width && width < 12)
        ++width;
    put(257);
    out.append(char(bits << (8 - held) & 0xFF));
    return out;
}

QByteArray runLengths(const QByteArray &data) {
    QByteArray out;
    for (qsizetype i = 0; i < data.size();) {
        qsizetype run = 1;
        while (i + run < data.size() && run < 128 && data[i + run] == data[i])
            ++run;
        if (run > 1)
            out.append(char(257 - run)).append(data[i]);
        else
            out.append('\0').append(data[i]);
        i += run;
    }
    return out.append(char(128));
}

// Every row predicted by the kind that is its number modulo 5.
QByteArray pngRows(const QByteArray &data, int columns, int pixel) {
    QByteArray out;
    const qsizetype row = columns * pixel;
    for (qsizetype start = 0; start < data.size(); start += row) {
        const int kind = int(start / row % 5);
        out.append(char(kind));
        for (qsizetype i = 0; i < row; ++i) {
            const auto at = [&](qsizetype x, qsizetype y) {
                return x < 0 || y < 0 ? 0 : int(quint8(data[y + x]));
            };
            const int left = at(i - pixel, start), up = at(i, start - row),
                      corner = start < row ? 0 : at(i - pixel, start - row);
            const int p = left + up - corner;
            const int a = std::abs(p - left), b = std::abs(p - up), c = std::abs(p - corner);
            const int guesses[] = {0, left, up, (left + up) / 2,
                                   a <= b && a <= c ? left
                                   : b <= c         ? up
                                                    : corner};
            out.append(char(at(i, start) - guesses[kind]));
        }
    }
    return out;
}

QByteArray tiffRows(const QByteArray &data, int columns, int colors) {
    QByteArray out = data;
    const qsizetype row = columns * colors;
    for (qsizetype i = 0; i < data.size(); ++i)
        if (i % row >= colors)
            out[i] = char(data[i] - data[i - colors]);
    return out;
}

// The objects of a stream, whole rows of 60 bytes of them: a page, text that repeats and text that does not.
QByteArray objects() {
    std::mt19937 random(3);
    QByteArray text = "4 0 <</Type /Page/MediaBox [0 0 10 20]/Parent 3 0 R/Note (";
    for (int i = 0; i < 4000; ++i)
        text += i % 3 ? QByteArray("kept ") : QByteArray::number(random());
    text += "END)>>";
    return text + QByteArray(60 - text.size() % 60, ' ');
}

// A file whose page is in this object stream.
QByteArray documentWith(const QByteArray &stream, const QByteArray &entries) {
    QByteArray out = "%PDF-1.5\n", table(5, '\0');
    const auto add = [&](const QByteArray &object) {
        const qsizetype at = out.size();
        table += '\1';
        table += char(at >> 16 & 0xFF);
        table += char(at >> 8 & 0xFF);
        table += char(at & 0xFF);
        table += '\0';
        out += object;
    };
    add("1 0 obj\n<</Type /Catalog/Pages 3 0 R>>\nendobj\n");
    add("2 0 obj\n<</Type /ObjStm/N 1/First 4" + entries + "/Length " + QByteArray::number(stream.size()) +
        ">>\nstream\n" + stream + "\nendstream\nendobj\n");
    add("3 0 obj\n<</Type /Pages/Count 1/Kids [4 0 R]>>\nendobj\n");
    table += QByteArray("\2\0\0\2\0", 5);
    const QByteArray start = QByteArray::number(out.size());
    return out + "5 0 obj\n<</Type /XRef/Size 5/W [1 3 1]/Root 1 0 R/Length " +
           QByteArray::number(table.size()) + ">>\nstream\n" + table + "\nendstream\nendobj\nstartxref\n" +
           start + "\n%%EOF\n";
}

// Whether the stream is read as those objects, by us and, to show that the sample is right, by mutool.
void expectRead(const QByteArray &stream, const QByteArray &entries) {
    SCOPED_TRACE(entries.constData());
    const QByteArray data = documentWith(stream, entries);
    ASSERT_EQ(output(QStringLiteral("mutool"),
                     {QStringLiteral("show"), QStringLiteral("-b"), QStringLiteral("@"), QStringLiteral("2")},
                     data),
              objects());
    const PDFDocument document(data);
    EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 10, 20));
    const qsizetype note = objects().indexOf("(");
    EXPECT_TRUE(rewritten(document.dataRepresentation(), {QStringLiteral("--object-streams=disable")})
                    .contains(objects().mid(note, objects().indexOf("END") - note)));
}

// A file whose page is in an object stream with so many megabytes of filling, under layers of filters.
QByteArray bomb(int megabytes, int layers, const QByteArray &filter,
                QByteArray (*encoded)(const QByteArray &), char filling = ' ') {
    QByteArray stream = "4 0 <</Type /Page/MediaBox [0 0 10 10]/Parent 3 0 R>> ";
    stream += QByteArray(qsizetype(megabytes) << 20, filling);
    QByteArray filters;
    for (int i = 0; i < layers; ++i) {
        stream = encoded(stream);
        filters += filter;
    }
    return documentWith(stream, "/Filter [" + filters + "]");
}

// A file whose cross-reference stream has so many megabytes of filling behind its entries, in two layers.
QByteArray tableBomb(int megabytes) {
    QByteArray out = documentWith("4 0 <</Type /Page/MediaBox [0 0 10 10]/Parent 3 0 R>> ", "");
    const qsizetype start = out.indexOf("5 0 obj"), begin = out.indexOf("stream\n", start) + 7,
                    end = out.indexOf("\nendstream", begin);
    const QByteArray table =
        deflated(deflated(out.mid(begin, end - begin) + QByteArray(qsizetype(megabytes) << 20, '\0')));
    return out.left(start) + "5 0 obj\n<</Type /XRef/Size 5/W [1 3 1]/Root 1 0 R/Filter [/FlateDecode " +
           "/FlateDecode]/Length " + QByteArray::number(table.size()) + ">>\nstream\n" + table + out.mid(end);
}

} // namespace

TEST(PDFDecodeBudget, FiltersAreReadRight) {
    expectRead(objects(), "");
    expectRead(deflated(objects()), "/Filter /FlateDecode");
    expectRead(runLengths(objects()), "/Filter /RunLengthDecode");
    expectRead(lzw(objects(), true), "/Filter /LZWDecode");
    expectRead(lzw(objects(), false), "/Filter /LZWDecode/DecodeParms <</EarlyChange 0>>");
    expectRead(deflated(objects()).toHex() + '>', "/Filter [/ASCIIHexDecode /FlateDecode]");
    expectRead(deflated(lzw(objects(), true)), "/Filter [/FlateDecode /LZWDecode]");
}

TEST(PDFDecodeBudget, PredictionsAreReadRight) {
    expectRead(deflated(pngRows(objects(), 60, 1)),
               "/Filter /FlateDecode/DecodeParms <</Predictor 12/Columns 60>>");
    expectRead(deflated(pngRows(objects(), 20, 3)),
               "/Filter /FlateDecode/DecodeParms <</Predictor 15/Columns 20/Colors 3>>");
    expectRead(lzw(pngRows(objects(), 60, 1), true),
               "/Filter /LZWDecode/DecodeParms <</Predictor 10/Columns 60>>");
    expectRead(deflated(tiffRows(objects(), 60, 1)),
               "/Filter /FlateDecode/DecodeParms <</Predictor 2/Columns 60>>");
    expectRead(deflated(tiffRows(objects(), 15, 4)),
               "/Filter /FlateDecode/DecodeParms <</Predictor 2/Columns 15/Colors 4>>");
}

TEST(PDFDecodeBudget, UnusableParametersMakeTheStreamUnreadable) {
    for (const char *parameters :
         {"/Predictor 3", "/Predictor -1", "/Predictor 12/Columns 0", "/Predictor 12/Columns -5",
          "/Predictor 12/Columns 9223372036854775807", "/Predictor 12/Colors 99999999/Columns 99999999",
          "/Predictor 2/BitsPerComponent 7", "/Predictor (a)"}) {
        const PDFDocument document(documentWith(deflated(objects()), "/Filter /FlateDecode/DecodeParms <<" +
                                                                         QByteArray(parameters) + ">>"));
        EXPECT_TRUE(document.isNil()) << parameters;
    }
}

TEST(PDFDecodeBudget, SmallFilesThatUnfoldToAnySizeAreNil) {
    const auto earlyLzw = [](const QByteArray &data) { return lzw(data, true); };
    // The form is read while it is small.
    ASSERT_EQ(PDFDocument(bomb(0, 2, "/FlateDecode ", deflated)).pageBox(0), QRectF(0, 0, 10, 10));
    ASSERT_EQ(PDFDocument(bomb(1, 1, "/LZWDecode ", earlyLzw)).pageBox(0), QRectF(0, 0, 10, 10));
    ASSERT_EQ(PDFDocument(bomb(1, 1, "/RunLengthDecode ", runLengths)).pageBox(0), QRectF(0, 0, 10, 10));
    // A run of 0x81 is written as runs of 0x81, and so shrinks with every layer.
    const QList<QByteArray> bombs = {
        bomb(100, 2, "/FlateDecode ", deflated), bomb(60, 2, "/LZWDecode ", earlyLzw),
        bomb(60, 4, "/RunLengthDecode ", runLengths, char(0x81)), tableBomb(100)};
    ASSERT_EQ(PDFDocument(tableBomb(1)).pageBox(0), QRectF(0, 0, 10, 10));
    QElapsedTimer clock;
    clock.start();
    for (const QByteArray &data : bombs) {
        EXPECT_LT(data.size(), 100000);
        EXPECT_TRUE(PDFDocument(data).isNil());
    }
    EXPECT_LT(clock.elapsed(), 20000);
}
