// SPDX-License-Identifier: MIT
#include "platform/archive/BinaryPropertyListWriter.h"

#include "platform/archive/NSPropertyList.h"
#include "platform/values/ValueKind.h"

#include <QStringEncoder>
#include <QtEndian>
#include <bit>
#include <limits>

using namespace zr;

namespace {

/// Longer strings are looked up by their bytes' address, not by their text.
constexpr qsizetype ShortString = 256;

bool isAscii(const QString &text) {
    char16_t all = 0;
    for (const QChar c : text)
        all |= c.unicode();
    return all < 0x80;
}

/// The smallest of 1, 2, 4 and 8 bytes that hold an unsigned value.
int widthOf(quint64 value) {
    if (value <= 0xff)
        return 1;
    if (value <= 0xffff)
        return 2;
    return value <= 0xffffffff ? 4 : 8;
}

class Output {
public:
    explicit Output(qsizetype expected) { m_bytes.reserve(expected); }

    const QByteArray &bytes() const { return m_bytes; }
    quint64 position() const { return quint64(m_bytes.size()); }
    void byte(int value) { m_bytes.append(char(value)); }
    void bigEndian(quint64 value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            byte(int(value >> shift & 0xff));
    }
    /// The exponent of a width of 1, 2, 4 or 8 bytes below the kind's marker, then the value.
    void sized(int marker, quint64 value, int width) {
        byte(marker | std::countr_zero(unsigned(width)));
        bigEndian(value, width);
    }
    void head(int marker, quint64 count) {
        byte(marker | int(qMin<quint64>(count, 0xf)));
        if (count >= 0xf)
            sized(0x10, count, widthOf(count));
    }
    void append(const QByteArray &data) { m_bytes.append(data); }
    void ascii(const QString &text) {
        QStringEncoder(QStringEncoder::Latin1).appendToBuffer(grown(text.size()), text);
    }
    void utf16(const QString &text) {
        qToBigEndian<quint16>(text.utf16(), text.size(), grown(2 * text.size()));
    }

private:
    char *grown(qsizetype by) {
        m_bytes.resize(m_bytes.size() + by);
        return m_bytes.data() + m_bytes.size() - by;
    }

