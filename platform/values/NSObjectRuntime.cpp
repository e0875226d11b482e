// SPDX-License-Identifier: MIT
#include "platform/values/NSObjectRuntime.h"

#include "platform/base/NSError.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "platform/values/NumberText.h"

#include <QDateTime>
#include <QDebug>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QRectF>
#include <QUrl>
#include <QUuid>
#include <QVariantHash>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

using namespace zr;

namespace {

using namespace NSObjectRuntime;

// ---- Members by name

/// The class of an object or gadget, and where it is.
struct Instance {
    const QMetaObject *metaObject = nullptr;
    QObject *object = nullptr;
    void *gadget = nullptr;
};

Instance instanceOf(const QVariant &value) {
    if (QObject *object = objectOf(value))
        return {object->metaObject(), object, nullptr};
    const QMetaType type = value.metaType();
    if (type.flags() & QMetaType::IsGadget)
        return {type.metaObject(), nullptr, const_cast<void *>(value.constData())};
    return {};
}

struct Member {
    enum Sort { None, Method, Getter, Setter } sort = None;
    int index = -1;
};

bool callable(const QMetaMethod &method) {
    return method.methodType() == QMetaMethod::Method || method.methodType() == QMetaMethod::Slot;
}

int propertyForSetter(const QMetaObject &metaObject, const QByteArray &name) {
    if (!name.startsWith("set") || name.size() < 4)
        return -1;
    QByteArray property = name.mid(3);
    int index = metaObject.indexOfProperty(property.constData());
    if (index < 0) {
        property[0] = char(std::tolower(uchar(property[0])));
        index = metaObject.indexOfProperty(property.constData());
    }
    return index >= 0 && metaObject.property(index).isWritable() ? index : -1;
}

Member memberOf(const QMetaObject *metaObject, const QByteArray &name, int arguments) {
    if (!metaObject || name.isEmpty())
        return {};
    for (int i = metaObject->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = metaObject->method(i);
        if (method.parameterCount() == arguments && callable(method) && method.name() == name)
            return {Member::Method, i};
    }
    if (arguments == 0) {
        const int index = metaObject->indexOfProperty(name.constData());
        if (index >= 0 && metaObject->property(index).isReadable())
            return {Member::Getter, index};
    } else if (arguments == 1) {
        if (const int index = propertyForSetter(*metaObject, name); index >= 0)
            return {Member::Setter, index};
    }
    return {};
}

[[noreturn]] void raiseNotConvertible(const QVariant &value, const char *type) {
    throw NSException(NSInvalidArgumentException,
                      QStringLiteral("A value of class %1 can't be passed where %2 is expected.")
                          .arg(className(value), QLatin1String(type)));
}

QVariant callMethod(const Instance &instance, const QMetaMethod &method, const QVariantList &arguments) {
    constexpr int Most = 10; // what Qt's own invocation takes
    const auto count = arguments.size();
    if (count > Most || count != method.parameterCount())
        throw NSException(NSInvalidArgumentException, QStringLiteral("%1 takes %2 arguments, not %3.")
                                                          .arg(QString::fromLatin1(method.name()))
                                                          .arg(method.parameterCount())
                                                          .arg(count));
    std::array<QVariant, Most> values;
    std::array<QByteArray, Most> names;
    std::array<QGenericArgument, Most> passed;
    for (int i = 0; i < count; ++i) {
        const QMetaType type = method.parameterMetaType(i);
        names[i] = method.parameterTypeName(i);
        if (type.id() == QMetaType::QVariant) {
            values[i] = arguments[i];
            passed[i] = QGenericArgument(names[i].constData(), &values[i]);
            continue;
        }
        values[i] = converted(arguments[i], type);
        if (!values[i].isValid())
            raiseNotConvertible(arguments[i], names[i].constData());
        passed[i] = QGenericArgument(names[i].constData(), values[i].constData());
    }
    const QMetaType resultType = method.returnMetaType();
    QVariant result;
    QGenericReturnArgument returned;
    if (resultType.id() == QMetaType::QVariant) {
        returned = QGenericReturnArgument(method.typeName(), &result);
    } else if (resultType.isValid() && resultType.id() != QMetaType::Void) {
        result = QVariant(resultType);
        returned = QGenericReturnArgument(method.typeName(), result.data());
    }
    const bool called =
        instance.object
            ? method.invoke(instance.object, Qt::DirectConnection, returned, passed[0], passed[1], passed[2],
                            passed[3], passed[4], passed[5], passed[6], passed[7], passed[8], passed[9])
            : method.invokeOnGadget(instance.gadget, returned, passed[0], passed[1], passed[2], passed[3],
                                    passed[4], passed[5], passed[6], passed[7], passed[8], passed[9]);
    if (!called)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("%1 can't be called by its name.").arg(QString::fromLatin1(method.name())));
    return result;
}

QVariant callMember(const Instance &instance, Member member, const QVariantList &arguments) {
    if (member.sort == Member::Method)
        return callMethod(instance, instance.metaObject->method(member.index), arguments);
    const QMetaProperty property = instance.metaObject->property(member.index);
    if (member.sort == Member::Getter)
        return instance.object ? property.read(instance.object) : property.readOnGadget(instance.gadget);
    const QVariant value = converted(arguments.front(), property.metaType());
    if (!value.isValid() && property.metaType().id() != QMetaType::QVariant)
        raiseNotConvertible(arguments.front(), property.typeName());
    if (instance.object)
        property.write(instance.object, value);
    else
        property.writeOnGadget(instance.gadget, value);
    return {};
}

// ---- Numbers

struct Number {
    enum Sort { Signed, Unsigned, Real } sort = Signed;
    qint64 whole = 0;
    quint64 large = 0;
    double real = 0;

    double asDouble() const {
        return sort == Signed ? double(whole) : sort == Unsigned ? double(large) : real;
    }
};

Number numberOf(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::Float:
        return {Number::Real, 0, 0, double(held<float>(value))};
    case QMetaType::Double:
        return {Number::Real, 0, 0, held<double>(value)};
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const quint64 large = value.toULongLong();
        if (large > quint64(std::numeric_limits<qint64>::max()))
            return {Number::Unsigned, 0, large, 0};
        return {Number::Signed, qint64(large), 0, 0};
    }
    default:
        return {Number::Signed, value.toLongLong(), 0, 0};
    }
}

template <typename T>
NSComparisonResult order(const T &a, const T &b) {
    return a < b ? NSOrderedAscending : b < a ? NSOrderedDescending : NSOrderedSame;
}

NSComparisonResult reversed(NSComparisonResult result) {
    return NSComparisonResult(-int(result));
}

/// An integer against a double without rounding the integer.
NSComparisonResult orderWholeReal(const Number &whole, double real) {
    if (std::isnan(real))
        return NSOrderedDescending;
    if (real < -0x1p63)
        return NSOrderedDescending;
    if (real >= 0x1p64)
        return NSOrderedAscending;
    const double floor = std::floor(real);
    NSComparisonResult result;
    if (whole.sort == Number::Unsigned)
        result = floor < 0x1p63 ? NSOrderedDescending : order(whole.large, quint64(floor));
    else
        result = floor >= 0x1p63 ? NSOrderedAscending : order(whole.whole, qint64(floor));
    return result == NSOrderedSame && real > floor ? NSOrderedAscending : result;
}

NSComparisonResult orderNumbers(const Number &a, const Number &b) {
    if (a.sort == Number::Real && b.sort == Number::Real) {
        if (std::isnan(a.real) || std::isnan(b.real))
            return order(!std::isnan(a.real), !std::isnan(b.real));
        return order(a.real, b.real);
    }
    if (b.sort == Number::Real)
        return orderWholeReal(a, b.real);
    if (a.sort == Number::Real)
        return reversed(orderWholeReal(b, a.real));
    if (a.sort != b.sort)
        return a.sort == Number::Unsigned ? NSOrderedDescending : NSOrderedAscending;
    return a.sort == Number::Signed ? order(a.whole, b.whole) : order(a.large, b.large);
}

NSComparisonResult orderDecimals(const NSDecimalNumber &a, const NSDecimalNumber &b) {
    return order(a, b);
}

/// A double counts as the decimal of its shortest text, so that 0.1 equals 0.1, and a whole one as what it is
/// exactly.
NSComparisonResult orderDecimalNumber(const NSDecimalNumber &decimal, const Number &number) {
    if (number.sort == Number::Signed)
        return orderDecimals(decimal, NSDecimalNumber(number.whole));
    if (number.sort == Number::Unsigned)
        return orderDecimals(decimal, NSDecimalNumber(number.large));
    if (number.real == std::floor(number.real) && number.real >= -0x1p63 && number.real < 0x1p63)
        return orderDecimals(decimal, NSDecimalNumber(qint64(number.real)));
    const NSDecimalNumber other = NSDecimalNumber::decimalNumberWithDouble(number.real);
    if (!decimal.isNaN() && !other.isNaN() && !other.isZero())
        return orderDecimals(decimal, other);
    return orderNumbers({Number::Real, 0, 0, decimal.doubleValue()}, number);
}

bool isNumeric(ValueKind kind) {
    return kind == ValueKind::Number || kind == ValueKind::Decimal;
}

NSComparisonResult orderNumeric(const QVariant &a, ValueKind kindA, const QVariant &b, ValueKind kindB) {
    if (kindA == ValueKind::Number && kindB == ValueKind::Number)
        return orderNumbers(numberOf(a), numberOf(b));
    if (kindB == ValueKind::Number)
        return orderDecimalNumber(held<NSDecimalNumber>(a), numberOf(b));
    if (kindA == ValueKind::Number)
        return reversed(orderDecimalNumber(held<NSDecimalNumber>(b), numberOf(a)));
    return orderDecimals(held<NSDecimalNumber>(a), held<NSDecimalNumber>(b));
}

// ---- Equality of containers

bool equalArrays(const QVariant &a, const QVariant &b) {
    const QVariantList one = arrayOf(a), other = arrayOf(b);
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), isEqual);
}

bool equalDictionaries(const QVariant &a, const QVariant &b) {
    const QVariantMap one = dictionaryOf(a), other = dictionaryOf(b);
    return one.size() == other.size() && std::equal(one.keyValueBegin(), one.keyValueEnd(),
                                                    other.keyValueBegin(), [](const auto &x, const auto &y) {
                                                        return x.first == y.first &&
                                                               isEqual(x.second, y.second);
                                                    });
}

bool equalSets(const NSSet &one, const NSSet &other) {
    if (one.size() != other.size())
        return false;
    return std::all_of(one.begin(), one.end(), [&](const QVariant &element) {
        return other.contains(element) ||
               std::any_of(other.begin(), other.end(),
                           [&](const QVariant &candidate) { return isEqual(element, candidate); });
    });
}

// ---- Descriptions

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

void write(QString &out, const QVariant &value, int indent) {
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

void writeNested(QString &out, const QVariant &value, int indent) {
    if (kindOf(value) == ValueKind::String)
        out += quoted(held<QString>(value));
    else
        write(out, value, indent);
}

} // namespace

namespace NSObjectRuntime {

QString className(const QVariant &value) {
    const ValueKind kind = kindOf(value);
    if (kind == ValueKind::Nil)
        return {};
    if (kind == ValueKind::Null)
        return QStringLiteral("NSNull");
    const Instance instance = instanceOf(value);
    const QString name =
        QString::fromUtf8(instance.metaObject ? instance.metaObject->className() : value.metaType().name());
    const qsizetype arguments = name.indexOf(QLatin1Char('<'));
    const qsizetype scope = name.lastIndexOf(QStringLiteral("::"), arguments < 0 ? -1 : arguments);
    return scope < 0 ? name : name.mid(scope + 2);
}

bool isEqual(const QVariant &a, const QVariant &b) {
    const ValueKind kind = kindOf(a), other = kindOf(b);
    if (isNumeric(kind) && isNumeric(other))
        return orderNumeric(a, kind, b, other) == NSOrderedSame;
    if (kind != other)
        return false;
    switch (kind) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return true;
    case ValueKind::Array:
        return equalArrays(a, b);
    case ValueKind::Dictionary:
        return equalDictionaries(a, b);
    case ValueKind::Set:
        return equalSets(held<NSSet>(a), held<NSSet>(b));
    case ValueKind::Object: {
        if (objectOf(a) == objectOf(b))
            return true;
        const NSSelector selector("isEqual:");
        return respondsTo(a, selector) && perform(a, selector, {b}).toBool();
    }
    default:
        return a == b;
    }
}

size_t hash(const QVariant &value) {
    if (objectOf(value)) {
        if (const auto own = answer(value, "hash"))
            return size_t(own->toULongLong());
    }
    return qHash(value, 0);
}

NSComparisonResult compare(const QVariant &a, const QVariant &b) {
    const ValueKind kind = kindOf(a), other = kindOf(b);
    if (kind == ValueKind::Nil || other == ValueKind::Nil)
        return order(kind != ValueKind::Nil, other != ValueKind::Nil);
    if (isNumeric(kind) && isNumeric(other))
        return orderNumeric(a, kind, b, other);
    const NSSelector selector("compare:");
    if (kind == ValueKind::Object || kind == ValueKind::Gadget)
        return NSComparisonResult(std::clamp(perform(a, selector, {b}).toInt(), -1, 1));
    if (kind == other && kind == ValueKind::String)
        return NSComparisonResult(std::clamp(held<QString>(a).compare(held<QString>(b)), -1, 1));
    if (kind == other && kind == ValueKind::Date)
        return order(held<QDateTime>(a), held<QDateTime>(b));
    throw NSException(NSInvalidArgumentException,
                      QStringLiteral("There is no order between %1 and %2.").arg(className(a), className(b)));
}

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

bool hasStringValue(const QVariant &value) {
    switch (kindOf(value)) {
    case ValueKind::Number:
    case ValueKind::Decimal:
    case ValueKind::String:
        return true;
    case ValueKind::Object:
    case ValueKind::Gadget:
        return respondsTo(value, NSSelector("stringValue"));
    default:
        return false;
    }
}

QString stringValue(const QVariant &value) {
    switch (kindOf(value)) {
    case ValueKind::Number: {
        if (value.typeId() == QMetaType::Float)
            return NumberText::text(held<float>(value));
        const Number number = numberOf(value);
        return number.sort == Number::Signed     ? QString::number(number.whole)
               : number.sort == Number::Unsigned ? QString::number(number.large)
                                                 : NumberText::text(number.real);
    }
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(value).stringValue();
    case ValueKind::String:
        return held<QString>(value);
    case ValueKind::Object:
    case ValueKind::Gadget: {
        const auto own = answer(value, "stringValue");
        return own ? own->toString() : QString();
    }
    default:
        return {};
    }
}

double doubleValue(const QVariant &value) {
    switch (kindOf(value)) {
    case ValueKind::Number:
        return numberOf(value).asDouble();
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(value).doubleValue();
    case ValueKind::String:
        return NumberText::doubleValue(held<QString>(value));
    case ValueKind::Date:
        return double(held<QDateTime>(value).toMSecsSinceEpoch()) / 1000;
    case ValueKind::Object:
    case ValueKind::Gadget: {
        const auto own = answer(value, "doubleValue");
        return own ? own->toDouble() : 0;
    }
    default:
        return 0;
    }
}

bool respondsTo(const QVariant &receiver, const NSSelector &selector) {
    return memberOf(instanceOf(receiver).metaObject, selector.methodName(), selector.argumentCount()).sort !=
           Member::None;
}

std::optional<QVariant> answer(const QVariant &receiver, const char *name) {
    const Instance instance = instanceOf(receiver);
    // The name needs no memory of its own.
    const Member member = memberOf(instance.metaObject, QByteArray::fromRawData(name, qstrlen(name)), 0);
    if (member.sort == Member::None)
        return std::nullopt;
    return callMember(instance, member, {});
}

QMetaType argumentType(const QVariant &receiver, const NSSelector &selector, int index) {
    const QMetaObject *metaObject = instanceOf(receiver).metaObject;
    const Member member = memberOf(metaObject, selector.methodName(), selector.argumentCount());
    if (member.sort == Member::Setter && index == 0)
        return metaObject->property(member.index).metaType();
    if (member.sort == Member::Method && index >= 0 && index < selector.argumentCount())
        return metaObject->method(member.index).parameterMetaType(index);
    return {};
}

QVariant perform(const QVariant &receiver, const NSSelector &selector, const QVariantList &arguments) {
    if (kindOf(receiver) == ValueKind::Nil)
        return {};
    const Instance instance = instanceOf(receiver);
    const Member member = memberOf(instance.metaObject, selector.methodName(), selector.argumentCount());
    if (member.sort == Member::None)
        raiseUnrecognized(receiver, selector);
    if (arguments.size() != selector.argumentCount())
        throw NSException(NSInvalidArgumentException, QStringLiteral("%1 takes %2 arguments, not %3.")
                                                          .arg(selector.name())
                                                          .arg(selector.argumentCount())
                                                          .arg(arguments.size()));
    return callMember(instance, member, arguments);
}

QVariant converted(const QVariant &value, QMetaType type) {
    if (!type.isValid())
        return {};
    if (type.id() == QMetaType::QVariant || value.metaType() == type)
        return value;
    const ValueKind kind = kindOf(value);
    if (kind == ValueKind::Nil || kind == ValueKind::Null)
        return QVariant(type);
    if (type == QMetaType::fromType<NSDecimalNumber>()) {
        if (kind == ValueKind::Number || kind == ValueKind::String)
            return QVariant::fromValue(NSDecimalNumber(stringValue(value)));
        return {};
    }
    QVariant result = value;
    if (kind == ValueKind::Decimal) {
        const auto &decimal = held<NSDecimalNumber>(value);
        switch (type.id()) {
        case QMetaType::QString:
            return decimal.stringValue();
        case QMetaType::Bool:
            return !decimal.isZero();
        case QMetaType::Double:
        case QMetaType::Float:
            result = decimal.doubleValue();
            break;
        case QMetaType::ULongLong:
        case QMetaType::ULong:
            result = decimal.unsignedLongLongValue();
            break;
        default:
            result = decimal.longLongValue();
        }
    }
    return result.convert(type) ? result : QVariant();
}

QStringList methodNames(const QMetaObject &metaObject) {
    QStringList names;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        if (callable(method))
            names << QString::fromUtf8(method.name()) + QString(method.parameterCount(), QLatin1Char(':'));
    }
    return names;
}

QStringList propertyNames(const QMetaObject &metaObject) {
    QStringList names;
    for (int i = metaObject.propertyOffset(); i < metaObject.propertyCount(); ++i)
        names << QString::fromUtf8(metaObject.property(i).name());
    return names;
}

void raiseUnrecognized(const QVariant &receiver, const NSSelector &selector) {
    throw NSException(
        NSInvalidArgumentException,
        QStringLiteral("%1 doesn't respond to the message %2.").arg(className(receiver), selector.name()));
}

} // namespace NSObjectRuntime
