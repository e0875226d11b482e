// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantMap>
#include <exception>

/// What the platform and the kit throw: a name that tells the kind, a reason for people, optional details.
class NSException : public std::exception {
public:
    NSException(const QString &name, const QString &reason, const QVariantMap &userInfo = {})
        : m_name(name), m_reason(reason), m_userInfo(userInfo), m_what(reason.toUtf8()) {}

    QString name() const { return m_name; }
    QString reason() const { return m_reason; }
    QVariantMap userInfo() const { return m_userInfo; }
    /// The reason, or the name if there is no reason.
    QString description() const { return m_reason.isEmpty() ? m_name : m_reason; }
    /// The reason as UTF-8.
    const char *what() const noexcept override { return m_what.constData(); }

    /// The description of the exception that is being handled, of any type; call it inside a catch block only.
    static QString currentDescription();

private:
    QString m_name;
    QString m_reason;
    QVariantMap m_userInfo;
    QByteArray m_what;
};

inline const QString NSGenericException = QStringLiteral("NSGenericException");
inline const QString NSInvalidArgumentException = QStringLiteral("NSInvalidArgumentException");
inline const QString NSInternalInconsistencyException = QStringLiteral("NSInternalInconsistencyException");
inline const QString NSRangeException = QStringLiteral("NSRangeException");
