// SPDX-License-Identifier: MIT
#include "platform/documents/WebTextEncoding.h"

#include <QStringDecoder>
#include <QUtf8StringView>
#include <array>
#include <initializer_list>
#include <optional>
#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#include <utility>
#include <vector>

namespace {

constexpr char32_t unmapped = 0xFFFD;

bool isBetween(int byte, int first, int last) {
    return byte >= first && byte <= last;
}

bool isPrivate(char32_t c) {
    return c >= 0xE000 && c <= 0xF8FF;
}

/// An ICU converter that tells malformed input instead of replacing it.
class Converter {
public:
    explicit Converter(const char *name) {
        UErrorCode status = U_ZERO_ERROR;
        m_converter = ucnv_open(name, &status);
        if (U_SUCCESS(status))
            ucnv_setToUCallBack(m_converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    }
    ~Converter() { ucnv_close(m_converter); }
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    /// The one character of a byte sequence; `unmapped` where it is none or several.
    char32_t character(std::initializer_list<int> sequence) const {
        std::array<char, 4> bytes{};
        int length = 0;
        for (const int byte : sequence)
            bytes[size_t(length++)] = char(byte);
        std::array<UChar, 4> units{};
        UErrorCode status = U_ZERO_ERROR;
        const int count =
            ucnv_toUChars(m_converter, units.data(), int(units.size()), bytes.data(), length, &status);
        if (U_FAILURE(status))
            return unmapped;
        if (count == 1)
            return units[0];
        if (count == 2 && U16_IS_SURROGATE_LEAD(units[0]))
            return char32_t(U16_GET_SUPPLEMENTARY(units[0], units[1]));
        return unmapped;
    }

private:
    UConverter *m_converter = nullptr;
};

using Table = std::vector<char32_t>;

char32_t at(const Table &table, int pointer) {
    return pointer >= 0 && size_t(pointer) < table.size() ? table[size_t(pointer)] : unmapped;
}

// What the standard's indexes have and ICU's tables lack or map into the private-use area, by the two bytes.
struct Correction {
    char16_t bytes;
    char16_t character;
};

constexpr Correction gb18030Corrections[] = {
    {0xA3A0, 0x3000}, {0xA6D9, 0xFE10}, {0xA6DA, 0xFE12}, {0xA6DB, 0xFE11}, {0xA6DC, 0xFE13},
    {0xA6DD, 0xFE14}, {0xA6DE, 0xFE15}, {0xA6DF, 0xFE16}, {0xA6EC, 0xFE17}, {0xA6ED, 0xFE18},
    {0xA6F3, 0xFE19}, {0xFE59, 0x9FB4}, {0xFE61, 0x9FB5}, {0xFE66, 0x9FB6}, {0xFE67, 0x9FB7},
    {0xFE6D, 0x9FB8}, {0xFE7E, 0x9FB9}, {0xFE90, 0x9FBA}, {0xFEA0, 0x9FBB},
};

constexpr Correction big5Corrections[] = {
    {0x87A4, 0x9F97}, {0x87AC, 0x9F96}, {0x8840, 0x31C0}, {0x8841, 0x31C1}, {0x8842, 0x31C2},
    {0x8843, 0x31C3}, {0x8844, 0x31C4}, {0x8846, 0x31C5}, {0x8849, 0x31C6}, {0x884A, 0x31C7},
    {0x884D, 0x31C8}, {0x884F, 0x31C9}, {0x8850, 0x31CA}, {0x8851, 0x31CB}, {0x8852, 0x31CC},
    {0x8854, 0x31CD}, {0x8855, 0x31CE}, {0x88A9, 0x23DA}, {0x88AA, 0x23DB}, {0x8C43, 0x9FA6},
    {0x8C6D, 0x9FA7}, {0x8C74, 0x9FA8}, {0x8CB7, 0x9FA9}, {0x8CB9, 0x9FAA}, {0x8CBB, 0x9FAB},
    {0x8CC0, 0x9FAC}, {0x8CD7, 0x9FAD}, {0x8CD8, 0x9FAE}, {0x8CDA, 0x9FAF}, {0x8CED, 0x9FB2},
    {0x8D48, 0x9FB3}, {0x8E69, 0x7BB8}, {0x8E6F, 0x7C06}, {0x8E7E, 0x7CCE}, {0x8EAB, 0x7DD2},
    {0x8EB4, 0x7E1D}, {0x8ECD, 0x8005}, {0x8ED0, 0x8028}, {0x8F57, 0x83C1}, {0x8F69, 0x84A8},
    {0x8F6E, 0x840F}, {0x8FCB, 0x89A6}, {0x8FCC, 0x89A9}, {0x8FFE, 0x8D77}, {0x906D, 0x90FD},
    {0x907A, 0x92B9}, {0x90DC, 0x975C}, {0x90F1, 0x97FF}, {0x91BF, 0x9F16}, {0x9244, 0x8503},
    {0x92AF, 0x5159}, {0x92B0, 0x515B}, {0x92B1, 0x515D}, {0x92B2, 0x515E}, {0x92C8, 0x936E},
    {0x92D1, 0x7479}, {0x9447, 0x6D67}, {0x94CA, 0x799B}, {0x95D9, 0x9097}, {0x9644, 0x975D},
    {0x96ED, 0x701E}, {0x96FC, 0x5B28}, {0x9B76, 0x7201}, {0x9B78, 0x77D7}, {0x9B7B, 0x7E87},
    {0x9BC6, 0x99D6}, {0x9BDE, 0x91D4}, {0x9BEC, 0x60DE}, {0x9BF6, 0x6FB6}, {0x9C42, 0x8F36},
    {0x9C53, 0x4FBB}, {0x9C62, 0x71DF}, {0x9C68, 0x9104}, {0x9C6B, 0x9DF0}, {0x9C77, 0x83CF},
    {0x9CBC, 0x5C10}, {0x9CBD, 0x79E3}, {0x9CD0, 0x5A67}, {0x9D57, 0x8F0B}, {0x9D5A, 0x7B51},
    {0x9DC4, 0x62D0}, {0x9EA9, 0x6062}, {0x9EEF, 0x75F9}, {0x9EFD, 0x6C4A}, {0x9F60, 0x9B2E},
    {0x9F66, 0x9F17}, {0x9FCB, 0x50ED}, {0x9FD8, 0x5F0C}, {0xA063, 0x880F}, {0xA077, 0x62CE},
    {0xA0D5, 0x7468}, {0xA0DF, 0x7162}, {0xA0E4, 0x7250}, {0xA3C0, 0x2400}, {0xA3C1, 0x2401},
    {0xA3C2, 0x2402}, {0xA3C3, 0x2403}, {0xA3C4, 0x2404}, {0xA3C5, 0x2405}, {0xA3C6, 0x2406},
    {0xA3C7, 0x2407}, {0xA3C8, 0x2408}, {0xA3C9, 0x2409}, {0xA3CA, 0x240A}, {0xA3CB, 0x240B},
    {0xA3CC, 0x240C}, {0xA3CD, 0x240D}, {0xA3CE, 0x240E}, {0xA3CF, 0x240F}, {0xA3D0, 0x2410},
    {0xA3D1, 0x2411}, {0xA3D2, 0x2412}, {0xA3D3, 0x2413}, {0xA3D4, 0x2414}, {0xA3D5, 0x2415},
    {0xA3D6, 0x2416}, {0xA3D7, 0x2417}, {0xA3D8, 0x2418}, {0xA3D9, 0x2419}, {0xA3DA, 0x241A},
    {0xA3DB, 0x241B}, {0xA3DC, 0x241C}, {0xA3DD, 0x241D}, {0xA3DE, 0x241E}, {0xA3DF, 0x241F},
    {0xA3E0, 0x2421}, {0xC6CF, 0x5EF4}, {0xC6D3, 0x65E0}, {0xC6D5, 0x7676}, {0xC6D7, 0x96B6},
    {0xC6DE, 0x3003}, {0xC6DF, 0x4EDD}, {0xC879, 0x31CF}, {0xC8A1, 0x9FB0}, {0xC8A3, 0x9FB1},
    {0xFA5F, 0x5029}, {0xFA66, 0x507D}, {0xFABD, 0x5305}, {0xFAC5, 0x5344}, {0xFAD5, 0x537F},
    {0xFB48, 0x5605}, {0xFBB8, 0x5A77}, {0xFBF3, 0x5E75}, {0xFBF9, 0x5ED0}, {0xFC4F, 0x5F58},
    {0xFC6C, 0x60A4}, {0xFCB9, 0x6490}, {0xFCE2, 0x6674}, {0xFCF1, 0x675E}, {0xFDB7, 0x6C9C},
    {0xFDB8, 0x6E1D}, {0xFDBB, 0x6E2F}, {0xFDF1, 0x716E}, {0xFE52, 0x732A}, {0xFE6F, 0x745C},
    {0xFEAA, 0x74E9}, {0xFEDD, 0x7809},
};

const Table &gb18030Table() {
    static const Table table = [] {
        const Converter icu("gb18030");
        Table made;
        for (int lead = 0x81; lead <= 0xFE; ++lead) {
            for (int trail = 0x40; trail <= 0xFE; ++trail) {
                if (trail != 0x7F)
                    made.push_back(icu.character({lead, trail}));
            }
        }
        for (const Correction &c : gb18030Corrections) {
            const int trail = c.bytes & 0xFF;
            made[size_t(((c.bytes >> 8) - 0x81) * 190 + trail - (trail < 0x7F ? 0x40 : 0x41))] = c.character;
        }
        return made;
    }();
    return table;
}

/// The characters of the Basic Multilingual Plane that GB 18030 writes in four bytes.
const Table &gb18030RangesTable() {
    static const Table table = [] {
        const Converter icu("gb18030");
        constexpr int count = 39420;
        Table made(count, unmapped);
        for (int pointer = 0; pointer < count; ++pointer) {
            made[size_t(pointer)] = icu.character({0x81 + pointer / 12600, 0x30 + pointer / 1260 % 10,
                                                   0x81 + pointer / 10 % 126, 0x30 + pointer % 10});
        }
        return made;
    }();
    return table;
}

const Table &big5Table() {
    static const Table table = [] {
        const Converter icu("ibm-1375_P100-2008");
        Table made;
        for (int lead = 0x81; lead <= 0xFE; ++lead) {
            for (int trail = 0x40; trail <= 0xFE; ++trail) {
                if (isBetween(trail, 0x7F, 0xA0))
                    continue;
                const char32_t c = icu.character({lead, trail});
                made.push_back(isPrivate(c) ? unmapped : c);
            }
        }
        for (const Correction &c : big5Corrections) {
            const int trail = c.bytes & 0xFF;
            made[size_t(((c.bytes >> 8) - 0x81) * 157 + trail - (trail < 0x7F ? 0x40 : 0x62))] = c.character;
        }
        return made;
    }();
    return table;
}

const Table &eucKRTable() {
    static const Table table = [] {
        const Converter icu("windows-949-2000");
        Table made;
        for (int lead = 0x81; lead <= 0xFE; ++lead) {
            for (int trail = 0x41; trail <= 0xFE; ++trail) {
                const char32_t c = icu.character({lead, trail});
                made.push_back(isPrivate(c) ? unmapped : c);
            }
        }
        return made;
    }();
    return table;
}

/// JIS X 0208 with the vendor rows beyond 94, as Shift_JIS reaches them.
const Table &jis0208Table() {
    static const Table table = [] {
        const Converter icu("ibm-943_P15A-2003");
        Table made;
        for (int lead = 0x81; lead <= 0xFC; ++lead) {
            if (isBetween(lead, 0xA0, 0xDF))
                continue;
            for (int trail = 0x40; trail <= 0xFC; ++trail) {
                if (trail == 0x7F)
                    continue;
                const char32_t c = icu.character({lead, trail});
                made.push_back(isPrivate(c) ? unmapped : c);
            }
        }
        return made;
    }();
    return table;
}

const Table &jis0212Table() {
    static const Table table = [] {
        const Converter icu("euc-jp-2007");
        Table made;
        // ICU's rows beyond are a vendor's, which the standard's index has not.
        constexpr int lastRow = 0xED;
        for (int lead = 0xA1; lead <= lastRow; ++lead) {
            for (int trail = 0xA1; trail <= 0xFE; ++trail) {
                const char32_t c = icu.character({0x8F, lead, trail});
                made.push_back(isPrivate(c) ? unmapped : c);
            }
        }
        return made;
    }();
    return table;
}

/// Collects what a decoder gives, and counts its errors.
class Output {
public:
    enum class Keep { Text, Nothing };
    Output(Keep keep, qsizetype expected) : m_keepsText(keep == Keep::Text) {
        if (m_keepsText)
            m_text.reserve(expected);
    }
    void put(char32_t c) {
        if (!m_keepsText)
            return;
        if (c > 0xFFFF) {
            m_text.append(QChar(QChar::highSurrogate(c)));
            m_text.append(QChar(QChar::lowSurrogate(c)));
        } else {
            m_text.append(QChar(char16_t(c)));
        }
    }
    void error() {
        put(QChar::ReplacementCharacter);
        ++m_errors;
    }
    void putOrError(char32_t c) {
        if (c == unmapped)
            error();
        else
            put(c);
    }
    QString take() { return std::move(m_text); }
    bool hasErrors() const { return m_errors > 0; }

private:
    const bool m_keepsText;
    QString m_text;
    qsizetype m_errors = 0;
};

/// Reads bytes one by one and can go back, as the standard's decoders do to keep a byte for the next round.
class Input {
public:
    static constexpr int end = -1;

