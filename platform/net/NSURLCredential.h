// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// How long a credential is kept: only ever for the request it answers.
enum NSURLCredentialPersistence { NSURLCredentialPersistenceNone = 0 };

/// The certificates that a server has shown, as DER, its own first. A value; empty is nil.
struct NSServerTrust {
    QList<QByteArray> certificates;
    bool isNil() const { return certificates.isEmpty(); }
};

/// An answer to a challenge: a user name with a password, or the word that a server is trusted. A value; any
/// thread.
class NSURLCredential {
public:
    /// nil.
    NSURLCredential() = default;
    NSURLCredential(const QString &user, const QString &password,
                    NSURLCredentialPersistence persistence = NSURLCredentialPersistenceNone)
        : m_kind(Kind::Password), m_user(user), m_password(password), m_persistence(persistence) {}
    /// Accepts the certificates as they were shown, without any evaluation.
    static NSURLCredential credentialForTrust(const NSServerTrust &) {
        NSURLCredential credential;
        credential.m_kind = Kind::Trust;
        return credential;
    }

    bool isNil() const { return m_kind == Kind::Nil; }
    bool hasPassword() const { return m_kind == Kind::Password; }
    bool isTrust() const { return m_kind == Kind::Trust; }
    QString user() const { return m_user; }
    QString password() const { return m_password; }
    NSURLCredentialPersistence persistence() const { return m_persistence; }

private:
    enum class Kind { Nil, Password, Trust };
    Kind m_kind = Kind::Nil;
    QString m_user;
    QString m_password;
    NSURLCredentialPersistence m_persistence = NSURLCredentialPersistenceNone;
};
