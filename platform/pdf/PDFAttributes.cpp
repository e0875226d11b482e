// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFAttributes.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/values/NSNull.h"

#include <QRegularExpression>

namespace {

// Unpaired surrogates, and U+001B, which opens a language code in PDF text, cannot be carried.
QString cleanText(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = std::as_const(text)[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && std::as_const(text)[i + 1].isLowSurrogate())
            ++i;
        else if (c.isSurrogate() || c == QChar(0x1B))
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace

QVariantMap zr::pdfCleanAttributes(const QVariantMap &attributes) {
    QVariantMap clean;
    for (const PDFAttribute &attribute : pdfAttributes) {
        const QVariant value = attributes.value(attribute.name());
        if (NSIsNil(value) || NSIsNull(value))
            continue;
        if (!attribute.isDate) {
            if (value.canConvert<QString>())
                clean.insert(attribute.name(), cleanText(value.toString()));
            continue;
        }
        const QDateTime date = value.toDateTime().toUTC();
        if (date.isValid() && date.date().year() >= 0 && date.date().year() <= 9999)
            clean.insert(attribute.name(), QDateTime::fromSecsSinceEpoch(date.toSecsSinceEpoch(), Qt::UTC));
    }
    return clean;
}

QString zr::pdfDateText(const QDateTime &date) {
    return date.toUTC().toString(u"'D:'yyyyMMddHHmmss") + QStringLiteral("+00'00'");
}

QDateTime zr::pdfDate(const QString &text) {
    static const zr::NeverDestroyed<QRegularExpression> form(
        QStringLiteral("^(?:D:)?(\\d{4})(\\d\\d)?(\\d\\d)?(\\d\\d)?(\\d\\d)?(\\d\\d)?"
                       "(?:([+-])(\\d\\d)?'?(\\d\\d)?)?"));
    const QRegularExpressionMatch match = form->match(text);
    if (!match.hasMatch())
        return {};
    const auto part = [&](int group, int missing) {
        return match.capturedLength(group) > 0 ? match.capturedView(group).toInt() : missing;
    };
    const QDate day(part(1, 0), part(2, 1), part(3, 1));
    const QTime time(part(4, 0), part(5, 0), part(6, 0)), offset(part(8, 0), part(9, 0));
    if (!day.isValid() || !time.isValid() || !offset.isValid())
        return {};
    const int seconds = offset.msecsSinceStartOfDay() / 1000;
    return QDateTime(day, time, Qt::UTC).addSecs(match.capturedView(7) == u"-" ? seconds : -seconds);
}
