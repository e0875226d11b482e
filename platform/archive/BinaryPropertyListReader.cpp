// SPDX-License-Identifier: MIT
#include "platform/archive/BinaryPropertyListReader.h"

#include "platform/archive/DecodingBudget.h"
#include "platform/archive/NSPropertyList.h"
#include "platform/archive/PropertyListDate.h"
#include "platform/values/NSNull.h"

#include <QtEndian>
#include <bit>
#include <cstring>

using namespace zr;

namespace {

constexpr char Magic[] = "bplist00";
constexpr quint64 HeaderSize = 8;
constexpr quint64 TrailerSize = 32;

[[noreturn]] Q_NEVER_INLINE void refuse(const char *reason) {
    throw NSException(NSPropertyListReadCorruptError, QString::fromLatin1(reason));
}

quint64 bigEndian(const uchar *bytes, int size) {
    quint64 value = 0;
    for (int i = 0; i < size; ++i)
        value = value << 8 | bytes[i];
    return value;
}

bool isAscii(const uchar *bytes, quint64 size) {
    uchar all = 0;
    for (quint64 i = 0; i < size; ++i)
        all |= bytes[i];
    return all < 0x80;
}

QVariant integer(const BinaryPropertyListReader::Object &object) {
    if (object.count < 8)
        return qlonglong(bigEndian(object.payload, int(object.count)));
    if (object.count == 8)
        return qlonglong(qFromBigEndian<qint64>(object.payload));
    const auto high = qFromBigEndian<quint64>(object.payload);
    const auto low = qFromBigEndian<quint64>(object.payload + 8);
    const bool negative = low >> 63;
    if (high == 0)
        return negative ? QVariant(qulonglong(low)) : QVariant(qlonglong(low));
    if (high == ~quint64(0) && negative)
        return qlonglong(low);
    refuse("an integer is out of the 64-bit range");
}

} // namespace

bool BinaryPropertyListReader::isBinaryPropertyList(const QByteArray &data) {
    return data.startsWith("bplist");
}

BinaryPropertyListReader::BinaryPropertyListReader(const QByteArray &data)
    : m_data(data), m_base(reinterpret_cast<const uchar *>(m_data.constData())) {
    const quint64 size = quint64(m_data.size());
    if (size < HeaderSize + 1 + 1 + TrailerSize)
        refuse("a binary property list is too short");
    if (!m_data.startsWith(Magic))
        refuse("no binary property list of a known version");
    const uchar *trailer = m_base + size - TrailerSize;
    m_offsetSize = trailer[6];
    m_refSize = trailer[7];
    const auto count = qFromBigEndian<quint64>(trailer + 8);
    const auto top = qFromBigEndian<quint64>(trailer + 16);
    m_objectsEnd = qFromBigEndian<quint64>(trailer + 24);
    if (m_offsetSize < 1 || m_offsetSize > 8 || m_refSize < 1 || m_refSize > 8)
        refuse("a binary property list has impossible integer sizes");
    if (m_objectsEnd < HeaderSize + 1 || m_objectsEnd >= size - TrailerSize)
        refuse("the offset table lies outside of the document");
    if (count == 0 || count > (size - TrailerSize - m_objectsEnd) / quint64(m_offsetSize) ||
        count > m_objectsEnd - HeaderSize || count > DecodingBudget::MaxValues)
        refuse("the number of objects does not fit the document");
    if (top >= count)
        refuse("the top object is missing");
    m_count = Ref(count);
    m_top = Ref(top);
    m_offsets = m_base + m_objectsEnd;
    m_unclaimed = m_objectsEnd - HeaderSize;
    m_claimed.resize(m_count);
}

