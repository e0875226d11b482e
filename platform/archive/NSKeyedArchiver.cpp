// SPDX-License-Identifier: MIT
#include "platform/archive/NSKeyedArchiver.h"

#include "platform/archive/BinaryPropertyListWriter.h"
#include "platform/archive/DecodingBudget.h"
#include "platform/archive/PropertyListDate.h"
#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <QHash>
#include <QStringList>
#include <QUrl>
#include <QUuid>
#include <QtEndian>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <vector>

namespace {

[[noreturn]] void refuse(const QString &reason) {
    throw NSException(NSInvalidArchiveOperationException, reason);
}

template <typename T>
const T &as(const QVariant &value) {
    return *static_cast<const T *>(value.constData());
}

/// The classes that archives of ours name, each with its superclasses.
enum class Class : quint8 { Array, Date, DecimalNumber, Dictionary, Error, Null, Set, String, Url, Uuid };
constexpr int ClassCount = 10;

QStringList classNames(Class which) {
    const auto object = QStringLiteral("NSObject");
    switch (which) {
    case Class::Array:
        return {QStringLiteral("NSArray"), object};
    case Class::Date:
        return {QStringLiteral("NSDate"), object};
    case Class::DecimalNumber:
        return {QStringLiteral("NSDecimalNumber"), QStringLiteral("NSNumber"), QStringLiteral("NSValue"),
                object};
    case Class::Dictionary:
        return {QStringLiteral("NSDictionary"), object};
    case Class::Error:
        return {QStringLiteral("NSError"), object};
    case Class::Null:
        return {QStringLiteral("NSNull"), object};
    case Class::Set:
        return {QStringLiteral("NSSet"), object};
    case Class::String:
        return {QStringLiteral("NSString"), object};
    case Class::Url:
        return {QStringLiteral("NSURL"), object};
    case Class::Uuid:
        return {QStringLiteral("NSUUID"), object};
    }
    Q_UNREACHABLE();
}

/// The names of the objects' fields.
enum class Key : quint8 {
    Class,
    ClassName,
    Classes,
    Base,
    ByteOrder,
    Code,
    Compact,
    Domain,
    Exponent,
    Keys,
    Length,
    Mantissa,
    Negative,
    Objects,
    Relative,
    String,
    Time,
    UserInfo,
    UuidBytes
};
constexpr QLatin1String KeyTexts[] = {
    QLatin1String("$class"),      QLatin1String("$classname"),     QLatin1String("$classes"),
    QLatin1String("NS.base"),     QLatin1String("NS.mantissa.bo"), QLatin1String("NSCode"),
    QLatin1String("NS.compact"),  QLatin1String("NSDomain"),       QLatin1String("NS.exponent"),
    QLatin1String("NS.keys"),     QLatin1String("NS.length"),      QLatin1String("NS.mantissa"),
    QLatin1String("NS.negative"), QLatin1String("NS.objects"),     QLatin1String("NS.relative"),
    QLatin1String("NS.string"),   QLatin1String("NS.time"),        QLatin1String("NSUserInfo"),
    QLatin1String("NS.uuidbytes")};
constexpr int KeyCount = int(std::size(KeyTexts));
static_assert(int(Key::UuidBytes) + 1 == KeyCount, "a text for each key");

class Archiver {
public:
    QByteArray archive(const QVariant &root);

private:
    using Ref = BinaryPropertyListWriter::Ref;
    using Uid = quint32;
    /// "Not made yet" for references and for the numbers of plain values, which object 0 never is.
    static constexpr Ref None = 0;
    struct Field {
        Key key;
        Ref value;
    };

    Uid encode(const QVariant &value, int depth);
    Uid encodeString(const QString &text);
    Uid encodeError(const NSError &error, int depth);
    Uid encodeDecimal(const NSDecimalNumber &number);
    template <typename Pairs>
    Uid encodeDictionary(const Pairs &pairs, int depth);
    template <typename Elements>
    Uid encodeElements(Class which, const Elements &elements, int depth);

