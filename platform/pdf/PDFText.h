// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

/// Text as PDF can carry it: unpaired surrogates and U+001B (which opens a language code in PDF text) become
/// U+FFFD.
QString PDFCleanText(const QString &text);
/// The bytes of a text string (ISO 32000-1, 7.9.2.2): PDFDocEncoding where it has all characters, else
/// UTF-16BE with its mark.
QByteArray PDFTextBytes(const QString &text);
/// The text of a text string's bytes: PDFDocEncoding, UTF-16BE or UTF-8 by its mark.
QString PDFTextFromBytes(const QByteArray &bytes);

/// A date string (ISO 32000-1, 7.9.4), to the second, in UTC.
QByteArray PDFDateBytes(const QDateTime &date);
/// The date of a date string, in UTC; nil where it is none. Without an offset it counts as UTC.
QDateTime PDFDateFromBytes(const QByteArray &bytes);

/// The bytes of a literal or hexadecimal string token; the token must be a whole one.
QByteArray PDFStringTokenBytes(QByteArrayView token);
/// A string token that stands for the bytes.
QByteArray PDFStringToken(const QByteArray &bytes);
