// SPDX-License-Identifier: MIT
#include "platform/archive/NSKeyedArchiver.h"

#include "platform/archive/BinaryPropertyListWriter.h"
#include "platform/archive/DecodingBudget.h"
#include "platform/archive/PropertyListDate.h"
#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QHash>
#include <QStringList>
#include <QUrl>
#include <QUuid>
#include <QtEndian>
#include <cmath>
#include <vector>

using namespace zr;

namespace {

[[noreturn]] void refuse(const QString &reason) {
    throw NSException(NSInvalidArchiveOperationException, reason);
}

class Archiver {
public:
    QByteArray archive(const QVariant &root);

private:
    using Ref = BinaryPropertyListWriter::Ref;
    using Uid = quint32;
    using Fields = std::vector<std::pair<const char *, Ref>>;

    Uid encode(const QVariant &value, int depth);
    Uid encodeString(const QString &text);
    Uid encodeError(const NSError &error, int depth);
    Uid encodeDecimal(const NSDecimalNumber &number);
    template <typename Pairs>
    Uid encodeDictionary(const Pairs &pairs, int depth);
    template <typename Elements>
    Uid encodeElements(const char *className, const Elements &elements, int depth);

    /// The number of a plain value; equal objects of the property list are one object of the archive.
    Uid plain(Ref ref);
    Uid newObject();
    void setObject(Uid uid, const char *className, Fields fields);
    Uid newObject(const char *className, Fields fields);
    Uid classObject(const QString &name);
    Ref text(const QString &string) { return m_writer.addString(string); }
    Ref reference(Uid uid) { return m_writer.addUid(uid); }
    Ref references(const std::vector<Uid> &uids);
    Ref dictionary(const Fields &fields);

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
    QHash<QString, Uid> m_classes;
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
    if (value.typeId() == QMetaType::QString)
        return encodeString(held<QString>(value));
    if (const auto ref = m_writer.addPlain(value))
        return plain(*ref);
    const QMetaType type = value.metaType();
    switch (type.id()) {
    case QMetaType::Nullptr:
        return once({nullptr, 0, type.id()}, [&] { return newObject("NSNull", {}); });
    case QMetaType::QDateTime: {
        const double seconds = PropertyListDate::toSeconds(held<QDateTime>(value));
        if (std::isnan(seconds))
            refuse(QStringLiteral("a date out of range cannot be archived"));
        return newObject("NSDate", {{"NS.time", m_writer.addReal(seconds)}});
    }
    case QMetaType::QUrl: {
        const auto &url = held<QUrl>(value);
        if (!url.isValid())
            refuse(QStringLiteral("an invalid URL cannot be archived: %1").arg(url.errorString()));
        const Uid uid = newObject();
        const Uid relative = encodeString(QString::fromLatin1(url.toEncoded()));
        setObject(uid, "NSURL", {{"NS.base", reference(0)}, {"NS.relative", reference(relative)}});
        return uid;
    }
    case QMetaType::QUuid:
        return newObject("NSUUID", {{"NS.uuidbytes", m_writer.addData(held<QUuid>(value).toRfc4122())}});
    case QMetaType::QVariantList: {
        const auto &list = held<QVariantList>(value);
        return once({list.constData(), list.size(), type.id()},
                    [&] { return encodeElements("NSArray", list, depth); });
    }
    case QMetaType::QStringList:
        return encodeElements("NSArray", held<QStringList>(value), depth);
    case QMetaType::QVariantMap: {
        const auto &map = held<QVariantMap>(value);
        return once({map.isEmpty() ? nullptr : &*map.cbegin(), map.size(), type.id()},
                    [&] { return encodeDictionary(map, depth); });
    }
    case QMetaType::QVariantHash: {
        const auto &hash = held<QVariantHash>(value);
        return once({hash.isEmpty() ? nullptr : &*hash.cbegin(), hash.size(), type.id()},
                    [&] { return encodeDictionary(hash, depth); });
    }
    default:
        break;
    }
    if (type == QMetaType::fromType<NSSet>()) {
        const auto &set = held<NSSet>(value);
        return once({set.isEmpty() ? nullptr : &*set.cbegin(), set.size(), type.id()},
                    [&] { return encodeElements("NSSet", set, depth); });
    }
    if (type == QMetaType::fromType<NSError>())
        return encodeError(held<NSError>(value), depth);
    if (type == QMetaType::fromType<NSDecimalNumber>())
        return encodeDecimal(held<NSDecimalNumber>(value));
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
        return newObject("NSString", {{"NS.string", text(string)}});
    return plain(text(string));
}

template <typename Elements>
Archiver::Uid Archiver::encodeElements(const char *className, const Elements &elements, int depth) {
    const Uid uid = newObject();
    std::vector<Uid> uids;
    uids.reserve(size_t(elements.size()));
    for (const auto &element : elements)
        uids.push_back(encode(element, depth + 1));
    setObject(uid, className, {{"NS.objects", references(uids)}});
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
    setObject(uid, "NSDictionary", {{"NS.keys", references(keys)}, {"NS.objects", references(values)}});
    return uid;
}

Archiver::Uid Archiver::encodeError(const NSError &error, int depth) {
    const Uid uid = newObject();
    const Uid domain = encodeString(error.domain());
    const QVariantMap details = error.userInfo();
    const Uid userInfo = details.isEmpty() ? 0 : encodeDictionary(details, depth + 1);
    setObject(uid, "NSError",
              {{"NSCode", m_writer.addInteger(error.code())},
               {"NSDomain", reference(domain)},
               {"NSUserInfo", reference(userInfo)}});
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
    return newObject("NSDecimalNumber",
                     {{"NS.exponent", m_writer.addInteger(number.exponent())},
                      {"NS.length", m_writer.addInteger(parts)},
                      {"NS.negative", m_writer.addBool(number.isNegative() || number.isNaN())},
                      {"NS.compact", m_writer.addBool(true)},
                      {"NS.mantissa", m_writer.addData(mantissa)},
                      {"NS.mantissa.bo", m_writer.addInteger(1)}});
}

Archiver::Uid Archiver::plain(Ref ref) {
    if (const auto known = m_plain.constFind(ref); known != m_plain.constEnd())
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

void Archiver::setObject(Uid uid, const char *className, Fields fields) {
    fields.emplace_back("$class", reference(classObject(QString::fromLatin1(className))));
    m_objects[uid] = dictionary(fields);
}

Archiver::Uid Archiver::newObject(const char *className, Fields fields) {
    const Uid uid = newObject();
    setObject(uid, className, std::move(fields));
    return uid;
}

Archiver::Uid Archiver::classObject(const QString &name) {
    if (const auto known = m_classes.constFind(name); known != m_classes.constEnd())
        return *known;
    QStringList names{name};
    if (name == QStringLiteral("NSDecimalNumber"))
        names << QStringLiteral("NSNumber") << QStringLiteral("NSValue");
    names << QStringLiteral("NSObject");
    std::vector<Ref> classes;
    for (const QString &each : std::as_const(names))
        classes.push_back(text(each));
    const Ref list = m_writer.reserve();
    m_writer.setArray(list, classes);
    const Uid uid = newObject();
    m_objects[uid] = dictionary({{"$classname", text(name)}, {"$classes", list}});
    m_classes.insert(name, uid);
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

Archiver::Ref Archiver::dictionary(const Fields &fields) {
    const Ref ref = m_writer.reserve();
    std::vector<Ref> keys, values;
    for (const auto &[key, value] : fields) {
        keys.push_back(text(QString::fromLatin1(key)));
        values.push_back(value);
    }
    m_writer.setDictionary(ref, keys, values);
    return ref;
}

} // namespace

QByteArray NSKeyedArchiver::archivedDataWithRootObject(const QVariant &root) {
    return Archiver().archive(root);
}
