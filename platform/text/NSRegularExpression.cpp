// SPDX-License-Identifier: MIT
#include "platform/text/NSRegularExpression.h"

#include "platform/base/ASCII.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <exception>
#include <limits>
#include <memory>
#include <unicode/regex.h>
#include <unicode/utypes.h>
#include <utility>
#include <vector>

namespace zr {

namespace {

constexpr qint64 Second = 1'000'000'000;
constexpr qint64 SearchTime = 5 * Second;
constexpr qint64 SearchTimePerMillionUnits = Second;
// ICU counts a stack entry as four bytes and takes eight: this makes 128 MB.
constexpr qint32 StackLimit = 64'000'000;
/// After so many matches the clock is looked at, too: each may take just less than ICU counts as a step.
constexpr qint64 MatchesBetweenLooks = 128;
constexpr qint64 FormattingError = 2048;

qint64 processorTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time.tv_sec * Second + time.tv_nsec;
}

uint32_t engineFlags(NSRegularExpressionOptions options) {
    constexpr std::array<std::pair<NSRegularExpressionOptions, uint32_t>, 7> flags{{
        {NSRegularExpressionCaseInsensitive, UREGEX_CASE_INSENSITIVE},
        {NSRegularExpressionAllowCommentsAndWhitespace, UREGEX_COMMENTS},
        {NSRegularExpressionIgnoreMetacharacters, UREGEX_LITERAL},
        {NSRegularExpressionDotMatchesLineSeparators, UREGEX_DOTALL},
        {NSRegularExpressionAnchorsMatchLines, UREGEX_MULTILINE},
        {NSRegularExpressionUseUnixLineSeparators, UREGEX_UNIX_LINES},
        {NSRegularExpressionUseUnicodeWordBoundaries, UREGEX_UWORD},
    }};
    uint32_t result = 0;
    for (const auto &[option, flag] : flags) {
        if (options & option)
            result |= flag;
    }
    return result;
}

const UChar *units(const QString &string) {
    return reinterpret_cast<const UChar *>(string.utf16());
}

} // namespace

/// The engine's compiled pattern; searches run in matchers made from it.
class CompiledExpression {
public:
    CompiledExpression(const QString &pattern, NSRegularExpressionOptions options, UParseError &where,
                       UErrorCode &status)
        : m_pattern(pattern), m_options(options),
          m_original(
              icu::RegexPattern::compile(icu::UnicodeString(false, units(pattern), int32_t(pattern.size())),
                                         engineFlags(options), where, status)) {
        if (U_SUCCESS(status))
            m_groups = matcher()->groupCount();
    }

    const QString &pattern() const { return m_pattern; }
    NSRegularExpressionOptions options() const { return m_options; }
    int groups() const { return m_groups; }

    std::unique_ptr<icu::RegexMatcher> matcher() const {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> matcher(m_original->matcher(status));
        if (U_FAILURE(status))
            throw std::bad_alloc();
        return matcher;
    }

private:
    const QString m_pattern;
    const NSRegularExpressionOptions m_options;
    const std::unique_ptr<const icu::RegexPattern> m_original;
    int m_groups = 0;
};

/// One search over one text, with its limits.
class ExpressionSearch {
public:
    ExpressionSearch(std::shared_ptr<const CompiledExpression> expression, const QString &string,
                     NSMatchingOptions options, std::optional<NSRange> range)
        : m_expression(std::move(expression)), m_string(string), m_anchored(options & NSMatchingAnchored),
          m_limit(SearchTime + string.size() * (SearchTimePerMillionUnits / 1'000'000)) {
        if (range && !range->isWithin(string.size()))
            throw NSException(NSRangeException, NSFormat("Range {%d, %d} is out of bounds; string length %d",
                                                         {range->location, range->length, string.size()}));
        NSRange searched = range.value_or(NSRange{0, string.size()});
        const bool transparent = options & NSMatchingWithTransparentBounds;
        const bool anchoring = !(options & NSMatchingWithoutAnchoringBounds);
        // ICU's look-behind doesn't stop where an opaque range begins, but it can't see what it isn't given.
        qsizetype size = string.size();
        if (!transparent && anchoring) {
            m_offset = std::exchange(searched.location, 0);
            size = searched.length;
        }
        if (size > std::numeric_limits<int32_t>::max())
            throw NSException(NSRangeException, QStringLiteral("The text is too long to be searched"));
        m_matcher = m_expression->matcher();
        m_matcher->setStackLimit(StackLimit, m_status);
        m_matcher->setMatchCallback(&ExpressionSearch::tick, this, m_status);
        UText text = UTEXT_INITIALIZER;
        utext_openUChars(&text, units(m_string) + m_offset, size, &m_status);
        m_matcher->reset(&text);
        utext_close(&text);
        m_matcher->useTransparentBounds(transparent);
        m_matcher->useAnchoringBounds(anchoring);
        if (searched.length < size)
            m_matcher->region(searched.location, searched.end(), m_status);
        resume();
    }
    ExpressionSearch(const ExpressionSearch &) = delete;
    ExpressionSearch &operator=(const ExpressionSearch &) = delete;

