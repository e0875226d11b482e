// SPDX-License-Identifier: MIT
#include "platform/text/JSONReader.h"

#include "platform/text/NSJSONSerialization.h"
#include "platform/values/NSNull.h"

#include <QVariantList>
#include <QVariantMap>
#include <bit>
#include <cfloat>
#include <charconv>
#include <cstring>
#include <limits>
#include <map>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr qsizetype LongestKnownKey = 32;
constexpr qsizetype LongestKnownWord = 16;

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// A byte that stands for itself in a string, and is one UTF-16 unit.
constexpr bool isPlain(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

const char *skipPlain(const char *at, const char *end) {
#ifdef __SSE2__
    const __m128i quote = _mm_set1_epi8('"'), backslash = _mm_set1_epi8('\\'), space = _mm_set1_epi8(0x20);
    for (; end - at >= 16; at += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
        // Compared as signed numbers, all bytes of more than seven bits are less than a space, too.
        const __m128i special =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)),
                         _mm_cmplt_epi8(bytes, space));
        if (const auto mask = unsigned(_mm_movemask_epi8(special)))
            return at + std::countr_zero(mask);
    }
#endif
    while (at < end && isPlain(*at))
        ++at;
    return at;
}

size_t textHash(const char *text, qsizetype size) {
    quint64 head = 0, tail = 0;
    std::memcpy(&head, text, size_t(qMin<qsizetype>(size, 8)));
    if (size > 8)
        std::memcpy(&tail, text + size - 8, 8);
    return ((head ^ std::rotl(tail, 29) ^ quint64(size)) * Q_UINT64_C(0x9e3779b97f4a7c15)) >> 32;
}

/// The powers of ten that doubles hold exactly.
constexpr std::array exactPowers{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Whether a number that no double comes near, and that isn't zero, is at least ten.
bool isLarge(const char *at, const char *end) {
    at += *at == '-';
    qint64 magnitude = -1; // the power of ten of the first digit that isn't zero
    if (*at == '0') {
        for (at += 2; *at == '0'; ++at)
            --magnitude;
    } else {
        for (; at < end && isDigit(*at); ++at)
            ++magnitude;
    }
    while (at < end && *at != 'e' && *at != 'E')
        ++at;
    if (at == end)
        return magnitude > 0;
    ++at;
    const bool down = *at == '-';
    qint64 exponent = 0;
    for (at += down || *at == '+'; at < end; ++at)
        exponent = qMin(exponent * 10 + (*at - '0'), Q_INT64_C(1) << 50);
    return magnitude + (down ? -exponent : exponent) > 0;
}

// The value is made in place: assigning a ready one would copy it.
template <typename T>
T &become(QVariant &value) {
    value = QVariant(QMetaType::fromType<T>());
    return *static_cast<T *>(value.data());
}

} // namespace

JSONReader::JSONReader(QByteArrayView text)
    : m_begin(text.data()), m_end(text.data() + text.size()), m_at(text.data()) {
}

bool JSONReader::read(QVariant &value, bool fragmentsAllowed) {
    if (m_end - m_at >= 3 && std::memcmp(m_at, "\xEF\xBB\xBF", 3) == 0)
        m_at += 3;
    skipSpace();
    if (!fragmentsAllowed && m_at < m_end && *m_at != '{' && *m_at != '[')
        return refuse("the text does not begin with an array or an object");
    if (!this->value(value))
        return false;
    skipSpace();
    return m_at == m_end || refuse("something follows the value");
}

bool JSONReader::refuse(const char *problem) {
    m_problem = problem;
    return false;
}

bool JSONReader::refuseAt(const char *position, const char *problem) {
    m_at = position;
    return refuse(problem);
}

