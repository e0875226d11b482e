// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRRegex.h"

#include "ZRKit/Values/NSTextCheckingResult+ZRKit.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/values/NSCache.h"

#include <algorithm>

namespace {

constexpr qsizetype CachedRegexes = 500;

} // namespace

struct ZRRegex::Shared {
    const NSRegularExpression namedGroups{QStringLiteral("\\(\\?\\<([\\w\\d\\-]+)\\>")};
    const NSRegularExpression captureGroups{QStringLiteral("\\((?!\\?([\\:\\#\\=\\!]|\\<\\!|\\<\\=))")};
    NSCache<QString, ZRRegex> cache{QStringLiteral("ZRRegex"), CachedRegexes};
};

ZRRegex::Shared &ZRRegex::shared() {
    static Shared shared;
    return shared;
}

struct ZRRegex::Configured {
    Configured(const QString &givenPattern, NSRegularExpressionOptions givenOptions)
        : pattern(givenPattern), options(givenOptions) {
        configure();
    }

    void configure() {
        QList<qsizetype> openers;
        const QList<NSTextCheckingResult> hits = shared().namedGroups.matchesInString(pattern);
        if (!hits.isEmpty()) {
            for (const NSTextCheckingResult &opener : shared().captureGroups.matchesInString(pattern))
                openers.append(opener.range().location);
        }
        QString rewritten;
        qsizetype copied = 0;
        for (const NSTextCheckingResult &hit : hits) {
            const QString name = ZRKit::inString(hit, pattern, 1);
            if (groupNameMappings && groupNameMappings->contains(name))
                ZRKit::zxAssertFailed("__20-[ZRRegex configure]_block_invoke",
                                      "![_groupNameMappings objectForKey:label]", "ZRRegex", 136,
                                      "Only define once!");
            const auto before = std::lower_bound(openers.cbegin(), openers.cend(), hit.range().location);
            setLabel(name, before - openers.cbegin());
            rewritten.append(QStringView(pattern).mid(copied, hit.range().location - copied)).append(u'(');
            copied = hit.range().end();
        }
        rewritten.append(QStringView(pattern).mid(copied));
        regex = NSRegularExpression(rewritten, options);
        if (regex.isNil())
            ZRKit::zxAssertFailed("-[ZRRegex configure]", "(_regex)", "ZRRegex", 158);
    }
    void setLabel(const QString &name, qsizetype offset) {
        if (!groupNameMappings)
            groupNameMappings.emplace();
        groupNameMappings->insert(name, offset + 1);
    }

    const QString pattern;
    const NSRegularExpressionOptions options;
    std::optional<QVariantMap> groupNameMappings;
    NSRegularExpression regex;
};

ZRRegex ZRRegex::regexWithPattern(const ZRKit::AnyText &pattern, NSRegularExpressionOptions options,
                                  bool cache) {
    if (!cache)
        return ZRRegex(pattern, options);
    const QString key = pattern + u'/' + QString::number(options);
    if (const std::optional<ZRRegex> known = shared().cache.objectForKey(key))
        return *known;
    ZRRegex made(pattern, options);
    shared().cache.setObject(made, key);
    return made;
}

ZRRegex::ZRRegex(const ZRKit::AnyText &pattern, NSRegularExpressionOptions options)
    : m_configured(std::make_shared<const Configured>(pattern, options)) {
}

QString ZRRegex::pattern() const {
    return m_configured->pattern;
}

NSRegularExpressionOptions ZRRegex::options() const {
    return m_configured->options;
}

std::optional<QVariantMap> ZRRegex::groupNameMappings() const {
    return m_configured->groupNameMappings;
}

NSRegularExpression ZRRegex::regex() const {
    return m_configured->regex;
}

std::optional<QVariantList> ZRRegex::allStringMatchesinString(const ZRKit::AnyText &string) const {
    if (m_configured->regex.isNil())
        return std::nullopt;
    QVariantList texts;
    for (const NSTextCheckingResult &match : m_configured->regex.matchesInString(string))
        texts.append(ZRKit::inString(match, string));
    return texts;
}

void ZRRegex::enumerateMatchesInString(const ZRKit::AnyText &string, NSMatchingOptions options,
                                       const Block &usingBlock) const {
    const NSMatchingOptions searching =
        options & ~quint64(NSMatchingReportProgress | NSMatchingReportCompletion);
    const ZRRegex kept = *this;
    const QString searched = string;
    kept.m_configured->regex.enumerateMatchesInString(
        searched, searching, {}, [&](const NSTextCheckingResult *result, NSMatchingFlags, bool *stop) {
            usingBlock(ZRRegexMatch(kept, searched, *result), stop);
        });
}

QString ZRRegexMatch::stringForGroupName(const ZRKit::AnyText &name) const {
    const std::optional<QVariantMap> mappings = m_regex.groupNameMappings();
    if (!mappings || !mappings->contains(name))
        return {};
    return ZRKit::inString(m_match, m_text, mappings->value(name).toLongLong());
}

QString ZRRegexMatch::stringValue() const {
    return ZRKit::inString(m_match, m_text);
}

#include "moc_ZRRegex.cpp"
