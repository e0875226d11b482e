// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// What another program (poppler's tools) finds in a PDF.
class PDFReader {
public:
    explicit PDFReader(const QByteArray &pdf) : m_pdf(pdf) {}

    /// The text in reading order, white space made single.
    QString text() const;
    bool contains(const char *text) const { return this->text().contains(QString::fromUtf8(text)); }
    /// The red, green and blue of a point of the first page drawn at one pixel a point, from the top left, as
    /// 0xRRGGBB; -1 outside of the page.
    int pixel(int x, int y) const;
    /// Whether a colour (0xRRGGBB) is anywhere on the first page.
    bool shows(int color) const;
    /// The first page at one pixel a point, as a binary portable pixmap.
    QByteArray picture() const;

private:
    QByteArray run(const char *program, const QStringList &arguments) const;

    const QByteArray m_pdf;
    mutable QByteArray m_picture;
};
