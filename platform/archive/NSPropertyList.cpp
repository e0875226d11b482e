// SPDX-License-Identifier: MIT
#include "platform/archive/NSPropertyList.h"

#include "platform/archive/BinaryPropertyListReader.h"
#include "platform/archive/BinaryPropertyListWriter.h"
#include "platform/archive/DecodingBudget.h"
#include "platform/archive/PropertyListDate.h"
#include "platform/archive/XMLPropertyListReader.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QStringList>
#include <cmath>
#include <vector>

using namespace zr;

namespace {

[[noreturn]] void refuseToWrite(const QString &reason) {
    throw NSException(NSPropertyListWriteInvalidError, reason);
}

[[noreturn]] Q_NEVER_INLINE void refuseToRead(const char *reason) {
    throw NSException(NSPropertyListReadCorruptError, QString::fromLatin1(reason));
}

class Writer {
public:
    using Ref = BinaryPropertyListWriter::Ref;

    Ref add(const QVariant &value, int depth);
    QByteArray document() const { return m_writer.document(); }

private:
    template <typename Elements>
    std::vector<Ref> addAll(const Elements &elements, int depth);
    template <typename Pairs>
    Ref addDictionary(const Pairs &pairs, int depth);
    Ref addArray(const auto &elements, int depth);

    BinaryPropertyListWriter m_writer;
};

Writer::Ref Writer::add(const QVariant &value, int depth) {
    if (depth > DecodingBudget::MaxDepth)
        refuseToWrite(
            QStringLiteral("a property list cannot be deeper than %1 levels").arg(DecodingBudget::MaxDepth));
    if (NSIsNil(value))
        refuseToWrite(QStringLiteral("a property list cannot hold nil"));
    if (const auto ref = m_writer.addPlain(value))
        return *ref;
    const QMetaType type = value.metaType();
    switch (type.id()) {
    case QMetaType::Nullptr:
        return m_writer.addNull();
    case QMetaType::QDateTime: {
        const double seconds = PropertyListDate::toSeconds(held<QDateTime>(value));
        if (std::isnan(seconds))
            refuseToWrite(QStringLiteral("a date is out of the range of property lists"));
        return m_writer.addDate(seconds);
    }
    case QMetaType::QVariantList:
        return addArray(held<QVariantList>(value), depth);
    case QMetaType::QStringList:
        return addArray(held<QStringList>(value), depth);
    case QMetaType::QVariantMap:
        return addDictionary(held<QVariantMap>(value), depth);
    case QMetaType::QVariantHash:
        return addDictionary(held<QVariantHash>(value), depth);
    default:
        break;
    }
    if (type == QMetaType::fromType<NSPropertyListUID>())
        return m_writer.addUid(held<NSPropertyListUID>(value).value);
    if (type == QMetaType::fromType<NSSet>()) {
        const Ref ref = m_writer.reserve();
        m_writer.setSet(ref, addAll(held<NSSet>(value), depth));
        return ref;
    }
    refuseToWrite(QStringLiteral("a property list cannot hold a value of the class %1")
                      .arg(QLatin1String(type.name())));
}

template <typename Elements>
std::vector<Writer::Ref> Writer::addAll(const Elements &elements, int depth) {
    std::vector<Ref> refs;
    refs.reserve(size_t(elements.size()));
    for (const auto &element : elements)
        refs.push_back(add(element, depth + 1));
    return refs;
}

Writer::Ref Writer::addArray(const auto &elements, int depth) {
    const Ref ref = m_writer.reserve();
    m_writer.setArray(ref, addAll(elements, depth));
    return ref;
}

template <typename Pairs>
Writer::Ref Writer::addDictionary(const Pairs &pairs, int depth) {
    const Ref ref = m_writer.reserve();
    std::vector<Ref> keys, values;
    keys.reserve(size_t(pairs.size()));
    values.reserve(size_t(pairs.size()));
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it)
        keys.push_back(m_writer.addString(it.key()));
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it)
        values.push_back(add(it.value(), depth + 1));
    m_writer.setDictionary(ref, keys, values);
    return ref;
}

class Reader {
public:
    explicit Reader(const QByteArray &data)
        : m_reader(data), m_budget(data.size()), m_values(m_reader.count()) {}

    QVariant read() { return read(m_reader.top(), 0).value; }

private:
    using Ref = BinaryPropertyListReader::Ref;
    using Object = BinaryPropertyListReader::Object;
    using Kind = BinaryPropertyListReader::Kind;
    using Value = DecodedValue;
    using State = Value::State;

    const Value &read(Ref ref, int depth);
    void readContainer(const Object &object, Value &into, int depth);

    BinaryPropertyListReader m_reader;
    DecodingBudget m_budget;
    std::vector<Value> m_values;
};

const Reader::Value &Reader::read(Ref ref, int depth) {
    Value &value = m_values[ref];
    if (value.state == State::Read)
        return value;
    if (value.state == State::Open)
        refuseToRead("a container holds itself");
    DecodingBudget::checkDepth(depth);
    const Object object = m_reader.object(ref);
    if (object.isContainer()) {
        value.state = State::Open;
        readContainer(object, value, depth);
    } else {
        value.value = BinaryPropertyListReader::scalar(object);
        value.size.bytes = 2 * object.count;
    }
    value.state = State::Read;
    return value;
}

void Reader::readContainer(const Object &object, Value &into, int depth) {
    m_budget.addValues(object.count);
    switch (object.kind) {
    case Kind::Array:
    case Kind::OrderedSet: {
        QVariantList list;
        list.reserve(qsizetype(object.count));
        for (quint64 i = 0; i < object.count; ++i) {
            const Value &element = read(m_reader.element(object, i), depth + 1);
            into.size.addElement(element.size);
            list.append(element.value);
        }
        into.value = list;
        break;
    }
    case Kind::Set: {
        SetBuilder set(m_budget);
        for (quint64 i = 0; i < object.count; ++i) {
            const Value &element = read(m_reader.element(object, i), depth + 1);
            into.size.addElement(element.size);
            set.insert(element.value, element.size);
        }
        into.value = set.set();
        break;
    }
    default: {
        DictionaryBuilder dictionary(m_budget);
        for (quint64 i = 0; i < object.count; ++i) {
            const Value &key = read(m_reader.element(object, i), depth + 1);
            if (key.value.metaType().id() != QMetaType::QString)
                refuseToRead("the key of a dictionary is no string");
            const Value &element = read(m_reader.value(object, i), depth + 1);
            into.size.addElement(key.size);
            into.size.addElement(element.size);
            dictionary.insert(held<QString>(key.value), element.value);
        }
        into.value = dictionary.dictionary();
        break;
    }
    }
}

} // namespace

QByteArray NSPropertyList::dataFromPropertyList(const QVariant &value) {
    Writer writer;
    writer.add(value, 0);
    return writer.document();
}

QVariant NSPropertyList::propertyListFromData(const QByteArray &data) {
    if (BinaryPropertyListReader::isBinaryPropertyList(data))
        return Reader(data).read();
    return XMLPropertyListReader(data).read();
}
