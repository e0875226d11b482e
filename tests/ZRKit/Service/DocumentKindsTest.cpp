// SPDX-License-Identifier: MIT
// Documents of every kind, from their bytes or URL to what is on the PDF's page, read by other programs.
#include "ZRKit/Service/ZRConvertHTML.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QProcess>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>
#include <memory>

namespace {

const QString documents = QStringLiteral(ZR_SOURCE_DIR "/tests/documents/");

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
    file.write(bytes);
}

QByteArray quotedPrintable(const QByteArray &text) {
    QByteArray out;
    for (const char c : text) {
        if (c == '=' || uchar(c) >= 0x80)
            out += '=' + QByteArray(1, c).toHex().toUpper();
        else
            out += c;
    }
    return out;
}

QByteArray outputOf(const QString &program, const QStringList &arguments) {
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished()) << qPrintable(program);
    EXPECT_EQ(process.exitCode(), 0) << qPrintable(program) << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

/// A converted document, and what other programs find in it.
class Converted {
public:
    explicit Converted(const QVariant &input) : m_pdf(ZRConvertHTML(input).pdfData()) {
        if (m_pdf.isNull())
            return;
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(m_pdf);
    }
    static Converted file(const QString &path) { return Converted(QUrl::fromLocalFile(path)); }

    bool failed() const { return m_pdf.isNull(); }
    QSizeF size() const { return PDFDocument(m_pdf).pageBox(0).size(); }
    QString text() const {
        if (failed())
            return QStringLiteral("(no PDF)");
        return QString::fromUtf8(outputOf(QStringLiteral("pdftotext"), {path(), QStringLiteral("-")}))
            .simplified();
    }
    /// How many raster pictures the page holds.
    int pictures() const {
        const QList<QByteArray> lines =
            outputOf(QStringLiteral("pdfimages"), {QStringLiteral("-list"), path()}).split('\n');
        int count = 0;
        for (const QByteArray &line : lines)
            count += line.contains(" image ");
        return count;
    }
    bool hasLinkTo(const QByteArray &url) const {
        return outputOf(QStringLiteral("qpdf"),
                        {QStringLiteral("--qdf"), QStringLiteral("--object-streams=disable"), path(),
                         QStringLiteral("-")})
            .contains("(" + url + ")");
    }
    /// Where the page's links lead to outside.
    QByteArrayList links() const {
        QByteArrayList found;
        for (const QByteArray &line :
             outputOf(QStringLiteral("qpdf"),
                      {QStringLiteral("--qdf"), QStringLiteral("--object-streams=disable"), path(),
                       QStringLiteral("-")})
                 .split('\n')) {
            if (const qsizetype at = line.indexOf("/URI ("); at >= 0)
                found << line.mid(at + 6, line.lastIndexOf(')') - at - 6);
        }
        return found;
    }
    /// The colour of a pixel of the page, one a point, as "r,g,b".
    QByteArray colourAt(int x, int y) const {
        const QByteArray ppm =
            outputOf(QStringLiteral("pdftoppm"),
                     {QStringLiteral("-r"), QStringLiteral("72"), QStringLiteral("-x"), QString::number(x),
                      QStringLiteral("-y"), QString::number(y), QStringLiteral("-W"), QStringLiteral("1"),
                      QStringLiteral("-H"), QStringLiteral("1"), path()});
        const QByteArray pixel = ppm.right(3);
        return QByteArray::number(uchar(pixel[0])) + ',' + QByteArray::number(uchar(pixel[1])) + ',' +
               QByteArray::number(uchar(pixel[2]));
    }

private:
    QString path() const { return m_folder->filePath(QStringLiteral("x.pdf")); }

    QByteArray m_pdf;
    std::shared_ptr<QTemporaryDir> m_folder = std::make_shared<QTemporaryDir>();
};

/// The sample page with its style sheet, picture and frame, wherever they came from.
void expectSamplePage(const Converted &made) {
    ASSERT_FALSE(made.failed());
    const QString text = made.text();
    EXPECT_TRUE(text.contains(QStringLiteral("A page with parts"))) << qPrintable(text);
    EXPECT_TRUE(text.contains(QString::fromUtf8("Ärger,"))) << qPrintable(text);
    EXPECT_TRUE(text.contains(QString::fromUtf8("日本語."))) << qPrintable(text);
    EXPECT_TRUE(text.contains(QString::fromUtf8("In the frame — naïve"))) << qPrintable(text);
    EXPECT_TRUE(made.hasLinkTo("https://example.com/elsewhere"));
    EXPECT_GE(made.pictures(), 1);
    // The style sheet puts its picture at the top right.
    EXPECT_EQ(made.colourAt(795, 5), "255,0,0");
}

} // namespace

