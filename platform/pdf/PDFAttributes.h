// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <array>

/// One attribute: its name in the information dictionary (and, without the slash, in the map), and its kind.
struct PDFAttribute {
    const char *key;
    bool isDate;

    QString name() const { return QString::fromLatin1(key + 1); }
};

inline constexpr std::array<PDFAttribute, 8> PDFAttributes = {{{"/Title", false},
                                                               {"/Author", false},
                                                               {"/Subject", false},
                                                               {"/Keywords", false},
                                                               {"/Creator", false},
                                                               {"/Producer", false},
                                                               {"/CreationDate", true},
                                                               {"/ModDate", true}}};

/// Adds an attribute from a string of the information dictionary; a date that is none is left out.
void PDFReadAttribute(QVariantMap &attributes, const PDFAttribute &attribute, const QByteArray &bytes);
/// An attribute as a string of the information dictionary; nil where the map lacks it.
QByteArray PDFAttributeBytes(const QVariantMap &attributes, const PDFAttribute &attribute);
/// The attributes of a map that a document can have, as they read back.
QVariantMap PDFCleanAttributes(const QVariantMap &attributes);