    explicit Input(QByteArrayView bytes) : m_bytes(bytes) {}
    int next() { return m_at < m_bytes.size() ? uchar(m_bytes[m_at++]) : (++m_at, end); }
    void back(int count) { m_at -= count; }
    /// Takes back the byte just read where it is ASCII, so that a broken lead byte swallows no markup.
    void backIfASCII(int byte) {
        if (byte == end || byte < 0x80)
            back(1);
    }

private:
    QByteArrayView m_bytes;
    qsizetype m_at = 0;
};

void decodeGB18030(Input in, Output &out) {
    const Table &pairs = gb18030Table();
    for (int first = in.next(); first != Input::end; first = in.next()) {
        if (first < 0x80) {
            out.put(char32_t(first));
        } else if (first == 0x80) {
            out.put(0x20AC);
        } else if (first == 0xFF) {
            out.error();
        } else {
            const int second = in.next();
            if (!isBetween(second, 0x30, 0x39)) {
                const bool isTrail = isBetween(second, 0x40, 0x7E) || isBetween(second, 0x80, 0xFE);
                const char32_t c =
                    isTrail ? at(pairs, (first - 0x81) * 190 + second - (second < 0x7F ? 0x40 : 0x41))
                            : unmapped;
                if (c == unmapped)
                    in.backIfASCII(second);
                out.putOrError(c);
                continue;
            }
            const int third = in.next();
            if (!isBetween(third, 0x81, 0xFE)) {
                if (third != Input::end)
                    in.back(2);
                out.error();
                continue;
            }
            const int fourth = in.next();
            if (!isBetween(fourth, 0x30, 0x39)) {
                if (fourth != Input::end)
                    in.back(3);
                out.error();
                continue;
            }
            const int pointer =
                (first - 0x81) * 12600 + (second - 0x30) * 1260 + (third - 0x81) * 10 + fourth - 0x30;
            if (isBetween(pointer, 189000, 1237575))
                out.put(char32_t(0x10000 + pointer - 189000));
            else
                out.putOrError(at(gb18030RangesTable(), pointer));
        }
    }
}

void decodeBig5(Input in, Output &out) {
    const Table &pairs = big5Table();
    for (int lead = in.next(); lead != Input::end; lead = in.next()) {
        if (lead < 0x80) {
            out.put(char32_t(lead));
        } else if (!isBetween(lead, 0x81, 0xFE)) {
            out.error();
        } else {
            const int trail = in.next();
            const bool isTrail = isBetween(trail, 0x40, 0x7E) || isBetween(trail, 0xA1, 0xFE);
            const int pointer = isTrail ? (lead - 0x81) * 157 + trail - (trail < 0x7F ? 0x40 : 0x62) : -1;
            // Four letters of Hong Kong's set are a base and a combining mark.
            if (pointer == 1133 || pointer == 1135 || pointer == 1164 || pointer == 1166) {
                out.put(pointer < 1164 ? 0xCA : 0xEA);
                out.put(pointer == 1133 || pointer == 1164 ? 0x304 : 0x30C);
                continue;
            }
            const char32_t c = at(pairs, pointer);
            if (c == unmapped)
                in.backIfASCII(trail);
            out.putOrError(c);
        }
    }
}

void decodeEUCJP(Input in, Output &out) {
    for (int lead = in.next(); lead != Input::end; lead = in.next()) {
        if (lead < 0x80) {
            out.put(char32_t(lead));
            continue;
        }
        if (lead != 0x8E && lead != 0x8F && !isBetween(lead, 0xA1, 0xFE)) {
            out.error();
            continue;
        }
        int trail = in.next();
        if (lead == 0x8E && isBetween(trail, 0xA1, 0xDF)) {
            out.put(char32_t(0xFF61 - 0xA1 + trail));
            continue;
        }
        const bool isJIS0212 = lead == 0x8F && isBetween(trail, 0xA1, 0xFE);
        if (isJIS0212) {
            lead = trail;
            trail = in.next();
        }
        const bool isPair = isBetween(lead, 0xA1, 0xFE) && isBetween(trail, 0xA1, 0xFE);
        const char32_t c =
            isPair ? at(isJIS0212 ? jis0212Table() : jis0208Table(), (lead - 0xA1) * 94 + trail - 0xA1)
                   : unmapped;
        if (c == unmapped)
            in.backIfASCII(trail);
        out.putOrError(c);
    }
}

void decodeShiftJIS(Input in, Output &out) {
    const Table &pairs = jis0208Table();
    for (int lead = in.next(); lead != Input::end; lead = in.next()) {
        if (lead <= 0x80) {
            out.put(char32_t(lead));
        } else if (isBetween(lead, 0xA1, 0xDF)) {
            out.put(char32_t(0xFF61 - 0xA1 + lead));
        } else if (lead == 0xA0 || lead > 0xFC) {
            out.error();
        } else {
            const int trail = in.next();
            char32_t c = unmapped;
            if (isBetween(trail, 0x40, 0x7E) || isBetween(trail, 0x80, 0xFC)) {
                const int pointer =
                    (lead - (lead < 0xA0 ? 0x81 : 0xC1)) * 188 + trail - (trail < 0x7F ? 0x40 : 0x41);
                c = isBetween(pointer, 8836, 10715) ? char32_t(0xE000 - 8836 + pointer) : at(pairs, pointer);
            }
            if (c == unmapped)
                in.backIfASCII(trail);
            out.putOrError(c);
        }
    }
}

void decodeEUCKR(Input in, Output &out) {
    const Table &pairs = eucKRTable();
    for (int lead = in.next(); lead != Input::end; lead = in.next()) {
        if (lead < 0x80) {
            out.put(char32_t(lead));
        } else if (!isBetween(lead, 0x81, 0xFE)) {
            out.error();
        } else {
            const int trail = in.next();
            const char32_t c =
                isBetween(trail, 0x41, 0xFE) ? at(pairs, (lead - 0x81) * 190 + trail - 0x41) : unmapped;
            if (c == unmapped)
                in.backIfASCII(trail);
            out.putOrError(c);
        }
    }
}

void decodeISO2022JP(Input in, Output &out) {
    enum class Set { ASCII, Roman, Katakana, JIS0208 } set = Set::ASCII;
    bool justEscaped = false;
    for (int byte = in.next(); byte != Input::end; byte = in.next()) {
        if (byte == 0x1B) {
            const int second = in.next();
            const int third = second == 0x24 || second == 0x28 ? in.next() : Input::end;
            std::optional<Set> chosen;
            if (second == 0x28 && third == 0x42)
                chosen = Set::ASCII;
            else if (second == 0x28 && third == 0x4A)
                chosen = Set::Roman;
            else if (second == 0x28 && third == 0x49)
                chosen = Set::Katakana;
            else if (second == 0x24 && (third == 0x40 || third == 0x42))
                chosen = Set::JIS0208;
            if (chosen) {
                set = *chosen;
                if (std::exchange(justEscaped, true))
                    out.error();
            } else {
                in.back(second == 0x24 || second == 0x28 ? 2 : 1);
                justEscaped = false;
                out.error();
            }
            continue;
        }
        justEscaped = false;
        const bool isPlain = byte < 0x80 && byte != 0x0E && byte != 0x0F;
        switch (set) {
        case Set::ASCII:
            out.putOrError(isPlain ? char32_t(byte) : unmapped);
            break;
        case Set::Roman:
            out.putOrError(byte == 0x5C ? 0xA5 : byte == 0x7E ? 0x203E : isPlain ? char32_t(byte) : unmapped);
            break;
        case Set::Katakana:
            out.putOrError(isBetween(byte, 0x21, 0x5F) ? char32_t(0xFF61 - 0x21 + byte) : unmapped);
            break;
        case Set::JIS0208: {
            if (!isBetween(byte, 0x21, 0x7E)) {
                out.error();
                break;
            }
            const int trail = in.next();
            if (trail == 0x1B || trail == Input::end) {
                in.back(1);
                out.error();
            } else {
                out.putOrError(isBetween(trail, 0x21, 0x7E)
                                   ? at(jis0208Table(), (byte - 0x21) * 94 + trail - 0x21)
                                   : unmapped);
            }
            break;
        }
        }
    }
}

void decodeUTF16(QByteArrayView bytes, bool bigEndian, Output &out) {
    const auto unit = [&](qsizetype i) {
        const uchar a = uchar(bytes[i]), b = uchar(bytes[i + 1]);
        return char16_t(bigEndian ? a << 8 | b : b << 8 | a);
    };
    qsizetype i = 0;
    for (; i + 1 < bytes.size(); i += 2) {
        const char16_t c = unit(i);
        if (!QChar::isSurrogate(c)) {
            out.put(c);
        } else if (QChar::isHighSurrogate(c) && i + 3 < bytes.size() && QChar::isLowSurrogate(unit(i + 2))) {
            out.put(QChar::surrogateToUcs4(c, unit(i + 2)));
            i += 2;
        } else {
            // A high surrogate at an odd end swallows the lone byte into one error.
            if (QChar::isHighSurrogate(c) && i + 3 == bytes.size())
                i += 1;
            out.error();
        }
    }
    if (i + 1 == bytes.size())
        out.error();
}

void decodeUTF32(QByteArrayView bytes, bool bigEndian, Output &out) {
    qsizetype i = 0;
    for (; i + 3 < bytes.size(); i += 4) {
        char32_t c = 0;
        for (int k = 0; k < 4; ++k)
            c |= char32_t(uchar(bytes[i + k])) << (bigEndian ? 24 - 8 * k : 8 * k);
        out.putOrError(c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF) ? unmapped : c);
    }
    if (i < bytes.size())
        out.error();
}

/// The upper half of a single-byte encoding.
using Half = std::array<char16_t, 128>;

Half halfFromICU(const char *converter, std::initializer_list<Correction> corrections = {}) {
    const Converter icu(converter);
    Half half;
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        const char32_t c = icu.character({byte});
        half[size_t(byte - 0x80)] = isPrivate(c) ? char16_t(unmapped) : char16_t(c);
    }
    for (const Correction &c : corrections)
        half[size_t(c.bytes - 0x80)] = c.character;
    return half;
}

