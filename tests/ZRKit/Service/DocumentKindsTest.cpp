// SPDX-License-Identifier: MIT
// Documents of every kind, from their bytes or URL to what is on the PDF's page, read by other programs.
#include "ZRKit/Service/ZRConvertHTML.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/support/LogCapture.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>
#include <array>
#include <gtest/gtest.h>

namespace {

const QString documents = QStringLiteral(ZR_SOURCE_DIR "/tests/documents/");

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
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
    /// "width x height" of each raster picture in the page, in points at its natural density.
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