TEST(DocumentKinds, PropertyListArchives) {
    for (const char *form : {"binary", "xml"}) {
        const QByteArray archive =
            outputOf(QStringLiteral("python3"),
                     {documents + QStringLiteral("make_webarchive.py"), QLatin1StringView(form)});
        expectSamplePage(Converted(archive));
    }
}

TEST(DocumentKinds, MIMEArchives) {
    const QByteArray message =
        "MIME-Version: 1.0\r\nContent-Type: multipart/related; type=\"text/html\"; boundary=b\r\n\r\n--b\r\n"
        "Content-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: "
        "quoted-printable\r\nContent-Location: "
        "file:///C:/page/index.html\r\n\r\n" +
        quotedPrintable(contentsOf(documents + QStringLiteral("page/index.html"))) +
        "\r\n--b\r\nContent-Type: text/css\r\nContent-Location: file:///C:/page/style.css\r\n\r\n" +
        contentsOf(documents + QStringLiteral("page/style.css")) +
        "\r\n--b\r\nContent-Type: image/png\r\nContent-Transfer-Encoding: base64\r\nContent-Location: "
        "file:///C:/page/red.png\r\n\r\n" +
        contentsOf(documents + QStringLiteral("page/red.png")).toBase64() +
        "\r\n--b\r\nContent-Type: text/html\r\nContent-Transfer-Encoding: 8bit\r\nContent-Location: "
        "frame.html\r\n\r\n" +
        contentsOf(documents + QStringLiteral("page/frame.html")) + "\r\n--b--\r\n";
    expectSamplePage(Converted(message));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("page.mhtml"));
    writeFile(path, message);
    expectSamplePage(Converted::file(path));
}

TEST(DocumentKinds, ArchivesInFilesAreReadFromTheirBytes) {
    QTemporaryDir folder;
    const QByteArray archive =
        outputOf(QStringLiteral("python3"),
                 {documents + QStringLiteral("make_webarchive.py"), QStringLiteral("binary")});
    for (const char *name : {"page.webarchive", "page.with.no.known.type", "page"}) {
        const QString path = folder.filePath(QLatin1StringView(name));
        writeFile(path, archive);
        expectSamplePage(Converted::file(path));
    }
}

TEST(DocumentKinds, HTMLInAnyEncoding) {
    const QString body = QString::fromUtf8("<p>Ärger übt Größe — naïve café");
    EXPECT_EQ(Converted(body).text(), body.mid(3));
    EXPECT_EQ(Converted(body.toUtf8()).text(), body.mid(3));
    EXPECT_EQ(Converted("\xEF\xBB\xBF" + body.toUtf8()).text(), body.mid(3));
    EXPECT_EQ(Converted(QByteArray("\xFF\xFE", 2) +
                        QByteArray(reinterpret_cast<const char *>(body.utf16()), body.size() * 2))
                  .text(),
              body.mid(3));
    EXPECT_EQ(Converted(QByteArray("<p>caf\xE9 \x80")).text(), QString::fromUtf8("café €"));
    EXPECT_EQ(Converted(QByteArray("<meta charset=koi8-r><p>\xF0\xD2\xC9\xD7\xC5\xD4")).text(),
              QString::fromUtf8("Привет"));
    EXPECT_EQ(
        Converted(
            QByteArray(
                "<meta http-equiv=content-type content='text/html; charset=shift_jis'><p>\x93\xFA\x96\x7B"))
            .text(),
        QString::fromUtf8("日本"));
}

