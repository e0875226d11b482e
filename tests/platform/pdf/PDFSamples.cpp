// SPDX-License-Identifier: MIT
#include "tests/platform/pdf/PDFSamples.h"

#include <QProcess>
#include <QTemporaryFile>
#include <random>

int PDFBuilder::add(const QByteArray &body) {
    m_objects.append(body);
    return int(m_objects.size());
}

int PDFBuilder::addStream(const QByteArray &data, const QByteArray &entries) {
    return add("<<" + entries + "\n/Length " + QByteArray::number(data.size()) + ">> stream\n" + data +
               "\nendstream");
}

QByteArray PDFBuilder::file(int root, int info, const QByteArray &version,
                            const QByteArray &trailerEntries) const {
    QByteArray out = "%PDF-" + version + "\n%\xD3\xEB\xE9\xE1\n";
    QByteArray table = "0000000000 65535 f \n";
    for (qsizetype i = 0; i < m_objects.size(); ++i) {
        table += QByteArray::number(out.size()).rightJustified(10, '0') + " 00000 n \n";
        out += QByteArray::number(i + 1) + " 0 obj\n" + m_objects[i] + "\nendobj\n";
    }
    const QByteArray count = QByteArray::number(m_objects.size() + 1);
    const QByteArray start = QByteArray::number(out.size());
    out += "xref\n0 " + count + "\n" + table + "trailer\n<</Size " + count + "\n/Root " +
           QByteArray::number(root) + " 0 R";
    if (info)
        out += "\n/Info " + QByteArray::number(info) + " 0 R";
    return out + trailerEntries + ">>\nstartxref\n" + start + "\n%%EOF\n";
}

QByteArray sampleDocument(QSizeF paper, const QByteArray &rootEntries) {
    PDFBuilder builder;
    const QByteArray top = QByteArray::number(paper.height() - 40, 'f', 2);
    const QByteArray linkBottom = QByteArray::number(paper.height() - 120, 'f', 2);
    const QByteArray linkTop = QByteArray::number(paper.height() - 100, 'f', 2);
    builder.add("<</Title (Old title)\n/Creator (Old creator)\n/Producer (Sample)\n"
                "/CreationDate (D:20200102030405+00'00')\n/ModDate (D:20200102030405+01'00')\n"
                "/Trapped /False>>");
    builder.add("<</Type /Catalog\n/Pages 3 0 R\n/Dests 8 0 R\n/Outlines 9 0 R" + rootEntries + ">>");
    builder.add("<</Type /Pages\n/Count 1\n/Kids [4 0 R]>>");
    builder.add("<</Type /Page\n/Resources <</Font <</F1 6 0 R>>\n/Pattern <</P1 7 0 R>>>>\n/MediaBox [0 0 " +
                QByteArray::number(paper.width()) + ' ' + QByteArray::number(paper.height()) +
                "]\n/Annots [11 0 R]\n/Contents 5 0 R\n/Parent 3 0 R>>");
    builder.addStream("BT /F1 24 Tf 20 " + top + " Td (Words on the page) Tj ET\n/Pattern cs /P1 scn 20 " +
                      QByteArray::number(paper.height() - 300) + " 200 150 re f\n0 0 1 RG 3 w 20 " +
                      linkBottom + " 120 20 re S");
    builder.add("<</Type /Font\n/Subtype /Type1\n/BaseFont /Helvetica>>");
    builder.add("<</Type /Pattern\n/PatternType 2\n/Matrix [1 0 0 1 20 " +
                QByteArray::number(paper.height() - 300) +
                "]\n/Shading <</ShadingType 2\n/ColorSpace /DeviceRGB\n/Coords [0 0 200 150]\n/Extend [true "
                "true]\n/Function <</FunctionType 2\n/N 1\n/Domain [0 1]\n/C0 [1 0 0]\n/C1 [0 1 0]>>>>>>");
    builder.add("<</end#20x [4 0 R /XYZ 20 100.5 0]>>");
    builder.add("<</Type /Outlines\n/First 10 0 R\n/Last 10 0 R\n/Count 1>>");
    builder.add("<</Title (Chapter)\n/Parent 9 0 R\n/Dest [4 0 R /FitH " + top + "]>>");
    builder.add("<</Type /Annot\n/Subtype /Link\n/F 4\n/Border [0 0 0]\n/Rect [20 " + linkBottom + " 140 " +
                linkTop + "]\n/A <</Type /Action\n/S /URI\n/URI (https://example.org/a)>>>>");
    return builder.file(2, 1);
}

