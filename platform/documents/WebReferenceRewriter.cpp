// SPDX-License-Identifier: MIT
#include "platform/documents/WebReferenceRewriter.h"

#include "platform/base/ASCII.h"
#include "platform/text/MarkupScanner.h"

namespace zr {

namespace {

bool isURLEnd(char c) {
    return isASCIISpace(uchar(c)) || QByteArrayView("\"'<>)`").contains(c);
}

bool isSchemeChar(char c) {
    return isASCIILetter(uchar(c)) || isASCIIDigit(uchar(c)) || c == '+' || c == '-' || c == '.';
}

} // namespace

QByteArray WebReferenceRewriter::rewriteMarkup(const QByteArray &markup, bool isXML) const {
    using Scanner = MarkupScanner<QLatin1StringView>;
    Scanner scanner(QLatin1StringView(markup), isXML ? Scanner::Syntax::XML : Scanner::Syntax::HTML);
    QByteArray out;
    out.reserve(markup.size() + markup.size() / 16);
    bool isInStyle = false;
    while (scanner.next()) {
        const QByteArrayView token(scanner.text().data(), scanner.text().size());
        switch (scanner.token()) {
        case Scanner::Token::StartTag:
            isInStyle = scanner.isNamed(QLatin1StringView("style")) && !scanner.isSelfClosing();
            rewrite(token, scanner.isNamed(QLatin1StringView("base")), out);
            break;
        case Scanner::Token::Instruction:
            rewrite(token, false, out);
            break;
        case Scanner::Token::Text:
        case Scanner::Token::CDATA:
            if (isInStyle)
                rewrite(token, false, out);
            else
                out += token;
            break;
        default:
            isInStyle = isInStyle && scanner.token() != Scanner::Token::EndTag;
            out += token;
        }
    }
    return out;
}

QByteArray WebReferenceRewriter::rewriteStyleSheet(const QByteArray &styleSheet) const {
    QByteArray out;
    out.reserve(styleSheet.size() + styleSheet.size() / 16);
    rewrite(styleSheet, false, out);
    return out;
}

void WebReferenceRewriter::rewrite(QByteArrayView text, bool isBase, QByteArray &out) const {
    qsizetype copied = 0;
    for (qsizetype colon = text.indexOf(':'); colon >= 0; colon = text.indexOf(':', colon + 1)) {
        qsizetype start = colon;
        while (start > copied && isSchemeChar(text[start - 1]))
            --start;
        const QByteArray scheme = text.sliced(start, colon - start).toByteArray().toLower();
        if (!m_schemes.contains(scheme))
            continue;
        qsizetype end = colon;
        while (end < text.size() && !isURLEnd(text[end]))
            ++end;
        QByteArray url = text.sliced(start, end - start).toByteArray();
        qsizetype length = url.size();
        const auto replace = [&](qsizetype size) {
            QByteArray plain = url.left(size);
            plain.replace("&amp;", "&");
            const QByteArray replacement = m_replacement(plain, isBase);
            if (replacement.isNull())
                return false;
            out += text.sliced(copied, start - copied);
            out += replacement;
            copied = start + size;
            return true;
        };
        // A list of pictures parts its entries by commas, which a URL may hold as well.
        if (const qsizetype fragment = url.indexOf('#'); fragment >= 0)
            length = fragment;
        if (!replace(length) && url.endsWith(','))
            replace(length - 1);
        colon = end - 1;
    }
    out += text.sliced(copied);
}

} // namespace zr
