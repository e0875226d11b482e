// SPDX-License-Identifier: MIT
#include "platform/text/MarkupScanner.h"

#include "platform/base/ASCII.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zr {

template <typename View>
template <typename Condition>
View MarkupAttributes<View>::takeWhile(Condition condition) {
    const qsizetype start = m_at;
    while (m_at < m_markup.size() && condition(m_markup[m_at].unicode()))
        ++m_at;
    return m_markup.sliced(start, m_at - start);
}

template <typename View>
bool MarkupAttributes<View>::next() {
    m_value = {};
    takeWhile([](char16_t c) { return isASCIISpace(c) || c == u'/'; });
    if (m_at == m_markup.size())
        return false;
    if (m_markup[m_at].unicode() == u'>') {
        ++m_at;
        return false;
    }
    const qsizetype start = m_at++;
    takeWhile([](char16_t c) { return !isASCIISpace(c) && c != u'/' && c != u'>' && c != u'='; });
    m_name = m_markup.sliced(start, m_at - start);
    const qsizetype afterName = m_at;
    takeWhile(isASCIISpace);
    if (m_at == m_markup.size() || m_markup[m_at].unicode() != u'=') {
        m_at = afterName;
        return true;
    }
    ++m_at;
    takeWhile(isASCIISpace);
    const char16_t quote = m_at < m_markup.size() ? m_markup[m_at].unicode() : 0;
    if (quote == u'"' || quote == u'\'') {
        ++m_at;
        m_value = takeWhile([quote](char16_t c) { return c != quote; });
        m_at = std::min(m_at + 1, m_markup.size());
    } else {
        m_value = takeWhile([](char16_t c) { return !isASCIISpace(c) && c != u'>'; });
    }
    return true;
}

template <typename View>
bool MarkupScanner<View>::isNameStart(char16_t unit) const {
    return isASCIILetter(unit) || (m_syntax == Syntax::XML && (unit == u'_' || unit == u':' || unit >= 0x80));
}

template <typename View>
typename MarkupScanner<View>::Token MarkupScanner<View>::tokenAt(qsizetype at) const {
    if (unit(at) != u'<')
        return Token::Text;
    const View rest = m_markup.sliced(at);
    switch (unit(at + 1)) {
    case u'!':
        if (rest.startsWith(QLatin1StringView("<!--")))
            return Token::Comment;
        if (m_syntax == Syntax::XML && rest.startsWith(QLatin1StringView("<![CDATA[")))
            return Token::CDATA;
        return Token::Declaration;
    case u'?':
        return Token::Instruction;
    case u'/':
        return isNameStart(unit(at + 2)) ? Token::EndTag : rest.size() > 2 ? Token::Comment : Token::Text;
    default:
        return isNameStart(unit(at + 1)) ? Token::StartTag : Token::Text;
    }
}

template <typename View>
qsizetype MarkupScanner<View>::endOf(const char *text, qsizetype from) const {
    const QLatin1StringView end(text);
    const qsizetype found = m_markup.indexOf(end, from);
    return found < 0 ? m_markup.size() : found + end.size();
}

template <typename View>
qsizetype MarkupScanner<View>::endOfComment() const {
    if (unit(m_start + 1) == u'/')
        return endOf(">", m_start);
    if (m_syntax == Syntax::XML)
        return endOf("-->", m_start + 4);
    // "<!-->" and "<!--->" are whole comments, and "--!>" ends one too.
    for (qsizetype at = m_start + 2; (at = m_markup.indexOf(QLatin1StringView("--"), at)) >= 0; ++at) {
        const qsizetype behind = at + 2 + (unit(at + 2) == u'!' && at >= m_start + 4);
        if (unit(behind) == u'>')
            return behind + 1;
    }
    return m_markup.size();
}

template <typename View>
qsizetype MarkupScanner<View>::endOfInstruction() const {
    // One that isn't closed before the next tag ends as it does in HTML.
    const qsizetype next = m_markup.indexOf(QLatin1Char('<'), m_start + 1);
    const View own = m_markup.sliced(m_start, (next < 0 ? m_markup.size() : next) - m_start);
    const qsizetype end = m_syntax == Syntax::XML ? own.indexOf(QLatin1StringView("?>")) : -1;
    return end < 0 ? endOf(">", m_start) : m_start + end + 2;
}

