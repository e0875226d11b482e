// SPDX-License-Identifier: MIT
#include "platform/text/NSRegularExpression.h"

#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>
#include <exception>
#include <limits>
#include <memory>
#include <unicode/regex.h>
#include <unicode/utypes.h>
#include <utility>
#include <vector>

namespace {

constexpr qint64 Second = 1'000'000'000;
constexpr qint64 SearchTime = 5 * Second;
constexpr qint64 SearchTimePerMillionUnits = Second;
// ICU counts a stack entry as four bytes and takes eight: this makes 128 MB.
constexpr qint32 StackLimit = 64'000'000;
constexpr qint32 IdleStackLimit = 64'000;
constexpr size_t LongestBatch = 512;
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

/// The engine's compiled pattern. Searches run in matchers made from it; one idle matcher is kept for the
/// next.
class NSCompiledExpression {
public:
    NSCompiledExpression(const QString &pattern, NSRegularExpressionOptions options, UParseError &where,
                         UErrorCode &status)
        : m_pattern(pattern), m_options(options),
          m_original(
              icu::RegexPattern::compile(icu::UnicodeString(false, units(pattern), int32_t(pattern.size())),
                                         engineFlags(options), where, status)) {
        if (U_SUCCESS(status))
            m_idle = m_original->matcher(status);
        if (U_SUCCESS(status))
            m_groups = m_idle.load()->groupCount();
    }
    ~NSCompiledExpression() { delete m_idle.load(std::memory_order_acquire); }
    NSCompiledExpression(const NSCompiledExpression &) = delete;
    NSCompiledExpression &operator=(const NSCompiledExpression &) = delete;

    const QString &pattern() const { return m_pattern; }
    NSRegularExpressionOptions options() const { return m_options; }
    int groups() const { return m_groups; }

    std::unique_ptr<icu::RegexMatcher> takeMatcher() const {
        if (icu::RegexMatcher *idle = m_idle.exchange(nullptr, std::memory_order_acq_rel))
            return std::unique_ptr<icu::RegexMatcher>(idle);
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> matcher(m_original->matcher(status));
        if (U_FAILURE(status))
            throw std::bad_alloc();
        return matcher;
    }
    void giveBack(std::unique_ptr<icu::RegexMatcher> matcher) const {
        UErrorCode status = U_ZERO_ERROR;
        matcher->setStackLimit(IdleStackLimit, status);
        // The one that is idle so far goes; never two of them stay.
        matcher.reset(m_idle.exchange(matcher.release(), std::memory_order_acq_rel));
    }

private:
    const QString m_pattern;
    const NSRegularExpressionOptions m_options;
    const std::unique_ptr<const icu::RegexPattern> m_original;
    int m_groups = 0;
    mutable std::atomic<icu::RegexMatcher *> m_idle = nullptr;
};

/// One search over one text, with its limits.
class NSRegularExpressionSearch {
public:
    NSRegularExpressionSearch(std::shared_ptr<const NSCompiledExpression> expression, const QString &string,
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
        m_matcher = m_expression->takeMatcher();
        m_matcher->setStackLimit(StackLimit, m_status);
        m_matcher->setMatchCallback(&NSRegularExpressionSearch::tick, this, m_status);
        UText text = UTEXT_INITIALIZER;
        utext_openUChars(&text, units(m_string) + m_offset, size, &m_status);
        m_matcher->reset(&text);
        utext_close(&text);
        // A matcher keeps these from its last search.
        m_matcher->useTransparentBounds(transparent);
        m_matcher->useAnchoringBounds(anchoring);
        if (searched.length < size)
            m_matcher->region(searched.location, searched.end(), m_status);
    }
    ~NSRegularExpressionSearch() { m_expression->giveBack(std::move(m_matcher)); }
    NSRegularExpressionSearch(const NSRegularExpressionSearch &) = delete;
    NSRegularExpressionSearch &operator=(const NSRegularExpressionSearch &) = delete;

