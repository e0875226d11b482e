// SPDX-License-Identifier: MIT
#include "platform/text/EditDistance.h"

#include <QVarLengthArray>
#include <algorithm>
#include <array>
#include <bit>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr qsizetype wordSize = 64;

/// 64 rows of the table's present column: in which of them the value is one more, or one less, than in the
/// row above.
struct Rows {
    quint64 more = ~quint64(0);
    quint64 less = 0;
};

/// How the values of one row change from a column to the next; each is 0 or 1.
struct Step {
    quint64 up;
    quint64 down;
};

/// Moves on to the next column: `equal` are the rows whose unit is the column's, `above` is the step of the
/// row above the first. Gives the step of the last row.
inline Step advance(Rows &rows, quint64 equal, Step above) {
    const quint64 verticalSame = equal | rows.less;
    equal |= above.down;
    const quint64 same = (((equal & rows.more) + rows.more) ^ rows.more) | equal;
    quint64 up = rows.less | ~(same | rows.more);
    quint64 down = rows.more & same;
    const Step last{up >> (wordSize - 1), down >> (wordSize - 1)};
    up = up << 1 | above.up;
    down = down << 1 | above.down;
    rows.more = down | ~(verticalSame | up);
    rows.less = up & verticalSame;
    return last;
}

/// The row above the table's first counts columns.
constexpr Step firstRow{1, 0};

/// How much the value grows over the first rows of a word.
qint64 growth(const Rows &rows, qsizetype count) {
    const quint64 mask = ~quint64(0) >> (wordSize - count);
    return std::popcount(rows.more & mask) - std::popcount(rows.less & mask);
}

constexpr qsizetype shortSize = 16;

/// For at most shortSize rows: compares a column's unit with all of them at once, so that nothing has to be
/// prepared.
class ShortRows {
public:
    explicit ShortRows(QStringView text) : m_valid(0xffffu >> (shortSize - text.size())) {
        std::copy(text.utf16(), text.utf16() + text.size(), m_units.begin());
    }
    quint64 equal(char16_t unit) const {
#ifdef __SSE2__
        const __m128i all = _mm_set1_epi16(short(unit));
        const auto *const units = reinterpret_cast<const __m128i *>(m_units.data());
        const __m128i low = _mm_cmpeq_epi16(_mm_load_si128(units), all);
        const __m128i high = _mm_cmpeq_epi16(_mm_load_si128(units + 1), all);
        return unsigned(_mm_movemask_epi8(_mm_packs_epi16(low, high))) & m_valid;
#else
        unsigned mask = 0;
        for (qsizetype i = 0; i < shortSize; ++i)
            mask |= unsigned(m_units[size_t(i)] == unit) << i;
        return mask & m_valid;
#endif
    }

private:
    alignas(16) std::array<char16_t, shortSize> m_units{};
    unsigned m_valid;
};

qint64 shortDistance(QStringView rowText, QStringView columnText) {
    const ShortRows shortRows(rowText);
    Rows rows;
    for (const QChar unit : columnText)
        advance(rows, shortRows.equal(unit.unicode()), firstRow);
    return columnText.size() + growth(rows, rowText.size());
}

/// Small consecutive numbers, from 1, for the units of a text; 0 for all others.
class UnitNumbers {
public:
    explicit UnitNumbers(QStringView text) : m_pages(1) {
        for (const QChar unit : text) {
            quint16 &page = m_pageOf[unit.row()];
            if (page == 0) {
                page = quint16(m_pages.size());
                m_pages.emplace_back();
            }
            quint32 &number = m_pages[page][unit.cell()];
            if (number == 0)
                number = ++m_count;
        }
    }
    quint32 operator[](QChar unit) const { return m_pages[m_pageOf[unit.row()]][unit.cell()]; }
    quint32 count() const { return m_count; }

private:
    std::array<quint16, 256> m_pageOf{};
    /// The first page, of zeros, is for all that the text has not.
    std::vector<std::array<quint32, 256>> m_pages;
    quint32 m_count = 0;
};