    /// Is called now and then while a search takes long; true ends it.
    void setProgress(std::function<bool()> progress) { m_progress = std::move(progress); }

    /// The clock stands still between these two.
    void pause() { m_used += processorTime() - m_resumed; }
    void resume() { m_resumed = processorTime(); }

    /// Finds the next match; false at the end and when the search is given up.
    bool next() {
        if (m_done)
            return false;
        const bool found = m_anchored ? m_matcher->lookingAt(m_status) : m_matcher->find(m_status);
        if (m_thrown)
            std::rethrow_exception(std::exchange(m_thrown, nullptr));
        if (isOutOfTime(++m_matches % MatchesBetweenLooks == 0))
            m_status = U_REGEX_TIME_OUT;
        m_done = m_anchored || !found || failed();
        return found && !failed();
    }

    void read(NSTextCheckingResult &result) const {
        result.m_expression = m_expression;
        result.m_range = group(0);
        result.m_groups.resize(m_expression->groups());
        for (int i = 0; i < m_expression->groups(); ++i)
            result.m_groups[i] = group(i + 1);
    }
    NSMatchingFlags flags() const {
        if (!m_matcher->hitEnd())
            return 0;
        return m_matcher->requireEnd() ? NSMatchingHitEnd | NSMatchingRequiredEnd : NSMatchingHitEnd;
    }
    /// Whether the search was given up before its end.
    bool failed() const { return U_FAILURE(m_status) && m_status != U_REGEX_STOPPED_BY_CALLER; }
    void logFailure() const {
        NSLog("The search for \"%@\" in %d characters was given up: %s", m_expression->pattern(),
              m_string.size(), u_errorName(m_status));
    }

private:
    // ICU gives -1 for a group that took no part.
    NSRange group(int number) const {
        UErrorCode status = U_ZERO_ERROR;
        const int64_t start = m_matcher->start64(number, status);
        if (start < 0)
            return {NSNotFound, 0};
        return {start + m_offset, m_matcher->end64(number, status) - start};
    }
    bool isOutOfTime(bool looks) {
        if (looks) {
            pause();
            resume();
        }
        return m_used > m_limit;
    }
    static UBool tick(const void *context, int32_t) {
        // ICU hands the context back as const.
        auto *search = static_cast<ExpressionSearch *>(const_cast<void *>(context));
        if (search->isOutOfTime(true))
            return false;
        if (!search->m_progress)
            return true;
        bool stops = true;
        search->pause();
        try {
            stops = search->m_progress();
        } catch (...) {
            search->m_thrown = std::current_exception();
        }
        search->resume();
        return !stops;
    }

    const std::shared_ptr<const CompiledExpression> m_expression;
    const QString m_string;
    const bool m_anchored;
    const qint64 m_limit;
    qsizetype m_offset = 0; ///< of the text that ICU is given
    std::unique_ptr<icu::RegexMatcher> m_matcher;
    UErrorCode m_status = U_ZERO_ERROR;
    bool m_done = false;
    qint64 m_matches = 0;
    qint64 m_used = 0;
    qint64 m_resumed = 0;
    std::function<bool()> m_progress;
    std::exception_ptr m_thrown;
};

namespace {

/// A template taken apart: text, and after it a group's number or -1.
class ReplacementTemplate {
public:
    ReplacementTemplate(const QString &text, qsizetype groups) {
        QString plain;
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar c = text[i];
            if (c == u'\\' && i + 1 < text.size()) {
                plain += text[++i];
            } else if (c == u'$' && i + 1 < text.size() && isASCIIDigit(text[i + 1].unicode())) {
                qsizetype group = text[++i].unicode() - u'0';
                while (i + 1 < text.size() && isASCIIDigit(text[i + 1].unicode()) &&
                       group * 10 + (text[i + 1].unicode() - u'0') <= groups)
                    group = group * 10 + (text[++i].unicode() - u'0');
                m_pieces.push_back({std::exchange(plain, {}), group <= groups ? group : -1});
            } else {
                plain += c;
            }
        }
        m_pieces.push_back({plain, -1});
    }