QByteArray output(const QString &program, const QStringList &arguments, const QByteArray &data) {
    QTemporaryFile file;
    if (!file.open() || file.write(data) != data.size() || !file.flush())
        return {};
    QStringList list = arguments;
    list.replaceInStrings(QStringLiteral("@"), file.fileName());
    QProcess process;
    process.start(program, list);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return {};
    const QByteArray out = process.readAllStandardOutput();
    return out.isNull() ? QByteArray("") : out;
}

QString infoLine(const QByteArray &pdf, const QString &key) {
    const QByteArray text =
        output(QStringLiteral("pdfinfo"), {QStringLiteral("-isodates"), QStringLiteral("@")}, pdf);
    for (const QString &line : QString::fromUtf8(text).split(u'\n'))
        if (line.startsWith(key + u':'))
            return line.mid(key.size() + 1).trimmed();
    return {};
}

bool isSound(const QByteArray &pdf) {
    // qpdf ends with 0 only if it has neither errors nor warnings.
    return !output(QStringLiteral("qpdf"), {QStringLiteral("--check"), QStringLiteral("@")}, pdf).isNull() &&
           !output(QStringLiteral("pdfinfo"), {QStringLiteral("@")}, pdf).isNull() &&
           !output(QStringLiteral("mutool"), {QStringLiteral("info"), QStringLiteral("@")}, pdf).isNull();
}

QByteArray picture(const QByteArray &pdf, int resolution, int page) {
    return output(QStringLiteral("mutool"),
                  {QStringLiteral("draw"), QStringLiteral("-q"), QStringLiteral("-F"), QStringLiteral("ppm"),
                   QStringLiteral("-r"), QString::number(resolution), QStringLiteral("-o"),
                   QStringLiteral("-"), QStringLiteral("@"), QString::number(page)},
                  pdf);
}

QByteArray rewritten(const QByteArray &pdf, const QStringList &options) {
    return output(QStringLiteral("qpdf"), QStringList(options) << QStringLiteral("@") << QStringLiteral("-"),
                  pdf);
}

