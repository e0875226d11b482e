// SPDX-License-Identifier: MIT
#include "platform/predicates/PredicateText.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/text/NSRegularExpression.h"

#include <QHash>
#include <mutex>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

namespace zr::PredicateText {

namespace {

/// The expression that matches whole texts.
NSRegularExpression compiled(const QString &pattern, NSRegularExpressionOptions options) {
    NSError error;
    if (NSRegularExpression(pattern, options, &error).isNil() && !pattern.isEmpty())
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("\"%1\" is no regular expression: %2").arg(pattern, error.localizedDescription()));
    NSRegularExpression whole(QStringLiteral("\\A(?:%1)\\z").arg(pattern), options);
    // A comment at the pattern's end would swallow the parenthesis.
    return whole ? whole : NSRegularExpression(QStringLiteral("\\A(?:%1\n)\\z").arg(pattern), options);
}

/// Comparisons run over many objects with few patterns.
NSRegularExpression cached(const QString &pattern, NSRegularExpressionOptions options) {
    constexpr qsizetype Most = 64;
    static std::mutex mutex;
    static NeverDestroyed<QHash<std::pair<QString, quint64>, NSRegularExpression>> expressions;
    const auto key = std::pair(pattern, options);
    const std::scoped_lock lock(mutex);
    if (const auto it = expressions->constFind(key); it != expressions->constEnd())
        return *it;
    if (expressions->size() >= Most)
        expressions->clear();
    return *expressions->insert(key, compiled(pattern, options));
}

QString withoutDiacritics(const QString &text) {
    QString kept;
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    kept.reserve(decomposed.size());
    for (qsizetype i = 0; i < decomposed.size(); ++i) {
        const QChar c = decomposed.at(i);
        if (c.isHighSurrogate() && i + 1 < decomposed.size() && decomposed.at(i + 1).isLowSurrogate()) {
            if (QChar::category(QChar::surrogateToUcs4(c, decomposed.at(i + 1))) != QChar::Mark_NonSpacing)
                kept.append(c).append(decomposed.at(i + 1));
            ++i;
        } else if (c.category() != QChar::Mark_NonSpacing) {
            kept.append(c);
        }
    }
    return kept.normalized(QString::NormalizationForm_C);
}

/// Unicode's full case folding, which Qt's isn't: a sharp s is two letters.
QString withoutCase(const QString &text) {
    // Folding makes at most three units of one.
    QString result(3 * text.size(), Qt::Uninitialized);
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = u_strFoldCase(reinterpret_cast<UChar *>(result.data()), int32_t(result.size()),
                                         reinterpret_cast<const UChar *>(text.utf16()), int32_t(text.size()),
                                         U_FOLD_CASE_DEFAULT, &error);
    if (U_FAILURE(error))
        return text.toCaseFolded();
    result.truncate(length);
    return result;
}

} // namespace

QString folded(const QString &text, NSComparisonPredicateOptions options) {
    QString result = text;
    if (options & NSDiacriticInsensitivePredicateOption)
        result = withoutDiacritics(result);
    if (options & NSCaseInsensitivePredicateOption)
        result = withoutCase(result);
    return result;
}

bool isLike(QStringView text, QStringView pattern) {
    qsizetype at = 0, p = 0;
    // Where to go on when what follows the last star doesn't fit: the star takes one unit more.
    qsizetype afterStar = -1, starTook = 0;
    while (at < text.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            afterStar = ++p;
            starTook = at;
            continue;
        }
        if (p < pattern.size()) {
            const bool isEscaped = pattern[p] == u'\\' && p + 1 < pattern.size();
            const QChar wanted = pattern[isEscaped ? p + 1 : p];
            if (wanted == text[at] || (wanted == u'?' && !isEscaped)) {
                p += isEscaped ? 2 : 1;
                ++at;
                continue;
            }
        }
        if (afterStar < 0)
            return false;
        p = afterStar;
        at = ++starTook;
    }
    while (p < pattern.size() && pattern[p] == u'*')
        ++p;
    return p == pattern.size();
}

bool matches(const QString &text, const QString &pattern, NSComparisonPredicateOptions options) {
    NSRegularExpressionOptions ignoringCase = 0;
    if (options & NSCaseInsensitivePredicateOption)
        ignoringCase = NSRegularExpressionCaseInsensitive;
    const auto expression =
        cached(folded(pattern, options & NSDiacriticInsensitivePredicateOption), ignoringCase);
    const QString subject = folded(text, options & NSDiacriticInsensitivePredicateOption);
    return expression.firstMatchInString(subject).has_value();
}

} // namespace zr::PredicateText