// ICU has no ISO-8859-16.
constexpr Half iso8859_16 = {
    0x80,  0x81,   0x82,  0x83,  0x84,  0x85,  0x86,  0x87,  0x88,  0x89,  0x8A,   0x8B,   0x8C,
    0x8D,  0x8E,   0x8F,  0x90,  0x91,  0x92,  0x93,  0x94,  0x95,  0x96,  0x97,   0x98,   0x99,
    0x9A,  0x9B,   0x9C,  0x9D,  0x9E,  0x9F,  0xA0,  0x104, 0x105, 0x141, 0x20AC, 0x201E, 0x160,
    0xA7,  0x161,  0xA9,  0x218, 0xAB,  0x179, 0xAD,  0x17A, 0x17B, 0xB0,  0xB1,   0x10C,  0x142,
    0x17D, 0x201D, 0xB6,  0xB7,  0x17E, 0x10D, 0x219, 0xBB,  0x152, 0x153, 0x178,  0x17C,  0xC0,
    0xC1,  0xC2,   0x102, 0xC4,  0x106, 0xC6,  0xC7,  0xC8,  0xC9,  0xCA,  0xCB,   0xCC,   0xCD,
    0xCE,  0xCF,   0x110, 0x143, 0xD2,  0xD3,  0xD4,  0x150, 0xD6,  0x15A, 0x170,  0xD9,   0xDA,
    0xDB,  0xDC,   0x118, 0x21A, 0xDF,  0xE0,  0xE1,  0xE2,  0x103, 0xE4,  0x107,  0xE6,   0xE7,
    0xE8,  0xE9,   0xEA,  0xEB,  0xEC,  0xED,  0xEE,  0xEF,  0x111, 0x144, 0xF2,   0xF3,   0xF4,
    0x151, 0xF6,   0x15B, 0x171, 0xF9,  0xFA,  0xFB,  0xFC,  0x119, 0x21B, 0xFF};

