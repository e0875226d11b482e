// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QDateTime>
#include <QVariantMap>
#include <array>

namespace zr {

/// One attribute: its name in the information dictionary (and, without the slash, in the map), and its kind.
struct PDFAttribute {
    const char *key;
    bool isDate;

    QString name() const { return QString::fromLatin1(key + 1); }
};

inline constexpr std::array<PDFAttribute, 8> pdfAttributes = {{{"/Title", false},
                                                               {"/Author", false},
                                                               {"/Subject", false},
                                                               {"/Keywords", false},
                                                               {"/Creator", false},
                                                               {"/Producer", false},
                                                               {"/CreationDate", true},
                                                               {"/ModDate", true}}};

/// The attributes of a map that a document can have, as they read back.
QVariantMap pdfCleanAttributes(const QVariantMap &attributes);

/// A date string (ISO 32000-1, 7.9.4), to the second, in UTC.
QString pdfDateText(const QDateTime &date);
/// The date of a date string, in UTC; nil if it is not one. Without an offset it counts as UTC.
QDateTime pdfDate(const QString &text);

} // namespace zr
