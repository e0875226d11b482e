// SPDX-License-Identifier: MIT
#include "platform/net/NSURLRequest.h"

#include "platform/net/HTTPHeaderFields.h"

using namespace zr;

namespace {

template <typename Fields>
auto find(Fields &fields, const QString &field) {
    auto at = fields.begin();
    while (at != fields.end() && !HTTPHeaderFields::isSameName(at.key(), field))
        ++at;
    return at;
}

} // namespace

NSURLRequest::NSURLRequest(const QUrl &url, NSURLRequestCachePolicy cachePolicy, double timeoutInterval)
    : m_url(url), m_cachePolicy(cachePolicy), m_timeoutInterval(timeoutInterval),
      m_method(QStringLiteral("GET")) {
}

QString NSURLRequest::valueForHTTPHeaderField(const QString &field) const {
    const auto at = find(m_headerFields, field);
    return at == m_headerFields.end() ? QString() : at.value().toString();
}

std::shared_ptr<NSMutableURLRequest> NSURLRequest::mutableCopy() const {
    return std::make_shared<NSMutableURLRequest>(*this);
}

void NSMutableURLRequest::setHTTPMethod(const QString &method) {
    m_method = method.isEmpty() ? QStringLiteral("GET") : method;
}

void NSMutableURLRequest::setAllHTTPHeaderFields(const QVariantMap &fields) {
    m_headerFields.clear();
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        setValue(it.value().toString(), it.key());
}

void NSMutableURLRequest::setValue(const QString &value, const QString &field) {
    if (const auto at = find(m_headerFields, field); at != m_headerFields.end())
        m_headerFields.erase(at);
    if (!value.isNull())
        m_headerFields.insert(field, value);
}

void NSMutableURLRequest::addValue(const QString &value, const QString &field) {
    const auto at = find(m_headerFields, field);
    if (at == m_headerFields.end())
        setValue(value, field);
    else
        at.value() = QString(at.value().toString() + u',' + value);
}