BinaryPropertyListReader::Object BinaryPropertyListReader::object(Ref ref) {
    if (ref >= m_count)
        refuse("a reference points past the last object");
    const quint64 offset = bigEndian(m_offsets + quint64(ref) * quint64(m_offsetSize), m_offsetSize);
    if (offset < HeaderSize || offset >= m_objectsEnd)
        refuse("an object lies outside of the document");
    const uchar *at = m_base + offset;
    const uchar *const end = m_base + m_objectsEnd;
    const uchar marker = *at++;
    const int low = marker & 0x0f;

    Object object{};
    // How many bytes each unit of the count takes.
    quint64 unit = 1;
    bool isCounted = false;
    const auto scalar = [&](Kind kind, bool isPossible, quint64 size) {
        if (!isPossible)
            refuse("a scalar of an impossible size");
        object.kind = kind;
        object.count = size;
    };
    const auto counted = [&](Kind kind, int bytes) {
        object.kind = kind;
        unit = quint64(bytes);
        isCounted = true;
    };
    switch (marker >> 4) {
    case 0x0:
        scalar(low == 0 ? Kind::Null : Kind::Bool, low == 0x0 || low == 0x8 || low == 0x9, 0);
        object.truth = low == 0x9;
        break;
    case 0x1:
        scalar(Kind::Integer, low <= 4, quint64(1) << low);
        break;
    case 0x2:
        scalar(Kind::Real, low == 2 || low == 3, quint64(1) << low);
        break;
    case 0x3:
        scalar(Kind::Date, low == 3, 8);
        break;
    case 0x8:
        scalar(Kind::Uid, true, quint64(low) + 1);
        break;
    case 0x4:
        counted(Kind::Data, 1);
        break;
    case 0x5:
        counted(Kind::Ascii, 1);
        break;
    case 0x6:
        counted(Kind::Utf16, 2);
        break;
    case 0xa:
        counted(Kind::Array, m_refSize);
        break;
    case 0xb:
        counted(Kind::OrderedSet, m_refSize);
        break;
    case 0xc:
        counted(Kind::Set, m_refSize);
        break;
    case 0xd:
        counted(Kind::Dictionary, 2 * m_refSize);
        break;
    default:
        refuse("an object of an unknown kind");
    }
    if (isCounted && low < 0x0f)
        object.count = quint64(low);
    if (isCounted && low == 0x0f) {
        if (at == end || (*at & 0xf0) != 0x10 || (*at & 0x0f) > 3)
            refuse("the size of an object is no integer");
        const int width = 1 << (*at++ & 0x0f);
        if (end - at < width)
            refuse("the size of an object is cut off");
        object.count = bigEndian(at, width);
        at += width;
    }
    if (object.count > quint64(end - at) / unit)
        refuse("an object reaches past the end of the objects");
    object.payload = at;

    if (!m_claimed[ref]) {
        const quint64 taken = quint64(at - m_base) - offset + object.count * unit;
        if (taken > m_unclaimed)
            refuse("objects overlap");
        m_unclaimed -= taken;
        m_claimed[ref] = true;
    }
    return object;
}

BinaryPropertyListReader::Ref BinaryPropertyListReader::element(const Object &container,
                                                                quint64 index) const {
    const quint64 ref = bigEndian(container.payload + index * quint64(m_refSize), m_refSize);
    if (ref >= m_count)
        refuse("a reference points past the last object");
    return Ref(ref);
}

BinaryPropertyListReader::Ref BinaryPropertyListReader::value(const Object &dictionary, quint64 index) const {
    return element(dictionary, dictionary.count + index);
}

bool BinaryPropertyListReader::isText(const Object &object, QByteArrayView ascii) {
    return object.kind == Kind::Ascii && object.count == quint64(ascii.size()) &&
           std::memcmp(object.payload, ascii.data(), size_t(ascii.size())) == 0;
}

quint64 BinaryPropertyListReader::uid(const Object &object) {
    quint64 skipped = 0;
    for (; skipped + 8 < object.count; ++skipped) {
        if (object.payload[skipped] != 0)
            refuse("a reference is out of the 64-bit range");
    }
    return bigEndian(object.payload + skipped, int(object.count - skipped));
}

QVariant BinaryPropertyListReader::scalar(const Object &object) {
    switch (object.kind) {
    case Kind::Null:
        return NSNull();
    case Kind::Bool:
        return object.truth;
    case Kind::Integer:
        return integer(object);
    case Kind::Real:
        return object.count == 4 ? double(std::bit_cast<float>(qFromBigEndian<quint32>(object.payload)))
                                 : std::bit_cast<double>(qFromBigEndian<quint64>(object.payload));
    case Kind::Date:
        return PropertyListDate::fromSeconds(std::bit_cast<double>(qFromBigEndian<quint64>(object.payload)));
    case Kind::Data:
        return QByteArray(reinterpret_cast<const char *>(object.payload), qsizetype(object.count));
    case Kind::Ascii:
        if (!isAscii(object.payload, object.count))
            refuse("a string marked as ASCII holds other bytes");
        return QString::fromLatin1(reinterpret_cast<const char *>(object.payload), qsizetype(object.count));
    case Kind::Utf16: {
        QString text(qsizetype(object.count), Qt::Uninitialized);
        qFromBigEndian<quint16>(object.payload, qsizetype(object.count), text.data());
        return text;
    }
    case Kind::Uid:
        return QVariant::fromValue(NSPropertyListUID{uid(object)});
    default:
        refuse("a container stands where a plain value belongs");
    }
}