TEST(DocumentKinds, OldEncodingsAreReadAsDeclared) {
    for (const auto &[name, text] : std::initializer_list<std::pair<const char *, const char *>>{
             {"windows-1251", "Съешь же ещё этих булок"},
             {"koi8-r", "Съешь же этих булок"},
             {"iso-8859-7", "Τιμολόγιο για υπηρεσίες"},
             {"windows-1257", "Sąskaita už paslaugas"},
             {"macintosh", "élèves français"},
             {"shift_jis", "請求書をお送りします"},
             {"euc-jp", "請求書をお送りします"},
             {"iso-2022-jp", "請求書をお送りします"},
             {"euc-kr", "한국어 시험 문서"},
             {"gb18030", "这是一份发票"},
             {"big5", "這是一份發票"}}) {
        const QString expected = QString::fromUtf8(text);
        const QByteArray label(name), end = label == "iso-2022-jp" ? "\x1B(B" : "";
        const QByteArray encoded = QStringEncoder(name)(expected) + end;
        const QByteArray body = "<body><p>" + encoded + "</p></body></html>";
        for (const QByteArray &page :
             {"<html><head><meta charset=" + label + "></head>" + body,
              "<html><head><meta content='text/html;charset=\"" + label.toUpper() +
                  "\"' http-equiv=Content-Type></head>" + body,
              "<html><head><style>" + QByteArray(5000, ' ') + "</style><meta charset=" + label + "></head>" +
                  body,
              "<?xml version=\"1.0\" encoding=\"" + label +
                  "\"?><html xmlns=\"http://www.w3.org/1999/xhtml\"><head><title>x</title></head>" + body})
            EXPECT_EQ(Converted(page).text(), expected) << page.left(150).constData();
        EXPECT_EQ(
            Converted(QUrl::fromEncoded("data:text/plain;charset=" + label + ";base64," + encoded.toBase64()))
                .text(),
            expected)
            << name;
    }
}

TEST(DocumentKinds, OldEncodingsThatNothingDeclaresAreRecognised) {
    for (const auto &[name, text] : std::initializer_list<std::pair<const char *, const char *>>{
             {"windows-1252",
              "Les élèves français étudient à l’école où la bibliothèque a été rénovée cet été."},
             {"windows-1252", "Müller & Söhne – Straße 5, größer"},
             {"windows-1251", "Счёт на оплату услуг за ноябрь. Итого к оплате: 1200 рублей."},
             {"windows-1251", "Привет, мир!"},
             {"koi8-r", "Съешь же этих мягких французских булок да выпей чаю."},
             {"windows-1250", "Zażółć gęślą jaźń, to jest tekst po polsku, a ten śpi."},
             {"windows-1254", "Türkçe bir metin, şöyle böyle değil ığüşöç"},
             {"shift_jis", "テスト文書です。"},
             {"euc-jp", "日本語の文章をここに書きます。カタカナもあります。"},
             {"euc-kr", "한국어 문장을 여기에 씁니다. 충분한 길이가 필요합니다."},
             {"big5", "這是一段繁體中文的文字，用來測試編碼的判定。"},
             {"gb18030", "这是一份发票，请查收。"}}) {
        const QString expected = QString::fromUtf8(text);
        const QByteArray encoded = QStringEncoder(name)(expected);
        EXPECT_EQ(Converted("<p>" + QByteArray(encoded).replace("&", "&amp;")).text(), expected) << name;
        EXPECT_EQ(Converted(encoded).text(), expected) << name;
    }
    const QByteArray escapes = QStringEncoder("iso-2022-jp")(QString::fromUtf8("日本語の文章"));
    EXPECT_EQ(Converted(escapes).text(), QString::fromUtf8("日本語の文章"));
}

TEST(DocumentKinds, AnOldEncodingChangesNothingButTheText) {
    HTTPServer server([](const HTTPServer::Request &) {
        return HTTPServer::Response{.contentType = "image/png",
                                    .body = contentsOf(documents + QStringLiteral("red.png"))};
    });
    const QByteArray page =
        "<meta charset=windows-1252><style>body{margin:0;background:#0f0}img{display:block}</style><img "
        "src=\"" +
        server.url(QStringLiteral("/red.png")).toEncoded() +
        "\"><img alt=\"\" src=nowhere.png><a href=nowhere.html>caf\xE9</a> <a "
        "href=https://example.com/>x</a><iframe srcdoc=inner></iframe>";
    const LogCapture log;
    const Converted made(page);
    EXPECT_TRUE(made.text().contains(QString::fromUtf8("café x"))) << made.text().toStdString();
    EXPECT_EQ(made.colourAt(8, 8), "255,0,0");
    EXPECT_EQ(made.colourAt(790, 1100), "0,255,0");
    EXPECT_EQ(made.links(), QByteArrayList{"https://example.com/"});
    EXPECT_EQ(server.requests().size(), 1);
    // The first browser of a process says if it has no sandbox.
    EXPECT_EQ(log.lines().filter(QStringLiteral("Frame")),
              (QStringList{QStringLiteral("didFinishLoadForFrame <WebFrame: sub-frame, about:srcdoc>"),
                           QStringLiteral("didFinishLoadForFrame <WebFrame: main, about:blank>")}));
}

