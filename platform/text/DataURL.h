// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace zr {

/// What a data URL holds (RFC 2397, as the Fetch Standard reads it). A value; any thread.
class DataURL {
public:
    /// Takes the URL's text, escaped as it came and without a fragment.
    explicit DataURL(const QByteArray &url);

    /// In lower case, without parameters; "text/plain" if the URL gives none.
    const QByteArray &mimeType() const { return m_mimeType; }
    /// Empty if the URL gives none.
    const QByteArray &charset() const { return m_charset; }
    /// Null if the URL is no data URL.
    const QByteArray &body() const { return m_body; }

private:
    QByteArray m_mimeType = "text/plain";
    QByteArray m_charset;
    QByteArray m_body;
};

} // namespace zr