    void append(QString &output, const NSTextCheckingResult &result, const QString &string,
                qsizetype offset) const {
        for (const Piece &piece : m_pieces) {
            output += piece.text;
            if (piece.group < 0 || piece.group >= result.numberOfRanges())
                continue;
            NSRange range = result.rangeAtIndex(piece.group);
            if (range.isNotFound())
                continue;
            range.location += offset;
            if (!range.isWithin(string.size()))
                throw NSException(NSRangeException,
                                  NSFormat("Range {%d, %d} is out of bounds; string length %d",
                                           {range.location, range.length, string.size()}));
            output += QStringView(string).mid(range.location, range.length);
        }
    }

private:
    struct Piece {
        QString text;
        qsizetype group;
    };
    std::vector<Piece> m_pieces;
};

} // namespace

} // namespace zr

using namespace zr;

NSTextCheckingResult NSTextCheckingResult::regularExpressionCheckingResultWithRanges(
    const QList<NSRange> &ranges, const NSRegularExpression &regularExpression) {
    NSTextCheckingResult result;
    if (!ranges.isEmpty()) {
        result.m_range = ranges.first();
        result.m_groups = ranges.mid(1);
    }
    result.m_expression = regularExpression.m_compiled;
    return result;
}

void NSTextCheckingResult::refuseIndex(qsizetype index) const {
    throw NSException(NSRangeException, NSFormat("Range number %d is beyond the result's %d ranges",
                                                 {index, numberOfRanges()}));
}

NSRegularExpression NSTextCheckingResult::regularExpression() const {
    NSRegularExpression expression;
    expression.m_compiled = m_expression;
    return expression;
}

NSTextCheckingResult NSTextCheckingResult::resultByAdjustingRangesWithOffset(qsizetype offset) const {
    const auto moved = [offset](NSRange range) -> NSRange {
        if (range.isNotFound())
            return range;
        if (range.location + offset < 0)
            throw NSException(NSInvalidArgumentException,
                              NSFormat("Offset %d moves a range before the text", {offset}));
        return {range.location + offset, range.length};
    };
    NSTextCheckingResult result = *this;
    result.m_range = moved(m_range);
    std::transform(m_groups.cbegin(), m_groups.cend(), result.m_groups.begin(), moved);
    return result;
}

NSRegularExpression::NSRegularExpression(const QString &pattern, NSRegularExpressionOptions options,
                                         NSError *error) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError where{};
    if (pattern.size() > std::numeric_limits<int32_t>::max())
        status = U_REGEX_PATTERN_TOO_BIG;
    else if (pattern.isEmpty())
        status = U_ILLEGAL_ARGUMENT_ERROR;
    std::shared_ptr<const CompiledExpression> compiled;
    if (U_SUCCESS(status))
        compiled = std::make_shared<CompiledExpression>(pattern, options, where, status);
    if (U_SUCCESS(status)) {
        m_compiled = std::move(compiled);
        return;
    }
    if (error)
        *error = NSError(NSCocoaErrorDomain, FormattingError,
                         {{NSLocalizedDescriptionKey,
                           NSFormat("The pattern \"%@\" is invalid: %s in line %d, column %d",
                                    {pattern, u_errorName(status), where.line, where.offset})}});
}

NSRegularExpression NSRegularExpression::regularExpressionWithPattern(const QString &pattern,
                                                                      NSRegularExpressionOptions options,
                                                                      NSError *error) {
    return NSRegularExpression(pattern, options, error);
}

QString NSRegularExpression::pattern() const {
    return m_compiled ? m_compiled->pattern() : QString();
}

NSRegularExpressionOptions NSRegularExpression::options() const {
    return m_compiled ? m_compiled->options() : 0;
}

qsizetype NSRegularExpression::numberOfCaptureGroups() const {
    return m_compiled ? m_compiled->groups() : 0;
}

void NSRegularExpression::enumerateMatchesInString(const QString &string, NSMatchingOptions options,
                                                   std::optional<NSRange> range, const Block &block) const {
    if (isNil() || string.isNull())
        return;
    ExpressionSearch search(m_compiled, string, options, range);
    bool stop = false;
    if (options & NSMatchingReportProgress)
        search.setProgress([&] {
            block(nullptr, NSMatchingProgress, &stop);
            return stop;
        });
    NSTextCheckingResult result;
    while (search.next()) {
        search.read(result);
        search.pause();
        block(&result, search.flags(), &stop);
        search.resume();
        if (stop)
            return;
    }
    if (stop)
        return;
    if (search.failed())
        search.logFailure();
    if (options & NSMatchingReportCompletion)
        block(nullptr, NSMatchingCompleted | (search.failed() ? NSMatchingInternalError : search.flags()),
              &stop);
}