TEST(DocumentKinds, ADocumentThatReloadsItselfIsDecodedAllTheSame) {
    for (const char *target :
         {"", ";url=about:blank", ";url=https://no-such-host.invalid/", ";url=data:text/html,no"}) {
        const QByteArray page = "<meta http-equiv=refresh content='0" + QByteArray(target) + "'><p>caf\xE9";
        EXPECT_EQ(Converted(page).text(), QString::fromUtf8("café")) << target;
    }
}

TEST(DocumentKinds, FilesInOldEncodingsAreReadFromWhereTheyAre) {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.html"));
    writeFile(folder.filePath(QStringLiteral("red.png")), contentsOf(documents + QStringLiteral("red.png")));
    for (const char *page : {"<meta charset=koi8-r><p>\xF0\xD2\xC9\xD7\xC5\xD4",
                             "<meta charset=koi8-r><img src=red.png><p>\xF0\xD2\xC9\xD7\xC5\xD4"}) {
        writeFile(path, page);
        const Converted made = Converted::file(path);
        EXPECT_EQ(made.text(), QString::fromUtf8("Привет")) << page;
        EXPECT_EQ(made.pictures(), QByteArray(page).contains("red.png")) << page;
    }
}

TEST(DocumentKinds, MalformedBytesBecomeReplacementCharacters) {
    EXPECT_EQ(Converted(QByteArray("<meta charset=utf-8><p>a\xFF"
                                   "b"))
                  .text(),
              QString::fromUtf8("a\uFFFDb"));
    EXPECT_EQ(Converted(QByteArray("<meta charset=shift_jis><p>a\x82<b>b</b>")).text(),
              QString::fromUtf8("a\uFFFDb"));
    EXPECT_EQ(Converted(QByteArray("<meta charset=iso-2022-kr><p>caf\xE9")).text(),
              QString::fromUtf8("\uFFFD"));
}

TEST(DocumentKinds, ClaimsThatCountForNothingChangeNothing) {
    for (const char *page : {"<!-- charset=koi8-r --><p>\xC3\xA9", "<p title='charset=koi8-r'>\xC3\xA9",
                             "<meta name=x content='charset=koi8-r'><p>\xC3\xA9"})
        EXPECT_EQ(Converted(QByteArray(page)).text(), QString::fromUtf8("é")) << page;
    EXPECT_EQ(Converted(QByteArray("<meta charset=iso-8859-5><p>\xC3\xA9")).text(), QString::fromUtf8("УЉ"));
}

TEST(DocumentKinds, PartsOfArchivesAreReadInTheirOwnEncodings) {
    const QByteArray start =
        "MIME-Version: 1.0\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: "
        "text/html; charset=koi8-r\n\n<p>\xF0\xD2\xC9\xD7\xC5\xD4<iframe src=f></iframe>\n--b\n";
    EXPECT_EQ(
        Converted(start +
                  "Content-Type: text/html; charset=windows-1253\nContent-Location: f\n\n\xE1\xE2\xE3\n--b--")
            .text(),
        QString::fromUtf8("αβγ Привет"));
    EXPECT_EQ(
        Converted(
            start +
            "Content-Type: text/html\nContent-Location: f\n\n<meta charset=windows-1253>\xE1\xE2\xE3\n--b--")
            .text(),
        QString::fromUtf8("αβγ Привет"));
}

TEST(DocumentKinds, XHTMLIsParsedAsXML) {
    // An HTML parser would take the first div for open and paint the second, and its text, green.
    const QByteArray page =
        "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML "
        "1.0 Strict//EN\" \"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\">\n<html "
        "xmlns=\"http://www.w3.org/1999/xhtml\"><head><title>x</title><style>body{margin:0}div + "
        "div{height:50px;background:#00f}div div{background:#0f0}</style></head><body><div/><div/>"
        "<p>caf\xE9&nbsp;<![CDATA[<raw>]]></p><svg:svg xmlns:svg=\"http://www.w3.org/2000/svg\" "
        "width=\"9\" height=\"9\"/></body></html>";
    const Converted made(page);
    EXPECT_EQ(made.text(), QString::fromUtf8("café <raw>"));
    EXPECT_EQ(made.colourAt(100, 25), "0,0,255");
    EXPECT_EQ(made.size(), QSizeF(800, 1131));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("page.xhtml"));
    writeFile(path, page);
    EXPECT_EQ(Converted::file(path).colourAt(100, 25), "0,0,255");
}