    /// The number of a plain value; equal objects of the property list are one object of the archive.
    Uid plain(Ref ref);
    Uid newObject();
    void setObject(Uid uid, Class which, std::initializer_list<Field> fields);
    Uid newObject(Class which, std::initializer_list<Field> fields);
    Uid classObject(Class which);
    Ref text(const QString &string) { return m_writer.addString(string); }
    Ref key(Key key);
    Ref reference(Uid uid);
    Ref references(const std::vector<Uid> &uids);
    Ref dictionary(std::initializer_list<Field> fields, Ref classReference = None);

    /// Remembers where a container that the root shares was archived. The root keeps it alive, so its
    /// storage's address tells it for as long as archiving takes.
    struct Shared {
        const void *storage;
        qsizetype size;
        int type;
        friend bool operator==(const Shared &, const Shared &) = default;
        friend size_t qHash(const Shared &shared, size_t seed) {
            return qHashMulti(seed, shared.storage, shared.size, shared.type);
        }
    };
    template <typename Encode>
    Uid once(const Shared &shared, Encode encode);

    BinaryPropertyListWriter m_writer;
    std::vector<Ref> m_objects;
    std::vector<Ref> m_references; // by object
    std::vector<Uid> m_plain;      // by plain value
    QHash<Shared, Uid> m_shared;
    Uid m_classes[ClassCount] = {};
    Ref m_keys[KeyCount] = {};
};

QByteArray Archiver::archive(const QVariant &root) {
    const Ref top = m_writer.reserve();
    const Ref objects = m_writer.reserve();
    m_objects.push_back(text(QStringLiteral("$null")));
    const Uid rootUid = encode(root, 0);
    m_writer.setArray(objects, m_objects);

    std::vector<Ref> keys, values;
    const auto add = [&](const char *key, Ref value) {
        keys.push_back(text(QString::fromLatin1(key)));
        values.push_back(value);
    };
    add("$version", m_writer.addInteger(100000));
    add("$archiver", text(QStringLiteral("NSKeyedArchiver")));
    const Ref rootFields = m_writer.reserve();
    const Ref rootKey = text(QStringLiteral("root"));
    m_writer.setDictionary(rootFields, {rootKey}, {reference(rootUid)});
    add("$top", rootFields);
    add("$objects", objects);
    m_writer.setDictionary(top, keys, values);
    return m_writer.document();
}

Archiver::Uid Archiver::encode(const QVariant &value, int depth) {
    if (depth > DecodingBudget::MaxDepth)
        refuse(QStringLiteral("a value nested deeper than %1 levels cannot be archived")
                   .arg(DecodingBudget::MaxDepth));
    if (NSIsNil(value))
        return 0;
    const QMetaType type = value.metaType();
    switch (type.id()) {
    case QMetaType::Nullptr:
        return once({nullptr, 0, type.id()}, [&] { return newObject(Class::Null, {}); });
    case QMetaType::QString:
        return encodeString(as<QString>(value));
    case QMetaType::QByteArray:
        return plain(m_writer.addData(as<QByteArray>(value)));
    case QMetaType::Bool:
        return plain(m_writer.addBool(value.toBool()));
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return plain(m_writer.addInteger(value.toLongLong()));
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return plain(m_writer.addUnsigned(value.toULongLong()));
    case QMetaType::Double:
        return plain(m_writer.addReal(value.toDouble()));
    case QMetaType::Float:
        return plain(m_writer.addReal(value.toFloat()));
    case QMetaType::QDateTime: {
        const double seconds = PropertyListDate::toSeconds(as<QDateTime>(value));
        if (std::isnan(seconds))
            refuse(QStringLiteral("a date out of range cannot be archived"));
        return newObject(Class::Date, {{Key::Time, m_writer.addReal(seconds)}});
    }
    case QMetaType::QUrl: {
        const auto &url = as<QUrl>(value);
        if (!url.isValid())
            refuse(QStringLiteral("an invalid URL cannot be archived: %1").arg(url.errorString()));
        const Uid uid = newObject();
        const Uid relative = encodeString(QString::fromLatin1(url.toEncoded()));
        setObject(uid, Class::Url, {{Key::Base, reference(0)}, {Key::Relative, reference(relative)}});
        return uid;
    }
    case QMetaType::QUuid:
        return newObject(Class::Uuid, {{Key::UuidBytes, m_writer.addData(as<QUuid>(value).toRfc4122())}});
    case QMetaType::QVariantList: {
        const auto &list = as<QVariantList>(value);
        return once({list.constData(), list.size(), type.id()},
                    [&] { return encodeElements(Class::Array, list, depth); });
    }
    case QMetaType::QStringList:
        return encodeElements(Class::Array, as<QStringList>(value), depth);
    case QMetaType::QVariantMap: {
        const auto &map = as<QVariantMap>(value);
        return once({map.isEmpty() ? nullptr : &*map.cbegin(), map.size(), type.id()},
                    [&] { return encodeDictionary(map, depth); });
    }
    case QMetaType::QVariantHash: {
        const auto &hash = as<QVariantHash>(value);
        return once({hash.isEmpty() ? nullptr : &*hash.cbegin(), hash.size(), type.id()},
                    [&] { return encodeDictionary(hash, depth); });
    }
    default:
        break;
    }
    if (type == QMetaType::fromType<NSSet>()) {
        const auto &set = as<NSSet>(value);
        return once({set.isEmpty() ? nullptr : &*set.cbegin(), set.size(), type.id()},
                    [&] { return encodeElements(Class::Set, set, depth); });
    }
    if (type == QMetaType::fromType<NSError>())
        return encodeError(as<NSError>(value), depth);
    if (type == QMetaType::fromType<NSDecimalNumber>())
        return encodeDecimal(as<NSDecimalNumber>(value));
    refuse(QStringLiteral("a value of the class %1 cannot be archived").arg(QLatin1String(type.name())));
}

template <typename Encode>
Archiver::Uid Archiver::once(const Shared &shared, Encode encode) {
    const auto known = m_shared.constFind(shared);
    if (known != m_shared.constEnd())
        return *known;
    const Uid uid = encode();
    m_shared.insert(shared, uid);
    return uid;
}

Archiver::Uid Archiver::encodeString(const QString &string) {
    // A plain string of this text stands for nil, so it is archived as an object that holds it.
    if (string == QLatin1String("$null"))
        return newObject(Class::String, {{Key::String, text(string)}});
    return plain(text(string));
}

template <typename Elements>
Archiver::Uid Archiver::encodeElements(Class which, const Elements &elements, int depth) {
    const Uid uid = newObject();
    std::vector<Uid> uids;
    uids.reserve(size_t(elements.size()));
    for (const auto &element : elements)
        uids.push_back(encode(element, depth + 1));
    setObject(uid, which, {{Key::Objects, references(uids)}});
    return uid;
}

template <typename Pairs>
Archiver::Uid Archiver::encodeDictionary(const Pairs &pairs, int depth) {
    const Uid uid = newObject();
    std::vector<Uid> keys, values;
    keys.reserve(size_t(pairs.size()));
    values.reserve(size_t(pairs.size()));
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it)
        keys.push_back(encodeString(it.key()));
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it)
        values.push_back(encode(it.value(), depth + 1));
    setObject(uid, Class::Dictionary, {{Key::Keys, references(keys)}, {Key::Objects, references(values)}});
    return uid;
}

