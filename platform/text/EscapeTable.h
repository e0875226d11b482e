// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <array>
#include <cstring>
#include <string_view>

/// What an escaping writes for each ASCII unit: itself, or a text of up to seven units. Made at compile time,
/// read by any thread.
///
/// Texts are written without a branch per unit: each entry is copied whole, and the next one goes where the
/// units that count end. So the writers need some room behind the text.
class EscapeTable {
public:
    /// Room that write() needs behind what counts.
    static constexpr qsizetype slack = 8;

    constexpr EscapeTable() {
        for (size_t unit = 0; unit < m_entries.size(); ++unit)
            m_entries[unit] = {{char16_t(unit)}, 1};
    }
    constexpr void set(char16_t unit, std::u16string_view text) {
        m_entries[unit] = {{}, char16_t(text.size())};
        for (size_t i = 0; i < text.size(); ++i)
            m_entries[unit].units[i] = text[i];
    }

    /// How many units are written for a unit below 128.
    constexpr qsizetype size(char16_t unit) const { return m_entries[unit].size; }
    /// How many are written for a text of which all else stays as it is.
    qsizetype size(QStringView text) const {
        qsizetype sum = 0;
        for (const QChar unit : text)
            sum += unit.unicode() < m_entries.size() ? m_entries[unit.unicode()].size : 1;
        return sum;
    }

    /// Writes what stands for a unit below 128, and gives the place behind it.
    char16_t *write(char16_t *out, char16_t unit) const {
        const Entry &entry = m_entries[unit];
        std::memcpy(out, &entry, sizeof entry);
        return out + entry.size;
    }
    /// The same for a text of which all else stays as it is.
    char16_t *write(char16_t *out, QStringView text) const {
        for (const QChar unit : text) {
            if (unit.unicode() < m_entries.size())
                out = write(out, unit.unicode());
            else
                *out++ = unit.unicode();
        }
        return out;
    }

private:
    struct alignas(16) Entry {
        std::array<char16_t, 7> units;
        char16_t size;
    };
    static_assert(sizeof(Entry) == slack * sizeof(char16_t));

    std::array<Entry, 128> m_entries{};
};
