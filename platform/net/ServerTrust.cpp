// SPDX-License-Identifier: MIT
#include "platform/net/ServerTrust.h"

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace zr::ServerTrust {

namespace {

NSServerTrust trustOf(const X509_STORE_CTX *shown) {
    NSServerTrust trust;
    const auto append = [&](const X509 *certificate) {
        const int size = i2d_X509(certificate, nullptr);
        QByteArray der(qMax(size, 0), Qt::Uninitialized);
        auto *out = reinterpret_cast<unsigned char *>(der.data());
        if (size > 0 && i2d_X509(certificate, &out) == size)
            trust.certificates.append(der);
    };
    const X509 *own = X509_STORE_CTX_get0_cert(const_cast<X509_STORE_CTX *>(shown));
    if (own)
        append(own);
    const STACK_OF(X509) *chain = X509_STORE_CTX_get0_untrusted(shown);
    for (int i = 0; i < sk_X509_num(chain); ++i)
        if (X509_cmp(sk_X509_value(chain, i), own) != 0)
            append(sk_X509_value(chain, i));
    return trust;
}

/// The verification that would have been done without a judge, with the system's certificates.
bool evaluate(X509_STORE_CTX *shown, const QString &host) {
    X509_VERIFY_PARAM *parameters = X509_STORE_CTX_get0_param(shown);
    const QByteArray name = host.toLatin1();
    return X509_STORE_set_default_paths(X509_STORE_CTX_get0_store(shown)) == 1 &&
           (X509_VERIFY_PARAM_set1_ip_asc(parameters, name.constData()) == 1 ||
            X509_VERIFY_PARAM_set1_host(parameters, name.constData(), size_t(name.size())) == 1) &&
           X509_verify_cert(shown) == 1;
}

int verify(X509_STORE_CTX *shown, void *argument) {
    const Judge &judge = *static_cast<const Judge *>(argument);
    const Decision decision = judge.decide(trustOf(shown));
    const bool accepted =
        decision == Decision::Accept || (decision == Decision::Evaluate && evaluate(shown, judge.host));
    X509_STORE_CTX_set_error(shown, accepted ? X509_V_OK : X509_V_ERR_APPLICATION_VERIFICATION);
    return accepted ? 1 : 0;
}

} // namespace

void install(void *context, const Judge &judge) {
    auto *ssl = static_cast<SSL_CTX *>(context);
    SSL_CTX_set_verify(ssl, SSL_VERIFY_PEER, nullptr);
    // A connection is kept for longer than its judge lives: nothing is left to judge once it stands.
    SSL_CTX_set_options(ssl, SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_cert_verify_callback(ssl, verify, const_cast<Judge *>(&judge));
}

} // namespace zr::ServerTrust
