// SPDX-License-Identifier: MIT
// Pages that the browser wrote, and others of that form, keep their looks wherever they are moved.
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

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

// The addresses that links lead to, and the page's text, as others read them.
QByteArray linksAndText(const QByteArray &pdf) {
    return output(QStringLiteral("pdfinfo"), {QStringLiteral("-url"), QStringLiteral("@")}, pdf) +
           output(QStringLiteral("pdftotext"), {QStringLiteral("@"), QStringLiteral("-")}, pdf);
}

// Colours and coverage are rounded after they are calculated in single precision; what stands elsewhere differs
// by far more.
int largestDifference(const QByteArray &a, const QByteArray &b) {
    if (a.isEmpty() || a.size() != b.size())
        return 256;
    int largest = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(int(quint8(a[i])) - int(quint8(b[i]))));
    return largest;
}

} // namespace

TEST(PDFEnginePage, LooksTheSameWhenItIsCutEnlargedAndStamped) {
    ASSERT_FALSE(browser().isEmpty());
    for (const bool tagged : {false, true}) {
        SCOPED_TRACE(tagged);
        const QByteArray data = printed(richPage(3000), tagged);
        ASSERT_FALSE(data.isEmpty());
        PDFDocument cut(data);
        ASSERT_TRUE(cut.setPageBox(0, QSizeF(600, 2000)));
        cut.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("T\u00E9 \u4E2D")}});
        const QByteArray short_ = cut.dataRepresentation();
        EXPECT_TRUE(isSound(short_));
        const QByteArray before = picture(data), after = picture(short_);
        ASSERT_TRUE(after.startsWith("P6\n600 2000\n255\n"));
        EXPECT_EQ(after.mid(16), before.mid(16, 600 * 2000 * 3));
        EXPECT_EQ(infoLine(short_, QStringLiteral("Title")), QStringLiteral("T\u00E9 \u4E2D"));

        PDFDocument large(data);
        ASSERT_TRUE(large.setPageBox(0, QSizeF(1200, 6000), 2));
        const QByteArray twice = large.dataRepresentation();
        EXPECT_TRUE(isSound(twice));
        EXPECT_EQ(picture(twice), picture(data, 144));
        EXPECT_EQ(linksAndText(twice), linksAndText(data));
        EXPECT_EQ(twice.contains("/StructTreeRoot"), tagged);
    }
}

TEST(PDFEnginePage, LooksTheSameWithAUserUnit) {
    const QByteArray tall = printed(richPage(20000), false);
    PDFDocument document(tall);
    ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 20000)));
    const QByteArray data = document.dataRepresentation();
    ASSERT_TRUE(data.contains("/UserUnit 2"));
    EXPECT_EQ(picture(data, 36), picture(tall, 36));
}

TEST(PDFEnginePage, LooksTheSameWhateverIsOnIt) {
    for (unsigned seed = 0; seed < 20 && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const QByteArray data = randomDocument(seed);
        PDFDocument document(data);
        const QSizeF size = document.pageBox(0).size();
        ASSERT_TRUE(document.setPageBox(0, size * 2, 2));
        EXPECT_EQ(document.pageBox(0), QRectF(QPointF(0, 0), size * 2));
        const QByteArray twice = document.dataRepresentation();
        EXPECT_TRUE(isSound(twice));
        EXPECT_LE(largestDifference(picture(twice, 36), picture(data)), 2);
        // Moved back, each number is what it was.
        PDFDocument back(twice);
        ASSERT_TRUE(back.setPageBox(0, size, 0.5));
        EXPECT_LE(largestDifference(picture(back.dataRepresentation()), picture(data)), 2);
    }
}
