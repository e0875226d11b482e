// SPDX-License-Identifier: MIT
#include "platform/archive/XMLPropertyListReader.h"

#include "platform/archive/NSPropertyList.h"

#include <QDateTime>

using namespace zr;

namespace {

bool parseInteger(QString text, QVariant &value) {
    text = text.trimmed();
    const bool negative = text.startsWith(u'-');
    if (negative || text.startsWith(u'+'))
        text.remove(0, 1);
    int base = 10;
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        text.remove(0, 2);
        base = 16;
    }
    if (text.isEmpty() || !text.at(0).isLetterOrNumber())
        return false;
    bool ok = false;
    const quint64 magnitude = text.toULongLong(&ok, base);
    constexpr quint64 Half = Q_UINT64_C(1) << 63;
    if (!ok || (negative && magnitude > Half))
        return false;
    if (negative)
        value = qlonglong(0 - magnitude);
    else
        value = magnitude < Half ? QVariant(qlonglong(magnitude)) : QVariant(qulonglong(magnitude));
    return true;
}

} // namespace

XMLPropertyListReader::XMLPropertyListReader(const QByteArray &data) : m_xml(data), m_budget(data.size()) {
    m_xml.setNamespaceProcessing(false);
}

QVariant XMLPropertyListReader::read() {
    do {
        m_xml.readNext();
        // Entities of one's own make a small document large, and property lists need none.
        if (m_xml.isDTD() && !m_xml.entityDeclarations().isEmpty())
            refuse(QStringLiteral("a property list that declares entities"));
    } while (!m_xml.atEnd() && !m_xml.isStartElement());
    if (m_xml.name() != QLatin1String("plist"))
        refuse(QStringLiteral("no property list"));
    if (!m_xml.readNextStartElement())
        refuse(QStringLiteral("a property list without a value"));
    QVariant value = readValue(0);
    if (m_xml.readNextStartElement())
        refuse(QStringLiteral("a property list with more than one value"));
    while (!m_xml.atEnd())
        m_xml.readNext();
    if (m_xml.hasError())
        refuse(QStringLiteral("broken XML"));
    return value;
}

QVariant XMLPropertyListReader::readValue(int depth) {
    DecodingBudget::checkDepth(depth);
    m_budget.addValues(1);
    const QStringView name = m_xml.name();
    if (name == QLatin1String("dict"))
        return readDictionary(depth);
    if (name == QLatin1String("array"))
        return readArray(depth);
    if (name == QLatin1String("string"))
        return readText();
    if (name == QLatin1String("true") || name == QLatin1String("false")) {
        const bool truth = name == QLatin1String("true");
        readText();
        return truth;
    }
    if (name == QLatin1String("integer")) {
        QVariant value;
        if (!parseInteger(readText(), value))
            refuse(QStringLiteral("an integer that cannot be read"));
        return value;
    }
    if (name == QLatin1String("real")) {
        bool ok = false;
        const double value = readText().trimmed().toDouble(&ok);
        if (!ok)
            refuse(QStringLiteral("a real that cannot be read"));
        return value;
    }
    if (name == QLatin1String("date")) {
        const QString text = readText().trimmed();
        QDateTime date = QDateTime::fromString(text, Qt::ISODate);
        if (!date.isValid() || !text.endsWith(u'Z'))
            refuse(QStringLiteral("a date that cannot be read"));
        return date.toUTC();
    }
    if (name == QLatin1String("data")) {
        QByteArray text = readText().toLatin1();
        text.removeIf([](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; });
        const auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            refuse(QStringLiteral("data that is no Base64"));
        return decoded.decoded.isNull() ? QByteArray("") : decoded.decoded;
    }
    refuse(QStringLiteral("an element of an unknown kind"));
}

QVariant XMLPropertyListReader::readArray(int depth) {
    QVariantList list;
    while (m_xml.readNextStartElement())
        list.append(readValue(depth + 1));
    return list;
}

QVariant XMLPropertyListReader::readDictionary(int depth) {
    DictionaryBuilder dictionary(m_budget);
    int pairs = 0;
    QVariant reference;
    while (m_xml.readNextStartElement()) {
        if (m_xml.name() != QLatin1String("key"))
            refuse(QStringLiteral("a dictionary without a key where one belongs"));
        const QString key = readText();
        if (!m_xml.readNextStartElement())
            refuse(QStringLiteral("a key without a value"));
        const QVariant value = readValue(depth + 1);
        ++pairs;
        if (key == QLatin1String("CF$UID") && value.metaType().id() == QMetaType::LongLong &&
            value.toLongLong() >= 0)
            reference = value;
        dictionary.insert(key, value);
    }
    if (pairs == 1 && reference.isValid())
        return QVariant::fromValue(NSPropertyListUID{reference.toULongLong()});
    return dictionary.dictionary();
}

QString XMLPropertyListReader::readText() {
    QString text = QStringLiteral("");
    for (;;) {
        switch (m_xml.readNext()) {
        case QXmlStreamReader::Characters:
            text += m_xml.text();
            break;
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction:
            break;
        case QXmlStreamReader::EndElement:
            return text;
        case QXmlStreamReader::EntityReference:
            refuse(QStringLiteral("an unknown entity"));
        default:
            refuse(QStringLiteral("an element where text belongs"));
        }
    }
}

void XMLPropertyListReader::refuse(const QString &reason) const {
    const QString why = m_xml.hasError() ? m_xml.errorString() : reason;
    throw NSException(NSPropertyListReadCorruptError,
                      QStringLiteral("%1 (line %2)").arg(why).arg(m_xml.lineNumber()));
}