TEST(DocumentKinds, MalformedXHTMLIsReadAsHTML) {
    EXPECT_EQ(
        Converted(QByteArray("<?xml version=\"1.0\"?><html xmlns=\"http://www.w3.org/1999/xhtml\"><p>a<br>b"))
            .text(),
        QStringLiteral("a b"));
}

TEST(DocumentKinds, PlainTextKeepsItsLinesAndSigns) {
    const QByteArray text = "First <b>line</b> & more\n    indented \xE2\x82\xAC\n";
    const Converted made(text);
    EXPECT_EQ(made.text(), QString::fromUtf8("First <b>line</b> & more indented €"));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.txt"));
    writeFile(path, text);
    EXPECT_EQ(Converted::file(path).text(), made.text());
    writeFile(path, QByteArray::fromHex(
                        "93fa967b8cea82cc83658358836795b68f9182c582b7814295b68e9a8352815b836882cc94bb92e8"
                        "82c582b78142834a835e834a83698142"));
    EXPECT_TRUE(Converted::file(path).text().startsWith(QString::fromUtf8("日本語のテスト")));
    EXPECT_TRUE(Converted(contentsOf(path)).text().startsWith(QString::fromUtf8("日本語のテスト")));
}

TEST(DocumentKinds, SVGStaysTextLinksAndVectors) {
    const QByteArray svg =
        "<?xml version=\"1.0\"?>\n<!-- drawn -->\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
        "xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"300\" height=\"200\"><rect width=\"300\" "
        "height=\"200\" "
        "fill=\"#0000ff\"/><a xlink:href=\"https://example.com/svg\"><text x=\"20\" y=\"50\" "
        "fill=\"#fff\">Drawn text</text></a></svg>";
    const Converted made(svg);
    EXPECT_EQ(made.text(), QStringLiteral("Drawn text"));
    EXPECT_TRUE(made.hasLinkTo("https://example.com/svg"));
    EXPECT_EQ(made.pictures(), 0);
    EXPECT_EQ(made.colourAt(10, 190), "0,0,255");
    EXPECT_EQ(made.colourAt(310, 190), "255,255,255");
    EXPECT_EQ(made.size(), QSizeF(800, 1131));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.svg"));
    writeFile(path, svg);
    EXPECT_EQ(Converted::file(path).text(), QStringLiteral("Drawn text"));
    EXPECT_EQ(Converted::file(path).size(), QSizeF(800, 1131));
}

TEST(DocumentKinds, SVGWithoutASizeFillsTheViewAndALargeOneWidensThePage) {
    const QByteArray start = "<svg xmlns=\"http://www.w3.org/2000/svg\" ",
                     end = "><rect width=\"100%\" height=\"100%\" "
                           "fill=\"#0f0\"/></svg>";
    const Converted filling(start + "viewBox=\"0 0 100 50\"" + end);
    EXPECT_EQ(filling.size(), QSizeF(800, 1131));
    EXPECT_EQ(filling.colourAt(400, 565), "0,255,0");
    EXPECT_EQ(filling.colourAt(400, 100), "255,255,255");
    const Converted large(start + "width=\"1000\" height=\"1500\"" + end);
    EXPECT_EQ(large.size(), QSizeF(1000, 1500));
    EXPECT_EQ(large.colourAt(990, 1490), "0,255,0");
    const Converted prefixed(
        QByteArray("<s:svg xmlns:s=\"http://www.w3.org/2000/svg\" width=\"10\" height=\"10\"><s:rect "
                   "width=\"10\" height=\"10\" fill=\"#0f0\"/></s:svg>"));
    EXPECT_EQ(prefixed.colourAt(5, 5), "0,255,0");
}

TEST(DocumentKinds, MalformedSVGIsDrawnAsFarAsItGoes) {
    const Converted made(
        QByteArray("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" height=\"100\"><rect "
                   "width=\"100\" height=\"100\" fill=\"#f00\" inkscape:label=\"x\"/>"));
    EXPECT_EQ(made.colourAt(50, 50), "255,0,0");
}