template <typename View>
qsizetype MarkupScanner<View>::endOfDeclaration() const {
    if (m_syntax == Syntax::HTML)
        return endOf(">", m_start);
    char16_t quote = 0;
    int depth = 0;
    for (qsizetype at = m_start; at < m_markup.size(); ++at) {
        const char16_t c = unit(at);
        if (quote)
            quote = c == quote ? 0 : quote;
        else if (c == u'"' || c == u'\'')
            quote = c;
        else if (c == u'[' || c == u']')
            depth += c == u'[' ? 1 : -1;
        else if (c == u'>' && depth <= 0)
            return at + 1;
    }
    return m_markup.size();
}

template <typename View>
qsizetype MarkupScanner<View>::endOfText() const {
    qsizetype at = m_start;
    do
        at = m_markup.indexOf(QLatin1Char('<'), at + 1);
    while (at >= 0 && tokenAt(at) == Token::Text);
    return at < 0 ? m_markup.size() : at;
}

template <typename View>
qsizetype MarkupScanner<View>::endOfContent(View element) const {
    const QLatin1StringView endTag("</");
    for (qsizetype at = m_markup.indexOf(endTag, m_start); at >= 0; at = m_markup.indexOf(endTag, at + 2)) {
        const View name = m_markup.sliced(at + 2);
        if (name.startsWith(element, Qt::CaseInsensitive)) {
            const char16_t behind = unit(at + 2 + element.size());
            if (isASCIISpace(behind) || behind == u'/' || behind == u'>' || !behind)
                return at;
        }
    }
    return m_markup.size();
}

template <typename View>
void MarkupScanner<View>::takeName(qsizetype from) {
    qsizetype end = from;
    while (end < m_markup.size() && !isASCIISpace(unit(end)) && unit(end) != u'/' && unit(end) != u'>')
        ++end;
    m_name = m_markup.sliced(from, end - from);
}

template <typename View>
MarkupAttributes<View> MarkupScanner<View>::attributes() const {
    return MarkupAttributes<View>(m_markup.first(m_end), m_name.data() - m_markup.data() + m_name.size());
}

template <typename View>
bool MarkupScanner<View>::isSelfClosing() const {
    return m_syntax == Syntax::XML && text().endsWith(QLatin1StringView("/>"));
}

template <typename View>
bool MarkupScanner<View>::next() {
    m_start = m_end;
    m_name = {};
    if (const View element = std::exchange(m_textElement, {}); !element.isNull()) {
        m_token = Token::Text;
        m_end = endOfContent(element);
        if (m_end > m_start)
            return true;
    }
    if (m_start == m_markup.size())
        return false;
    m_token = tokenAt(m_start);
    switch (m_token) {
    case Token::Text:
        m_end = endOfText();
        break;
    case Token::Comment:
        m_end = endOfComment();
        break;
    case Token::Declaration:
        m_end = endOfDeclaration();
        break;
    case Token::CDATA:
        m_end = endOf("]]>", m_start);
        break;
    case Token::Instruction:
        takeName(m_start + 2);
        m_end = endOfInstruction();
        break;
    case Token::StartTag:
    case Token::EndTag: {
        takeName(m_start + (m_token == Token::EndTag ? 2 : 1));
        m_end = m_markup.size();
        MarkupAttributes<View> all = attributes();
        while (all.next()) {
        }
        m_end = all.position();
        // Scripts are off, so that noscript elements hold markup.
        static constexpr std::array textElements = {"textarea", "title",  "style",   "script",
                                                    "xmp",      "iframe", "noembed", "noframes"};
        const bool holdsText =
            std::any_of(textElements.begin(), textElements.end(),
                        [this](const char *each) { return isNamed(QLatin1StringView(each)); });
        if (m_token == Token::StartTag && m_syntax == Syntax::HTML && holdsText)
            m_textElement = m_name;
        break;
    }
    }
    return true;
}

template class MarkupAttributes<QStringView>;
template class MarkupAttributes<QLatin1StringView>;
template class MarkupScanner<QStringView>;
template class MarkupScanner<QLatin1StringView>;

} // namespace zr