namespace {

/// Calls the block with every match until it says false. False, after a line in the log, if the search was given
/// up, so that the caller can drop what it has.
template <typename Each>
bool forEachMatch(const std::shared_ptr<const CompiledExpression> &expression, const QString &string,
                  NSMatchingOptions options, std::optional<NSRange> range, Each each) {
    if (!expression || string.isNull())
        return true;
    ExpressionSearch search(expression, string, options, range);
    NSTextCheckingResult result;
    while (search.next()) {
        search.read(result);
        if (!each(result))
            return true;
    }
    if (search.failed())
        search.logFailure();
    return !search.failed();
}

} // namespace

QList<NSTextCheckingResult> NSRegularExpression::matchesInString(const QString &string,
                                                                 NSMatchingOptions options,
                                                                 std::optional<NSRange> range) const {
    QList<NSTextCheckingResult> results;
    const bool isWhole =
        forEachMatch(m_compiled, string, options, range, [&](const NSTextCheckingResult &result) {
            results.append(result);
            return true;
        });
    return isWhole ? results : QList<NSTextCheckingResult>();
}

qsizetype NSRegularExpression::numberOfMatchesInString(const QString &string, NSMatchingOptions options,
                                                       std::optional<NSRange> range) const {
    qsizetype count = 0;
    const bool isWhole = forEachMatch(m_compiled, string, options, range, [&](const NSTextCheckingResult &) {
        ++count;
        return true;
    });
    return isWhole ? count : 0;
}

std::optional<NSTextCheckingResult>
NSRegularExpression::firstMatchInString(const QString &string, NSMatchingOptions options,
                                        std::optional<NSRange> range) const {
    std::optional<NSTextCheckingResult> first;
    forEachMatch(m_compiled, string, options, range, [&](const NSTextCheckingResult &result) {
        first = result;
        return false;
    });
    return first;
}

NSRange NSRegularExpression::rangeOfFirstMatchInString(const QString &string, NSMatchingOptions options,
                                                       std::optional<NSRange> range) const {
    const auto first = firstMatchInString(string, options, range);
    return first ? first->range() : NSRange{NSNotFound, 0};
}

QString NSRegularExpression::stringByReplacingMatchesInString(const QString &string,
                                                              NSMatchingOptions options,
                                                              std::optional<NSRange> range,
                                                              const QString &withTemplate) const {
    QString changed = string;
    replaceMatchesInString(changed, options, range, withTemplate);
    return changed;
}

qsizetype NSRegularExpression::replaceMatchesInString(QString &string, NSMatchingOptions options,
                                                      std::optional<NSRange> range,
                                                      const QString &withTemplate) const {
    const ReplacementTemplate replacement(withTemplate, numberOfCaptureGroups());
    QString output = QStringLiteral("");
    qsizetype count = 0, copied = 0;
    const bool isWhole =
        forEachMatch(m_compiled, string, options, range, [&](const NSTextCheckingResult &result) {
            output += QStringView(string).mid(copied, result.range().location - copied);
            replacement.append(output, result, string, 0);
            copied = result.range().end();
            ++count;
            return true;
        });
    if (!isWhole || count == 0)
        return 0;
    string = output.append(QStringView(string).mid(copied));
    return count;
}

QString NSRegularExpression::replacementStringForResult(const NSTextCheckingResult &result,
                                                        const QString &inString, qsizetype offset,
                                                        const QString &templateText) const {
    QString output = QStringLiteral("");
    ReplacementTemplate(templateText, numberOfCaptureGroups()).append(output, result, inString, offset);
    return output;
}

QString NSRegularExpression::escapedPatternForString(const QString &string) {
    // Punctuation with a meaning in patterns or sets, and the white space that AllowCommentsAndWhitespace
    // ignores.
    constexpr QStringView special = u"\\^$.|?*+()[]{}#-&/ \t\n\v\f\r\u0085\u200e\u200f\u2028\u2029";
    QString escaped;
    escaped.reserve(string.size());
    for (const QChar c : string) {
        if (special.contains(c))
            escaped += u'\\';
        escaped += c;
    }
    return string.isEmpty() ? string : escaped;
}

QString NSRegularExpression::escapedTemplateForString(const QString &string) {
    QString escaped;
    escaped.reserve(string.size());
    for (const QChar c : string) {
        if (c == u'\\' || c == u'$')
            escaped += u'\\';
        escaped += c;
    }
    return string.isEmpty() ? string : escaped;
}