Archiver::Uid Archiver::encodeError(const NSError &error, int depth) {
    const Uid uid = newObject();
    const Uid domain = encodeString(error.domain());
    const QVariantMap details = error.userInfo();
    const Uid userInfo = details.isEmpty() ? 0 : encodeDictionary(details, depth + 1);
    setObject(uid, Class::Error,
              {{Key::Code, m_writer.addInteger(error.code())},
               {Key::Domain, reference(domain)},
               {Key::UserInfo, reference(userInfo)}});
    return uid;
}

Archiver::Uid Archiver::encodeDecimal(const NSDecimalNumber &number) {
    // Eight 16-bit parts, the lowest first, in little-endian bytes. Not-a-number is a negative of no parts.
    QByteArray mantissa(16, Qt::Uninitialized);
    qToLittleEndian(number.mantissaLow(), mantissa.data());
    qToLittleEndian(number.mantissaHigh(), mantissa.data() + 8);
    int parts = 8;
    while (parts > 0 && mantissa[2 * parts - 1] == 0 && mantissa[2 * parts - 2] == 0)
        --parts;
    return newObject(Class::DecimalNumber,
                     {{Key::Exponent, m_writer.addInteger(number.exponent())},
                      {Key::Length, m_writer.addInteger(parts)},
                      {Key::Negative, m_writer.addBool(number.isNegative() || number.isNaN())},
                      {Key::Compact, m_writer.addBool(true)},
                      {Key::Mantissa, m_writer.addData(mantissa)},
                      {Key::ByteOrder, m_writer.addInteger(1)}});
}

