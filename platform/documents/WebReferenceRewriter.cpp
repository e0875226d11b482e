// SPDX-License-Identifier: MIT
#include "platform/documents/WebReferenceRewriter.h"

#include <QChar>

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool isURLEnd(char c) {
    return isBlank(c) || c == '"' || c == '\'' || c == '<' || c == '>' || c == ')' || c == '`';
}

bool isSchemeChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '-' || c == '.';
}

bool startsWith(QByteArrayView text, QByteArrayView lowerCaseStart) {
    return text.size() >= lowerCaseStart.size() &&
           text.first(lowerCaseStart.size()).compare(lowerCaseStart, Qt::CaseInsensitive) == 0;
}

/// The end of a tag that starts at `at`: past its ">", which quoted values may hold too.
qsizetype endOfTag(QByteArrayView markup, qsizetype at) {
    char quote = 0, last = 0;
    for (; at < markup.size(); ++at) {
        const char c = markup[at];
        if (quote) {
            if (c == quote)
                quote = 0;
        } else if ((c == '"' || c == '\'') && last == '=') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        }
        if (!isBlank(c))
            last = c;
    }
    return markup.size();
}

qsizetype indexOfEndTag(QByteArrayView markup, QByteArrayView name, qsizetype from) {
    for (qsizetype at = markup.indexOf("</", from); at >= 0; at = markup.indexOf("</", at + 2)) {
        if (startsWith(markup.sliced(at + 2), name))
            return at;
    }
    return markup.size();
}

} // namespace

QByteArray WebReferenceRewriter::rewriteMarkup(const QByteArray &markup) const {
    const QByteArrayView view(markup);
    QByteArray out;
    out.reserve(markup.size() + markup.size() / 16);
    for (qsizetype at = 0; at < view.size();) {
        const qsizetype open = view.indexOf('<', at);
        if (open < 0) {
            out += view.sliced(at);
            break;
        }
        out += view.sliced(at, open - at);
        const QByteArrayView rest = view.sliced(open);
        if (rest.startsWith("<!--")) {
            const qsizetype end = view.indexOf("-->", open + 2);
            at = end < 0 ? view.size() : end + 3;
            out += view.sliced(open, at - open);
            continue;
        }
        const bool isTag = rest.size() > 1 && (QChar::isLetter(uint(uchar(rest[1]))) || rest[1] == '?');
        if (!isTag) {
            out += '<';
            at = open + 1;
            continue;
        }
        at = endOfTag(view, open + 1);
        rewrite(view.sliced(open, at - open), startsWith(rest, "<base"), out);
        for (const QByteArrayView raw : {"style", "script"}) {
            if (!startsWith(rest.sliced(1), raw) || rest.size() <= raw.size() + 1 ||
                isSchemeChar(rest[raw.size() + 1]))
                continue;
            const qsizetype end = indexOfEndTag(view, raw, at);
            if (raw == "style")
                rewrite(view.sliced(at, end - at), false, out);
            else
                out += view.sliced(at, end - at);
            at = end;
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
