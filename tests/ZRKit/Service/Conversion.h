// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/support/PDFReader.h"

#include <QSizeF>

/// One conversion and what came of it.
struct Conversion {
    explicit Conversion(const QVariant &data, const QString &type = {}, bool tagged = false)
        : pdf(ZRConvertHTML(data, type, tagged).pdfData()), reader(pdf) {}

    bool failed() const { return pdf.isNull(); }
    QSizeF size() const { return PDFDocument(pdf).pageBox(0).size(); }
    int pages() const { return PDFDocument(pdf).pageCount(); }

    const QByteArray pdf;
    const PDFReader reader;
};

/// HTML as a string document, with a doctype before it.
inline QVariant html(const QString &body) {
    return QString(QStringLiteral("<!doctype html>") + body);
}