Archiver::Uid Archiver::plain(Ref ref) {
    if (ref >= m_plain.size())
        m_plain.resize(ref + ref / 2 + 16, None);
    if (m_plain[ref] == None) {
        m_plain[ref] = newObject();
        m_objects[m_plain[ref]] = ref;
    }
    return m_plain[ref];
}

Archiver::Uid Archiver::newObject() {
    m_objects.push_back(None);
    return Uid(m_objects.size() - 1);
}

void Archiver::setObject(Uid uid, Class which, std::initializer_list<Field> fields) {
    m_objects[uid] = dictionary(fields, reference(classObject(which)));
}

Archiver::Uid Archiver::newObject(Class which, std::initializer_list<Field> fields) {
    const Uid uid = newObject();
    setObject(uid, which, fields);
    return uid;
}

Archiver::Uid Archiver::classObject(Class which) {
    Uid &uid = m_classes[int(which)];
    if (uid == 0) {
        const QStringList names = classNames(which);
        std::vector<Ref> classes;
        for (const QString &name : names)
            classes.push_back(text(name));
        const Ref list = m_writer.reserve();
        m_writer.setArray(list, classes);
        uid = newObject();
        m_objects[uid] = dictionary({{Key::ClassName, text(names.first())}, {Key::Classes, list}});
    }
    return uid;
}

Archiver::Ref Archiver::key(Key key) {
    Ref &ref = m_keys[int(key)];
    if (ref == None)
        ref = text(KeyTexts[int(key)]);
    return ref;
}

Archiver::Ref Archiver::reference(Uid uid) {
    if (uid >= m_references.size())
        m_references.resize(uid + uid / 2 + 16, None);
    if (m_references[uid] == None)
        m_references[uid] = m_writer.addUid(uid);
    return m_references[uid];
}

Archiver::Ref Archiver::references(const std::vector<Uid> &uids) {
    const Ref ref = m_writer.reserve();
    std::vector<Ref> refs;
    refs.reserve(uids.size());
    for (const Uid uid : uids)
        refs.push_back(reference(uid));
    m_writer.setArray(ref, refs);
    return ref;
}

Archiver::Ref Archiver::dictionary(std::initializer_list<Field> fields, Ref classReference) {
    const Ref ref = m_writer.reserve();
    std::vector<Ref> keys, values;
    keys.reserve(fields.size() + 1);
    values.reserve(fields.size() + 1);
    for (const Field &field : fields) {
        keys.push_back(key(field.key));
        values.push_back(field.value);
    }
    if (classReference != None) {
        keys.push_back(key(Key::Class));
        values.push_back(classReference);
    }
    m_writer.setDictionary(ref, keys, values);
    return ref;
}

} // namespace

QByteArray NSKeyedArchiver::archivedDataWithRootObject(const QVariant &root) {
    return Archiver().archive(root);
}
