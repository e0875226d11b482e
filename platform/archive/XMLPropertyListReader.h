// SPDX-License-Identifier: MIT
#pragma once

#include "platform/archive/DecodingBudget.h"

#include <QByteArray>
#include <QVariant>
#include <QXmlStreamReader>

namespace zr {

/// Reads one XML property list. A dictionary that holds nothing but an integer under "CF$UID" is a reference,
/// as keyed archives in XML have them. Every fault raises NSPropertyListReadCorruptError. One thread.
class XMLPropertyListReader {
public:
    explicit XMLPropertyListReader(const QByteArray &data);

    QVariant read();

private:
    QVariant readValue(int depth);
    QVariant readArray(int depth);
    QVariant readDictionary(int depth);
    QString readText();
    [[noreturn]] void refuse(const QString &reason) const;

    QXmlStreamReader m_xml;
    DecodingBudget m_budget;
};

} // namespace zr
