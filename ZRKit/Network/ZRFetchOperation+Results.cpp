// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "ZRKit/Network/ZRJSON.h"
#include "ZRKit/Network/ZRXML.h"
#include "ZRKit/Values/NSDictionary+ZRKit.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"

#include <QCoreApplication>

namespace {

/// The first letter of every word as a capital.
QString capitalized(QString text) {
    bool isInWord = false;
    for (QChar &c : text) {
        if (!isInWord)
            c = c.toUpper();
        isInWord = c.isLetterOrNumber() || (isInWord && c == u'\'');
    }
    return text;
}

QString threeDigits(qint64 statusCode) {
    return QStringLiteral("%1").arg(qint32(statusCode), 3, 10, QLatin1Char('0'));
}

} // namespace

QByteArray ZRFetchOperation::dataOK() const {
    return OK() ? m_data : QByteArray();
}

QString ZRFetchOperation::string() const {
    return m_data.isNull() ? QStringLiteral("") : ZRKit::toString(m_data);
}

QString ZRFetchOperation::stringOK() const {
    return OK() ? string() : QString();
}

QVariant ZRFetchOperation::json() const {
    try {
        return m_data.isEmpty() ? QVariant() : ZRKit::fromJSONData(m_data);
    } catch (...) {
        return {};
    }
}

QVariant ZRFetchOperation::jsonOK() const {
    return OK() ? json() : QVariant();
}

QVariant ZRFetchOperation::xml() const {
    if (m_data.isEmpty())
        return {};
    try {
        const std::optional<QVariantMap> root = ZRXML().parseData(m_data);
        return root ? QVariant(*root) : QVariant();
    } catch (...) {
        return {};
    }
}

QVariant ZRFetchOperation::xmlOK() const {
    return OK() ? xml() : QVariant();
}

QString ZRFetchOperation::localizedErrorString() const {
    if (m_statusCode != 0 && m_statusCode != 200)
        return capitalized(NSHTTPURLResponse::localizedStringForStatusCode(m_statusCode));
    if (!m_error.isNil())
        return m_error.localizedDescription();
    if (!m_data.isEmpty())
        return QStringLiteral("");
    return QCoreApplication::translate(
        "", "No valid response from server, check your internet connection or retry later.");
}

QString ZRFetchOperation::log() const {
    const QString status = threeDigits(m_statusCode);
    try {
        const QString prefix =
            m_error.isNil() ? QStringLiteral("") : NSFormat("(ERROR %@) ", {m_error.localizedDescription()});
        QString body;
        try {
            body = string();
        } catch (...) {
            body = NSFormat("%@ DATA:%@", {"", QVariant(m_data)});
        }
        return NSFormat("%@ %@ %@ %@", {status, QVariant(m_url), prefix, body});
    } catch (...) {
        return NSFormat("%@ %@", {status, QVariant(m_url)});
    }
}

QString ZRFetchOperation::logRequest(const QVariant &) const {
    try {
        const QVariantMap fields = m_request ? m_request->allHTTPHeaderFields() : QVariantMap();
        const QVariantList texts = ZRKit::zrFlatten(fields, [](const QString &name, const QVariant &value) {
            return NSFormat("%@: %@", {name, value});
        });
        QString lines = QStringLiteral("");
        for (const QVariant &line : texts)
            lines.append((lines.isEmpty() ? QString() : QStringLiteral("\n")) + line.toString());
        const QString method = m_request ? m_request->HTTPMethod() : QString();
        return NSFormat("%@ %@\n%@", {method, QVariant(m_url), lines});
    } catch (...) {
        return QStringLiteral("");
    }
}
