// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>
#include <QVariantMap>

/// The length of a body that wasn't announced.
inline constexpr qint64 NSURLResponseUnknownLength = -1;

/// What is known of a body before it arrives. It never changes: any thread may read it.
class NSURLResponse {
public:
    /// \param MIMEType          without parameters; nil if unknown
    /// \param textEncodingName  the character set as the server names it; nil if unknown
    NSURLResponse(const QUrl &url, const QString &MIMEType, qint64 expectedContentLength,
                  const QString &textEncodingName)
        : m_url(url), m_mimeType(MIMEType), m_expectedContentLength(expectedContentLength),
          m_textEncodingName(textEncodingName) {}
    virtual ~NSURLResponse() = default;
    NSURLResponse(const NSURLResponse &) = delete;
    NSURLResponse &operator=(const NSURLResponse &) = delete;

    QUrl URL() const { return m_url; }
    QString MIMEType() const { return m_mimeType; }
    /// In bytes, as the server announced it (so the packed length of a packed body);
    /// NSURLResponseUnknownLength if it didn't.
    qint64 expectedContentLength() const { return m_expectedContentLength; }
    QString textEncodingName() const { return m_textEncodingName; }

private:
    const QUrl m_url;
    const QString m_mimeType;
    const qint64 m_expectedContentLength;
    const QString m_textEncodingName;
};

/// The same for HTTP, with the status and the header fields.
class NSHTTPURLResponse : public NSURLResponse {
public:
    /// \param headerFields  from names in their usual writing to values
    NSHTTPURLResponse(const QUrl &url, qint64 statusCode, const QVariantMap &headerFields);

    qint64 statusCode() const { return m_statusCode; }
    /// Names are written with each word's first letter as a capital ("Content-Type", "Etag"), whatever the
    /// server wrote; the values of a field that came several times are joined with ", ".
    QVariantMap allHeaderFields() const { return m_headerFields; }
    /// nil if the field isn't there. Case doesn't count in names.
    QString valueForHTTPHeaderField(const QString &field) const;

    /// The phrase for a status in small letters ("not found"), or that of its class ("client error") if it
    /// has none of its own. Any thread.
    static QString localizedStringForStatusCode(qint64 statusCode);

private:
    const qint64 m_statusCode;
    const QVariantMap m_headerFields;
};
