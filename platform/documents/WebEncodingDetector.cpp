// SPDX-License-Identifier: MIT
#include "platform/documents/WebEncodingDetector.h"

#include <QHash>
#include <QString>
#include <limits>
#include <unicode/ucsdet.h>

namespace {

using Encoding = WebTextEncoding;

/// ICU's confidence of each encoding it takes into account, 0 to 100.
QHash<Encoding, int> statistics(QByteArrayView sample, bool isMarkup) {
    QHash<Encoding, int> confidences;
    UErrorCode status = U_ZERO_ERROR;
    UCharsetDetector *detector = ucsdet_open(&status);
    if (U_FAILURE(status))
        return confidences;
    ucsdet_enableInputFilter(detector, isMarkup);
    ucsdet_setText(detector, sample.data(), int32_t(sample.size()), &status);
    int32_t count = 0;
    const UCharsetMatch **matches = ucsdet_detectAll(detector, &count, &status);
    for (int32_t i = 0; U_SUCCESS(status) && i < count; ++i) {
        Encoding encoding = WebTextEncodingForLabel(ucsdet_getName(matches[i], &status));
        // The two say the same but for a few signs, and the Windows one is what pages of that time are in.
        if (encoding == Encoding::ISO8859_8 || encoding == Encoding::ISO8859_8_I)
            encoding = Encoding::Windows1255;
        const int confidence = ucsdet_getConfidence(matches[i], &status);
        confidences[encoding] = qMax(confidences.value(encoding), confidence);
    }
    ucsdet_close(detector);
    return confidences;
}

/// How plausible the words of decoded text are, from -2 to 1.
double plausibilityOfWords(const QString &text) {
    qsizetype seen = 0;
    double score = 0;
    for (qsizetype at = 0; at < text.size();) {
        const QChar c = text[at];
        if (!c.isLetter() && !c.isMark()) {
            // C1 controls, drawing characters and the like have no place in a page.
            if (c.unicode() >= 0x80) {
                const bool isInner = at > 0 && text[at - 1].isLetter() && at + 1 < text.size() &&
                                     text[at + 1].isLetter() && c != QChar(0x2019) && c != QChar(0xAD) &&
                                     c != QChar(0xB7) && c != QChar(0xA0) &&
                                     c.category() != QChar::Punctuation_Dash;
                const bool isOdd = isInner || c.unicode() < 0xA0 || c.category() == QChar::Other_PrivateUse ||
                                   (c.unicode() >= 0x2500 && c.unicode() < 0x2600) || c == QChar(0x200E) ||
                                   c == QChar(0x200F);
                seen += isOdd;
                score -= isOdd ? 2 : 0;
            }
            ++at;
            continue;
        }
        const qsizetype start = at;
        qsizetype foreign = 0, plain = 0, innerCapitals = 0, capitals = 0;
        QChar::Script script = QChar::Script_Common;
        bool isMixed = false;
        for (; at < text.size() && (text[at].isLetter() || text[at].isMark()); ++at) {
            const QChar letter = text[at];
            (letter.unicode() < 0x80 ? plain : foreign) += 1;
            capitals += letter.isUpper();
            innerCapitals += letter.isUpper() && at > start;
            const bool isArabicMark = letter.unicode() >= 0x64B && letter.unicode() <= 0x652;
            const QChar::Script own = isArabicMark ? QChar::Script_Arabic : letter.script();
            if (own == QChar::Script_Common || own == QChar::Script_Inherited)
                continue;
            isMixed |= script != QChar::Script_Common && script != own;
            script = own;
        }
        if (foreign == 0)
            continue;
        const qsizetype length = at - start;
        const bool isCaseOdd = innerCapitals > 0 && capitals != length;
        const bool isLatinOdd = script == QChar::Script_Latin && length > 2 && foreign > plain + 1;
        // One letter of such a word stands for nothing: an ordinal, or half of a misread pair.
        const bool isLonely = length == 1;
        seen += foreign;
        if (isMixed || isCaseOdd || isLatinOdd)
            score -= 2.0 * double(foreign);
        else
            score += isLonely ? 0.0 : double(foreign);
    }
    return seen == 0 ? 0 : score / double(seen);
}

/// How common the characters of a two-byte encoding are, from -1 to 1: a right guess gives mostly first-level
/// ideographs, syllables and punctuation, a wrong one gives rarities.
double plausibilityOfPairs(QByteArrayView bytes, Encoding encoding, bool &hasKana) {
    const auto weight = [&](uchar lead, uchar trail) {
        const auto within = [&](int first, int last) { return lead >= first && lead <= last; };
        if (encoding == Encoding::ShiftJIS) {
            if (lead == 0x81)
                return 0.7;
            const bool isKana = (lead == 0x82 && trail >= 0x9F) || (lead == 0x83 && trail <= 0x96);
            hasKana |= isKana;
            return isKana || within(0x88, 0x97) ? 1.0 : lead == 0x82 ? 0.7 : 0.0;
        }
        if (encoding == Encoding::Big5)
            return within(0xA4, 0xC6) ? 1.0 : within(0xA1, 0xA3) ? 0.7 : 0.0;
        if (trail < 0xA1)
            return encoding == Encoding::EUC_JP ? -1.0 : 0.0;
        if (within(0xA1, 0xA3))
            return 0.7;
        if (encoding == Encoding::EUC_JP) {
            hasKana |= within(0xA4, 0xA5);
            return within(0xA4, 0xA5) || within(0xB0, 0xCF) ? 1.0 : 0.0;
        }
        if (encoding == Encoding::EUC_KR)
            return within(0xB0, 0xC8) ? 1.0 : -0.2;
        return within(0xB0, 0xD7) ? 1.0 : 0.0;
    };
    const auto isASCIILetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    // The small ya, yu and yo follow a syllable in i only.
    const auto isMisplacedSmallKana = [&](qsizetype at) {
        const QByteArrayView smallKana("\xE3\xE5\xE7"),
            inI("\xAD\xAE\xB7\xB8\xC1\xC2\xCB\xD2\xD3\xD4\xDF\xEA");
        const auto isKanaLead = [&](qsizetype i) { return (uchar(bytes[i]) & 0xFE) == 0xA4; };
        return encoding == Encoding::EUC_JP && isKanaLead(at) && smallKana.contains(bytes[at + 1]) &&
               (at < 2 || !isKanaLead(at - 2) || !inI.contains(bytes[at - 1]));
    };
    qsizetype pairs = 0;
    double score = 0;
    for (qsizetype at = 0; at + 1 < bytes.size(); ++at) {
        const uchar lead = uchar(bytes[at]), trail = uchar(bytes[at + 1]);
        if (lead < 0x80)
            continue;
        ++pairs;
        if (encoding == Encoding::ShiftJIS && lead >= 0xA0 && lead <= 0xDF) {
            score -= 1;
            continue;
        }
        // A lone pair that ends in a letter, between letters, is an accent of a Latin word.
        const bool isLone =
            isASCIILetter(char(trail)) && at + 2 < bytes.size() && uchar(bytes[at + 2]) < 0x80;
        score += isLone || isMisplacedSmallKana(at) ? -1 : weight(lead, trail);
        ++at;
    }
    return pairs == 0 ? 0 : score / double(pairs);
}

bool isPaired(Encoding encoding) {
    return encoding == Encoding::ShiftJIS || encoding == Encoding::EUC_JP || encoding == Encoding::GB18030 ||
           encoding == Encoding::Big5 || encoding == Encoding::EUC_KR;
}

/// How many web pages without a declaration are in it, as far as that can break a tie.
double prior(Encoding encoding) {
    switch (encoding) {
    case Encoding::Windows1252:
        return 8;
    case Encoding::Windows1251:
    case Encoding::GB18030:
    case Encoding::ShiftJIS:
        return 6;
    case Encoding::Windows1250:
        return 4;
    case Encoding::EUC_KR:
        return 8;
    default:
        return 0;
    }
}

} // namespace