TEST(DocumentKinds, PicturesStandAtTheTopLeftOnWhiteInTheirOwnSize) {
    for (const char *name : {"red.png", "red.jpg", "red.gif", "red.webp"}) {
        const QString path = documents + QLatin1StringView(name);
        for (const Converted &made : {Converted(contentsOf(path)), Converted::file(path)}) {
            ASSERT_FALSE(made.failed()) << name;
            EXPECT_EQ(made.size(), QSizeF(800, 1131)) << name;
            EXPECT_EQ(made.pictures(), 1) << name;
            // JPEG and WebP keep pure red within a step or two.
            const QList<QByteArray> inside = made.colourAt(8, 8).split(',');
            EXPECT_GE(inside[0].toInt(), 250) << name;
            EXPECT_LE(inside[1].toInt(), 5) << name;
            EXPECT_LE(inside[2].toInt(), 5) << name;
            EXPECT_EQ(made.colourAt(18, 18), "255,255,255") << name;
            EXPECT_EQ(made.colourAt(790, 1120), "255,255,255") << name;
        }
    }
}

TEST(DocumentKinds, PicturesWiderThanThePageShrinkToItAndTallOnesMakeItTaller) {
    const QString path = documents + QStringLiteral("wide.png");
    for (const Converted &made : {Converted(contentsOf(path)), Converted::file(path)}) {
        EXPECT_EQ(made.size(), QSizeF(800, 1131));
        EXPECT_EQ(made.colourAt(795, 8), "0,0,255");
        EXPECT_EQ(made.colourAt(795, 11), "255,255,255");
    }
    const QString tall = documents + QStringLiteral("tall.png");
    for (const Converted &made : {Converted(contentsOf(tall)), Converted::file(tall)}) {
        EXPECT_EQ(made.size(), QSizeF(800, 2000));
        EXPECT_EQ(made.colourAt(8, 1995), "0,0,255");
    }
}

TEST(DocumentKinds, PicturesAreTurnedAsTheirCameraSays) {
    // Stored 20 wide and 10 high, left half red: turned by a quarter to the right.
    const QString path = documents + QStringLiteral("turned.jpg");
    for (const Converted &made : {Converted(contentsOf(path)), Converted::file(path)}) {
        const QList<QByteArray> top = made.colourAt(5, 3).split(','),
                                bottom = made.colourAt(5, 16).split(',');
        EXPECT_GE(top[0].toInt(), 200);
        EXPECT_GE(bottom[2].toInt(), 200);
        EXPECT_EQ(made.colourAt(15, 5), "255,255,255");
    }
}

TEST(DocumentKinds, BrokenPicturesFailAndCutOnesShowWhatThereIs) {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.png"));
    const QByteArray signature = contentsOf(documents + QStringLiteral("red.png")).left(8);
    for (const QByteArray &broken : {signature, signature + "and then no picture", QByteArray("GIF89a"),
                                     QByteArray("\xFF\xD8\xFF and no more")}) {
        EXPECT_TRUE(Converted(broken).failed()) << broken.toHex().constData();
        writeFile(path, broken);
        EXPECT_TRUE(Converted::file(path).failed()) << broken.toHex().constData();
    }
    const QByteArray tall = contentsOf(documents + QStringLiteral("tall.png"));
    EXPECT_EQ(Converted(tall.left(tall.size() - 20)).size(), QSizeF(800, 2000));
}

TEST(DocumentKinds, XMLIsShownAsItsTree) {
    const QString text =
        Converted(QByteArray("<?xml version=\"1.0\"?><order><item>Seven nails</item></order>")).text();
    EXPECT_TRUE(text.contains(QStringLiteral("Seven nails"))) << qPrintable(text);
    EXPECT_TRUE(text.contains(QStringLiteral("<order>"))) << qPrintable(text);
}

TEST(DocumentKinds, TypeConformanceIsAskedOfTheGivenTypeOnly) {
    const ZRConvertHTML converter(QStringLiteral("<p>HTML all the same"), QStringLiteral("public.jpeg"));
    EXPECT_FALSE(converter.pdfData().isNull());
    EXPECT_TRUE(
        converter.conformsToUTITypes({QStringLiteral("public.html"), QStringLiteral("public.image")}));
    EXPECT_TRUE(converter.conformsToUTITypes({QStringLiteral("public.data")}));
    EXPECT_FALSE(converter.conformsToUTITypes({QStringLiteral("public.html")}));
    EXPECT_FALSE(converter.conformsToUTITypes({}));
    EXPECT_FALSE(ZRConvertHTML(QByteArray()).conformsToUTITypes({QStringLiteral("public.item")}));
}