    /// Is called now and then while a search takes long; true ends it.
    void setProgress(std::function<bool()> progress) { m_progress = std::move(progress); }

    /// The clock runs between these two only.
    void resume() { m_resumed = processorTime(); }
    void pause() {
        m_used += processorTime() - m_resumed;
        if (m_used > m_limit)
            m_status = U_REGEX_TIME_OUT;
    }

    /// Finds the next match; false at the end and when the search is given up.
    bool next() {
        if (m_done)
            return false;
        const bool found = m_anchored ? m_matcher->lookingAt(m_status) : m_matcher->find(m_status);
        if (found) {
            m_done = m_anchored;
            return true;
        }
        m_done = true;
        if (m_used > m_limit)
            m_status = U_REGEX_TIME_OUT;
        if (m_thrown)
            std::rethrow_exception(std::exchange(m_thrown, nullptr));
        return false;
    }

    NSRange range() const { return group(0); }
    void read(NSTextCheckingResult &result) const {
        if (!result.m_expression)
            prepare(result);
        result.m_range = group(0);
        if (const int groups = m_expression->groups(); groups > 0) {
            NSRange *const ranges = result.m_groups.data();
            for (int i = 0; i < groups; ++i)
                ranges[i] = group(i + 1);
        }
    }
    /// The same in two steps: ranges of matches, one after the other, and later results of them.
    NSRange *read(NSRange *ranges) const {
        for (int i = 0, groups = m_expression->groups(); i <= groups; ++i)
            *ranges++ = group(i);
        return ranges;
    }
    NSTextCheckingResult emptyResult() const {
        NSTextCheckingResult result;
        prepare(result);
        return result;
    }
    static const NSRange *put(const NSRange *ranges, NSTextCheckingResult &result) {
        result.m_range = *ranges++;
        if (const qsizetype groups = result.m_groups.size(); groups > 0) {
            std::copy_n(ranges, groups, result.m_groups.data());
            ranges += groups;
        }
        return ranges;
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
    void prepare(NSTextCheckingResult &result) const {
        result.m_expression = m_expression;
        result.m_groups.resize(m_expression->groups());
    }
    // ICU gives -1 for a group that took no part.
    NSRange group(int number) const {
        UErrorCode status = U_ZERO_ERROR;
        const int64_t start = m_matcher->start64(number, status);
        if (start < 0)
            return {NSNotFound, 0};
        return {start + m_offset, m_matcher->end64(number, status) - start};
    }
    static UBool tick(const void *context, int32_t) {
        // ICU hands the context back as const.
        auto *search = static_cast<NSRegularExpressionSearch *>(const_cast<void *>(context));
        search->pause();
        bool goOn = search->m_used <= search->m_limit;
        if (goOn && search->m_progress) {
            try {
                goOn = !search->m_progress();
            } catch (...) {
                search->m_thrown = std::current_exception();
                goOn = false;
            }
        }
        search->resume();
        return goOn;
    }

    const std::shared_ptr<const NSCompiledExpression> m_expression;
    const QString m_string;
    const bool m_anchored;
    const qint64 m_limit;
    qsizetype m_offset = 0; ///< of the text that ICU is given
    std::unique_ptr<icu::RegexMatcher> m_matcher;
    UErrorCode m_status = U_ZERO_ERROR;
    bool m_done = false;
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
            } else if (c == u'$' && i + 1 < text.size() && isDigit(text[i + 1])) {
                qsizetype group = text[++i].unicode() - u'0';
                while (i + 1 < text.size() && isDigit(text[i + 1]) &&
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
    static bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

    std::vector<Piece> m_pieces;
};

} // namespace

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
    std::shared_ptr<const NSCompiledExpression> compiled;
    if (U_SUCCESS(status))
        compiled = std::make_shared<NSCompiledExpression>(pattern, options, where, status);
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
    NSRegularExpressionSearch search(m_compiled, string, options, range);
    bool stop = false;
    if (options & NSMatchingReportProgress)
        search.setProgress([&] {
            block(nullptr, NSMatchingProgress, &stop);
            return stop;
        });

