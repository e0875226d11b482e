// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/print/ReferencePage.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSize>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

constexpr double mostBadBlocks = 0.3;
constexpr double largestMean = 1;
/// Two rasterisers never smooth letters the same way, and these pages are full of them.
constexpr double largestMeanOfText = 4;
constexpr double boxTolerance = 0.01;
/// Readers show pages up to this many units; larger ones are scaled.
constexpr int largestUnscaledSide = 14400;
/// Texts of fewer letters are parts of others too often to be counted.
constexpr qsizetype longEnough = 60;

const QString pagesFolder = QStringLiteral(ZR_SOURCE_DIR "/tests/pages");

/// Pages that hold pictures of their own, or shadows and filters, which the engine paints as pictures.
const QStringList pagesWithPictures = {
    QStringLiteral("body-picture-layers"),
    QStringLiteral("break-inside-avoid"),
    QStringLiteral("gradients-and-shadows"),
    QStringLiteral("links"),
    QStringLiteral("masks-filters-clips"),
    QStringLiteral("media-orientation"),
    QStringLiteral("pictures"),
    QStringLiteral("print-colours"),
    QStringLiteral("shadowing-names"),
    QStringLiteral("vh-and-web-fonts"),
    QStringLiteral("vh-keyframes"),
};

/// Pages on which little is text: the stricter mean holds.
const QStringList pagesOfShapes = {
    QStringLiteral("flex-cards"),
    QStringLiteral("form-controls"),
    QStringLiteral("invoice"),
    QStringLiteral("root-centred-short"),
    QStringLiteral("root-gradient-short"),
    QStringLiteral("short-note"),
    QStringLiteral("quirks-short"),
    QStringLiteral("table-spans"),
    QStringLiteral("vh-and-web-fonts"),
    QStringLiteral("vh-custom-properties"),
    QStringLiteral("vh-hero"),
    QStringLiteral("vh-in-attributes"),
    QStringLiteral("vh-keyframes"),
    QStringLiteral("vh-linked-sheet"),
    QStringLiteral("vh-logical-units"),
    QStringLiteral("vh-nested-rules"),
    QStringLiteral("vh-shadow-trees"),
    QStringLiteral("wide-hidden"),
    QStringLiteral("zoom-and-transforms"),
};

std::vector<std::string> pageNames() {
    std::vector<std::string> names;
    for (const QString &file :
         QDir(pagesFolder).entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name))
        names.push_back(file.chopped(5).toStdString());
    return names;
}

/// Two servers of the pages' folder: pages whose names begin with "origin-" use things of the other one.
class Servers {
public:
    static Servers &shared() {
        static Servers servers;
        return servers;
    }
    QUrl url(const QString &page) const { return m_own.url(QStringLiteral("/%1.html").arg(page)); }

private:
    HTTPServer::Response answer(const HTTPServer::Request &request) const {
        QFile file(pagesFolder + QString::fromLatin1(request.path).section(u'?', 0, 0));
        if (!file.open(QIODevice::ReadOnly))
            return {.status = 404};
        static const QHash<QString, QByteArray> types = {{QStringLiteral("html"), "text/html; charset=utf-8"},
                                                         {QStringLiteral("css"), "text/css"},
                                                         {QStringLiteral("png"), "image/png"},
                                                         {QStringLiteral("svg"), "image/svg+xml"}};
        QByteArray body = file.readAll();
        body.replace("OTHER_ORIGIN", m_other.url(QString(), QStringLiteral("localhost")).toEncoded());
        return {.contentType = types.value(file.fileName().section(u'.', -1)), .body = body};
    }
    HTTPServer m_other{[this](const HTTPServer::Request &request) { return answer(request); }};
    HTTPServer m_own{[this](const HTTPServer::Request &request) { return answer(request); }};
};

QUrl urlOf(const QString &page) {
    return page.startsWith(QStringLiteral("origin-"))
               ? Servers::shared().url(page)
               : QUrl::fromLocalFile(QStringLiteral("%1/%2.html").arg(pagesFolder, page));
}

/// Letters and signs only: white space, hyphens, marks of direction and forms of letters don't count.
QString flat(const QString &text) {
    static const QRegularExpression skipped(
        QStringLiteral("[\\s\\x{00ad}\\x{200b}-\\x{200f}\\x{202a}-\\x{202e}\\x{2060}-\\x{2069}\\x{2010}-]+"));
    return text.normalized(QString::NormalizationForm_KC).toLower().remove(skipped);
}

/// A PDF in a file, for other programs to read.
class PDFFileOnDisk {
public:
    explicit PDFFileOnDisk(const QByteArray &data) {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
    }
    QString path() const { return m_folder.filePath(QStringLiteral("page.pdf")); }

    QString text() const {
        return QString::fromUtf8(
            outputOf(QStringLiteral("pdftotext"), {QStringLiteral("-raw"), path(), QStringLiteral("-")}));
    }
    QString textOfMuPDF() const {
        return QString::fromUtf8(
            outputOf(QStringLiteral("mutool"), {QStringLiteral("draw"), QStringLiteral("-q"),
                                                QStringLiteral("-F"), QStringLiteral("text"), path()}));
    }
    QStringList lines(const QString &program, const QStringList &options) const {
        return QString::fromUtf8(outputOf(program, options + QStringList(path())))
            .split(u'\n', Qt::SkipEmptyParts);
    }

private:
    QTemporaryDir m_folder;
};

