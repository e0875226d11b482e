// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLCredential.h"

#include <QString>
#include <functional>

/// Asks for a decision on a server's certificates in the middle of its TLS handshake (OpenSSL).
namespace zr::ServerTrust {

enum class Decision { Accept, Evaluate, Refuse };

struct Judge {
    /// Called with what the server has shown; must not throw.
    std::function<Decision(const NSServerTrust &)> decide;
    /// What the certificate must be made out to if it is to be evaluated.
    QString host;
};

/// Makes connections of the context, an SSL_CTX, ask the judge instead of verifying for themselves. The judge
/// must live as long as handshakes of the context run.
void install(void *context, const Judge &judge);

} // namespace zr::ServerTrust