TEST(DocumentKinds, DataURLs) {
    EXPECT_EQ(Converted(QUrl(QStringLiteral("data:text/html,<p>in%20a%20URL"))).text(),
              QStringLiteral("in a URL"));
    const QByteArray png = contentsOf(documents + QStringLiteral("red.png")).toBase64();
    const Converted picture(QUrl(QStringLiteral("data:image/png;base64,") + QLatin1StringView(png)));
    EXPECT_EQ(picture.colourAt(8, 8), "255,0,0");
    EXPECT_EQ(picture.colourAt(400, 560), "255,255,255");
}

TEST(DocumentKinds, WhatCannotBeShownFails) {
    QTemporaryDir folder;
    const struct {
        const char *name;
        QByteArray bytes;
    } samples[] = {{"a.pdf", "%PDF-1.4\n%%EOF"},
                   {"a.zip", QByteArray("PK\3\4\0\0\0\0", 8)},
                   {"a.mp3", QByteArray("ID3\3\0\0\0\0\0\0", 10)},
                   {"a.mp4", QByteArray("\0\0\0\x20"
                                        "ftypisom\0\0\2\0",
                                        16)},
                   {"a.wav", QByteArray("RIFF\4\0\0\0WAVE", 12)},
                   {"a.bin", QByteArray(64, '\0')},
                   {"a.webarchive", "bplist00 and then rubbish"},
                   {"a.mhtml", "MIME-Version: 1.0\nContent-Type: multipart/related; boundary=b\n\n--b--\n"}};
    for (const auto &sample : samples) {
        const QString path = folder.filePath(QLatin1StringView(sample.name));
        writeFile(path, sample.bytes);
        EXPECT_TRUE(Converted(sample.bytes).failed()) << sample.name;
        EXPECT_TRUE(Converted::file(path).failed()) << sample.name;
    }
    EXPECT_TRUE(Converted(QByteArray()).failed());
    EXPECT_TRUE(Converted(QByteArray("")).failed());
    EXPECT_TRUE(Converted(QVariant()).failed());
    EXPECT_TRUE(Converted(42).failed());
    EXPECT_TRUE(Converted::file(folder.filePath(QStringLiteral("missing.html"))).failed());
    EXPECT_TRUE(Converted::file(folder.filePath(QStringLiteral("missing.webarchive"))).failed());
    EXPECT_TRUE(Converted(QUrl(QStringLiteral("https://no-such-host.invalid/"))).failed());
}

TEST(DocumentKinds, ConvertingGoesOnAfterArchivesAndFailures) {
    const QByteArray archive = outputOf(
        QStringLiteral("python3"), {documents + QStringLiteral("make_webarchive.py"), QStringLiteral("xml")});
    for (int i = 0; i < 3; ++i) {
        expectSamplePage(Converted(archive));
        EXPECT_EQ(
            Converted(QByteArray("<svg xmlns=\"http://www.w3.org/2000/svg\"><text y=\"9\">svg</text></svg>"))
                .text(),
            QStringLiteral("svg"));
        EXPECT_EQ(Converted(QStringLiteral("<p>text")).text(), QStringLiteral("text"));
        EXPECT_TRUE(Converted(QByteArray("%PDF-1.4")).failed());
    }
}