    QByteArray m_bytes;
};

} // namespace

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::add(Kind kind, quint64 payload, quint64 count) {
    if (m_objects.size() >= std::numeric_limits<Ref>::max())
        throw NSException(NSPropertyListWriteInvalidError, QStringLiteral("too many objects"));
    m_objects.push_back({kind, payload, count});
    return Ref(m_objects.size() - 1);
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addUnique(Kind kind, quint64 bits) {
    const auto known = m_scalars.constFind({kind, bits});
    if (known != m_scalars.constEnd())
        return *known;
    const Ref ref = add(kind, bits, 0);
    m_scalars.insert({kind, bits}, ref);
    return ref;
}

std::optional<BinaryPropertyListWriter::Ref> BinaryPropertyListWriter::addPlain(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::QString:
        return addString(held<QString>(value));
    case QMetaType::QByteArray:
        return addData(held<QByteArray>(value));
    case QMetaType::Bool:
        return addBool(value.toBool());
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return addInteger(value.toLongLong());
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const quint64 number = value.toULongLong();
        return addUnique(number >> 63 ? Kind::Unsigned : Kind::Integer, number);
    }
    case QMetaType::Double:
        return addReal(value.toDouble());
    case QMetaType::Float:
        return addUnique(Kind::ShortReal, std::bit_cast<quint32>(value.toFloat()));
    default:
        return std::nullopt;
    }
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addReal(double value) {
    return addUnique(Kind::Real, std::bit_cast<quint64>(value));
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addDate(double seconds) {
    return addUnique(Kind::Date, std::bit_cast<quint64>(seconds));
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addString(const QString &text) {
    const bool isShort = text.size() <= ShortString;
    if (isShort) {
        const auto known = m_shortStrings.constFind(text);
        if (known != m_shortStrings.constEnd())
            return *known;
    } else {
        const auto known = m_sharedBytes.constFind(text.constData());
        if (known != m_sharedBytes.constEnd() && m_objects[*known].kind != Kind::Data &&
            m_objects[*known].count == quint64(text.size()))
            return *known;
    }
    const Ref ref = add(isAscii(text) ? Kind::Ascii : Kind::Utf16, m_strings.size(), quint64(text.size()));
    m_strings.push_back(text);
    m_contents += quint64(text.size()) * (m_objects[ref].kind == Kind::Ascii ? 1 : 2);
    if (isShort)
        m_shortStrings.insert(text, ref);
    else
        m_sharedBytes.insert(text.constData(), ref);
    return ref;
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addData(const QByteArray &data) {
    const auto known = m_sharedBytes.constFind(data.constData());
    if (known != m_sharedBytes.constEnd() && m_objects[*known].kind == Kind::Data &&
        m_objects[*known].count == quint64(data.size()))
        return *known;
    const Ref ref = add(Kind::Data, m_data.size(), quint64(data.size()));
    m_data.push_back(data);
    m_contents += quint64(data.size());
    m_sharedBytes.insert(data.constData(), ref);
    return ref;
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::reserve() {
    return add(Kind::Null, 0, 0);
}

void BinaryPropertyListWriter::setContainer(Ref ref, Kind kind, quint64 count,
                                            std::initializer_list<const std::vector<Ref> *> parts) {
    m_objects[ref] = {kind, m_refs.size(), count};
    for (const std::vector<Ref> *part : parts)
        m_refs.insert(m_refs.end(), part->begin(), part->end());
}

void BinaryPropertyListWriter::setArray(Ref ref, const std::vector<Ref> &elements) {
    setContainer(ref, Kind::Array, elements.size(), {&elements});
}

void BinaryPropertyListWriter::setSet(Ref ref, const std::vector<Ref> &elements) {
    setContainer(ref, Kind::Set, elements.size(), {&elements});
}

void BinaryPropertyListWriter::setDictionary(Ref ref, const std::vector<Ref> &keys,
                                             const std::vector<Ref> &values) {
    Q_ASSERT(keys.size() == values.size());
    setContainer(ref, Kind::Dictionary, keys.size(), {&keys, &values});
}

QByteArray BinaryPropertyListWriter::document() const {
    const int refSize = widthOf(m_objects.size());
    // A marker and a number of each object at most, its place in the table, and the trailer.
    Output out(qsizetype(m_contents + m_objects.size() * (17 + 8) + m_refs.size() * quint64(refSize) + 64));
    const auto container = [&](int marker, const Object &object, quint64 refs) {
        out.head(marker, object.count);
        for (quint64 i = 0; i < refs; ++i)
            out.bigEndian(m_refs[object.payload + i], refSize);
    };
    std::vector<quint64> offsets;
    offsets.reserve(m_objects.size());
    out.append("bplist00");
    for (const Object &object : m_objects) {
        offsets.push_back(out.position());
        switch (object.kind) {
        case Kind::Null:
            out.byte(0x00);
            break;
        case Kind::Bool:
            out.byte(object.payload ? 0x09 : 0x08);
            break;
        case Kind::Integer:
            out.sized(0x10, object.payload, qint64(object.payload) < 0 ? 8 : widthOf(object.payload));
            break;
        case Kind::Unsigned:
            out.byte(0x14);
            out.bigEndian(0, 8);
            out.bigEndian(object.payload, 8);
            break;
        case Kind::Real:
            out.sized(0x20, object.payload, 8);
            break;
        case Kind::ShortReal:
            out.sized(0x20, object.payload, 4);
            break;
        case Kind::Date:
            out.sized(0x30, object.payload, 8);
            break;
        case Kind::Uid:
            out.byte(0x80 | (widthOf(object.payload) - 1));
            out.bigEndian(object.payload, widthOf(object.payload));
            break;
        case Kind::Ascii:
            out.head(0x50, object.count);
            out.ascii(m_strings[object.payload]);
            break;
        case Kind::Utf16:
            out.head(0x60, object.count);
            out.utf16(m_strings[object.payload]);
            break;
        case Kind::Data:
            out.head(0x40, object.count);
            out.append(m_data[object.payload]);
            break;
        case Kind::Array:
            container(0xa0, object, object.count);
            break;
        case Kind::Set:
            container(0xc0, object, object.count);
            break;
        case Kind::Dictionary:
            container(0xd0, object, 2 * object.count);
            break;
        }
    }
    const quint64 table = out.position();
    const int offsetSize = widthOf(table);
    for (const quint64 offset : offsets)
        out.bigEndian(offset, offsetSize);
    out.bigEndian(0, 6);
    out.byte(offsetSize);
    out.byte(refSize);
    out.bigEndian(m_objects.size(), 8);
    out.bigEndian(0, 8);
    out.bigEndian(table, 8);
    return out.bytes();
}
