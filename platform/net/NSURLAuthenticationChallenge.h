// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLCredential.h"
#include "platform/net/NSURLResponse.h"

#include <QString>
#include <memory>

inline const QString NSURLAuthenticationMethodDefault = QStringLiteral("NSURLAuthenticationMethodDefault");
inline const QString NSURLAuthenticationMethodHTTPBasic =
    QStringLiteral("NSURLAuthenticationMethodHTTPBasic");
inline const QString NSURLAuthenticationMethodHTTPDigest =
    QStringLiteral("NSURLAuthenticationMethodHTTPDigest");
inline const QString NSURLAuthenticationMethodNTLM = QStringLiteral("NSURLAuthenticationMethodNTLM");
inline const QString NSURLAuthenticationMethodNegotiate =
    QStringLiteral("NSURLAuthenticationMethodNegotiate");
inline const QString NSURLAuthenticationMethodServerTrust =
    QStringLiteral("NSURLAuthenticationMethodServerTrust");

/// What asks for authentication. A value; any thread.
class NSURLProtectionSpace {
public:
    NSURLProtectionSpace(const QString &host, int port, const QString &protocol, const QString &realm,
                         const QString &authenticationMethod, const NSServerTrust &serverTrust = {})
        : m_host(host), m_port(port), m_protocol(protocol), m_realm(realm), m_method(authenticationMethod),
          m_serverTrust(serverTrust) {}

    QString host() const { return m_host; }
    int port() const { return m_port; }
    /// The URL's scheme.
    QString protocol() const { return m_protocol; }
    /// nil if there is none.
    QString realm() const { return m_realm; }
    QString authenticationMethod() const { return m_method; }
    /// What the server has shown, once it has; for NSURLAuthenticationMethodServerTrust only.
    NSServerTrust serverTrust() const { return m_serverTrust; }

private:
    QString m_host;
    int m_port;
    QString m_protocol;
    QString m_realm;
    QString m_method;
    NSServerTrust m_serverTrust;
};

class NSURLAuthenticationChallenge;

/// Takes the answer to a challenge; the first one counts. On the thread of the connection.
class NSURLAuthenticationChallengeSender {
public:
    virtual ~NSURLAuthenticationChallengeSender() = default;
    virtual void useCredential(const NSURLCredential &credential,
                               const NSURLAuthenticationChallenge &challenge) = 0;
    virtual void
    continueWithoutCredentialForAuthenticationChallenge(const NSURLAuthenticationChallenge &challenge) = 0;
    virtual void cancelAuthenticationChallenge(const NSURLAuthenticationChallenge &challenge) = 0;
};

/// A server's question for a credential. It is valid while the delegate is being asked, on that thread.
class NSURLAuthenticationChallenge {
public:
    /// \param sender  must outlive the challenge
    NSURLAuthenticationChallenge(const NSURLProtectionSpace &protectionSpace, int previousFailureCount,
                                 const std::shared_ptr<NSURLResponse> &failureResponse,
                                 NSURLAuthenticationChallengeSender *sender)
        : m_protectionSpace(protectionSpace), m_previousFailureCount(previousFailureCount),
          m_failureResponse(failureResponse), m_sender(sender) {}

    const NSURLProtectionSpace &protectionSpace() const { return m_protectionSpace; }
    /// How many credentials for this request the server has turned down.
    int previousFailureCount() const { return m_previousFailureCount; }
    /// What the server answered; nil for a server's trust.
    std::shared_ptr<NSURLResponse> failureResponse() const { return m_failureResponse; }
    NSURLAuthenticationChallengeSender *sender() const { return m_sender; }

private:
    NSURLProtectionSpace m_protectionSpace;
    int m_previousFailureCount;
    std::shared_ptr<NSURLResponse> m_failureResponse;
    NSURLAuthenticationChallengeSender *m_sender;
};
