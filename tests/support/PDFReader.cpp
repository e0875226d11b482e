// SPDX-License-Identifier: MIT
#include "tests/support/PDFReader.h"

#include "tests/support/ServerProcess.h"

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

QByteArray PDFReader::run(const char *program, const QStringList &arguments) const {
    const QTemporaryDir folder;
    const QString pdf = folder.filePath(QStringLiteral("page.pdf"));
    QFile file(pdf);
    if (!file.open(QIODevice::WriteOnly) || file.write(m_pdf) != m_pdf.size() || !file.flush())
        return {};
    QStringList all{QStringLiteral("-q")};
    all << arguments << pdf;
    if (QLatin1StringView(program) == QLatin1StringView("pdftotext"))
        all << QStringLiteral("-");
    ServerProcess process;
    process.start(QString::fromLatin1(program), all, folder.filePath(QStringLiteral("output")));
    EXPECT_EQ(process.waitUntilItEnds(), 0) << process.said().constData();
    return process.said();
}

QString PDFReader::text() const {
    return QString::fromUtf8(run("pdftotext", {})).simplified();
}

QByteArray PDFReader::picture() const {
    if (m_picture.isNull())
        m_picture = run("pdftoppm", {QStringLiteral("-r"), QStringLiteral("72"), QStringLiteral("-f"),
                                     QStringLiteral("1"), QStringLiteral("-l"), QStringLiteral("1")});
    return m_picture;
}

namespace {

/// A binary portable pixmap: "P6 width height 255", one white space, then the bytes.
struct Pixmap {
    explicit Pixmap(const QByteArray &bytes) {
        const QList<QByteArray> words = bytes.left(64).simplified().split(' ');
        if (words.size() < 4 || words[0] != "P6")
            return;
        width = words[1].toInt();
        height = words[2].toInt();
        data = bytes.constData() + bytes.size() - qsizetype(width) * height * 3;
    }
    int at(int x, int y) const {
        const auto *p = reinterpret_cast<const uchar *>(data) + (qsizetype(y) * width + x) * 3;
        return p[0] << 16 | p[1] << 8 | p[2];
    }
    int width = 0, height = 0;
    const char *data = nullptr;
};

} // namespace

int PDFReader::pixel(int x, int y) const {
    const QByteArray bytes = picture();
    const Pixmap map(bytes);
    return x >= 0 && y >= 0 && x < map.width && y < map.height ? map.at(x, y) : -1;
}

bool PDFReader::shows(int color) const {
    const QByteArray bytes = picture();
    const Pixmap map(bytes);
    for (int y = 0; y < map.height; ++y) {
        for (int x = 0; x < map.width; ++x) {
            if (map.at(x, y) == color)
                return true;
        }
    }
    return false;
}
