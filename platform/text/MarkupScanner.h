// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>
#include <QStringView>

namespace zr {

/// Reads the attributes of a tag one after the other, as the HTML Standard's tokenizer does.
template <typename View>
class MarkupAttributes {
public:
    /// \param at  where in the markup to begin: behind the tag's name
    MarkupAttributes(View markup, qsizetype at) : m_markup(markup), m_at(at) {}

    /// Moves on to the next attribute; false if there is none, and position() is then behind the tag.
    bool next();
    View name() const { return m_name; }
    /// As written, without quotes; character references are not resolved. Null if no value is given.
    View value() const { return m_value; }
    bool isNamed(QLatin1StringView name) const { return m_name.compare(name, Qt::CaseInsensitive) == 0; }
    qsizetype position() const { return m_at; }

private:
    template <typename Condition>
    View takeWhile(Condition condition);

    View m_markup, m_name, m_value;
    qsizetype m_at;
};

/// Cuts markup into tags, comments and the text between them, as a parser does. What it returns are views
/// of it.
///
/// `View` is QStringView for text, and QLatin1StringView for bytes in any encoding that has ASCII as its
/// base. Elements whose content is text only (title, style, script and their like) are known. Any thread.
template <typename View>
class MarkupScanner {
public:
    enum class Syntax { HTML, XML };
    enum class Token {
        Text,
        StartTag,
        EndTag,
        Comment,     ///< also what HTML takes for one: "</3>"
        Declaration, ///< "<!DOCTYPE html>", in XML with its internal subset
        Instruction, ///< "<?xml-stylesheet ... ?>"
        CDATA,       ///< XML only
    };

    explicit MarkupScanner(View markup, Syntax syntax = Syntax::HTML) : m_markup(markup), m_syntax(syntax) {}

    /// Moves on to the next token; false at the end.
    bool next();
    Token token() const { return m_token; }
    /// The whole token as written.
    View text() const { return m_markup.sliced(m_start, m_end - m_start); }
    /// The name of a tag or instruction as written; null for every other token.
    View name() const { return m_name; }
    bool isNamed(QLatin1StringView name) const { return m_name.compare(name, Qt::CaseInsensitive) == 0; }
    /// The attributes of a tag or instruction.
    MarkupAttributes<View> attributes() const;
    /// Whether an element of XML ends with its start tag.
    bool isSelfClosing() const;

private:
    Token tokenAt(qsizetype at) const;
    char16_t unit(qsizetype at) const { return at < m_markup.size() ? m_markup[at].unicode() : 0; }
    bool isNameStart(char16_t unit) const;
    qsizetype endOf(const char *text, qsizetype from) const;
    qsizetype endOfComment() const;
    qsizetype endOfInstruction() const;
    qsizetype endOfDeclaration() const;
    qsizetype endOfText() const;
    qsizetype endOfContent(View element) const;
    void takeName(qsizetype from);

    View m_markup, m_name;
    View m_textElement; ///< the name of the element whose content comes next and is text
    Syntax m_syntax;
    Token m_token = Token::Text;
    qsizetype m_start = 0, m_end = 0;
};

extern template class MarkupAttributes<QStringView>;
extern template class MarkupAttributes<QLatin1StringView>;
extern template class MarkupScanner<QStringView>;
extern template class MarkupScanner<QLatin1StringView>;

} // namespace zr
