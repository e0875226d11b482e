// SPDX-License-Identifier: MIT
#include "platform/text/Base64Blocks.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#define ZR_SSSE3 __attribute__((target("ssse3")))
#define ZR_AVX2 __attribute__((target("avx2")))

namespace Base64 {

namespace {

// What is to be added to a six-bit value for its character. The table's index is 0 for the small letters, 13
// for the capital ones, 1 to 10 for the digits, 11 for "+" and 12 for "/".
#define ZR_CHARACTER_OFFSETS                                                                                 \
    'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,      \
        '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0

// Brings each three bytes into one 32-bit lane, the first byte highest.
#define ZR_SPREAD 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1

// The way back: closes the gaps; the last four bytes are not used.
#define ZR_CLOSE 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1

constexpr int sextet0 = 0x3f;
constexpr int sextet1 = 0x3f << 8;
constexpr int sextet2 = 0x3f << 16;
constexpr int sextet3 = 0x3f << 24;

ZR_SSSE3 __m128i characters16(__m128i bytes) {
    const __m128i lanes = _mm_shuffle_epi8(bytes, _mm_setr_epi8(ZR_SPREAD));
    const __m128i sextets =
        _mm_or_si128(_mm_or_si128(_mm_and_si128(_mm_srli_epi32(lanes, 18), _mm_set1_epi32(sextet0)),
                                  _mm_and_si128(_mm_srli_epi32(lanes, 4), _mm_set1_epi32(sextet1))),
                     _mm_or_si128(_mm_and_si128(_mm_slli_epi32(lanes, 10), _mm_set1_epi32(sextet2)),
                                  _mm_and_si128(_mm_slli_epi32(lanes, 24), _mm_set1_epi32(sextet3))));
    const __m128i isCapital = _mm_cmplt_epi8(sextets, _mm_set1_epi8(26));
    const __m128i kind =
        _mm_or_si128(_mm_subs_epu8(sextets, _mm_set1_epi8(51)), _mm_and_si128(isCapital, _mm_set1_epi8(13)));
    return _mm_add_epi8(sextets, _mm_shuffle_epi8(_mm_setr_epi8(ZR_CHARACTER_OFFSETS), kind));
}

ZR_SSSE3 void encodeBlocksSSSE3(const uchar *&in, const uchar *end, char16_t *&out) {
    const __m128i zero = _mm_setzero_si128();
    for (; end - in >= 16; in += 12, out += 16) {
        const __m128i text = characters16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in)));
        auto *const target = reinterpret_cast<__m128i *>(out);
        _mm_storeu_si128(target, _mm_unpacklo_epi8(text, zero));
        _mm_storeu_si128(target + 1, _mm_unpackhi_epi8(text, zero));
    }
}

ZR_AVX2 __m256i characters32(__m256i bytes) {
    const __m256i lanes = _mm256_shuffle_epi8(bytes, _mm256_setr_epi8(ZR_SPREAD, ZR_SPREAD));
    const __m256i sextets = _mm256_or_si256(
        _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(lanes, 18), _mm256_set1_epi32(sextet0)),
                        _mm256_and_si256(_mm256_srli_epi32(lanes, 4), _mm256_set1_epi32(sextet1))),
        _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi32(lanes, 10), _mm256_set1_epi32(sextet2)),
                        _mm256_and_si256(_mm256_slli_epi32(lanes, 24), _mm256_set1_epi32(sextet3))));
    const __m256i isCapital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), sextets);
    const __m256i kind = _mm256_or_si256(_mm256_subs_epu8(sextets, _mm256_set1_epi8(51)),
                                         _mm256_and_si256(isCapital, _mm256_set1_epi8(13)));
    const __m256i offsets = _mm256_setr_epi8(ZR_CHARACTER_OFFSETS, ZR_CHARACTER_OFFSETS);
    return _mm256_add_epi8(sextets, _mm256_shuffle_epi8(offsets, kind));
}

ZR_AVX2 void encodeBlocksAVX2(const uchar *&in, const uchar *end, char16_t *&out) {
    for (; end - in >= 28; in += 24, out += 32) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + 12));
        const __m256i text = characters32(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1));
        auto *const target = reinterpret_cast<__m256i *>(out);
        _mm256_storeu_si256(target, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(text)));
        _mm256_storeu_si256(target + 1, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(text, 1)));
    }
}

// Signed comparison serves: bytes from 128 on are negative, in no range, and so never in the alphabet.
ZR_SSSE3 __m128i inRange16(__m128i text, char first, char last) {
    return _mm_and_si128(_mm_cmpgt_epi8(text, _mm_set1_epi8(char(first - 1))),
                         _mm_cmplt_epi8(text, _mm_set1_epi8(char(last + 1))));
}

