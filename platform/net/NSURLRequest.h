// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <memory>

/// How a request wants caches to be used. Nothing is cached here; the policy is kept for its readers.
enum NSURLRequestCachePolicy {
    NSURLRequestUseProtocolCachePolicy = 0,
    NSURLRequestReloadIgnoringLocalCacheData = 1,
    NSURLRequestReturnCacheDataElseLoad = 2,
    NSURLRequestReturnCacheDataDontLoad = 3,
};

class NSMutableURLRequest;

/// What is asked of a URL: method, header fields, body, and how long to wait. One thread at a time.
class NSURLRequest {
public:
    /// A GET without header fields or body.
    /// \param timeoutInterval  the seconds without a sign of the server after which loading fails; 0 for none
    explicit NSURLRequest(const QUrl &url,
                          NSURLRequestCachePolicy cachePolicy = NSURLRequestUseProtocolCachePolicy,
                          double timeoutInterval = 60);
    virtual ~NSURLRequest() = default;

    /// nil if the request has none.
    QUrl URL() const { return m_url; }
    NSURLRequestCachePolicy cachePolicy() const { return m_cachePolicy; }
    double timeoutInterval() const { return m_timeoutInterval; }
    QString HTTPMethod() const { return m_method; }
    /// All header fields, by the names under which they were set.
    QVariantMap allHTTPHeaderFields() const { return m_headerFields; }
    /// A header field's value; nil if it isn't set. Case doesn't count in names.
    QString valueForHTTPHeaderField(const QString &field) const;
    /// nil if there is none.
    QByteArray HTTPBody() const { return m_body; }
    /// Whether the shared cookie store adds its cookies and takes those of the response; true by default.
    bool HTTPShouldHandleCookies() const { return m_handlesCookies; }

    std::shared_ptr<NSMutableURLRequest> mutableCopy() const;

protected:
    NSURLRequest(const NSURLRequest &) = default;
    NSURLRequest &operator=(const NSURLRequest &) = delete;

    QUrl m_url;
    NSURLRequestCachePolicy m_cachePolicy;
    double m_timeoutInterval;
    QString m_method;
    QVariantMap m_headerFields;
    QByteArray m_body;
    bool m_handlesCookies = true;
};

/// A request that can be changed, until it is handed to a connection.
class NSMutableURLRequest : public NSURLRequest {
public:
    using NSURLRequest::NSURLRequest;
    explicit NSMutableURLRequest(const NSURLRequest &other) : NSURLRequest(other) {}

    void setURL(const QUrl &url) { m_url = url; }
    void setCachePolicy(NSURLRequestCachePolicy policy) { m_cachePolicy = policy; }
    void setTimeoutInterval(double seconds) { m_timeoutInterval = seconds; }
    /// nil and the empty string are GET.
    void setHTTPMethod(const QString &method);
    void setHTTPBody(const QByteArray &body) { m_body = body; }
    void setHTTPShouldHandleCookies(bool handles) { m_handlesCookies = handles; }
    void setAllHTTPHeaderFields(const QVariantMap &fields);
    /// Sets a header field in the place of any it had under this name, whatever its case; nil takes it away.
    void setValue(const QString &value, const QString &field);
    /// Appends to the field's value, after a comma; sets it if there is none.
    void addValue(const QString &value, const QString &field);
};

Q_DECLARE_METATYPE(std::shared_ptr<NSURLRequest>)
Q_DECLARE_METATYPE(std::shared_ptr<NSMutableURLRequest>)