qint64 wordDistance(QStringView rowText, QStringView columnText) {
    const UnitNumbers numbers(rowText);
    QVarLengthArray<quint64, wordSize + 1> equal(numbers.count() + 1, 0);
    for (qsizetype i = 0; i < rowText.size(); ++i)
        equal[numbers[rowText[i]]] |= quint64(1) << i;
    Rows rows;
    for (const QChar unit : columnText)
        advance(rows, equal[numbers[unit]], firstRow);
    return columnText.size() + growth(rows, rowText.size());
}

/// Takes the table in bands of a few words of rows, and keeps the steps of each band's last row for the next
/// one. Within a band each word is a column behind the one above it, so that the processor can work on all of
/// them at once.
class BandedDistance {
public:
    BandedDistance(QStringView rowText, QStringView columnText)
        : m_rowText(rowText), m_columnCount(columnText.size()), m_numbers(rowText),
          m_equal(m_numbers.count() + 1), m_columns(size_t(m_columnCount + lead)),
          m_steps(size_t(m_columnCount + lead), {1, 0}) {
        std::transform(columnText.begin(), columnText.end(), m_columns.begin() + lead,
                       [this](QChar unit) { return m_numbers[unit]; });
    }
    qint64 value() {
        qint64 distance = m_columnCount;
        while (!m_rowText.isEmpty()) {
            const qsizetype words = (m_rowText.size() + wordSize - 1) / wordSize;
            distance += words >= 4 ? band<4>() : words == 3 ? band<3>() : words == 2 ? band<2>() : band<1>();
        }
        return distance;
    }

private:
    static constexpr int mostWords = 4;
    /// What the lower words of a band see before their first column: units that equal nothing and rows that
    /// don't change, which leaves them as they are.
    static constexpr qsizetype lead = mostWords - 1;
    struct KeptStep {
        quint8 up;
        quint8 down;
    };

    template <int words>
    qint64 band() {
        const QStringView text = m_rowText.first(std::min(words * wordSize, m_rowText.size()));
        m_rowText = m_rowText.sliced(text.size());
        for (qsizetype i = 0; i < text.size(); ++i)
            m_equal[m_numbers[text[i]]][size_t(i / wordSize)] |= quint64(1) << i % wordSize;

        std::array<Rows, words> rows;
        std::array<Step, words> last{};
        const quint32 *column = m_columns.data() + lead;
        KeptStep *step = m_steps.data() + lead;
        const auto advanceWord = [&](int word) {
            const Step above = word == 0 ? Step{step->up, step->down} : last[size_t(word - 1)];
            last[size_t(word)] = advance(rows[size_t(word)], m_equal[*(column - word)][size_t(word)], above);
        };
        for (qsizetype i = 0; i < m_columnCount; ++i, ++column, ++step) {
            for (int word = words - 1; word >= 0; --word)
                advanceWord(word);
            *(step - (words - 1)) = {quint8(last[words - 1].up), quint8(last[words - 1].down)};
        }
        for (int behind = 1; behind < words; ++behind, ++column, ++step) {
            for (int word = words - 1; word >= behind; --word)
                advanceWord(word);
            *(step - (words - 1)) = {quint8(last[words - 1].up), quint8(last[words - 1].down)};
        }

        qint64 grown = 0;
        for (qsizetype word = 0; word * wordSize < text.size(); ++word)
            grown += growth(rows[size_t(word)], std::min(wordSize, text.size() - word * wordSize));
        for (const QChar unit : text)
            m_equal[m_numbers[unit]] = {};
        return grown;
    }

    QStringView m_rowText;
    const qsizetype m_columnCount;
    const UnitNumbers m_numbers;
    std::vector<std::array<quint64, mostWords>> m_equal;
    std::vector<quint32> m_columns;
    std::vector<KeptStep> m_steps;
};

} // namespace

qint64 NSEditDistance(QStringView a, QStringView b) {
    const auto [startA, startB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    a = a.sliced(startA - a.begin());
    b = b.sliced(startB - b.begin());
    while (!a.isEmpty() && !b.isEmpty() && a.back() == b.back()) {
        a.chop(1);
        b.chop(1);
    }
    if (a.size() > b.size())
        std::swap(a, b);
    if (a.isEmpty())
        return b.size();
    if (a.size() <= shortSize)
        return shortDistance(a, b);
    return a.size() <= wordSize ? wordDistance(a, b) : BandedDistance(a, b).value();
}