Half makeHalf(WebTextEncoding encoding) {
    switch (encoding) {
    case WebTextEncoding::ISO8859_8_I:
        return halfFromICU("ISO-8859-8");
    case WebTextEncoding::ISO8859_16:
        return iso8859_16;
    case WebTextEncoding::KOI8_U:
        return halfFromICU("KOI8-U", {{0xAE, 0x45E}, {0xBE, 0x40E}});
    case WebTextEncoding::Macintosh:
        return halfFromICU("macintosh", {{0xF0, 0xF8FF}});
    case WebTextEncoding::Windows874:
        return halfFromICU("windows-874-2000");
    case WebTextEncoding::Windows1253:
        return halfFromICU("windows-1253", {{0xAA, unmapped}});
    case WebTextEncoding::Windows1255:
        return halfFromICU("windows-1255", {{0xCA, 0x5BA}});
    case WebTextEncoding::UserDefined: {
        Half half;
        for (size_t i = 0; i < half.size(); ++i)
            half[i] = char16_t(0xF780 + i);
        return half;
    }
    default:
        return halfFromICU(WebTextEncodingName(encoding).constData());
    }
}

const Half &halfOf(WebTextEncoding encoding) {
    static const std::array<Half, size_t(WebTextEncoding::UTF32LE) + 1> halves = [] {
        std::array<Half, size_t(WebTextEncoding::UTF32LE) + 1> made{};
        for (int e = int(WebTextEncoding::IBM866); e <= int(WebTextEncoding::MacCyrillic); ++e)
            made[size_t(e)] = makeHalf(WebTextEncoding(e));
        made[size_t(WebTextEncoding::UserDefined)] = makeHalf(WebTextEncoding::UserDefined);
        return made;
    }();
    return halves[size_t(encoding)];
}

