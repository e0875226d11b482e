// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <functional>

namespace zr {

/// Replaces references inside of markup and style sheets, and nothing a reader of the page sees.
///
/// In markup it looks at tags and style elements only, in style sheets everywhere. The bytes are in any
/// encoding that has ASCII as its base; all others stay as they are. Any thread.
class WebReferenceRewriter {
public:
    /// Gets a URL without its fragment, with character references resolved; `isBase` inside of a base
    /// element. Answers what to put in its place, or a null array to leave it.
    using Replacement = std::function<QByteArray(const QByteArray &url, bool isBase)>;

    /// `schemes` are the ones to look for, such as "cid", in lower case.
    WebReferenceRewriter(const QByteArrayList &schemes, Replacement replacement)
        : m_schemes(schemes), m_replacement(std::move(replacement)) {}

    QByteArray rewriteMarkup(const QByteArray &markup, bool isXML) const;
    QByteArray rewriteStyleSheet(const QByteArray &styleSheet) const;

private:
    void rewrite(QByteArrayView text, bool isBase, QByteArray &out) const;

    QByteArrayList m_schemes;
    Replacement m_replacement;
};

} // namespace zr
