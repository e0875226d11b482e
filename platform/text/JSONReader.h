// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QString>
#include <QVarLengthArray>
#include <QVariant>
#include <array>

/// Reads one JSON text straight into values, in one pass. See NSJSONSerialization for what it takes and
/// gives.
class JSONReader {
public:
    explicit JSONReader(QByteArrayView text);

    /// \return false for a text that isn't JSON; problem() and position() then tell why
    bool read(QVariant &value, bool fragmentsAllowed);

    const char *problem() const { return m_problem; }
    /// The byte that the problem was found at.
    qsizetype position() const { return m_at - m_begin; }

private:
    /// Documents repeat their keys and short words; each text is made once while it stays here.
    struct Known {
        const char *bytes = nullptr;
        qsizetype size = 0;
        QString text;
    };
    using KnownTexts = std::array<Known, 64>;

    bool value(QVariant &out);
    bool object(QVariant &out);
    bool array(QVariant &out);
    bool number(QVariant &out);
    struct Digits {
        quint64 value = 0;
        bool overflow = false;
    };
    /// Goes on with the digits that were read before.
    Digits readDigits(Digits before);
    bool floatingPoint(QVariant &out, const char *start, Digits digits);
    bool literal(const char *word, qsizetype size);
    bool string(QString &out, KnownTexts &known, qsizetype longestKnown);
    bool decode(QString &out, const char *start);
    bool escape();
    bool hexadecimal(char16_t &unit);
    bool multibyte();
    void skipSpace();
    bool refuse(const char *problem);
    bool refuseAt(const char *position, const char *problem);

    const char *const m_begin;
    const char *const m_end;
    const char *m_at;
    const char *m_problem = nullptr;
    int m_depth = 0;
    QVarLengthArray<char16_t, 256> m_units; ///< of the string that is being decoded
    KnownTexts m_keys;
    KnownTexts m_words;
};