void decodeSingleByte(QByteArrayView bytes, const Half &half, Output &out) {
    for (const char byte : bytes)
        out.putOrError(uchar(byte) < 0x80 ? char32_t(byte) : char32_t(half[uchar(byte) - 0x80]));
}

void decode(QByteArrayView bytes, WebTextEncoding encoding, Output &out) {
    switch (encoding) {
    case WebTextEncoding::GBK:
    case WebTextEncoding::GB18030:
        return decodeGB18030(Input(bytes), out);
    case WebTextEncoding::Big5:
        return decodeBig5(Input(bytes), out);
    case WebTextEncoding::EUC_JP:
        return decodeEUCJP(Input(bytes), out);
    case WebTextEncoding::ISO2022_JP:
        return decodeISO2022JP(Input(bytes), out);
    case WebTextEncoding::ShiftJIS:
        return decodeShiftJIS(Input(bytes), out);
    case WebTextEncoding::EUC_KR:
        return decodeEUCKR(Input(bytes), out);
    case WebTextEncoding::UTF16BE:
    case WebTextEncoding::UTF16LE:
        return decodeUTF16(bytes, encoding == WebTextEncoding::UTF16BE, out);
    case WebTextEncoding::UTF32BE:
    case WebTextEncoding::UTF32LE:
        return decodeUTF32(bytes, encoding == WebTextEncoding::UTF32BE, out);
    case WebTextEncoding::Replacement:
        if (!bytes.isEmpty())
            out.error();
        return;
    case WebTextEncoding::None:
        return decodeSingleByte(bytes, halfOf(WebTextEncoding::Windows1252), out);
    default:
        return decodeSingleByte(bytes, halfOf(encoding), out);
    }
}

