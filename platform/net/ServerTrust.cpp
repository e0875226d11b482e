// SPDX-License-Identifier: MIT
#include "platform/net/ServerTrust.h"

#include <memory>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace zr::ServerTrust {

namespace {

struct Question {
    const Judge *judge;
    const QString *host;
};

template <typename T, void (*release)(T *)>
struct Release {
    void operator()(T *object) const { release(object); }
};
using Store = std::unique_ptr<X509_STORE, Release<X509_STORE, X509_STORE_free>>;
using StoreContext = std::unique_ptr<X509_STORE_CTX, Release<X509_STORE_CTX, X509_STORE_CTX_free>>;

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
    const Store store(X509_STORE_new());
    const StoreContext context(X509_STORE_CTX_new());
    if (!store || !context || X509_STORE_set_default_paths(store.get()) != 1 ||
        X509_STORE_CTX_init(context.get(), store.get(), X509_STORE_CTX_get0_cert(shown),
                            X509_STORE_CTX_get0_untrusted(shown)) != 1)
        return false;
    X509_STORE_CTX_set_default(context.get(), "ssl_server");
    X509_VERIFY_PARAM *parameters = X509_STORE_CTX_get0_param(context.get());
    const QByteArray name = host.toLatin1();
    if (X509_VERIFY_PARAM_set1_ip_asc(parameters, name.constData()) != 1 &&
        X509_VERIFY_PARAM_set1_host(parameters, name.constData(), size_t(name.size())) != 1)
        return false;
    return X509_verify_cert(context.get()) == 1;
}

int verify(X509_STORE_CTX *shown, void *question) {
    const auto &[judge, host] = *static_cast<Question *>(question);
    const Decision decision = (*judge)(trustOf(shown));
    const bool accepted =
        decision == Decision::Accept || (decision == Decision::Evaluate && evaluate(shown, *host));
    X509_STORE_CTX_set_error(shown, accepted ? X509_V_OK : X509_V_ERR_APPLICATION_VERIFICATION);
    return accepted ? 1 : 0;
}

void release(void *, void *question, CRYPTO_EX_DATA *, int, long, void *) {
    delete static_cast<Question *>(question);
}

} // namespace

void install(void *context, const Judge *judge, const QString *host) {
    auto *ssl = static_cast<SSL_CTX *>(context);
    // The question goes with its context.
    static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, release);
    auto *question = new Question{judge, host};
    SSL_CTX_set_ex_data(ssl, index, question);
    SSL_CTX_set_verify(ssl, SSL_VERIFY_PEER, nullptr);
    // A connection is kept for longer than who judges lives: nothing is left to judge once it stands.
    SSL_CTX_set_options(ssl, SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_cert_verify_callback(ssl, verify, question);
}

} // namespace zr::ServerTrust
