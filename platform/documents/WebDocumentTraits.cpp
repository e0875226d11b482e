// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentTraits.h"

#include <QLatin1StringView>
#include <array>
#include <optional>

namespace {

char16_t lower(QChar c) {
    const char16_t u = c.unicode();
    return u >= 'A' && u <= 'Z' ? char16_t(u + 32) : u;
}

bool isSpace(QChar c) {
    return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r' || c == u'\f';
}

bool startsWith(QStringView text, QLatin1StringView lowerCase) {
    if (text.size() < lowerCase.size())
        return false;
    for (qsizetype i = 0; i < lowerCase.size(); ++i) {
        if (lower(text[i]) != char16_t(lowerCase[i].unicode()))
            return false;
    }
    return true;
}

template <size_t N>
bool startsWithAny(QStringView text, const std::array<const char *, N> &lowerCase) {
    for (const char *word : lowerCase) {
        if (startsWith(text, QLatin1StringView(word)))
            return true;
    }
    return false;
}

QStringView skipSpaces(QStringView text) {
    qsizetype i = 0;
    while (i < text.size() && isSpace(text[i]))
        ++i;
    return text.sliced(i);
}

QStringView skipQuote(QStringView text) {
    text = skipSpaces(text);
    return !text.isEmpty() && (text[0] == u'"' || text[0] == u'\'') ? skipSpaces(text.sliced(1)) : text;
}

/// The rest after a tag's name, up to its end; null when the name is another one.
QStringView tagRest(QStringView afterBracket, QLatin1StringView name) {
    if (!startsWith(afterBracket, name))
        return {};
    const QStringView rest = afterBracket.sliced(name.size());
    return rest.sliced(0, rest.indexOf(u'>') < 0 ? rest.size() : rest.indexOf(u'>'));
}

/// "http-equiv" with a value that decides nothing once the markup is text.
bool isHarmlessPragma(QStringView pragma) {
    static constexpr std::array harmless = {"content-type", "x-ua-compatible"};
    const QStringView rest = skipSpaces(pragma.sliced(sizeof "http-equiv" - 1));
    return !rest.isEmpty() && rest[0] == u'=' && startsWithAny(skipQuote(rest.sliced(1)), harmless);
}

/// Meta elements that tell of the document only: a charset, or a name known to change nothing.
bool isHarmlessMeta(QStringView attributes) {
    // Values written with character references, and anything unusual, are not looked into.
    for (const QChar c : attributes) {
        if (c == u'&' || c == u'<')
            return false;
    }
    static constexpr std::array harmless = {"viewport", "author", "description",      "generator",
                                            "keywords", "robots", "application-name", "date"};
    bool known = false;
    for (qsizetype i = 0; i < attributes.size(); ++i) {
        const QStringView here = attributes.sliced(i);
        if (startsWith(here, QLatin1StringView("http-equiv"))) {
            if (!isHarmlessPragma(here))
                return false;
            known = true;
        }
        if (startsWith(here, QLatin1StringView("charset")))
            known = true;
        if (startsWith(here, QLatin1StringView("name"))) {
            const QStringView afterName = skipSpaces(here.sliced(4));
            if (afterName.isEmpty() || afterName[0] != u'=')
                continue;
            if (!startsWithAny(skipQuote(afterName.sliced(1)), harmless))
                return false;
            known = true;
        }
    }
    return known;
}

bool hasActiveMeta(QStringView markup) {
    for (qsizetype at = markup.indexOf(u'<'); at >= 0; at = markup.indexOf(u'<', at + 1)) {
        const QStringView meta = tagRest(markup.sliced(at + 1), QLatin1StringView("meta"));
        if (!meta.isNull() && !isHarmlessMeta(meta))
            return true;
    }
    return false;
}

/// Whether an attribute is given here: its name may go on in word characters, then comes an equals sign.
bool isAttribute(QStringView afterName) {
    qsizetype i = 0;
    while (i < afterName.size() && (afterName[i].isLetterOrNumber() || afterName[i] == u'-'))
        ++i;
    const QStringView rest = skipSpaces(afterName.sliced(i));
    return !rest.isEmpty() && rest[0] == u'=';
}

struct Attribute {
    QStringView name;
    QStringView value;
};

/// The next attribute of a tag; nothing at the tag's end, where `at` then is.
std::optional<Attribute> nextAttribute(QStringView markup, qsizetype &at) {
    const auto skipWhile = [&](auto condition) {
        while (at < markup.size() && condition(markup[at]))
            ++at;
    };
    skipWhile([](QChar c) { return isSpace(c) || c == u'/'; });
    if (at == markup.size() || markup[at] == u'>')
        return {};
    const qsizetype name = at++;
    skipWhile([](QChar c) { return !isSpace(c) && c != u'/' && c != u'>' && c != u'='; });
    Attribute attribute{markup.sliced(name, at - name), {}};
    skipWhile(isSpace);
    if (at == markup.size() || markup[at] != u'=')
        return attribute;
    ++at;
    skipWhile(isSpace);
    if (at == markup.size())
        return attribute;
    const QChar quote = markup[at];
    if (quote == u'"' || quote == u'\'') {
        const qsizetype value = ++at;
        skipWhile([quote](QChar c) { return c != quote; });
        attribute.value = markup.sliced(value, at - value);
        at = qMin(at + 1, markup.size());
    } else {
        const qsizetype value = at;
        skipWhile([](QChar c) { return !isSpace(c) && c != u'>'; });
        attribute.value = markup.sliced(value, at - value);
    }
    return attribute;
}

/// Past the next occurrence of a text; the markup's end where there is none.
qsizetype endOf(QStringView markup, const QString &text, qsizetype from) {
    const qsizetype found = markup.indexOf(text, from, Qt::CaseInsensitive);
    return found < 0 ? markup.size() : found + text.size();
}

} // namespace

