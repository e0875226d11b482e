// SPDX-License-Identifier: MIT
// The quick way of rewriting and qpdf's give the same documents.
#include "platform/pdf/PDFDocument.h"
#include "platform/pdf/PDFGeneralFile.h"
#include "platform/pdf/PDFPlainFile.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <random>
#include <unistd.h>

namespace {

// One form for all files that hold the same objects, whatever their numbers and order.
QByteArray normalised(const QByteArray &pdf) {
    QByteArray text = rewritten(pdf, {QStringLiteral("--qdf"), QStringLiteral("--static-id"),
                                      QStringLiteral("--no-original-object-ids"),
                                      QStringLiteral("--object-streams=disable")});
    // The identifier's first part is the file's own; files of the engine have none.
    const qsizetype id = text.lastIndexOf("/ID");
    if (id >= 0)
        text.replace(id, text.indexOf(']', id) - id, "/ID");
    return text;
}

QVariantMap someAttributes() {
    return {{PDFDocumentTitleAttribute, QStringLiteral("T\u00E9 \u4E2D")},
            {PDFDocumentSubjectAttribute, QStringLiteral("þÿ (\\)")},
            {PDFDocumentCreationDateAttribute, QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3), Qt::UTC)}};
}

QList<PDFChanges> someChanges(const QRectF &box, unsigned seed) {
    std::mt19937 random(seed);
    PDFChanges stamp, cut, scale, enlarge, all;
    stamp.attributes = someAttributes();
    cut.boxes[0] = {QRectF(0, 0, box.width(), box.height() - (random() % 500) / 100.0)};
    scale.boxes[0] = {QRectF(0, 0, box.width(), 14400.25 + random() % 100000)};
    enlarge.boxes[0] = {QRectF(0, 0, box.width() * 4 / 3, box.height() * 4 / 3 - 1), 4.0 / 3};
    all.attributes = QVariantMap();
    all.boxes[0] = {QRectF(random() % 50, random() % 50, 15000 + random() % 40000, 400.5), 0.75};
    return {stamp, cut, scale, enlarge, all};
}

void expectBothWaysAlike(const QByteArray &data, unsigned seed) {
    const auto plain = PDFPlainFile::open(data);
    const auto general = PDFGeneralFile::open(data);
    ASSERT_TRUE(plain && general);
    EXPECT_EQ(plain->attributes(), general->attributes());
    EXPECT_EQ(plain->pageCount(), general->pageCount());
    EXPECT_EQ(plain->pageBox(0), general->pageBox(0));
    for (const PDFChanges &changes : someChanges(plain->pageBox(0), seed)) {
        const QByteArray quick = plain->written(changes), full = general->written(changes);
        ASSERT_FALSE(quick.isNull());
        ASSERT_FALSE(full.isNull());
        EXPECT_TRUE(isSound(quick));
        const QByteArray quickForm = normalised(quick);
        ASSERT_FALSE(quickForm.isEmpty());
        EXPECT_EQ(quickForm, normalised(full));
        // What the quick way wrote, it can read and write again.
        const auto again = PDFPlainFile::open(quick);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->attributes(), changes.attributes.value_or(plain->attributes()));
        EXPECT_FALSE(again->written(changes).isNull());
    }
}

QString browser() {
    for (const char *path : {"/usr/lib/chromium/chromium-headless-shell", "/usr/bin/chromium-headless-shell"})
        if (QFile::exists(QString::fromLatin1(path)))
            return QString::fromLatin1(path);
    return {};
}

QByteArray printed(const QByteArray &html, bool tagged) {
    QTemporaryDir folder;
    const QString page = folder.filePath(QStringLiteral("page.html"));
    const QString pdf = folder.filePath(QStringLiteral("page.pdf"));
    QFile file(page);
    if (!file.open(QIODevice::WriteOnly) || file.write(html) != html.size())
        return {};
    file.close();
    QStringList arguments = {QStringLiteral("--headless"), QStringLiteral("--disable-gpu"),
                             QStringLiteral("--no-pdf-header-footer"),
                             QStringLiteral("--user-data-dir=") + folder.filePath(QStringLiteral("profile")),
                             QStringLiteral("--print-to-pdf=") + pdf};
    if (geteuid() == 0)
        arguments << QStringLiteral("--no-sandbox");
    arguments << (tagged ? QStringLiteral("--generate-pdf-document-outline")
                         : QStringLiteral("--disable-pdf-tagging"));
    arguments << QStringLiteral("file://") + page;
    output(browser(), arguments, {});
    QFile result(pdf);
    return result.open(QIODevice::ReadOnly) ? result.readAll() : QByteArray();
}

QByteArray richPage(int height) {
    QByteArray rows;
    for (int i = 0; i < 40; ++i)
        rows += "<tr><td>" + QByteArray::number(i) + "<td><a href='https://example.org/" +
                QByteArray::number(i) + "'>Item</a> <a href='#\xC3\xA4 end'>end</a></tr>";
    return "<!doctype html><meta charset=utf-8><title>Rich \xC3\xBC</title><style>@page{size:600pt " +
           QByteArray::number(height) +
           "pt;margin:0}.g{height:90px;margin:9px;background:linear-gradient(30deg,red,rgba(0,0,255,.3))}"
           ".r{height:90px;background:radial-gradient(yellow,green);opacity:.5;box-shadow:2px 2px 8px #000}"
           ".m{height:90px;mix-blend-mode:multiply;background:repeating-linear-gradient(#f00 0 9px,#0f0 9px "
           "20px)}"
           "</style><h1>Head</h1><div class=g>a</div><div class=r>b</div><div class=m>c</div>"
           "<svg width=200 height=90><defs><pattern id=p width=10 height=10 patternUnits=userSpaceOnUse>"
           "<circle cx=5 cy=5 r=3 fill=red /></pattern></defs><rect width=200 height=90 "
           "fill='url(#p)'/></svg>"
           "<table>" +
           rows + "</table><h2 id='\xC3\xA4 end'>The end \xF0\x9F\x98\x80</h2>";
}

} // namespace