/// Each text is there as often as on the screen, and those in flow are in order.
void expectTexts(const QString &extracted, const QList<ReferencePage::Text> &texts,
                 const QString &wholeText) {
    const QString all = flat(extracted);
    QSet<QString> found;
    qsizetype at = 0;
    for (const ReferencePage::Text &expected : texts) {
        if (expected.isRightToLeft) {
            for (const QString &word :
                 expected.text.split(QRegularExpression(QStringLiteral("[\\s().%]+")), Qt::SkipEmptyParts)) {
                EXPECT_TRUE(all.contains(flat(word))) << qPrintable(word) << " is missing";
            }
            continue;
        }
        const QString text = flat(expected.text);
        found << text;
        EXPECT_TRUE(all.contains(text)) << "missing: " << qPrintable(expected.text);
        if (!expected.inFlow)
            continue;
        const qsizetype place = all.indexOf(text, at);
        EXPECT_GE(place, 0) << "out of order: " << qPrintable(expected.text);
        at = std::max(at, place + text.size());
    }
    // Some are parts of others, and what is scrolled away is among the whole text only.
    const QString whole = flat(wholeText);
    for (const QString &text : std::as_const(found)) {
        if (text.size() >= longEnough) {
            EXPECT_LE(all.count(text), whole.count(text)) << "more than once: " << qPrintable(text);
        }
    }
}

void expectPicture(const Picture &screen, const QString &pdf, double mean) {
    PictureDifference best{100, 255};
    for (const Rasteriser rasteriser : {Rasteriser::MuPDF, Rasteriser::Poppler}) {
        const std::optional<PictureDifference> found = difference(screen, rasterised(pdf, rasteriser));
        ASSERT_TRUE(found) << "the sizes differ";
        // Where one has a fault the other shows what the page is.
        if (found->badBlocks <= mostBadBlocks && found->mean <= mean)
            return;
        if (found->badBlocks < best.badBlocks)
            best = *found;
    }
    EXPECT_LE(best.badBlocks, mostBadBlocks);
    EXPECT_LE(best.mean, mean);
}

class PageTruth : public testing::TestWithParam<std::string> {};

TEST_P(PageTruth, ThePDFPageIsWhatTheScreenShows) {
    const QString name = QString::fromStdString(GetParam());
    const QUrl url = urlOf(name);
    const ZRConvertHTML converter(url, QStringLiteral("public.html"));
    const PDFDocument document(converter.pdfData());
    ASSERT_FALSE(document.isNil());
    EXPECT_EQ(document.pageCount(), 1);

    ReferencePage reference(url.toString(QUrl::FullyEncoded));
    // What the engine skips because it is below the window is part of the document all the same.
    if (name == QStringLiteral("skipped-content"))
        reference.page().evaluate(QStringLiteral("document.querySelectorAll('section').forEach((s) => { "
                                                 "s.style.contentVisibility = 'visible' })"));
    const QSize size = reference.size();
    EXPECT_GE(size.height(), 1131);
    EXPECT_NEAR(document.pageBox(0).width(), size.width(), boxTolerance);
    EXPECT_NEAR(document.pageBox(0).height(), size.height(), boxTolerance);

    const PDFFileOnDisk pdf(converter.pdfData());
    // Poppler leaves out all but 50,000 letters of less than three units, of which a scaled page has more.
    const bool isScaled = std::max(size.width(), size.height()) > largestUnscaledSide;
    expectPicture(reference.picture(), pdf.path(),
                  pagesOfShapes.contains(name) ? largestMean : largestMeanOfText);
    expectTexts(isScaled ? pdf.textOfMuPDF() : pdf.text(), reference.texts(), reference.wholeText());

    QStringList links;
    for (const QString &line : pdf.lines(QStringLiteral("pdfinfo"), {QStringLiteral("-url")}))
        links << line.simplified().section(u' ', 2);
    for (const QString &link : reference.links()) {
        // Links to places in the same document are destinations, not addresses.
        if (!link.startsWith(url.toString(QUrl::FullyEncoded))) {
            EXPECT_TRUE(links.contains(link)) << qPrintable(link);
        }
    }

    const QStringList fonts = pdf.lines(QStringLiteral("pdffonts"), {});
    EXPECT_GT(fonts.size(), 2);
    for (const QString &font : fonts.mid(2)) {
        static const QRegularExpression columns(
            QStringLiteral("\\s(yes|no)\\s+(yes|no)\\s+(yes|no)\\s+\\d+\\s+\\d+$"));
        EXPECT_EQ(columns.match(font).captured(1), QStringLiteral("yes")) << qPrintable(font);
    }
    const qsizetype pictures = pdf.lines(QStringLiteral("pdfimages"), {QStringLiteral("-list")}).size() - 2;
    if (!pagesWithPictures.contains(name)) {
        EXPECT_LE(pictures, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(, PageTruth, testing::ValuesIn(pageNames()), [](const auto &page) {
    std::string name = page.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace
