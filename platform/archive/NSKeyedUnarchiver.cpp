// SPDX-License-Identifier: MIT
#include "platform/archive/NSKeyedUnarchiver.h"

#include "platform/archive/BinaryPropertyListReader.h"
#include "platform/archive/DecodingBudget.h"
#include "platform/archive/NSPropertyList.h"
#include "platform/archive/PropertyListDate.h"
#include "platform/base/NSError.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"

#include <QHash>
#include <QStringDecoder>
#include <QUrl>
#include <QUuid>
#include <QtEndian>
#include <optional>
#include <vector>

using namespace zr;

namespace {

/// No known class has nearly as many fields; looking through them must stay cheap.
constexpr quint64 MaxFields = 64;

/// Fields that refer to objects that hold their content in fields that refer to objects, and so on.
constexpr int MaxIndirections = 4;

[[noreturn]] void refuse(const QString &reason) {
    throw NSException(NSInvalidUnarchiveOperationException, reason);
}

[[noreturn]] Q_NEVER_INLINE void refuse(const char *reason) {
    refuse(QString::fromLatin1(reason));
}

template <typename T>
const T *as(const QVariant &value) {
    return value.metaType() == QMetaType::fromType<T>() ? static_cast<const T *>(value.constData()) : nullptr;
}

class Unarchiver {
public:
    explicit Unarchiver(const QByteArray &data)
        : m_reader(data), m_budget(data.size()), m_plain(m_reader.count()) {}

    QVariant unarchive();

private:
    using Reader = BinaryPropertyListReader;
    using Ref = Reader::Ref;
    using Object = Reader::Object;
    using Kind = Reader::Kind;
    using Value = DecodedValue;
    using State = Value::State;
    /// Decodes an object of a class; adds to the size of the value that it becomes.
    using Decoder = QVariant (Unarchiver::*)(const Object &object, Value &into, int depth);

    /// The object of an archive's number.
    const Value &decode(quint64 uid, int depth);
    QVariant decodeString(const Object &object, Value &into, int depth);
    QVariant decodeData(const Object &object, Value &into, int depth);
    QVariant decodeDate(const Object &object, Value &into, int depth);
    QVariant decodeNull(const Object &, Value &, int) { return NSNull(); }
    QVariant decodeNumber(const Object &object, Value &into, int depth);
    QVariant decodeUuid(const Object &object, Value &into, int depth);
    QVariant decodeUrl(const Object &object, Value &into, int depth);
    QVariant decodeError(const Object &object, Value &into, int depth);
    QVariant decodeDecimal(const Object &object, Value &into, int depth);
    QVariant decodeArray(const Object &object, Value &into, int depth);
    QVariant decodeSet(const Object &object, Value &into, int depth);
    QVariant decodeDictionary(const Object &object, Value &into, int depth);

    Decoder decoderOf(const Object &object);
    static Decoder decoderNamed(const QString &className);
    std::optional<Ref> field(const Object &object, QByteArrayView name);
    Ref required(const Object &object, QByteArrayView name);
    /// A field's value: the object it refers to, or what it holds itself. It is a part of the field's owner
    /// and no level of its own.
    const Value &attribute(Ref ref, int depth);
    template <typename T>
    T requiredAttribute(const Object &object, QByteArrayView name, Value &into, int depth);
    qint64 integer(const Object &object, QByteArrayView name);
    quint64 reference(Ref ref) { return Reader::uid(expect(ref, Kind::Uid)); }
    Object expect(Ref ref, Kind kind);
    Object elements(const Object &object, QByteArrayView name);
    /// A plain value; each is read once, however often it is used.
    const Value &plain(Ref ref, const Object &object);

    Reader m_reader;
    DecodingBudget m_budget;
    std::vector<Value> m_plain;
    std::vector<Value> m_values;
    QHash<quint64, Decoder> m_classes;
    Object m_objects{};
    int m_indirections = 0;
};

QVariant Unarchiver::unarchive() {
    const Object archive = expect(m_reader.top(), Kind::Dictionary);
    const Object archiver = m_reader.object(required(archive, "$archiver"));
    if (!Reader::isText(archiver, "NSKeyedArchiver"))
        refuse("the archive is of another archiver");
    if (integer(archive, "$version") != 100000)
        refuse("the archive is of another version");
    m_objects = expect(required(archive, "$objects"), Kind::Array);
    if (m_objects.count == 0 || !Reader::isText(m_reader.object(m_reader.element(m_objects, 0)), "$null"))
        refuse("the archive lacks its null object");
    m_budget.addValues(m_objects.count);
    m_values.resize(m_objects.count);
    m_values[0].state = State::Read;
    const Object top = expect(required(archive, "$top"), Kind::Dictionary);
    return decode(reference(required(top, "root")), 0).value;
}

const Unarchiver::Value &Unarchiver::decode(quint64 uid, int depth) {
    if (uid >= m_values.size())
        refuse("a reference points past the last object");
    Value &value = m_values[uid];
    if (value.state == State::Read)
        return value;
    if (value.state == State::Open)
        refuse("an object holds itself");
    DecodingBudget::checkDepth(depth);
    const Ref ref = m_reader.element(m_objects, uid);
    const Object object = m_reader.object(ref);
    if (object.kind == Kind::Dictionary) {
        value.state = State::Open;
        value.value = (this->*decoderOf(object))(object, value, depth);
    } else {
        value = plain(ref, object);
    }
    value.state = State::Read;
    return value;
}

QVariant Unarchiver::decodeDate(const Object &object, Value &, int) {
    const Object seconds = expect(required(object, "NS.time"), Kind::Real);
    return PropertyListDate::fromSeconds(Reader::scalar(seconds).toDouble());
}

QVariant Unarchiver::decodeUuid(const Object &object, Value &into, int depth) {
    const auto bytes = requiredAttribute<QByteArray>(object, "NS.uuidbytes", into, depth);
    if (bytes.size() != 16)
        refuse("a UUID is not of 16 bytes");
    return QUuid::fromRfc4122(bytes);
}

QVariant Unarchiver::decodeString(const Object &object, Value &into, int depth) {
    if (field(object, "NS.string"))
        return requiredAttribute<QString>(object, "NS.string", into, depth);
    const auto bytes = requiredAttribute<QByteArray>(object, "NS.bytes", into, depth);
    m_budget.addWork(quint64(bytes.size()));
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    if (decoder.hasError())
        refuse("a string is no valid UTF-8");
    return text.isNull() ? QStringLiteral("") : text;
}

QVariant Unarchiver::decodeData(const Object &object, Value &into, int depth) {
    return requiredAttribute<QByteArray>(object, field(object, "NS.data") ? "NS.data" : "NS.bytes", into,
                                         depth);
}

QVariant Unarchiver::decodeNumber(const Object &object, Value &, int) {
    for (const char *name : {"NS.number", "NS.boolval", "NS.intval", "NS.dblval"}) {
        const auto ref = field(object, name);
        if (!ref)
            continue;
        const Object number = m_reader.object(*ref);
        if (number.kind != Kind::Bool && number.kind != Kind::Integer && number.kind != Kind::Real)
            break;
        return Reader::scalar(number);
    }
    refuse("a number has no value");
}

QVariant Unarchiver::decodeUrl(const Object &object, Value &into, int depth) {
    const auto relative = requiredAttribute<QString>(object, "NS.relative", into, depth);
    m_budget.addWork(2 * quint64(relative.size()));
    QUrl url = QUrl::fromEncoded(relative.toUtf8());
    const bool readable = relative.isEmpty() || url.isValid();
    if (const auto ref = field(object, "NS.base")) {
        const Value &base = attribute(*ref, depth);
        if (const QUrl *baseUrl = as<QUrl>(base.value)) {
            m_budget.addWork(base.size.bytes);
            into.size.addContent(base.size);
            url = baseUrl->resolved(url);
        } else if (base.value.isValid()) {
            refuse("the base of a URL is no URL");
        }
    }
    if (readable && url.isEmpty())
        return {};
    // One URL has several forms that QUrl keeps apart: the encoded one is what archives hold.
    url = QUrl::fromEncoded(url.toEncoded());
    if (!readable || !url.isValid() || url.isEmpty())
        refuse(QStringLiteral("a URL cannot be read: %1").arg(url.errorString()));
    return url;
}

QVariant Unarchiver::decodeError(const Object &object, Value &into, int depth) {
    const auto domain = requiredAttribute<QString>(object, "NSDomain", into, depth);
    const qint64 code = integer(object, "NSCode");
    QVariantMap details;
    if (const auto ref = field(object, "NSUserInfo")) {
        const Value &userInfo = decode(reference(*ref), depth + 1);
        if (const QVariantMap *map = as<QVariantMap>(userInfo.value)) {
            into.size.addElement(userInfo.size);
            details = *map;
        } else if (userInfo.value.isValid()) {
            refuse("the details of an error are no dictionary");
        }
    }
    return QVariant::fromValue(NSError(domain, code, details));
}

QVariant Unarchiver::decodeDecimal(const Object &object, Value &, int) {
    const qint64 exponent = integer(object, "NS.exponent");
    const qint64 length = integer(object, "NS.length");
    const bool negative = expect(required(object, "NS.negative"), Kind::Bool).truth;
    const Object mantissa = expect(required(object, "NS.mantissa"), Kind::Data);
    // 1 is little-endian, 2 big-endian; 0 stands for the writer's own order, little-endian on every machine
    // in use.
    const qint64 order = field(object, "NS.mantissa.bo") ? integer(object, "NS.mantissa.bo") : 1;
    if (exponent < NSDecimalNumber::MinExponent || exponent > NSDecimalNumber::MaxExponent || length < 0 ||
        length > 8 || mantissa.count < 2 * quint64(length) || mantissa.count > 16 || order < 0 || order > 2)
        refuse("a decimal number is out of range");
    if (length == 0 && negative)
        return QVariant::fromValue(NSDecimalNumber::notANumber());
    quint64 halves[2] = {};
    for (int i = 0; i < length; ++i) {
        const uchar *part = mantissa.payload + ptrdiff_t(2) * i;
        const quint64 bits = order == 2 ? qFromBigEndian<quint16>(part) : qFromLittleEndian<quint16>(part);
        halves[i / 4] |= bits << (16 * (i % 4));
    }
    return QVariant::fromValue(NSDecimalNumber(halves[1], halves[0], int(exponent), negative));
}

QVariant Unarchiver::decodeArray(const Object &object, Value &into, int depth) {
    const Object array = elements(object, "NS.objects");
    QVariantList list;
    list.reserve(qsizetype(array.count));
    for (quint64 i = 0; i < array.count; ++i) {
        const Value &element = decode(reference(m_reader.element(array, i)), depth + 1);
        into.size.addElement(element.size);
        list.append(element.value);
    }
    return list;
}

QVariant Unarchiver::decodeSet(const Object &object, Value &into, int depth) {
    const Object array = elements(object, "NS.objects");
    SetBuilder set(m_budget);
    for (quint64 i = 0; i < array.count; ++i) {
        const Value &element = decode(reference(m_reader.element(array, i)), depth + 1);
        into.size.addElement(element.size);
        set.insert(element.value, element.size);
    }
    return set.set();
}

QVariant Unarchiver::decodeDictionary(const Object &object, Value &into, int depth) {
    const Object keys = elements(object, "NS.keys");
    const Object values = elements(object, "NS.objects");
    if (keys.count != values.count)
        refuse(QStringLiteral("a dictionary has %1 keys for %2 values").arg(keys.count).arg(values.count));
    DictionaryBuilder dictionary(m_budget);
    for (quint64 i = 0; i < keys.count; ++i) {
        const Value &key = decode(reference(m_reader.element(keys, i)), depth + 1);
        const QString *text = as<QString>(key.value);
        if (!text)
            refuse("the key of a dictionary is no string");
        const Value &value = decode(reference(m_reader.element(values, i)), depth + 1);
        into.size.addElement(key.size);
        into.size.addElement(value.size);
        dictionary.insert(*text, value.value);
    }
    return dictionary.dictionary();
}

Unarchiver::Decoder Unarchiver::decoderNamed(const QString &className) {
    static const zr::NeverDestroyed known(QHash<QString, Decoder>{
        {QStringLiteral("NSArray"), &Unarchiver::decodeArray},
        {QStringLiteral("NSMutableArray"), &Unarchiver::decodeArray},
        {QStringLiteral("NSData"), &Unarchiver::decodeData},
        {QStringLiteral("NSMutableData"), &Unarchiver::decodeData},
        {QStringLiteral("NSDate"), &Unarchiver::decodeDate},
        {QStringLiteral("NSDecimalNumber"), &Unarchiver::decodeDecimal},
        {QStringLiteral("NSDictionary"), &Unarchiver::decodeDictionary},
        {QStringLiteral("NSMutableDictionary"), &Unarchiver::decodeDictionary},
        {QStringLiteral("NSError"), &Unarchiver::decodeError},
        {QStringLiteral("NSNull"), &Unarchiver::decodeNull},
        {QStringLiteral("NSNumber"), &Unarchiver::decodeNumber},
        {QStringLiteral("NSSet"), &Unarchiver::decodeSet},
        {QStringLiteral("NSMutableSet"), &Unarchiver::decodeSet},
        {QStringLiteral("NSString"), &Unarchiver::decodeString},
        {QStringLiteral("NSMutableString"), &Unarchiver::decodeString},
        {QStringLiteral("NSURL"), &Unarchiver::decodeUrl},
        {QStringLiteral("NSUUID"), &Unarchiver::decodeUuid},
    });
    return known->value(className);
}

Unarchiver::Decoder Unarchiver::decoderOf(const Object &object) {
    const quint64 uid = reference(required(object, "$class"));
    if (const auto known = m_classes.constFind(uid); known != m_classes.constEnd())
        return *known;
    if (uid >= m_objects.count)
        refuse("a class is missing");
    const Object description = expect(m_reader.element(m_objects, uid), Kind::Dictionary);
    const Ref nameRef = required(description, "$classname");
    const QString name = plain(nameRef, expect(nameRef, Kind::Ascii)).value.toString();
    const Decoder found = decoderNamed(name);
    if (!found)
        refuse(QStringLiteral("an object of the class %1 cannot be decoded").arg(name.left(200)));
    m_classes.insert(uid, found);
    return found;
}

std::optional<Unarchiver::Ref> Unarchiver::field(const Object &object, QByteArrayView name) {
    if (object.count > MaxFields)
        refuse(QStringLiteral("an object has more than %1 fields").arg(MaxFields));
    for (quint64 i = 0; i < object.count; ++i) {
        if (Reader::isText(m_reader.object(m_reader.element(object, i)), name))
            return m_reader.value(object, i);
    }
    return std::nullopt;
}

Unarchiver::Ref Unarchiver::required(const Object &object, QByteArrayView name) {
    const auto ref = field(object, name);
    if (!ref)
        refuse(QStringLiteral("an object lacks its %1").arg(QLatin1String(name)));
    return *ref;
}

const Unarchiver::Value &Unarchiver::attribute(Ref ref, int depth) {
    const Object object = m_reader.object(ref);
    if (object.kind != Kind::Uid)
        return plain(ref, object);
    if (++m_indirections > MaxIndirections)
        refuse("an object refers to its content by too many steps");
    const Value &value = decode(Reader::uid(object), depth);
    --m_indirections;
    return value;
}

template <typename T>
T Unarchiver::requiredAttribute(const Object &object, QByteArrayView name, Value &into, int depth) {
    const Value &value = attribute(required(object, name), depth);
    const T *content = as<T>(value.value);
    if (!content)
        refuse(QStringLiteral("the field %1 is of the wrong kind").arg(QLatin1String(name)));
    into.size.addContent(value.size);
    return *content;
}

qint64 Unarchiver::integer(const Object &object, QByteArrayView name) {
    const QVariant value = Reader::scalar(expect(required(object, name), Kind::Integer));
    if (value.metaType().id() != QMetaType::LongLong)
        refuse(QStringLiteral("the field %1 is out of range").arg(QLatin1String(name)));
    return value.toLongLong();
}

BinaryPropertyListReader::Object Unarchiver::expect(Ref ref, Kind kind) {
    const Object object = m_reader.object(ref);
    if (object.kind != kind)
        refuse("an object of the archive is of the wrong kind");
    return object;
}

BinaryPropertyListReader::Object Unarchiver::elements(const Object &object, QByteArrayView name) {
    const Object array = expect(required(object, name), Kind::Array);
    m_budget.addValues(array.count);
    return array;
}

const Unarchiver::Value &Unarchiver::plain(Ref ref, const Object &object) {
    Value &value = m_plain[ref];
    if (value.state == State::Unread) {
        if (object.isContainer() || object.kind == Kind::Uid || object.kind == Kind::Null)
            refuse("an object of the archive is of the wrong kind");
        value.value = Reader::scalar(object);
        value.size.bytes = 2 * object.count;
        value.state = State::Read;
    }
    return value;
}

} // namespace

QVariant NSKeyedUnarchiver::unarchiveObjectWithData(const QByteArray &data) {
    try {
        if (data.isEmpty())
            refuse("no archive: the data is empty");
        // An XML archive is the same tree in other bytes.
        if (!BinaryPropertyListReader::isBinaryPropertyList(data))
            return Unarchiver(
                       NSPropertyList::dataFromPropertyList(NSPropertyList::propertyListFromData(data)))
                .unarchive();
        return Unarchiver(data).unarchive();
    } catch (const NSException &e) {
        if (e.name() == NSInvalidUnarchiveOperationException)
            throw;
        throw NSException(NSInvalidUnarchiveOperationException, e.reason());
    }
}
