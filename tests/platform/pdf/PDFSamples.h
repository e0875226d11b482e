// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QSizeF>
#include <QStringList>

/// Builds PDF files of the form that the engine writes: one object after the other, a classical
/// cross-reference table, a trailer.
class PDFBuilder {
public:
    /// Adds an object and gives its number, from 1 on.
    int add(const QByteArray &body);
    int addStream(const QByteArray &data, const QByteArray &entries = {});
    /// The whole file. Root and info are object numbers; 0 leaves the info out.
    QByteArray file(int root, int info, const QByteArray &version = "1.4",
                    const QByteArray &trailerEntries = {}) const;

private:
    QList<QByteArray> m_objects;
};

/// One page with text, a gradient pattern, a link, named and outline destinations, and a title and creator.
QByteArray sampleDocument(QSizeF paper = QSizeF(600, 1131.12), const QByteArray &rootEntries = {});

/// What a program prints, standard output only; nil if it fails or cannot be started. "@" in the arguments
/// stands for a file with the data.
QByteArray output(const QString &program, const QStringList &arguments, const QByteArray &data);
/// The line of pdfinfo after "key:".
QString infoLine(const QByteArray &pdf, const QString &key);
/// True if qpdf, poppler and mutool read the file without complaint.
bool isSound(const QByteArray &pdf);
/// A page (counted from 1), drawn by mutool, as a PPM picture.
QByteArray picture(const QByteArray &pdf, int resolution = 72, int page = 1);
/// The file as qpdf writes it with these options; nil if it cannot.
QByteArray rewritten(const QByteArray &pdf, const QStringList &options);
/// A file of the engine's form with random links, destinations, patterns, forms and attributes.
QByteArray randomDocument(unsigned seed);
