// SPDX-License-Identifier: MIT
#include "platform/base/NSError.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"
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
    const QByteArray hex = data.toHex();
    QString text = QStringLiteral("<");
    for (qsizetype at = 0; at < hex.size(); at += 8) {
        if (at > 0)
            text += QLatin1Char(' ');
        text += QLatin1String(hex.constData() + at, std::min<qsizetype>(8, hex.size() - at));
    }
    return text + QLatin1Char('>');
}

QString quoted(const QString &string) {
    QString text = QStringLiteral("\"");
    for (const QChar c : string) {
        switch (c.unicode()) {
        case u'"':
            text += QStringLiteral("\\\"");
            break;
        case u'\\':
            text += QStringLiteral("\\\\");
            break;
        case u'\n':
            text += QStringLiteral("\\n");
            break;
        case u'\r':
            text += QStringLiteral("\\r");
            break;
        case u'\t':
            text += QStringLiteral("\\t");
            break;
        default:
            text += c;
        }
    }
    return text + QLatin1Char('"');
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

void writeNested(QString &out, const QVariant &value, int indent);

void writeLines(QString &out, const QStringList &lines, QLatin1String open, QLatin1String close,
                QLatin1String between, QLatin1String last, int indent) {
    out += open;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        out += QLatin1Char('\n') + QString((qsizetype(indent) + 1) * 4, QLatin1Char(' ')) + lines[i];
        out += i + 1 < lines.size() ? between : last;
    }
    if (!lines.isEmpty())
        out += QLatin1Char('\n') + QString(qsizetype(indent) * 4, QLatin1Char(' '));
    out += close;
}

void write(QString &out, const QVariant &given, int indent) {
    QVariant made;
    const QVariant &value = plain(given, made);
    const auto nested = [&](const QVariant &element) {
        QString text;
        writeNested(text, element, indent + 1);
        return text;
    };
    switch (kindOf(value)) {
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
    case ValueKind::Array: {
        QStringList lines;
        for (const QVariantList elements = arrayOf(value); const QVariant &element : elements)
            lines << nested(element);
        writeLines(out, lines, QLatin1String("("), QLatin1String(")"), QLatin1String(","), {}, indent);
        return;
    }
    case ValueKind::Set: {
        QStringList lines;
        for (const QVariant &element : held<NSSet>(value))
            lines << nested(element);
        lines.sort();
        writeLines(out, lines, QLatin1String("{("), QLatin1String(")}"), QLatin1String(","), {}, indent);
        return;
    }
    case ValueKind::Dictionary: {
        if (describesItself(value)) {
            out += value.toString();
            return;
        }
        QStringList lines;
        for (const auto &[key, entry] : entriesOf(value))
            lines << key + QStringLiteral(" = ") + nested(entry);
        writeLines(out, lines, QLatin1String("{"), QLatin1String("}"), QLatin1String(";"), QLatin1String(";"),
                   indent);
        return;
    }
    case ValueKind::Object:
    case ValueKind::Gadget:
        out += objectText(value);
        return;
    case ValueKind::Other:
        out += otherText(value);
        return;
    }
}

void writeNested(QString &out, const QVariant &given, int indent) {
    QVariant made;
    const QVariant &value = plain(given, made);
    if (kindOf(value) == ValueKind::String)
        out += quoted(held<QString>(value));
    else
        write(out, value, indent);
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

QString descriptionInside(const QVariant &value, int level) {
    QString text;
    writeNested(text, value, level);
    return text;
}

} // namespace NSObjectRuntime