namespace {

/// A server with one document of each kind, and the ways that servers describe them.
HTTPServer::Response answer(const HTTPServer::Request &request) {
    const QByteArray path = request.path;
    const auto sample = [](const char *name) { return contentsOf(documents + QLatin1StringView(name)); };
    HTTPServer::Response response;
    if (path == "/red.png" || path == "/wide.png") {
        response.contentType = "image/png";
        response.body = sample(path.constData() + 1);
    } else if (path == "/no-type") {
        response.contentType = "";
        response.body = sample("red.png");
    } else if (path == "/elsewhere") {
        response.status = 302;
        response.headers = {"Location: /red.png"};
    } else if (path == "/missing.png") {
        response.status = 404;
        response.contentType = "image/png";
        response.body = sample("red.png");
    } else if (path == "/broken.png") {
        response.contentType = "image/png";
        response.body = "no picture";
    } else if (path == "/saved.png") {
        response.contentType = "image/png";
        response.headers = {"Content-Disposition: attachment; filename=saved.png"};
        response.body = sample("red.png");
    } else if (path == "/drawing") {
        response.contentType = "image/svg+xml";
        response.body =
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" height=\"50\"><rect width=\"50\" "
            "height=\"50\" fill=\"#0f0\"/><image href=\"red.png\" x=\"60\" width=\"20\" "
            "height=\"20\"/></svg>";
    } else if (path == "/xhtml") {
        response.contentType = "application/xhtml+xml";
        response.body =
            "<html xmlns=\"http://www.w3.org/1999/xhtml\"><style>div + div{height:9px;background:#0f0}"
            "body{margin:0}</style><body><div/><div/>text</body></html>";
    } else if (path == "/koi8") {
        response.contentType = "text/plain; charset=koi8-r";
        response.body = "\xF0\xD2\xC9\xD7\xC5\xD4";
    } else if (path == "/archive" || path == "/mail") {
        response.contentType = path == "/mail" ? "message/rfc822" : "multipart/related";
        response.body =
            "MIME-Version: 1.0\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n"
            "Content-Location: http://saved.example/page\n\n<p>archived<img src=i.png><img alt=\"\" "
            "src=j.png>\n--b\n"
            "Content-Type: image/png\nContent-Location: http://saved.example/i.png\n"
            "Content-Transfer-Encoding: base64\n\n" +
            sample("red.png").toBase64() + "\n--b--";
    } else if (path == "/no-archive") {
        response.contentType = "multipart/related";
        response.body = "nothing of the kind";
    } else if (path == "/webarchive") {
        response.contentType = "application/x-webarchive";
        response.body = outputOf(QStringLiteral("python3"), {documents + QStringLiteral("make_webarchive.py"),
                                                             QStringLiteral("binary")});
    } else if (path == "/film") {
        response.contentType = "video/mp4";
        response.body = QByteArray("\0\0\0\x20"
                                   "ftypisom\0\0\2\0",
                                   16);
    } else if (path == "/song") {
        response.contentType = "audio/mpeg";
        response.body = "ID3";
    } else if (path == "/paper") {
        response.contentType = "application/pdf";
        response.body = "%PDF-1.4";
    }
    return response;
}

} // namespace

TEST(DocumentKinds, PicturesOfServers) {
    HTTPServer server(answer);
    for (const char *path : {"/red.png", "/no-type", "/elsewhere", "/missing.png"}) {
        const Converted made(server.url(QLatin1StringView(path)));
        ASSERT_FALSE(made.failed()) << path;
        EXPECT_EQ(made.size(), QSizeF(800, 1131)) << path;
        EXPECT_EQ(made.colourAt(8, 8), "255,0,0") << path;
        EXPECT_EQ(made.colourAt(18, 18), "255,255,255") << path;
    }
    EXPECT_EQ(Converted(server.url(QStringLiteral("/wide.png"))).colourAt(795, 8), "0,0,255");
    EXPECT_TRUE(Converted(server.url(QStringLiteral("/broken.png"))).failed());
    EXPECT_TRUE(Converted(server.url(QStringLiteral("/saved.png"))).failed());
}

TEST(DocumentKinds, XMLAndTextOfServers) {
    HTTPServer server(answer);
    const Converted drawing(server.url(QStringLiteral("/drawing")));
    EXPECT_EQ(drawing.colourAt(25, 25), "0,255,0");
    EXPECT_EQ(drawing.colourAt(70, 10), "255,0,0");
    EXPECT_EQ(Converted(server.url(QStringLiteral("/xhtml"))).colourAt(100, 4), "0,255,0");
    EXPECT_EQ(Converted(server.url(QStringLiteral("/koi8"))).text(), QString::fromUtf8("Привет"));
}

TEST(DocumentKinds, ArchivesOfServersAreServedFromWhatCame) {
    HTTPServer server(answer);
    for (const char *path : {"/archive", "/mail"}) {
        const Converted made(server.url(QLatin1StringView(path)));
        EXPECT_EQ(made.text(), QStringLiteral("archived")) << path;
        EXPECT_EQ(made.pictures(), 1) << path;
    }
    expectSamplePage(Converted(server.url(QStringLiteral("/webarchive"))));
    EXPECT_TRUE(Converted(server.url(QStringLiteral("/no-archive"))).failed());
    EXPECT_EQ(server.requests().size(), 4);
}

TEST(DocumentKinds, MediaOfServersFail) {
    HTTPServer server(answer);
    for (const char *path : {"/film", "/song", "/paper"})
        EXPECT_TRUE(Converted(server.url(QLatin1StringView(path))).failed()) << path;
}
