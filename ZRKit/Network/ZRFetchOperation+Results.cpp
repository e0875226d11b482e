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
    return OK() ? data() : QByteArray();
}

QString ZRFetchOperation::string() const {
    const QByteArray body = data();
    return body.isNull() ? QStringLiteral("") : ZRKit::toString(body);
}

QString ZRFetchOperation::stringOK() const {
    return OK() ? string() : QString();
}

QVariant ZRFetchOperation::json() const {
    try {
        const QByteArray body = data();
        return body.isEmpty() ? QVariant() : ZRKit::fromJSONData(body);
    } catch (...) {
        return {};
    }
}

QVariant ZRFetchOperation::jsonOK() const {
    return OK() ? json() : QVariant();
}

QVariant ZRFetchOperation::xml() const {
    const QByteArray body = data();
    if (body.isEmpty())
        return {};
    try {
        const std::optional<QVariantMap> root = ZRXML().parseData(body);
        return root ? QVariant(*root) : QVariant();
    } catch (...) {
        return {};
    }
}

QVariant ZRFetchOperation::xmlOK() const {
    return OK() ? xml() : QVariant();
}

QString ZRFetchOperation::localizedErrorString() const {
    if (const qint64 status = m_statusCode; status != 0 && status != 200)
        return capitalized(NSHTTPURLResponse::localizedStringForStatusCode(status));
    if (const NSError failure = error(); !failure.isNil())
        return failure.localizedDescription();
    if (!data().isEmpty())
        return QStringLiteral("");
    return QCoreApplication::translate(
        "", "No valid response from server, check your internet connection or retry later.");
}

QString ZRFetchOperation::log() const {
    const QString status = threeDigits(m_statusCode);
    const QVariant place = url();
    try {
        const NSError failure = error();
        const QString prefix =
            failure.isNil() ? QStringLiteral("") : NSFormat("(ERROR %@) ", {failure.localizedDescription()});
        QString body;
        try {
            body = string();
        } catch (...) {
            body = NSFormat("%@ DATA:%@", {"", QVariant(data())});
        }
        return NSFormat("%@ %@ %@ %@", {status, place, prefix, body});
    } catch (...) {
        return NSFormat("%@ %@", {status, place});
    }
}

QString ZRFetchOperation::logRequest(const QVariant &) const {
    try {
        const auto sent = request();
        const QVariantMap fields = sent ? sent->allHTTPHeaderFields() : QVariantMap();
        const QVariantList texts = ZRKit::zrFlatten(fields, [](const QString &name, const QVariant &value) {
            return NSFormat("%@: %@", {name, value});
        });
        QString lines = QStringLiteral("");
        for (const QVariant &line : texts)
            lines.append((lines.isEmpty() ? QString() : QStringLiteral("\n")) + line.toString());
        const QString method = sent ? sent->HTTPMethod() : QString();
        return NSFormat("%@ %@\n%@", {method, QVariant(url()), lines});
    } catch (...) {
        return QStringLiteral("");
    }
}
