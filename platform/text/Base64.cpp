// SPDX-License-Identifier: MIT
#include "platform/text/Base64.h"

#include "platform/text/Base64Blocks.h"

#include <array>
#include <cstring>
#include <new>

namespace Base64 {

namespace {

constexpr std::array<char16_t, 65> alphabet =
    std::to_array(u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");

constexpr uchar skipped = 126;
constexpr uchar invalid = 127;

constexpr std::array<uchar, 256> values = [] {
    std::array<uchar, 256> table{};
    table.fill(invalid);
    for (uchar value = 0; value < 64; ++value)
        table[alphabet[value]] = value;
    for (const char blank : {' ', '\t', '\n', '\v', '\f', '\r', '='})
        table[uchar(blank)] = skipped;
    return table;
}();

uchar valueOf(char16_t unit) {
    return unit < values.size() ? values[unit] : invalid;
}

/// One lenient decoding: the position in the text and the values that wait for a whole group.
class LenientDecoder {
public:
    LenientDecoder(QStringView text, uchar *out)
        : m_in(text.utf16()), m_end(text.utf16() + text.size()), m_out(out) {}

    /// False for invalid text; otherwise out() is the end of what was written.
    bool run(DecodeBlocks blocks) {
        while (m_in != m_end) {
            if (blocks)
                blocks(m_in, m_end, m_out);
            if (!takeGroups(blocks != nullptr))
                return false;
        }
        return finish();
    }
    uchar *out() const { return m_out; }

private:
    /// Goes on to the end or, where blocks can be taken again, to the next group after something was skipped.
    bool takeGroups(bool blocksFollow) {
        bool hasSkipped = false;
        while (m_in != m_end) {
            const uchar value = valueOf(*m_in++);
            if (value == invalid)
                return false;
            if (value == skipped) {
                hasSkipped = true;
            } else {
                m_bits = m_bits << 6 | value;
                if (++m_pending == 4)
                    writeGroup();
            }
            if (hasSkipped && blocksFollow && m_pending == 0 && m_in != m_end && valueOf(*m_in) < 64)
                return true;
        }
        return true;
    }
    void writeGroup() {
        *m_out++ = uchar(m_bits >> 16);
        *m_out++ = uchar(m_bits >> 8);
        *m_out++ = uchar(m_bits);
        m_pending = 0;
        m_bits = 0;
    }
    bool finish() {
        if (m_pending == 1)
            return false;
        if (m_pending == 2) {
            *m_out++ = uchar(m_bits >> 4);
        } else if (m_pending == 3) {
            *m_out++ = uchar(m_bits >> 10);
            *m_out++ = uchar(m_bits >> 2);
        }
        return true;
    }

    const char16_t *m_in;
    const char16_t *const m_end;
    uchar *m_out;
    quint32 m_bits = 0;
    int m_pending = 0;
};

/// One strict-length decoding of a text whose closing "=" are gone.
class LengthDecoder {
public:
    LengthDecoder(QStringView text, uchar *out, uchar *outEnd)
        : m_in(text.utf16()), m_end(text.utf16() + text.size()), m_out(out), m_outEnd(outEnd) {}

    /// False where a unit is not ASCII; otherwise out() is the end of what was written.
    bool run(DecodeBlocks blocks) {
        while (m_in != m_end) {
            if (blocks)
                blocks(m_in, m_end, m_out);
            for (int i = 0; i < groupsBetweenBlocks && m_in != m_end; ++i) {
                if (!takeGroup())
                    return false;
            }
        }
        return true;
    }
    uchar *out() const { return m_out; }

private:
    static constexpr int groupsBetweenBlocks = 8;

    bool takeGroup() {
        std::array<char16_t, 4> group{u'=', u'=', u'=', u'='};
        std::array<quint32, 4> value{};
        for (size_t i = 0; i < group.size(); ++i) {
            if (m_in != m_end)
                group[i] = *m_in++;
            if (group[i] >= 0x80)
                return false;
            value[i] = values[group[i]] < 64 ? values[group[i]] : 63;
        }
        write(value[0] << 2 | value[1] >> 4);
        if (group[2] != u'=') {
            write(value[1] << 4 | value[2] >> 2);
            if (group[3] != u'=')
                write(value[2] << 6 | value[3]);
        }
        return true;
    }
    /// A lone character at the end gives no byte: the result's length doesn't count one.
    void write(quint32 byte) {
        if (m_out != m_outEnd)
            *m_out++ = uchar(byte);
    }

    const char16_t *m_in;
    const char16_t *const m_end;
    uchar *m_out;
    uchar *const m_outEnd;
};

} // namespace

QString encoded(QByteArrayView bytes, Way way) try {
    if (bytes.isEmpty())
        return QStringLiteral("");
    QString text((bytes.size() + 2) / 3 * 4, Qt::Uninitialized);
    const auto *in = reinterpret_cast<const uchar *>(bytes.data());
    const uchar *const end = in + bytes.size();
    auto *out = reinterpret_cast<char16_t *>(text.data());
    if (const EncodeBlocks blocks = encodeBlocks(way))
        blocks(in, end, out);
    for (; end - in >= 3; in += 3, out += 4) {
        out[0] = alphabet[in[0] >> 2];
        out[1] = alphabet[(in[0] & 3) << 4 | in[1] >> 4];
        out[2] = alphabet[(in[1] & 15) << 2 | in[2] >> 6];
        out[3] = alphabet[in[2] & 63];
    }
    if (in != end) {
        const bool two = end - in == 2;
        const uchar second = two ? in[1] : 0;
        out[0] = alphabet[in[0] >> 2];
        out[1] = alphabet[(in[0] & 3) << 4 | second >> 4];
        out[2] = two ? alphabet[(second & 15) << 2] : u'=';
        out[3] = u'=';
    }
    return text;
} catch (const std::bad_alloc &) {
    return {};
}

QByteArray decodedLeniently(QStringView text, Way way) try {
    if (text.isEmpty())
        return QByteArrayLiteral("");
    QByteArray data((text.size() + 3) / 4 * 3, Qt::Uninitialized);
    auto *const start = reinterpret_cast<uchar *>(data.data());
    LenientDecoder decoder(text, start);
    if (!decoder.run(decodeBlocks(way)))
        return {};
    data.truncate(decoder.out() - start);
    return data;
} catch (const std::bad_alloc &) {
    return {};
}

QByteArray decodedByLength(QStringView text, Way way) {
    if (text.size() % 4 != 0)
        return {};
    while (text.endsWith(u'='))
        text.chop(1);
    if (text.isEmpty())
        return QByteArrayLiteral("");
    const qsizetype size = text.size() / 4 * 3 + text.size() % 4 * 3 / 4;
    QByteArray data(size, Qt::Uninitialized);
    auto *const start = reinterpret_cast<uchar *>(data.data());
    LengthDecoder decoder(text, start, start + size);
    if (!decoder.run(decodeBlocks(way)))
        return {};
    std::memset(decoder.out(), 0, size_t(start + size - decoder.out()));
    return data;
}

} // namespace Base64