void JSONReader::skipSpace() {
    while (m_at < m_end && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t'))
        ++m_at;
}

bool JSONReader::value(QVariant &out) {
    if (m_at == m_end)
        return refuse("the text ends where a value is due");
    switch (*m_at) {
    case '{':
        return object(out);
    case '[':
        return array(out);
    case '"':
        return string(become<QString>(out), m_words, LongestKnownWord);
    case 't':
        out = true;
        return literal("true", 4);
    case 'f':
        out = false;
        return literal("false", 5);
    case 'n':
        out = NSNull();
        return literal("null", 4);
    default:
        return number(out);
    }
}

bool JSONReader::literal(const char *word, qsizetype size) {
    if (m_end - m_at < size || std::memcmp(m_at, word, size_t(size)) != 0)
        return refuse("a word that is not true, false or null");
    m_at += size;
    return true;
}

bool JSONReader::array(QVariant &out) {
    if (++m_depth > NSJSONSerialization::MaximumDepth)
        return refuse("too many arrays and objects within one another");
    ++m_at;
    auto &list = become<QVariantList>(out);
    skipSpace();
    if (m_at < m_end && *m_at == ']') {
        ++m_at;
        --m_depth;
        return true;
    }
    list.reserve(4);
    for (;;) {
        skipSpace();
        if (!value(list.emplaceBack()))
            return false;
        skipSpace();
        if (m_at == m_end)
            return refuse("the text ends in an array");
        const char c = *m_at;
        if (c != ',' && c != ']')
            return refuse("neither a comma nor a bracket after an array's element");
        ++m_at;
        if (c == ']')
            break;
    }
    --m_depth;
    return true;
}

bool JSONReader::object(QVariant &out) {
    if (++m_depth > NSJSONSerialization::MaximumDepth)
        return refuse("too many arrays and objects within one another");
    ++m_at;
    std::map<QString, QVariant> members;
    skipSpace();
    bool more = m_at == m_end || *m_at != '}';
    if (!more)
        ++m_at;
    while (more) {
        skipSpace();
        if (m_at == m_end || *m_at != '"')
            return refuse("no name where an object's member is due");
        QString name;
        if (!string(name, m_keys, LongestKnownKey))
            return false;
        skipSpace();
        if (m_at == m_end || *m_at != ':')
            return refuse("no colon after a name");
        ++m_at;
        skipSpace();
        // Keys often come sorted.
        if (!value(members.try_emplace(members.end(), std::move(name))->second))
            return false;
        skipSpace();
        if (m_at == m_end)
            return refuse("the text ends in an object");
        const char c = *m_at;
        if (c != ',' && c != '}')
            return refuse("neither a comma nor a brace after an object's member");
        ++m_at;
        more = c == ',';
    }
    --m_depth;
    become<QVariantMap>(out) = QVariantMap(std::move(members));
    return true;
}

bool JSONReader::number(QVariant &out) {
    const char *const start = m_at;
    const bool negative = *m_at == '-';
    m_at += negative;
    const char *const digits = m_at;
    const auto [magnitude, overflow] = readDigits({});
    if (m_at == digits)
        return refuse(negative ? "no digit after a minus sign" : "no value where one is due");
    if (*digits == '0' && m_at - digits > 1)
        return refuseAt(digits, "a number with a leading zero");
    if (m_at < m_end && (*m_at == '.' || *m_at == 'e' || *m_at == 'E'))
        return floatingPoint(out, start, {magnitude, overflow});

    constexpr auto limit = quint64(std::numeric_limits<qint64>::max());
    if (overflow || (negative && (magnitude > limit + 1 || magnitude == 0)))
        return floatingPoint(out, start, {magnitude, overflow});
    if (negative)
        out = qlonglong(0 - magnitude);
    else if (magnitude <= limit)
        out = qlonglong(magnitude);
    else
        out = qulonglong(magnitude);
    return true;
}

JSONReader::Digits JSONReader::readDigits(Digits before) {
    auto [value, overflow] = before;
    for (; m_at < m_end && isDigit(*m_at); ++m_at) {
        overflow |= __builtin_mul_overflow(value, quint64(10), &value);
        overflow |= __builtin_add_overflow(value, quint64(*m_at - '0'), &value);
    }
    return {value, overflow};
}

bool JSONReader::floatingPoint(QVariant &out, const char *start, Digits digits) {
    qint64 power = 0;
    if (m_at < m_end && *m_at == '.') {
        const char *const first = ++m_at;
        digits = readDigits(digits);
        if (m_at == first)
            return refuse("no digit after a decimal point");
        power = first - m_at;
    }
    if (m_at < m_end && (*m_at == 'e' || *m_at == 'E')) {
        ++m_at;
        const bool down = m_at < m_end && *m_at == '-';
        if (m_at < m_end && (*m_at == '-' || *m_at == '+'))
            ++m_at;
        const char *const first = m_at;
        const Digits exponent = readDigits({});
        if (m_at == first)
            return refuse("no digit in an exponent");
        // What is larger leaves the quick way as surely.
        const auto steps = qint64(exponent.overflow ? 10000 : qMin<quint64>(exponent.value, 10000));
        power += down ? -steps : steps;
    }
    // With both exact, one multiplication or division rounds once (W. D. Clinger 1990).
    constexpr qint64 lastExactPower = std::size(exactPowers) - 1;
    if (FLT_EVAL_METHOD == 0 && !digits.overflow &&
        digits.value <= quint64(1) << std::numeric_limits<double>::digits && power >= -lastExactPower &&
        power <= lastExactPower) {
        const double whole = *start == '-' ? -double(digits.value) : double(digits.value);
        out = power < 0 ? whole / exactPowers[size_t(-power)] : whole * exactPowers[size_t(power)];
        return true;
    }
    double number = 0;
    const std::errc problem = std::from_chars(start, m_at, number).ec;
    if (problem == std::errc::result_out_of_range) {
        if (isLarge(start, m_at))
            return refuseAt(start, "a number too large");
        number = *start == '-' ? -0.0 : 0.0;
    }
    out = number;
    return true;
}

bool JSONReader::string(QString &out, KnownTexts &known, qsizetype longestKnown) {
    const char *const start = ++m_at;
    m_at = skipPlain(m_at, m_end);
    if (m_at == m_end || *m_at != '"')
        return decode(out, start);
    const qsizetype size = m_at++ - start;
    if (size == 0 || size > longestKnown) {
        out = QString::fromLatin1(start, size);
        return true;
    }
    Known &place = known[textHash(start, size) % known.size()];
    if (place.size != size || std::memcmp(place.bytes, start, size_t(size)) != 0)
        place = {start, size, QString::fromLatin1(start, size)};
    out = place.text;
    return true;
}

bool JSONReader::decode(QString &out, const char *start) {
    m_units.clear();
    for (;;) {
        for (const char *c = start; c < m_at; ++c)
            m_units.append(char16_t(*c));
        if (m_at == m_end)
            return refuse("the text ends in a string");
        const char c = *m_at;
        if (c == '"')
            break;
        if (static_cast<unsigned char>(c) < 0x20)
            return refuse("a control character in a string");
        if (!(c == '\\' ? escape() : multibyte()))
            return false;
        start = m_at;
        m_at = skipPlain(m_at, m_end);
    }
    ++m_at;
    out = QString(reinterpret_cast<const QChar *>(m_units.constData()), m_units.size());
    return true;
}

bool JSONReader::hexadecimal(char16_t &unit) {
    if (m_end - m_at < 4)
        return refuse("the text ends in an escape");
    unsigned value = 0;
    const auto [end, problem] = std::from_chars(m_at, m_at + 4, value, 16);
    if (problem != std::errc() || end != m_at + 4)
        return refuse("no four hexadecimal digits after \\u");
    m_at = end;
    unit = char16_t(value);
    return true;
}

bool JSONReader::escape() {
    const char *const start = m_at++;
    if (m_at == m_end)
        return refuse("the text ends in an escape");
    switch (*m_at++) {
    case '"':
        m_units.append(u'"');
        return true;
    case '\\':
        m_units.append(u'\\');
        return true;
    case '/':
        m_units.append(u'/');
        return true;
    case 'b':
        m_units.append(u'\b');
        return true;
    case 'f':
        m_units.append(u'\f');
        return true;
    case 'n':
        m_units.append(u'\n');
        return true;
    case 'r':
        m_units.append(u'\r');
        return true;
    case 't':
        m_units.append(u'\t');
        return true;
    case 'u':
        break;
    default:
        return refuseAt(start, "an unknown escape");
    }
    char16_t unit = 0;
    if (!hexadecimal(unit))
        return false;
    m_units.append(unit);
    if (!QChar::isSurrogate(unit))
        return true;
    char16_t low = 0;
    if (QChar::isLowSurrogate(unit) || m_end - m_at < 2 || m_at[0] != '\\' || m_at[1] != 'u')
        return refuseAt(start, "half a surrogate pair");
    m_at += 2;
    if (!hexadecimal(low))
        return false;
    if (!QChar::isLowSurrogate(low))
        return refuseAt(start, "half a surrogate pair");
    m_units.append(low);
    return true;
}

// Well-formed sequences by table 3-7 of the Unicode standard.
bool JSONReader::multibyte() {
    const auto byte = [this](int i) { return static_cast<unsigned char>(m_at[i]); };
    const unsigned first = byte(0);
    const int size = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (size == 0 || m_end - m_at < size)
        return refuse("bytes that are not UTF-8");
    const unsigned smallest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned largest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < smallest || byte(1) > largest)
        return refuse("bytes that are not UTF-8");
    char32_t code = (first & (0x7Fu >> size)) << 6 | (byte(1) & 0x3F);
    for (int i = 2; i < size; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return refuse("bytes that are not UTF-8");
        code = code << 6 | (byte(i) & 0x3F);
    }
    m_at += size;
    if (QChar::requiresSurrogates(code)) {
        m_units.append(QChar::highSurrogate(code));
        m_units.append(QChar::lowSurrogate(code));
    } else {
        m_units.append(char16_t(code));
    }
    return true;
}