QString decodeUTF8(QByteArrayView bytes) {
    if (QUtf8StringView(bytes.data(), bytes.size()).isValidUtf8())
        return QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom)(bytes);
    // Qt replaces every byte of a truncated sequence, browsers the longest valid start of it as one.
    Output out(Output::Keep::Text, bytes.size());
    Input in(bytes);
    for (int lead = in.next(); lead != Input::end; lead = in.next()) {
        if (lead < 0x80) {
            out.put(char32_t(lead));
            continue;
        }
        int more = isBetween(lead, 0xC2, 0xDF)   ? 1
                   : isBetween(lead, 0xE0, 0xEF) ? 2
                   : isBetween(lead, 0xF0, 0xF4) ? 3
                                                 : 0;
        int lower = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        int upper = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        char32_t c = more == 0 ? unmapped : char32_t(lead & (0x3F >> more));
        for (; more > 0; --more) {
            const int byte = in.next();
            if (!isBetween(byte, lower, upper)) {
                in.back(1);
                c = unmapped;
                break;
            }
            c = c << 6 | char32_t(byte & 0x3F);
            lower = 0x80;
            upper = 0xBF;
        }
        if (c == unmapped && more == 0 && lead == 0xEF)
            out.put(c);
        else
            out.putOrError(c);
    }
    return out.take();
}

} // namespace

QString WebDecodeText(QByteArrayView bytes, WebTextEncoding encoding) {
    if (encoding == WebTextEncoding::UTF8)
        return decodeUTF8(bytes);
    Output out(Output::Keep::Text, bytes.size());
    decode(bytes, encoding, out);
    return out.take();
}

bool WebTextIsValid(QByteArrayView bytes, WebTextEncoding encoding) {
    if (encoding == WebTextEncoding::UTF8)
        return QUtf8StringView(bytes.data(), bytes.size()).isValidUtf8();
    Output out(Output::Keep::Nothing, 0);
    decode(bytes, encoding, out);
    return !out.hasErrors();
}
