// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentTraits.h"

#include "platform/text/MarkupScanner.h"

#include <QRegularExpression>

namespace zr::WebDocumentTraits {

namespace {

/// Matches without regard to case, anywhere in the markup: within tags, comments and text alike, because
/// only the engine knows which of them a place is in.
class Finder {
public:
    explicit Finder(const char *pattern)
        : m_expression(QLatin1StringView(pattern), QRegularExpression::CaseInsensitiveOption |
                                                       QRegularExpression::DontCaptureOption |
                                                       QRegularExpression::DotMatchesEverythingOption) {}
    /// Also true if the search is given up, as it is for text that isn't valid UTF-16.
    bool finds(const QString &markup) const {
        const QRegularExpressionMatch match = m_expression.match(markup);
        return match.hasMatch() || !match.isValid();
    }

private:
    QRegularExpression m_expression;
};

// A meta element is harmless if its attributes are written plainly, so that its end is certain, have no
// character references, and tell of the document only: a charset, a name known to change nothing, or a
// pragma that decides nothing once the markup is text.
constexpr char activeMeta[] =
    R"(<meta(?!(?=(?:[ \t\n\f\r/]++|[^ \t\n\f\r/<>&"'=]++)"
    R"((?:[ \t\n\f\r]*+=[ \t\n\f\r]*+(?:"[^<>&"]*+"|'[^<>&']*+'|[^ \t\n\f\r<>&"'=]++))?)*+(?:>|\z)))"
    R"((?=[^>]*(?:charset|http-equiv|name\s*=)))"
    R"((?![^>]*http-equiv(?!\s*=\s*["']?\s*(?:content-type|x-ua-compatible))))"
    R"((?![^>]*name\s*=(?!\s*["']?\s*(?:viewport|author|description|generator)"
    R"(|keywords|robots|application-name|date)))))";

} // namespace

bool mayLoadFonts(const QString &markup) {
    // Escapes in a rule's name are as good as the name.
    static const Finder rules(R"(@(?:font-face|import|.{0,9}\\))");
    return rules.finds(markup);
}

bool mayLeaveTraces(const QString &markup) {
    static const Finder leaving(
        R"(<(?:base|iframe|frame|object|embed|portal|video|audio|link|script|template|fencedframe))"
        R"(|autofocus)");
    return leaving.finds(markup) || mayReload(markup);
}

bool mayReload(const QString &markup) {
    static const Finder active(activeMeta);
    return active.finds(markup);
}

QString withoutReloads(const QString &markup) {
    QString out = markup;
    using Scanner = MarkupScanner<QStringView>;
    Scanner scanner(markup);
    while (scanner.next()) {
        if (scanner.token() != Scanner::Token::StartTag || !scanner.isNamed(QLatin1StringView("meta")))
            continue;
        for (MarkupAttributes<QStringView> attributes = scanner.attributes(); attributes.next();) {
            // What a value with character references says is not looked into.
            if (attributes.isNamed(QLatin1StringView("http-equiv")) &&
                (attributes.value().contains(u'&') ||
                 attributes.value().compare(u"refresh", Qt::CaseInsensitive) == 0))
                out[attributes.name().data() - markup.data()] = u'x';
        }
    }
    return out;
}

bool mayDependOnAddress(const QString &markup) {
    static const Finder depending(
        R"(\\|<(?:base|iframe|frame|object|embed|link|area|set|animate|\?xml))"
        R"(|http-equiv(?!\s*=\s*["']?\s*(?:content-type|x-ua-compatible)))"
        R"(|(?:src|srcset|srcdoc|poster|background)\s*=|src\(|@import|image\(|image-set\()"
        R"(|url\((?!\s*["']?\s*(?:data:|#))|href\s*=(?!\s*["']?\s*)"
        R"((?:https?://|mailto:|tel:)))");
    // Links to the web lead there from anywhere; other elements fetch what they refer to, relative to who
    // asks.
    static const Finder fetching(R"(<(?!a\s)[^<]*href\s*=|^[^<]*href\s*=)");
    return depending.finds(markup) || fetching.finds(markup);
}

} // namespace zr::WebDocumentTraits
