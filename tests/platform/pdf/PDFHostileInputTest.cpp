// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <gtest/gtest.h>
#include <random>

namespace {

enum Outcome { Nil, Unwritable, Written };

// Opens, changes, writes and opens again; whatever was written must be right.
Outcome survives(const QByteArray &data) {
    PDFDocument document(data);
    if (document.isNil()) {
        EXPECT_TRUE(document.documentAttributes().isEmpty());
        EXPECT_TRUE(document.dataRepresentation().isNull());
        return Nil;
    }
    const QVariantMap attributes = {{PDFDocumentTitleAttribute, QStringLiteral("T\u4E2D")}};
    document.setDocumentAttributes(attributes);
    const bool boxed = document.setPageBox(0, QSizeF(700, 15000.5));
    const QByteArray written = document.dataRepresentation();
    if (written.isNull())
        return Unwritable;
    const PDFDocument again(written);
    EXPECT_FALSE(again.isNil());
    EXPECT_EQ(again.documentAttributes(), attributes);
    if (boxed) {
        EXPECT_EQ(again.pageBox(0), QRectF(0, 0, 700, 15000.5));
    }
    return Written;
}

QList<QByteArray> samples() {
    const QByteArray plain = sampleDocument(QSizeF(600, 1140));
    return {plain, rewritten(plain, {QStringLiteral("--object-streams=generate")}),
            rewritten(plain, {QStringLiteral("--linearize")}),
            rewritten(plain, {QStringLiteral("--encrypt"), QStringLiteral(""), QStringLiteral("o"),
                              QStringLiteral("256"), QStringLiteral("--")})};
}

QByteArray small(const QByteArray &root, const QByteArray &pages, const QByteArray &page,
                 const QByteArray &trailer = {}) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R" + root + ">>");
    builder.add("<</Type /Pages" + pages + ">>");
    builder.add("<</Type /Page/Parent 2 0 R" + page + ">>");
    return builder.file(1, 0, "1.4", trailer);
}

} // namespace

TEST(PDFHostileInput, FilesCutShortAnywhere) {
    int outcomes[3] = {};
    for (const QByteArray &data : samples()) {
        ASSERT_FALSE(data.isEmpty());
        for (qsizetype length = 0; length < data.size(); length += length < 40 ? 1 : 13)
            ++outcomes[survives(data.left(length))];
        for (qsizetype length = data.size() - 40; length < data.size(); ++length)
            ++outcomes[survives(data.left(length))];
        for (qsizetype start = 1; start < data.size(); start += 57)
            ++outcomes[survives(data.mid(start))];
    }
    EXPECT_GT(outcomes[Nil], 50);
    EXPECT_GT(outcomes[Written], 50);
}

TEST(PDFHostileInput, ChangedBytes) {
    std::mt19937 random(20240229);
    int outcomes[3] = {};
    for (const QByteArray &sample : samples()) {
        for (int round = 0; round < 400; ++round) {
            QByteArray data = sample;
            for (unsigned changes = 1 + random() % 8; changes > 0; --changes) {
                const qsizetype at = qsizetype(random() % size_t(data.size()));
                switch (random() % 4) {
                case 0:
                    data[at] = char(random());
                    break;
                case 1:
                    data[at] = "0123456789<>[]()/R "[random() % 19];
                    break;
                case 2:
                    data.remove(at, qsizetype(random() % 20));
                    break;
                default:
                    data.insert(
                        at, data.mid(qsizetype(random() % size_t(data.size())), qsizetype(random() % 40)));
                }
            }
            ++outcomes[survives(data)];
        }
    }
    EXPECT_GT(outcomes[Written], 400);
}

TEST(PDFHostileInput, RandomBytes) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        QByteArray data = round % 2 ? "%PDF-1.7\n" : "";
        for (unsigned length = random() % 3000; length > 0; --length)
            data.append(char(random()));
        EXPECT_EQ(survives(data), Nil);
    }
}

TEST(PDFHostileInput, HugeDeclaredSizes) {
    QElapsedTimer clock;
    clock.start();
    const QByteArray page = "/MediaBox [0 0 600 800]/Resources <<>>";
    const QByteArray good = small("", "/Count 1/Kids [3 0 R]", page);
    ASSERT_EQ(survives(good), Written);
    for (const char *count :
         {"xref\n0 2147483647\n", "xref\n0 9999999999\n", "xref\n0 -1\n", "xref\n4294967295 4\n"})
        survives(QByteArray(good).replace("xref\n0 4\n", count));
    for (const char *size : {"/Size 2147483647", "/Size 99999999999999999999", "/Size -5", "/Size 0"})
        survives(QByteArray(good).replace("/Size 4", size));
    survives(QByteArray(good).replace("startxref\n", "startxref\n99999999999999999999"));
    survives(small("", "/Count 2147483647/Kids [3 0 R]", page));
    survives(small("", "/Count 1/Kids [2147483647 0 R]", page));
    survives(small("", "/Count 1/Kids [3 0 R]", "/MediaBox [0 0 1e300 1" + QByteArray(400, '0') + "]"));
    survives(small("", "/Count 1/Kids [3 0 R]", page + "/UserUnit 1" + QByteArray(300, '0')));
    survives(small("", "/Count 1/Kids [3 0 R]", page + "/Contents 2147483647 0 R/Annots [2147483646 0 R]"));
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add("<</Type /Page/Parent 2 0 R/MediaBox [0 0 600 800]/Contents 4 0 R>>");
    builder.add("<</Length 9223372036854775807>> stream\nBT ET\nendstream");
    survives(builder.file(1, 0));
    EXPECT_LT(clock.elapsed(), 20000);
}

TEST(PDFHostileInput, CirclesAndDepths) {
    const QByteArray page = "/MediaBox [0 0 600 800]/Resources <<>>";
    survives(small("", "/Count 1/Kids [2 0 R]", page));
    survives(small("", "/Count 1/Kids [3 0 R]/Parent 2 0 R", "/Parent 3 0 R"));
    survives(small("", "/Count 2/Kids [3 0 R 3 0 R]", page));
    survives(small("/Outlines 1 0 R/First 1 0 R/Next 1 0 R", "/Count 1/Kids [3 0 R]", page));
    survives(small("", "/Count 1/Kids [3 0 R]", page + "/Annots [3 0 R 2 0 R 1 0 R 3 0 R]/Contents 3 0 R"));
    survives(small("", "/Count 1/Kids [3 0 R]", "/MediaBox 3 0 R/Resources 3 0 R/UserUnit 3 0 R"));
    survives(small("/Metadata 1 0 R", "/Count 1/Kids [3 0 R]", page, "/Info 1 0 R"));
    for (const int depth : {60, 200, 600, 100000})
        survives(
            small("/Deep " + QByteArray(depth, '[') + QByteArray(depth, ']'), "/Count 1/Kids [3 0 R]", page));
    QByteArray nested;
    for (int i = 0; i < 100000; ++i)
        nested += "<</A ";
    survives(small("/Deep " + nested, "/Count 1/Kids [3 0 R]", page));
    survives(small("/Deep " + QByteArray(1000000, '('), "/Count 1/Kids [3 0 R]", page));
}

TEST(PDFHostileInput, EverythingOnceFoundByFuzzing) {
    const QDir folder(QStringLiteral(ZR_SOURCE_DIR "/tests/fuzz/corpus/pdf"));
    const QStringList files = folder.entryList(QDir::Files);
    ASSERT_GE(files.size(), 5);
    for (const QString &name : files) {
        SCOPED_TRACE(name.toStdString());
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        survives(file.readAll());
    }
}
