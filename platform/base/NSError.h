// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaType>
#include <QString>
#include <QVariantMap>

/// The domain of the platform's own errors.
inline const QString NSCocoaErrorDomain = QStringLiteral("NSCocoaErrorDomain");
/// The user-info key of an error's message for people.
inline const QString NSLocalizedDescriptionKey = QStringLiteral("NSLocalizedDescription");
/// The user-info key of a sentence about what exactly went wrong.
inline const QString NSLocalizedFailureReasonErrorKey = QStringLiteral("NSLocalizedFailureReason");
/// The user-info key of the error that led to an error, an NSError.
inline const QString NSUnderlyingErrorKey = QStringLiteral("NSUnderlyingError");

/// An error as a value: a domain, a code within it, and optional details.
///
/// A default-constructed error is nil: `isNil()` tells it from an error with an empty domain. Copies share
/// their data; a const error may be read from any thread.
class NSError {
public:
    NSError() = default;
    NSError(const QString &domain, qint64 code, const QVariantMap &userInfo = {})
        : m_domain(domain.isNull() ? QStringLiteral("") : domain), m_code(code), m_userInfo(userInfo) {}

    bool isNil() const { return m_domain.isNull(); }
    explicit operator bool() const { return !isNil(); }

    QString domain() const { return m_domain; }
    qint64 code() const { return m_code; }
    QVariantMap userInfo() const { return m_userInfo; }

    /// The message for people; if the user info holds none, a text made from domain and code.
    QString localizedDescription() const;
    /// One line for logs: domain, code and message; "(null)" for nil.
    QString description() const;

    friend bool operator==(const NSError &a, const NSError &b) {
        return a.isNil() == b.isNil() && a.m_domain == b.m_domain && a.m_code == b.m_code &&
               a.m_userInfo == b.m_userInfo;
    }

private:
    QString m_domain;
    qint64 m_code = 0;
    QVariantMap m_userInfo;
};

Q_DECLARE_METATYPE(NSError)
