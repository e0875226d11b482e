// SPDX-License-Identifier: MIT
#include "platform/text/JSONWriter.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSLog.h"
#include "platform/values/ValueKind.h"

#include <QAssociativeIterable>
#include <QVariantHash>
#include <QVariantList>
#include <QVariantMap>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>

using namespace zr;

#endif

namespace {

constexpr qsizetype PieceOfString = 1024;
constexpr qsizetype LongestEscape = 6;
constexpr qsizetype LongestNumber = 32;

[[noreturn]] void refuse(const QString &why) {
    throw NSException(NSInvalidArgumentException, why);
}

bool isUnsigned(const QVariant &number) {
    switch (number.typeId()) {
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
        return true;
    default:
        return false;
    }
}

// Qt turns keys of other types into strings, too.
bool hasStringKeys(const QVariant &dictionary) {
    return !dictionary.canConvert<QAssociativeIterable>() ||
           dictionary.value<QAssociativeIterable>().metaContainer().keyMetaType() ==
               QMetaType::fromType<QString>();
}

/// What is written for each ASCII unit: itself or its escape.
class EscapeTexts {
public:
    constexpr explicit EscapeTexts(bool escapesSlashes) {
        constexpr std::string_view digits = "0123456789abcdef";
        for (size_t unit = 0; unit < m_entries.size(); ++unit)
            m_entries[unit] = {{char(unit)}, 1};
        for (size_t unit = 0; unit < 0x20; ++unit)
            m_entries[unit] = {{'\\', 'u', '0', '0', digits[unit >> 4], digits[unit & 15]}, 6};
        for (const auto &[unit, letter] : {std::pair(u'"', '"'),
                                           {u'\\', '\\'},
                                           {u'\b', 'b'},
                                           {u'\f', 'f'},
                                           {u'\n', 'n'},
                                           {u'\r', 'r'},
                                           {u'\t', 't'}})
            m_entries[unit] = {{'\\', letter}, 2};
        if (escapesSlashes)
            m_entries['/'] = {{'\\', '/'}, 2};
    }
    constexpr bool escapes(char16_t unit) const { return m_entries[unit].size > 1; }
    /// Writes eight bytes, and gives the place behind those that count.
    char *write(char *to, char16_t unit) const {
        const Entry &entry = m_entries[unit];
        std::memcpy(to, &entry, sizeof entry);
        return to + entry.size;
    }

private:
    struct alignas(8) Entry {
        std::array<char, 7> text;
        char size;
    };
    static_assert(sizeof(Entry) == 8);
    std::array<Entry, 128> m_entries{};
};

constexpr EscapeTexts escapedSlashes(true);
constexpr EscapeTexts bareSlashes(false);

// Copies units as long as they are ASCII and stand for themselves (a slash counts as one that doesn't). There
// is room for eight bytes more than there are units.
void copyPlain(const char16_t *&from, const char16_t *end, char *&to) {
#ifdef __SSE2__
    const __m128i quote = _mm_set1_epi16('"'), backslash = _mm_set1_epi16('\\'), slash = _mm_set1_epi16('/');
    const __m128i space = _mm_set1_epi16(0x20), last = _mm_set1_epi16(0x7F);
    while (end - from >= 8) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
        // Compared as signed numbers, the upper half of all units is less than a space.
        __m128i special = _mm_or_si128(_mm_cmplt_epi16(units, space), _mm_cmpgt_epi16(units, last));
        special = _mm_or_si128(special, _mm_cmpeq_epi16(units, quote));
        special = _mm_or_si128(
            special, _mm_or_si128(_mm_cmpeq_epi16(units, backslash), _mm_cmpeq_epi16(units, slash)));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(to), _mm_packus_epi16(units, units));
        const auto mask = unsigned(_mm_movemask_epi8(special));
        const int plain = mask ? std::countr_zero(mask) / 2 : 8;
        from += plain;
        to += plain;
        if (mask)
            return;
    }
#endif
    while (from < end && *from < 0x80 && !escapedSlashes.escapes(*from))
        *to++ = char(*from++);
}

} // namespace

QByteArray JSONWriter::write(const QVariant &value) {
    m_text.resize(256);
    m_at = m_text.data();
    m_end = m_at + m_text.size();
    this->value(value);
    m_text.truncate(m_at - m_text.constData());
    const bool container = m_text.startsWith('{') || m_text.startsWith('[');
    if (!container && !(m_options & NSJSONWritingFragmentsAllowed))
        refuse(QStringLiteral("Invalid top-level type in JSON write: neither an array nor a dictionary"));
    return std::move(m_text);
}

void JSONWriter::grow(qsizetype size) {
    const qsizetype used = m_at - m_text.constData();
    m_text.resize(qMax(used + size, m_text.size() * 2));
    m_at = m_text.data() + used;
    m_end = m_text.data() + m_text.size();
}

void JSONWriter::append(QByteArrayView bytes) {
    ensure(bytes.size());
    std::memcpy(m_at, bytes.data(), size_t(bytes.size()));
    m_at += bytes.size();
}

void JSONWriter::value(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::QString:
        return string(held<QString>(value));
    case QMetaType::QVariantMap: {
        const auto &map = held<QVariantMap>(value);
        return object(map.keyValueBegin(), map.keyValueEnd());
    }
    case QMetaType::QVariantList:
        return array(held<QVariantList>(value));
    case QMetaType::Int:
        return number(held<int>(value));
    case QMetaType::LongLong:
        return number(held<qlonglong>(value));
    case QMetaType::ULongLong:
        return number(held<qulonglong>(value));
    case QMetaType::Double:
        return number(held<double>(value));
    case QMetaType::Bool:
        return held<bool>(value) ? append("true") : append("false");
    case QMetaType::Nullptr:
        return append("null");
    default:
        return other(value);
    }
}