ZR_SSSE3 bool decodeBlock16(__m128i text, __m128i &bytes) {
    const __m128i capital = inRange16(text, 'A', 'Z');
    const __m128i small = inRange16(text, 'a', 'z');
    const __m128i digit = inRange16(text, '0', '9');
    const __m128i plus = _mm_cmpeq_epi8(text, _mm_set1_epi8('+'));
    const __m128i slash = _mm_cmpeq_epi8(text, _mm_set1_epi8('/'));
    const __m128i known =
        _mm_or_si128(_mm_or_si128(capital, small), _mm_or_si128(digit, _mm_or_si128(plus, slash)));
    if (_mm_movemask_epi8(known) != 0xffff)
        return false;
    const __m128i letters = _mm_or_si128(_mm_and_si128(capital, _mm_set1_epi8(-'A')),
                                         _mm_and_si128(small, _mm_set1_epi8(26 - 'a')));
    const __m128i others = _mm_or_si128(_mm_and_si128(digit, _mm_set1_epi8(52 - '0')),
                                        _mm_or_si128(_mm_and_si128(plus, _mm_set1_epi8(62 - '+')),
                                                     _mm_and_si128(slash, _mm_set1_epi8(63 - '/'))));
    const __m128i sextets = _mm_add_epi8(text, _mm_or_si128(letters, others));
    const __m128i pairs = _mm_maddubs_epi16(sextets, _mm_set1_epi16(0x0140));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    bytes = _mm_shuffle_epi8(groups, _mm_setr_epi8(ZR_CLOSE));
    return true;
}

// Units above 255 saturate to 255 or to 0, neither of which is in the alphabet.
ZR_SSSE3 void decodeBlocksSSSE3(const char16_t *&in, const char16_t *end, uchar *&out) {
    // 24 units left are 18 bytes of room, two more than a store takes.
    for (; end - in >= 24; in += 16, out += 12) {
        const auto *const source = reinterpret_cast<const __m128i *>(in);
        __m128i bytes;
        if (!decodeBlock16(_mm_packus_epi16(_mm_loadu_si128(source), _mm_loadu_si128(source + 1)), bytes))
            return;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), bytes);
    }
}

ZR_AVX2 __m256i inRange32(__m256i text, char first, char last) {
    return _mm256_and_si256(_mm256_cmpgt_epi8(text, _mm256_set1_epi8(char(first - 1))),
                            _mm256_cmpgt_epi8(_mm256_set1_epi8(char(last + 1)), text));
}

ZR_AVX2 bool decodeBlock32(__m256i text, __m256i &bytes) {
    const __m256i capital = inRange32(text, 'A', 'Z');
    const __m256i small = inRange32(text, 'a', 'z');
    const __m256i digit = inRange32(text, '0', '9');
    const __m256i plus = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('+'));
    const __m256i slash = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/'));
    const __m256i known = _mm256_or_si256(_mm256_or_si256(capital, small),
                                          _mm256_or_si256(digit, _mm256_or_si256(plus, slash)));
    if (_mm256_movemask_epi8(known) != -1)
        return false;
    const __m256i letters = _mm256_or_si256(_mm256_and_si256(capital, _mm256_set1_epi8(-'A')),
                                            _mm256_and_si256(small, _mm256_set1_epi8(26 - 'a')));
    const __m256i others =
        _mm256_or_si256(_mm256_and_si256(digit, _mm256_set1_epi8(52 - '0')),
                        _mm256_or_si256(_mm256_and_si256(plus, _mm256_set1_epi8(62 - '+')),
                                        _mm256_and_si256(slash, _mm256_set1_epi8(63 - '/'))));
    const __m256i sextets = _mm256_add_epi8(text, _mm256_or_si256(letters, others));
    const __m256i pairs = _mm256_maddubs_epi16(sextets, _mm256_set1_epi16(0x0140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i closed = _mm256_shuffle_epi8(groups, _mm256_setr_epi8(ZR_CLOSE, ZR_CLOSE));
    bytes = _mm256_permutevar8x32_epi32(closed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    return true;
}

ZR_AVX2 void decodeBlocksAVX2(const char16_t *&in, const char16_t *end, uchar *&out) {
    // 44 units left are 33 bytes of room, one more than a store takes.
    for (; end - in >= 44; in += 32, out += 24) {
        const auto *const source = reinterpret_cast<const __m256i *>(in);
        const __m256i mixed = _mm256_packus_epi16(_mm256_loadu_si256(source), _mm256_loadu_si256(source + 1));
        __m256i bytes;
        if (!decodeBlock32(_mm256_permute4x64_epi64(mixed, 0xd8), bytes))
            return;
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), bytes);
    }
}

} // namespace

Way fastestWay() noexcept {
    static const Way way = __builtin_cpu_supports("avx2")    ? Way::AVX2
                           : __builtin_cpu_supports("ssse3") ? Way::SSSE3
                                                             : Way::Scalar;
    return way;
}

EncodeBlocks encodeBlocks(Way way) noexcept {
    return way == Way::AVX2 ? encodeBlocksAVX2 : way == Way::SSSE3 ? encodeBlocksSSSE3 : nullptr;
}

DecodeBlocks decodeBlocks(Way way) noexcept {
    return way == Way::AVX2 ? decodeBlocksAVX2 : way == Way::SSSE3 ? decodeBlocksSSSE3 : nullptr;
}

} // namespace Base64

#else

namespace Base64 {

Way fastestWay() noexcept {
    return Way::Scalar;
}

EncodeBlocks encodeBlocks(Way) noexcept {
    return nullptr;
}

DecodeBlocks decodeBlocks(Way) noexcept {
    return nullptr;
}

} // namespace Base64

#endif
