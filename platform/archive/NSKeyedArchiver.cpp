// SPDX-License-Identifier: MIT
#include "platform/archive/NSKeyedArchiver.h"

#include "platform/archive/BinaryPropertyListWriter.h"
#include "platform/archive/DecodingBudget.h"
#include "platform/archive/PropertyListDate.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSError.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <QHash>
#include <QStringList>
#include <QUrl>
#include <QUuid>
#include <QtEndian>
#include <cmath>
#include <utility>
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

class Archiver {
public:
    QByteArray archive(const QVariant &root);

private:
    using Ref = BinaryPropertyListWriter::Ref;
    using Uid = quint32;
    using Field = std::pair<QString, Ref>;

    Uid encode(const QVariant &value, int depth);
    Uid encodeList(const QVariantList &list, int depth);
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
    void setObject(Uid uid, Class which, const std::vector<Field> &fields);
    Uid newObject(Class which, const std::vector<Field> &fields);
    Uid classObject(Class which);
    Ref text(const QString &string) { return m_writer.addString(string); }
    Ref reference(Uid uid) { return m_writer.addUid(uid); }
    Ref references(const std::vector<Uid> &uids);
    Ref dictionary(const std::vector<Field> &fields);

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
    QHash<Ref, Uid> m_plain;
    QHash<Shared, Uid> m_shared;
    Uid m_classes[ClassCount] = {};
};

QByteArray Archiver::archive(const QVariant &root) {
    const Ref top = m_writer.reserve();
    const Ref objects = m_writer.reserve();
    m_objects.push_back(text(QStringLiteral("$null")));
    const Uid rootUid = encode(root, 0);
    m_writer.setArray(objects, m_objects);

    const std::vector<Field> fields = {
        {QStringLiteral("$version"), m_writer.addInteger(100000)},
        {QStringLiteral("$archiver"), text(QStringLiteral("NSKeyedArchiver"))},
        {QStringLiteral("$top"), dictionary({{QStringLiteral("root"), reference(rootUid)}})},
        {QStringLiteral("$objects"), objects},
    };
    std::vector<Ref> keys, values;
    for (const auto &[key, value] : fields) {
        keys.push_back(text(key));
        values.push_back(value);
    }
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
        return newObject(Class::Date, {{QStringLiteral("NS.time"), m_writer.addReal(seconds)}});
    }
    case QMetaType::QUrl: {
        const auto &url = as<QUrl>(value);
        if (!url.isValid())
            refuse(QStringLiteral("an invalid URL cannot be archived: %1").arg(url.errorString()));
        const Uid uid = newObject();
        const Uid relative = encodeString(QString::fromLatin1(url.toEncoded()));
        setObject(uid, Class::Url,
                  {{QStringLiteral("NS.base"), reference(0)},
                   {QStringLiteral("NS.relative"), reference(relative)}});
        return uid;
    }
    case QMetaType::QUuid:
        return newObject(Class::Uuid,
                         {{QStringLiteral("NS.uuidbytes"), m_writer.addData(as<QUuid>(value).toRfc4122())}});
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
        return newObject(Class::String, {{QStringLiteral("NS.string"), text(string)}});
    return plain(text(string));
}

template <typename Elements>
Archiver::Uid Archiver::encodeElements(Class which, const Elements &elements, int depth) {
    const Uid uid = newObject();
    std::vector<Uid> uids;
    uids.reserve(size_t(elements.size()));
    for (const auto &element : elements)
        uids.push_back(encode(element, depth + 1));
    setObject(uid, which, {{QStringLiteral("NS.objects"), references(uids)}});
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
    setObject(
        uid, Class::Dictionary,
        {{QStringLiteral("NS.keys"), references(keys)}, {QStringLiteral("NS.objects"), references(values)}});
    return uid;
}

Archiver::Uid Archiver::encodeError(const NSError &error, int depth) {
    const Uid uid = newObject();
    const Uid domain = encodeString(error.domain());
    const QVariantMap details = error.userInfo();
    const Uid userInfo = details.isEmpty() ? 0 : encodeDictionary(details, depth + 1);
    setObject(uid, Class::Error,
              {{QStringLiteral("NSCode"), m_writer.addInteger(error.code())},
               {QStringLiteral("NSDomain"), reference(domain)},
               {QStringLiteral("NSUserInfo"), reference(userInfo)}});
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
    return newObject(
        Class::DecimalNumber,
        {{QStringLiteral("NS.exponent"), m_writer.addInteger(number.exponent())},
         {QStringLiteral("NS.length"), m_writer.addInteger(parts)},
         {QStringLiteral("NS.negative"), m_writer.addBool(number.isNegative() || number.isNaN())},
         {QStringLiteral("NS.compact"), m_writer.addBool(true)},
         {QStringLiteral("NS.mantissa"), m_writer.addData(mantissa)},
         {QStringLiteral("NS.mantissa.bo"), m_writer.addInteger(1)}});
}

Archiver::Uid Archiver::plain(Ref ref) {
    const auto known = m_plain.constFind(ref);
    if (known != m_plain.constEnd())
        return *known;
    const Uid uid = newObject();
    m_objects[uid] = ref;
    m_plain.insert(ref, uid);
    return uid;
}

Archiver::Uid Archiver::newObject() {
    m_objects.push_back(0);
    return Uid(m_objects.size() - 1);
}

void Archiver::setObject(Uid uid, Class which, const std::vector<Field> &fields) {
    std::vector<Field> all = fields;
    all.emplace_back(QStringLiteral("$class"), reference(classObject(which)));
    m_objects[uid] = dictionary(all);
}

Archiver::Uid Archiver::newObject(Class which, const std::vector<Field> &fields) {
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
        m_objects[uid] = dictionary(
            {{QStringLiteral("$classname"), text(names.first())}, {QStringLiteral("$classes"), list}});
    }
    return uid;
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

Archiver::Ref Archiver::dictionary(const std::vector<Field> &fields) {
    const Ref ref = m_writer.reserve();
    std::vector<Ref> keys, values;
    for (const auto &[key, value] : fields) {
        keys.push_back(text(key));
        values.push_back(value);
    }
    m_writer.setDictionary(ref, keys, values);
    return ref;
}

} // namespace

QByteArray NSKeyedArchiver::archivedDataWithRootObject(const QVariant &root) {
    return Archiver().archive(root);
}
