// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

/// What a data URL holds (RFC 2397, as the Fetch Standard reads it). A value; any thread.
class WebDataURL {
public:
    /// Takes the URL's text, escaped as it came and without a fragment.
    explicit WebDataURL(const QByteArray &url);

    /// In lower case, without parameters; "text/plain" where the URL gives none.
    const QByteArray &mimeType() const { return m_mimeType; }
    /// Empty where the URL gives none.
    const QByteArray &charset() const { return m_charset; }
    /// Null where the URL is no data URL.
    const QByteArray &body() const { return m_body; }

private:
    QByteArray m_mimeType = "text/plain";
    QByteArray m_charset;
    QByteArray m_body;
};