namespace WebDocumentTraits {

bool mayLoadFonts(QStringView markup) {
    for (qsizetype at = markup.indexOf(u'@'); at >= 0; at = markup.indexOf(u'@', at + 1)) {
        // Escapes in the rule's name are as good as the name.
        const QStringView rest = markup.sliced(at + 1);
        if (startsWithAny(rest, std::array{"font-face", "import"}) ||
            rest.first(qMin<qsizetype>(10, rest.size())).contains(u'\\'))
            return true;
    }
    return false;
}

bool mayLeaveTraces(QStringView markup) {
    static constexpr std::array leaving = {"base",  "iframe", "frame", "object", "embed",    "portal",
                                           "video", "audio",  "link",  "script", "template", "fencedframe"};
    for (qsizetype at = markup.indexOf(u'<'); at >= 0; at = markup.indexOf(u'<', at + 1)) {
        const QStringView tag = markup.sliced(at + 1);
        if (startsWithAny(tag, leaving))
            return true;
    }
    return hasActiveMeta(markup) || markup.contains(QLatin1StringView("autofocus"), Qt::CaseInsensitive);
}

bool mayReload(QStringView markup) {
    return hasActiveMeta(markup);
}

QString withoutReloads(QStringView markup) {
    QString out = markup.toString();
    for (qsizetype at = markup.indexOf(u'<'); at >= 0; at = markup.indexOf(u'<', at)) {
        const QStringView tag = markup.sliced(at + 1);
        if (tag.startsWith(u"!--")) {
            at = endOf(markup, QStringLiteral("-->"), at + 2);
            continue;
        }
        if (tag.isEmpty() || !tag[0].isLetter()) {
            ++at;
            continue;
        }
        const qsizetype name = at + 1;
        while (at < markup.size() && !isSpace(markup[at]) && markup[at] != u'/' && markup[at] != u'>')
            ++at;
        const QStringView element = markup.sliced(name, at - name);
        const bool isMeta = element.compare(u"meta", Qt::CaseInsensitive) == 0;
        for (std::optional<Attribute> attribute; (attribute = nextAttribute(markup, at));) {
            // What a value with character references says is not looked into.
            if (isMeta && attribute->name.compare(u"http-equiv", Qt::CaseInsensitive) == 0 &&
                (attribute->value.contains(u'&') ||
                 attribute->value.compare(u"refresh", Qt::CaseInsensitive) == 0))
                out[attribute->name.data() - markup.data()] = u'x';
        }
        static constexpr std::array textOnly = {"textarea", "title",  "style",   "script",
                                                "xmp",      "iframe", "noembed", "noframes"};
        for (const char *text : textOnly) {
            if (element.compare(QLatin1StringView(text), Qt::CaseInsensitive) == 0)
                at = endOf(markup, QStringLiteral("</") + QLatin1StringView(text), at);
        }
    }
    return out;
}

bool mayDependOnAddress(QStringView markup) {
    static constexpr std::array resolving = {"base",  "iframe", "frame", "object",
                                             "embed", "link",   "?xml",  "area"};
    static constexpr std::array attributes = {"src", "poster", "background"};
    static constexpr std::array inStyles = {"@import", "image(", "image-set(", "src("};
    static constexpr std::array absolute = {"http://", "https://", "mailto:", "tel:"};
    bool inLink = false;
    for (qsizetype i = 0; i < markup.size(); ++i) {
        const QStringView here = markup.sliced(i);
        switch (lower(here[0])) {
        case u'\\':
            return true;
        case u'<': {
            const QStringView tag = here.sliced(1);
            if (startsWithAny(tag, resolving))
                return true;
            inLink = tag.size() > 1 && lower(tag[0]) == u'a' && isSpace(tag[1]);
            break;
        }
        case u'h':
            if (startsWith(here, QLatin1StringView("href")) && isAttribute(here.sliced(4))) {
                const QStringView value = here.sliced(here.indexOf(u'=') + 1);
                if (!inLink || !startsWithAny(skipQuote(value), absolute))
                    return true;
                break;
            }
            if (startsWith(here, QLatin1StringView("http-equiv")) && !isHarmlessPragma(here))
                return true;
            break;
        case u's':
        case u'p':
        case u'b':
            for (const char *name : attributes) {
                const QLatin1StringView word(name);
                if (startsWith(here, word) && isAttribute(here.sliced(word.size())))
                    return true;
            }
            if (startsWith(here, QLatin1StringView("src(")))
                return true;
            break;
        case u'u':
            if (startsWith(here, QLatin1StringView("url("))) {
                const QStringView value = skipQuote(here.sliced(4));
                if (!startsWithAny(value, std::array{"data:", "#"}))
                    return true;
            }
            break;
        case u'@':
        case u'i':
            if (startsWithAny(here, inStyles))
                return true;
            break;
        default:
            break;
        }
    }
    return false;
}

} // namespace WebDocumentTraits
