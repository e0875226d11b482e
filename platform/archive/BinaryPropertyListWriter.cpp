// SPDX-License-Identifier: MIT
#include "platform/archive/BinaryPropertyListWriter.h"

#include "platform/archive/NSPropertyList.h"

#include <QtEndian>
#include <bit>
#include <cstring>
#include <limits>

namespace {

/// Longer strings are looked up by their bytes' address, not by their text.
constexpr qsizetype ShortString = 256;

// Whole blocks, so that the compiler turns the inner loop into vector instructions and text that is not ASCII
// still ends the search early.
bool isAscii(const QString &text) {
    constexpr qsizetype Block = 64;
    const char16_t *at = reinterpret_cast<const char16_t *>(text.utf16());
    qsizetype left = text.size();
    for (; left >= Block; left -= Block, at += Block) {
        char16_t all = 0;
        for (qsizetype i = 0; i < Block; ++i)
            all |= at[i];
        if (all >= 0x80)
            return false;
    }
    char16_t all = 0;
    for (qsizetype i = 0; i < left; ++i)
        all |= at[i];
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
    explicit Output(QByteArray &bytes) : m_begin(bytes.data()), m_at(m_begin) {}

    quint64 position() const { return quint64(m_at - m_begin); }
    void byte(int value) { *m_at++ = char(value); }
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
    void bytes(const QByteArray &data) {
        std::memcpy(m_at, data.constData(), size_t(data.size()));
        m_at += data.size();
    }
    void ascii(const QString &text) {
        const ushort *const units = text.utf16();
        const qsizetype size = text.size();
        char *const to = m_at;
        for (qsizetype i = 0; i < size; ++i)
            to[i] = char(units[i]);
        m_at += size;
    }
    void utf16(const QString &text) {
        qToBigEndian<quint16>(text.utf16(), text.size(), m_at);
        m_at += 2 * text.size();
    }

private:
    char *m_begin;
    char *m_at;
};

quint64 headSize(quint64 count) {
    return count < 0xf ? 1 : 2 + quint64(widthOf(count));
}

int integerWidth(quint64 value) {
    return qint64(value) < 0 ? 8 : widthOf(value);
}

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

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addUnsigned(quint64 value) {
    return addUnique(value >> 63 ? Kind::Unsigned : Kind::Integer, value);
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addReal(double value) {
    return addUnique(Kind::Real, std::bit_cast<quint64>(value));
}

BinaryPropertyListWriter::Ref BinaryPropertyListWriter::addReal(float value) {
    return addUnique(Kind::ShortReal, std::bit_cast<quint32>(value));
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
    const quint64 count = m_objects.size();
    const int refSize = widthOf(count);
    const auto refs = [&](const Object &object) {
        switch (object.kind) {
        case Kind::Array:
        case Kind::Set:
            return object.count;
        case Kind::Dictionary:
            return 2 * object.count;
        default:
            return quint64(0);
        }
    };
    const auto sizeOf = [&](const Object &object) -> quint64 {
        switch (object.kind) {
        case Kind::Null:
        case Kind::Bool:
            return 1;
        case Kind::Integer:
            return 1 + quint64(integerWidth(object.payload));
        case Kind::Unsigned:
            return 17;
        case Kind::Real:
        case Kind::Date:
            return 9;
        case Kind::ShortReal:
            return 5;
        case Kind::Uid:
            return 1 + quint64(widthOf(object.payload));
        case Kind::Ascii:
        case Kind::Data:
            return headSize(object.count) + object.count;
        case Kind::Utf16:
            return headSize(object.count) + 2 * object.count;
        default:
            return headSize(object.count) + refs(object) * quint64(refSize);
        }
    };

    constexpr char Magic[] = "bplist00";
    quint64 tableOffset = 8;
    for (const Object &object : m_objects)
        tableOffset += sizeOf(object);
    const int offsetSize = widthOf(tableOffset);
    const quint64 size = tableOffset + count * quint64(offsetSize) + 32;
    if (size >= quint64(std::numeric_limits<qsizetype>::max()))
        throw NSException(NSPropertyListWriteInvalidError, QStringLiteral("too large"));

    QByteArray bytes(qsizetype(size), Qt::Uninitialized);
    Output out(bytes);
    std::vector<quint64> offsets;
    offsets.reserve(count);
    out.bytes(QByteArray::fromRawData(Magic, 8));
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
            out.sized(0x10, object.payload, integerWidth(object.payload));
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
            out.bytes(m_data[object.payload]);
            break;
        case Kind::Array:
        case Kind::Set:
        case Kind::Dictionary:
            out.head(object.kind == Kind::Array ? 0xa0
                     : object.kind == Kind::Set ? 0xc0
                                                : 0xd0,
                     object.count);
            for (quint64 i = 0; i < refs(object); ++i)
                out.bigEndian(m_refs[object.payload + i], refSize);
            break;
        }
    }
    for (const quint64 offset : offsets)
        out.bigEndian(offset, offsetSize);
    out.bigEndian(0, 6);
    out.byte(offsetSize);
    out.byte(refSize);
    out.bigEndian(count, 8);
    out.bigEndian(0, 8);
    out.bigEndian(tableOffset, 8);
    return bytes;
}
