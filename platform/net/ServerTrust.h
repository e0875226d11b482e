// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLCredential.h"

#include <QString>
#include <functional>

/// Asks for a decision on a server's certificates in the middle of its TLS handshake (OpenSSL).
namespace zr::ServerTrust {

enum class Decision { Accept, Evaluate, Refuse };

/// Called with what the server has shown; must not throw.
using Judge = std::function<Decision(const NSServerTrust &)>;

/// Makes connections of the context ask the judge instead of verifying for themselves. The judge must live as
/// long as handshakes of the context run.
/// \param context  an SSL_CTX
/// \param host     what the certificate must be made out to if it is to be evaluated; lives as long
void install(void *context, const Judge *judge, const QString *host);

} // namespace zr::ServerTrust