    // Looking at the clock around each block would cost more than many a match: it is done once for a batch.
    const size_t rangesOfOne = size_t(m_compiled->groups()) + 1;
    std::vector<NSRange> ranges(rangesOfOne);
    std::vector<NSMatchingFlags> flags(1);
    NSTextCheckingResult result = search.emptyResult();
    for (;;) {
        size_t found = 0;
        NSRange *end = ranges.data();
        search.resume();
        while (found < flags.size() && search.next()) {
            end = search.read(end);
            flags[found++] = search.flags();
        }
        search.pause();
        const NSRange *next = ranges.data();
        for (size_t i = 0; i < found && !stop; ++i) {
            next = search.put(next, result);
            block(&result, flags[i], &stop);
        }
        if (stop)
            return;
        if (found < flags.size())
            break;
        flags.resize(std::min(flags.size() * 2, LongestBatch));
        ranges.resize(flags.size() * rangesOfOne);
    }
    if (search.failed())
        search.logFailure();
    if (options & NSMatchingReportCompletion)
        block(nullptr, NSMatchingCompleted | (search.failed() ? NSMatchingInternalError : search.flags()),
              &stop);
}

namespace {

/// Calls `each` with the search for every match, and logs where that doesn't reach the end.
template <typename Each>
void forEachMatch(const std::shared_ptr<const NSCompiledExpression> &expression, const QString &string,
                  NSMatchingOptions options, std::optional<NSRange> range, Each each) {
    if (!expression || string.isNull())
        return;
    NSRegularExpressionSearch search(expression, string, options, range);
    search.resume();
    while (search.next()) {
        if (!each(search))
            return;
    }
    if (search.failed())
        search.logFailure();
}

} // namespace

QList<NSTextCheckingResult> NSRegularExpression::matchesInString(const QString &string,
                                                                 NSMatchingOptions options,
                                                                 std::optional<NSRange> range) const {
    QList<NSTextCheckingResult> results;
    forEachMatch(m_compiled, string, options, range, [&](const NSRegularExpressionSearch &search) {
        search.read(results.emplace_back());
        return true;
    });
    return results;
}

qsizetype NSRegularExpression::numberOfMatchesInString(const QString &string, NSMatchingOptions options,
                                                       std::optional<NSRange> range) const {
    qsizetype count = 0;
    forEachMatch(m_compiled, string, options, range, [&](const NSRegularExpressionSearch &) {
        ++count;
        return true;
    });
    return count;
}

std::optional<NSTextCheckingResult>
NSRegularExpression::firstMatchInString(const QString &string, NSMatchingOptions options,
                                        std::optional<NSRange> range) const {
    std::optional<NSTextCheckingResult> result;
    forEachMatch(m_compiled, string, options, range, [&](const NSRegularExpressionSearch &search) {
        search.read(result.emplace());
        return false;
    });
    return result;
}

NSRange NSRegularExpression::rangeOfFirstMatchInString(const QString &string, NSMatchingOptions options,
                                                       std::optional<NSRange> range) const {
    NSRange first{NSNotFound, 0};
    forEachMatch(m_compiled, string, options, range, [&](const NSRegularExpressionSearch &search) {
        first = search.range();
        return false;
    });
    return first;
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
    QString output;
    qsizetype count = 0, copied = 0;
    NSTextCheckingResult result;
    forEachMatch(m_compiled, string, options, range, [&](const NSRegularExpressionSearch &search) {
        search.read(result);
        output += QStringView(string).mid(copied, result.range().location - copied);
        replacement.append(output, result, string, 0);
        copied = result.range().end();
        ++count;
        return true;
    });
    if (count > 0) {
        output += QStringView(string).mid(copied);
        // A text whose matches have all been replaced by nothing is empty, not nil.
        string = output.isNull() ? QStringLiteral("") : output;
    }
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
