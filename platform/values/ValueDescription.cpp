// SPDX-License-Identifier: MIT
#include "platform/base/NSError.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NumberText.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QRectF>
#include <QUrl>
#include <QUuid>
#include <algorithm>

using namespace zr;

namespace {

using namespace NSObjectRuntime;

QString dataText(const QByteArray &data) {
    QString hex = QString::fromLatin1(data.toHex());
    for (qsizetype at = (hex.size() - 1) / 8 * 8; at > 0; at -= 8)
        hex.insert(at, u' ');
    return u'<' + hex + u'>';
}

QString quoted(QString text) {
    const std::pair<char16_t, const char *> escapes[] = {
        {u'\\', "\\\\"}, {u'"', "\\\""}, {u'\n', "\\n"}, {u'\r', "\\r"}, {u'\t', "\\t"}};
    for (const auto &[character, escape] : escapes)
        text.replace(QChar(character), QLatin1String(escape));
    return u'"' + text + u'"';
}

QString pairText(double a, double b) {
    return QStringLiteral("{%1, %2}").arg(NumberText::text(a), NumberText::text(b));
}

QString otherText(const QVariant &value) {
    const QMetaType type = value.metaType();
    if (type == QMetaType::fromType<NSError>())
        return held<NSError>(value).description();
    switch (type.id()) {
    case QMetaType::QUuid:
        return held<QUuid>(value).toString(QUuid::WithoutBraces).toUpper();
    case QMetaType::QPoint:
    case QMetaType::QPointF: {
        const QPointF point = value.toPointF();
        return pairText(point.x(), point.y());
    }
    case QMetaType::QSize:
    case QMetaType::QSizeF: {
        const QSizeF size = value.toSizeF();
        return pairText(size.width(), size.height());
    }
    case QMetaType::QRect:
    case QMetaType::QRectF: {
        const QRectF rect = value.toRectF();
        return QStringLiteral("{%1, %2}")
            .arg(pairText(rect.x(), rect.y()), pairText(rect.width(), rect.height()));
    }
    default:
        break;
    }
    if (value.canConvert<QString>())
        return value.toString();
    return QLatin1Char('<') + className(value) + QLatin1Char('>');
}

/// A dictionary of a class that has a text of its own.
bool describesItself(const QVariant &dictionary) {
    return dictionary.typeId() >= QMetaType::User && dictionary.canConvert<QString>();
}

QString objectText(const QVariant &value) {
    if (const auto text = answer(value, "description"))
        return text->toString();
    if (const QObject *object = objectOf(value))
        return QStringLiteral("<%1: 0x%2>").arg(className(value)).arg(quintptr(object), 0, 16);
    return otherText(value);
}

void writeLines(QString &out, const QStringList &lines, const char *open, const char *close,
                const char *between, const char *last, int indent) {
    out += QLatin1String(open);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        out += u'\n' + QString((qsizetype(indent) + 1) * 4, u' ') + lines[i];
        out += QLatin1String(i + 1 < lines.size() ? between : last);
    }
    if (!lines.isEmpty())
        out += u'\n' + QString(qsizetype(indent) * 4, u' ');
    out += QLatin1String(close);
}

void write(QString &out, const QVariant &given, int indent) {
    QVariant made;
    const QVariant &value = plain(given, made);
    QStringList lines;
    const ValueKind kind = kindOf(value);
    switch (kind) {
    case ValueKind::Nil:
        out += QStringLiteral("(null)");
        return;
    case ValueKind::Null:
        out += QStringLiteral("<null>");
        return;
    case ValueKind::Number:
    case ValueKind::Decimal:
        out += stringValue(value);
        return;
    case ValueKind::String:
        out += held<QString>(value);
        return;
    case ValueKind::Data:
        out += dataText(held<QByteArray>(value));
        return;
    case ValueKind::Date:
        out += held<QDateTime>(value).toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) +
               QStringLiteral(" +0000");
        return;
    case ValueKind::URL:
        out += QString::fromLatin1(held<QUrl>(value).toEncoded());
        return;
    case ValueKind::Array:
    case ValueKind::Set:
        for (const QVariantList elements = arrayOf(value); const QVariant &element : elements)
            lines << descriptionInside(element, indent + 1);
        if (kind == ValueKind::Set)
            lines.sort();
        writeLines(out, lines, kind == ValueKind::Set ? "{(" : "(", kind == ValueKind::Set ? ")}" : ")", ",",
                   "", indent);
        return;
    case ValueKind::Dictionary:
        if (describesItself(value)) {
            out += value.toString();
            return;
        }
        for (const auto &[key, entry] : entriesOf(value))
            lines << key + QStringLiteral(" = ") + descriptionInside(entry, indent + 1);
        writeLines(out, lines, "{", "}", ";", ";", indent);
        return;
    case ValueKind::Object:
    case ValueKind::Gadget:
        out += objectText(value);
        return;
    case ValueKind::Other:
        out += otherText(value);
        return;
    }
}

} // namespace

namespace NSObjectRuntime {

QString description(const QVariant &value) {
    QString text;
    write(text, value, 0);
    return text;
}

QString description(const QVariant &value, int level) {
    const ValueKind kind = kindOf(value);
    const bool isIndented = kind == ValueKind::Array || kind == ValueKind::Set ||
                            (kind == ValueKind::Dictionary && !describesItself(value));
    if (!isIndented)
        return description(value);
    QString text(qsizetype(level) * 4, QLatin1Char(' '));
    write(text, value, level);
    return text;
}

QString descriptionInside(const QVariant &given, int level) {
    QVariant made;
    const QVariant &value = plain(given, made);
    QString text;
    if (kindOf(value) == ValueKind::String)
        text = quoted(held<QString>(value));
    else
        write(text, value, level);
    return text;
}

} // namespace NSObjectRuntime