void JSONWriter::other(const QVariant &value) {
    if (writeDictionary(value))
        return;
    switch (kindOf(value)) {
    case ValueKind::Nil:
        refuse(QStringLiteral("Invalid value in JSON write: nil"));
    case ValueKind::Number:
        if (value.typeId() == QMetaType::Float)
            return number(held<float>(value));
        return isUnsigned(value) ? number(value.toULongLong()) : number(value.toLongLong());
    case ValueKind::Decimal: {
        const auto &decimal = held<NSDecimalNumber>(value);
        if (decimal.isNaN())
            refuse(QStringLiteral("Invalid number value (NaN) in JSON write"));
        return append(decimal.stringValue().toLatin1());
    }
    case ValueKind::Array:
        return array(value.toList());
    case ValueKind::Dictionary:
        if (value.typeId() == QMetaType::QVariantHash && !(m_options & NSJSONWritingSortedKeys)) {
            const auto &hash = held<QVariantHash>(value);
            return object(hash.keyValueBegin(), hash.keyValueEnd());
        }
        if (hasStringKeys(value)) {
            const QVariantMap map = value.toMap();
            return object(map.keyValueBegin(), map.keyValueEnd());
        }
        refuse(QStringLiteral("Invalid (non-string) key in JSON dictionary"));
    default:
        refuse(NSFormat("Invalid type in JSON write (%s)", {value.metaType().name()}));
    }
}

void JSONWriter::enter(char bracket) {
    if (++m_depth > NSJSONSerialization::MaximumDepth)
        refuse(QStringLiteral("Too many nested arrays or dictionaries in JSON write"));
    append(bracket);
}

void JSONWriter::leave(char bracket, bool empty) {
    --m_depth;
    if (!empty)
        newLine();
    append(bracket);
}

void JSONWriter::newLine() {
    if (!(m_options & NSJSONWritingPrettyPrinted))
        return;
    const qsizetype indentation = qsizetype(m_depth) * 2;
    ensure(1 + indentation);
    *m_at++ = '\n';
    std::memset(m_at, ' ', size_t(indentation));
    m_at += indentation;
}

void JSONWriter::array(const QVariantList &list) {
    enter('[');
    bool first = true;
    for (const QVariant &element : list) {
        if (!std::exchange(first, false))
            append(',');
        newLine();
        value(element);
    }
    leave(']', first);
}

template <typename Iterator>
void JSONWriter::object(Iterator begin, Iterator end) {
    enter('{');
    bool first = true;
    for (; begin != end; ++begin) {
        const auto &[key, member] = *begin;
        writeMember(key, member, std::exchange(first, false));
    }
    leave('}', first);
}

void JSONWriter::writeMember(const QString &key, const QVariant &member, bool first) {
    if (!first)
        append(',');
    newLine();
    string(key);
    if (m_options & NSJSONWritingPrettyPrinted)
        append(" : ");
    else
        append(':');
    value(member);
}

template <typename Number>
void JSONWriter::number(Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
        if (!std::isfinite(number))
            refuse(NSFormat("Invalid number value (%s) in JSON write",
                            {std::isnan(number) ? "NaN" : "infinite"}));
    }
    ensure(LongestNumber);
    m_at = std::to_chars(m_at, m_at + LongestNumber, number).ptr;
}

void JSONWriter::string(const QString &text) {
    if (text.isNull())
        refuse(QStringLiteral("Invalid value in JSON write: a nil string"));
    const EscapeTexts &escapes =
        m_options & NSJSONWritingWithoutEscapingSlashes ? bareSlashes : escapedSlashes;
    const auto *at = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *const end = at + text.size();
    append('"');
    while (at < end) {
        const char16_t *const pieceEnd = at + qMin(end - at, PieceOfString);
        ensure(LongestEscape * (pieceEnd - at) + LongestEscape + 8);
        char *to = m_at;
        while (at < pieceEnd) {
            copyPlain(at, pieceEnd, to);
            if (at == pieceEnd)
                break;
            const char16_t unit = *at++;
            if (unit < 0x80) {
                to = escapes.write(to, unit);
            } else if (unit < 0x800) {
                *to++ = char(0xC0 | unit >> 6);
                *to++ = char(0x80 | (unit & 0x3F));
            } else if (!QChar::isSurrogate(unit)) {
                *to++ = char(0xE0 | unit >> 12);
                *to++ = char(0x80 | (unit >> 6 & 0x3F));
                *to++ = char(0x80 | (unit & 0x3F));
            } else {
                if (QChar::isLowSurrogate(unit) || at == end || !QChar::isLowSurrogate(*at))
                    refuse(QStringLiteral("Invalid string in JSON write: half a surrogate pair"));
                const char32_t code = QChar::surrogateToUcs4(unit, *at++);
                *to++ = char(0xF0 | code >> 18);
                *to++ = char(0x80 | (code >> 12 & 0x3F));
                *to++ = char(0x80 | (code >> 6 & 0x3F));
                *to++ = char(0x80 | (code & 0x3F));
            }
        }
        m_at = to;
    }
    append('"');
}