WebTextEncoding WebEncodingDetector::detect(QByteArrayView bytes, bool isMarkup) {
    // A document says what it is long before its end.
    constexpr qsizetype examined = 32 * qsizetype(1024);
    QByteArrayView sample = bytes.first(qMin(examined, bytes.size()));
    // A character must not be cut: what is behind the last plain one is left out.
    qsizetype end = sample.size();
    while (sample.size() < bytes.size() && end > 0 && uchar(sample[end - 1]) >= 0x80)
        --end;
    sample = end > 0 ? sample.first(end) : sample;
    if (sample.contains('\x1B') && WebTextIsValid(sample, Encoding::ISO2022_JP))
        return Encoding::ISO2022_JP;
    const QHash<Encoding, int> confidences = statistics(sample, isMarkup);
    static constexpr Encoding candidates[] = {
        Encoding::Windows1252, Encoding::Windows1250, Encoding::Windows1251, Encoding::KOI8_R,
        Encoding::ISO8859_2,   Encoding::ISO8859_5,   Encoding::ISO8859_7,   Encoding::Windows1253,
        Encoding::Windows1254, Encoding::Windows1255, Encoding::Windows1256, Encoding::ShiftJIS,
        Encoding::EUC_JP,      Encoding::GB18030,     Encoding::Big5,        Encoding::EUC_KR};
    Encoding best = Encoding::Windows1252;
    double bestScore = std::numeric_limits<double>::lowest();
    for (const Encoding candidate : candidates) {
        if (!WebTextIsValid(sample, candidate))
            continue;
        bool hasKana = false;
        const double plausibility = isPaired(candidate)
                                        ? plausibilityOfPairs(sample, candidate, hasKana)
                                        : plausibilityOfWords(WebDecodeText(sample, candidate));
        const double score =
            100 * plausibility + 0.5 * confidences.value(candidate) + prior(candidate) + (hasKana ? 8 : 0);
        if (score > bestScore) {
            bestScore = score;
            best = candidate;
        }
    }
    return best;
}