QByteArray randomDocument(unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return int(random() % unsigned(limit)); };
    const auto number = [&](int limit) { return QByteArray::number(below(limit * 100) / 100.0); };
    const auto rectangle = [&] {
        const int x = below(500), y = below(3000);
        return QByteArray::number(x) + ' ' + QByteArray::number(y) + ' ' +
               QByteArray::number(x + 1 + below(90) / 4.0) + ' ' +
               QByteArray::number(y + 1 + below(90) / 8.0);
    };
    const auto destination = [&]() -> QByteArray {
        switch (below(5)) {
        case 0:
            return "[4 0 R /FitH " + number(3000) + "]";
        case 1:
            return "[4 0 R /FitR " + rectangle() + "]";
        case 2:
            return "[4 0 R /XYZ null " + number(3000) + " null]";
        case 3:
            return "[4 0 R /Fit]";
        default:
            return "[4 0 R /XYZ " + number(600) + ' ' + number(3000) + " 0]";
        }
    };
    const int links = below(20), patterns = below(4), destinations = below(30);
    PDFBuilder builder;
    QByteArray info = "<<";
    for (const char *key : {"/Title", "/Author", "/Subject", "/Keywords", "/Creator", "/Producer"})
        if (below(2))
            info += QByteArray(key) +
                    (below(2) ? " (text \\(" + number(100) + "\\) \\351)" : " <FEFF4E2D00E9>") + "\n";
    if (below(2))
        info += "/CreationDate (D:20200101000000+01'00')/Custom [1 /two (three)]";
    builder.add(info + ">>");
    builder.add("<</Type /Catalog\n/Pages 3 0 R\n/Dests 7 0 R\n/ViewerPreferences <</DisplayDocTitle true>>" +
                QByteArray(below(2) ? "\n/OpenAction " + destination() : "") + ">>");
    builder.add("<</Type /Pages\n/Count 1\n/Kids [4 0 R]>>");
    const int firstLink = 9, firstPattern = firstLink + links;
    QByteArray page = "<</Type /Page\n/Resources <</Font <</F1 6 0 R>>\n/XObject <</X1 8 0 R>>";
    if (patterns) {
        page += "\n/Pattern <<";
        for (int i = 0; i < patterns; ++i)
            page += "/P" + QByteArray::number(i) + ' ' + QByteArray::number(firstPattern + i) + " 0 R ";
        page += ">>";
    }
    page += ">>\n/MediaBox [" + QByteArray(below(3) ? "0 0" : "-5 -7.5") + " 600 3000.48]";
    if (links) {
        page += "\n/Annots [";
        for (int i = 0; i < links; ++i)
            page += QByteArray::number(firstLink + i) + " 0 R ";
        page += "]";
    }
    builder.add(page + "\n/Contents " + (below(2) ? "5 0 R" : "[5 0 R]") + "\n/Parent 3 0 R>>");
    QByteArray content;
    for (int i = 0; i < patterns; ++i)
        content += "/Pattern cs /P" + QByteArray::number(i) + " scn " + number(300) + ' ' + number(2500) +
                   " 200 300 re f\n";
    for (int i = 0; i < 30; ++i)
        content += "BT /F1 " + QByteArray::number(8 + below(30)) + " Tf " + number(500) + ' ' + number(3000) +
                   " Td (Line) Tj ET\n";
    builder.addStream(content + "/X1 Do\n");
    builder.add("<</Type /Font\n/Subtype /Type1\n/BaseFont /Helvetica>>");
    QByteArray names = "<<";
    for (int i = 0; i < destinations; ++i)
        names += "/n#" + QByteArray::number(0x30 + i, 16) + ' ' + destination() + '\n';
    builder.add(names + ">>");
    builder.addStream("0 1 0 rg " + number(400) + ' ' + number(2500) + " 50 80 re f",
                      "/Type /XObject\n/Subtype /Form\n/BBox [0 0 600 3000]\n/Resources <<>>");
    for (int i = 0; i < links; ++i) {
        QByteArray link =
            "<</Type /Annot\n/Subtype /Link\n/F 4\n/Border [0 0 0]\n/Rect [" + rectangle() + "]";
        if (below(3) == 0)
            link += "\n/QuadPoints [" + rectangle() + ' ' + rectangle() + "]";
        switch (below(3)) {
        case 0:
            link += "\n/Dest " + destination();
            break;
        case 1:
            link += "\n/A <</Type /Action\n/S /GoTo\n/D " + destination() + ">>";
            break;
        default:
            link += "\n/A <</Type /Action\n/S /URI\n/URI (https://example.org/" + number(99) + ")>>";
        }
        builder.add(link + ">>");
    }
    for (int i = 0; i < patterns; ++i) {
        const QByteArray matrix =
            below(2) ? "\n/Matrix [1.5 .25 -.25 1.5 " + number(300) + ' ' + number(2500) + "]" : QByteArray();
        if (below(2))
            builder.add(
                "<</Type /Pattern\n/PatternType 2" + matrix +
                "\n/Shading <</ShadingType 2\n/ColorSpace /DeviceRGB\n/Coords [0 0 200 300]\n/Extend [true "
                "true]\n/Function <</FunctionType 2\n/N 1\n/Domain [0 1]\n/C0 [1 0 0]\n/C1 [0 0 1]>>>>>>");
        else
            builder.addStream("0 0 1 rg 0 0 5 7 re f",
                              "/Type /Pattern\n/PatternType 1\n/PaintType 1\n/TilingType 1\n/BBox [0 0 10 "
                              "10]\n/XStep 10\n/YStep 12\n/Resources <<>>" +
                                  matrix);
    }
    return builder.file(2, 1);
}
