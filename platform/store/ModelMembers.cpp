// SPDX-License-Identifier: MIT
#include "platform/store/ModelMembers.h"

#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QUrl>
#include <QUuid>
#include <cmath>
#include <limits>

namespace zr {

void ModelPlace::fail(const QString &why) const {
    QStringList parts;
    if (!file.isEmpty())
        parts << file;
    if (!entity.isEmpty())
        parts << QStringLiteral("entity \"%1\"").arg(entity);
    if (!property.isEmpty())
        parts << QStringLiteral("property \"%1\"").arg(property);
    parts << why;
    throw NSException(NSInvalidArgumentException, parts.join(QStringLiteral(": ")));
}

void ModelPlace::requireName(const QString &name) const {
    constexpr qsizetype Longest = 128;
    static const QRegularExpression names(QStringLiteral("\\A[A-Za-z][A-Za-z0-9_]*\\z"));
    if (name.size() > Longest || !names.match(name).hasMatch())
        fail(QStringLiteral("\"%1\" is no name: a letter is followed by letters, digits and underscores, "
                            "%2 of them at most.")
                 .arg(name.left(Longest))
                 .arg(Longest));
}

ModelMembers::ModelMembers(const ModelPlace &place, const QVariant &object) : m_place(place) {
    if (object.typeId() != QMetaType::QVariantMap)
        m_place.fail(QStringLiteral("An object is expected here."));
    m_members = object.toMap();
}

QVariant ModelMembers::value(const QString &key) {
    return m_members.take(key);
}

QString ModelMembers::text(const QString &key) {
    if (!has(key))
        return {};
    const QVariant given = value(key);
    if (given.typeId() != QMetaType::QString)
        m_place.fail(QStringLiteral("\"%1\" must be a string.").arg(key));
    return given.toString();
}

QString ModelMembers::requiredText(const QString &key) {
    if (!has(key))
        m_place.fail(QStringLiteral("\"%1\" is missing.").arg(key));
    return text(key);
}

bool ModelMembers::flag(const QString &key, bool unlessGiven) {
    if (!has(key))
        return unlessGiven;
    const QVariant given = value(key);
    if (given.typeId() != QMetaType::Bool)
        m_place.fail(QStringLiteral("\"%1\" must be true or false.").arg(key));
    return given.toBool();
}

std::optional<qint64> ModelMembers::count(const QString &key) {
    if (!has(key))
        return {};
    const QVariant given = value(key);
    if (given.typeId() != QMetaType::LongLong || given.toLongLong() < 0)
        m_place.fail(QStringLiteral("\"%1\" must be a whole number that isn't negative.").arg(key));
    return given.toLongLong();
}

QVariantMap ModelMembers::object(const QString &key) {
    if (!has(key))
        return {};
    const QVariant given = value(key);
    if (given.typeId() != QMetaType::QVariantMap)
        m_place.fail(QStringLiteral("\"%1\" must be an object.").arg(key));
    return given.toMap();
}

QVariantList ModelMembers::array(const QString &key) {
    if (!has(key))
        return {};
    const QVariant given = value(key);
    if (given.typeId() != QMetaType::QVariantList)
        m_place.fail(QStringLiteral("\"%1\" must be an array.").arg(key));
    return given.toList();
}

std::optional<int> ModelMembers::choice(const QString &key, const QStringList &texts) {
    if (!has(key))
        return {};
    const qsizetype index = texts.indexOf(text(key));
    if (index < 0)
        m_place.fail(QStringLiteral("\"%1\" must be one of %2.").arg(key, texts.join(QStringLiteral(", "))));
    return int(index);
}

void ModelMembers::end() const {
    if (!m_members.isEmpty())
        m_place.fail(QStringLiteral("\"%1\" has no meaning here.").arg(m_members.firstKey()));
}

namespace {

std::optional<QVariant> wholeNumber(const QVariant &json, qint64 least, qint64 most) {
    if (json.typeId() != QMetaType::LongLong || json.toLongLong() < least || json.toLongLong() > most)
        return {};
    return json;
}

template <typename Integer>
std::optional<QVariant> smallNumber(const QVariant &json) {
    using Limits = std::numeric_limits<Integer>;
    const auto whole = wholeNumber(json, Limits::min(), Limits::max());
    return whole ? std::optional<QVariant>(whole->toInt()) : std::nullopt;
}

bool isNumber(const QVariant &json) {
    return json.typeId() == QMetaType::LongLong || json.typeId() == QMetaType::ULongLong ||
           json.typeId() == QMetaType::Double;
}

std::optional<QVariant> decimal(const QVariant &json) {
    NSDecimalNumber number = NSDecimalNumber::notANumber();
    if (json.typeId() == QMetaType::QString)
        number = NSDecimalNumber(json.toString());
    else if (json.typeId() == QMetaType::LongLong)
        number = NSDecimalNumber(json.toLongLong());
    else if (isNumber(json))
        number = NSDecimalNumber::decimalNumberWithDouble(json.toDouble());
    return number.isNaN() ? std::nullopt : std::optional(QVariant::fromValue(number));
}

std::optional<QVariant> date(const QString &text) {
    const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    return date.isValid() && date.timeSpec() == Qt::UTC ? std::optional<QVariant>(date) : std::nullopt;
}

std::optional<QVariant> textual(NSAttributeType type, const QString &text) {
    switch (type) {
    case NSAttributeType::String:
        return text;
    case NSAttributeType::Date:
        return date(text);
    case NSAttributeType::Data: {
        const auto bytes =
            QByteArray::fromBase64Encoding(text.toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
        // No bytes at all are a value too, which isn't nil.
        return bytes ? std::optional<QVariant>(bytes.decoded.isNull() ? QByteArray("") : bytes.decoded)
                     : std::nullopt;
    }
    case NSAttributeType::URI: {
        const QUrl url(text, QUrl::StrictMode);
        return url.isValid() ? std::optional<QVariant>(url) : std::nullopt;
    }
    case NSAttributeType::UUID: {
        const QUuid uuid = QUuid::fromString(text);
        return uuid.isNull() ? std::nullopt : std::optional<QVariant>(uuid);
    }
    default:
        return {};
    }
}

std::optional<QVariant> valueOfType(NSAttributeType type, const QVariant &json) {
    switch (type) {
    case NSAttributeType::Integer16:
        return smallNumber<qint16>(json);
    case NSAttributeType::Integer32:
        return smallNumber<qint32>(json);
    case NSAttributeType::Integer64:
        return wholeNumber(json, std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max());
    case NSAttributeType::Decimal:
        return decimal(json);
    case NSAttributeType::Double:
        return isNumber(json) ? std::optional<QVariant>(json.toDouble()) : std::nullopt;
    case NSAttributeType::Float:
        return isNumber(json) && std::isfinite(float(json.toDouble()))
                   ? std::optional<QVariant>(float(json.toDouble()))
                   : std::nullopt;
    case NSAttributeType::Boolean:
        return json.typeId() == QMetaType::Bool ? std::optional(json) : std::nullopt;
    default:
        return json.typeId() == QMetaType::QString ? textual(type, json.toString()) : std::nullopt;
    }
}

} // namespace

QVariant modelValue(const ModelPlace &place, NSAttributeType type, const QVariant &json) {
    const auto value = valueOfType(type, json);
    if (!value)
        place.fail(QStringLiteral("\"%1\" is no value of the attribute's type.").arg(json.toString()));
    return *value;
}

} // namespace zr