TEST(PDFWaysOfWriting, AgreeOnTheSample) {
    expectBothWaysAlike(sampleDocument(), 1);
    expectBothWaysAlike(sampleDocument(QSizeF(600, 20000)), 2);
}

TEST(PDFWaysOfWriting, AgreeOnRandomDocuments) {
    for (unsigned seed = 0; seed < 40 && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        expectBothWaysAlike(randomDocument(seed), seed);
    }
}

TEST(PDFWaysOfWriting, AgreeOnWhatTheEngineWrites) {
    ASSERT_FALSE(browser().isEmpty());
    for (const bool tagged : {false, true}) {
        const QByteArray data = printed(richPage(3000), tagged);
        ASSERT_FALSE(data.isEmpty());
        SCOPED_TRACE(tagged);
        expectBothWaysAlike(data, 7);
        const QByteArray before = picture(data);
        PDFDocument document(data);
        ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 2000)));
        const QByteArray cut = picture(document.dataRepresentation());
        ASSERT_TRUE(cut.startsWith("P6\n600 2000\n255\n"));
        EXPECT_EQ(cut.mid(16), before.mid(16, 600 * 2000 * 3));
    }
    const QByteArray tall = printed(richPage(20000), false);
    PDFDocument document(tall);
    ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 20000)));
    EXPECT_EQ(picture(document.dataRepresentation(), 36), picture(tall, 36));
}

TEST(PDFWaysOfWriting, TheQuickOneRefusesWhatItDoesNotKnow) {
    const QByteArray good = sampleDocument();
    ASSERT_TRUE(PDFPlainFile::open(good));
    const auto changed = [&](const char *from, const char *to) {
        QByteArray data = good;
        const qsizetype at = data.indexOf(from);
        EXPECT_GE(at, 0) << from;
        EXPECT_EQ(qstrlen(from), qstrlen(to));
        return data.replace(at, qsizetype(qstrlen(from)), to);
    };
    const QList<QByteArray> unknown = {
        changed("%PDF-1.4", "%PDF-2.0"),
        changed("%PDF-1.4", "%PDX-1.4"),
        changed("00000 n", "00001 n"),
        changed("00000 n", "00000 f"),
        changed("65535 f", "65535 n"),
        changed("0000000015", "0000000016"),
        changed("\n1 0 obj", "\n2 0 obj"),
        changed("/Count 1\n/Kids", "/Count 2\n/Kids"),
        changed("/Type /Catalog", "/Type /Catal#g"),
        changed("/Type /Page\n", "/Type /Pave\n"),
        changed("/MediaBox [0 0 600", "/MediaBox [0 0 (00"),
        changed("/MediaBox", "/MediaB#x"),
        changed("/Title (Old title)", "/Title /Old_title "),
        changed("/Creator (Old", "/Title   (Old"),
        changed("endobj\n2 0", "endobx\n2 0"),
        changed("/Parent 3 0 R>>", "/Parent 2 0 R>>"),
        changed("trailer", "Trailer"),
        changed("/Size 12", "/Size 11"),
        changed("%%EOF", "%%EOX"),
        good + "more",
        good + good,
        good.left(good.size() - 8),
        rewritten(good, {QStringLiteral("--object-streams=generate")}),
        rewritten(good, {QStringLiteral("--linearize")}),
        rewritten(good, {QStringLiteral("--encrypt"), QStringLiteral(""), QStringLiteral("o"),
                         QStringLiteral("128"), QStringLiteral("--use-aes=y"), QStringLiteral("--")})};
    for (qsizetype i = 0; i < unknown.size(); ++i) {
        ASSERT_FALSE(unknown[i].isEmpty());
        EXPECT_FALSE(PDFPlainFile::open(unknown[i])) << i;
    }
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 600 800]/Parent 2 0 R/Resources <<>>>>");
    EXPECT_TRUE(PDFPlainFile::open(builder.file(1, 0)));
    for (const char *entry : {"/Prev 20", "/Encrypt 3 0 R", "/XRefStm 9", "/ID [<00><00>]", "/Other 1"})
        EXPECT_FALSE(PDFPlainFile::open(builder.file(1, 0, "1.4", entry))) << entry;
}

TEST(PDFWaysOfWriting, TheQuickOneLeavesUnknownPagesToTheOther) {
    // Read quickly, but not moved quickly: a note with an appearance, metadata, a shared pattern.
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 600 800]/Parent 2 0 R/Resources <<>>/Annots [4 0 R]>>");
    builder.add("<</Type /Annot/Subtype /Square/Rect [10 20 30 40]/BS <</W 2>>>>");
    const QByteArray data = builder.file(1, 0);
    PDFChanges changes;
    changes.boxes[0] = {QRectF(0, 0, 600, 700)};
    ASSERT_TRUE(PDFPlainFile::open(data));
    EXPECT_TRUE(PDFPlainFile::open(data)->written(changes).isNull());
    PDFDocument document(data);
    ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 700)));
    EXPECT_EQ(PDFDocument(document.dataRepresentation()).pageBox(0), QRectF(0, 0, 600, 700));
}
