// SPDX-License-Identifier: MIT
#include "platform/text/MessageDigest.h"

#include "platform/base/NSException.h"

#include <array>
#include <openssl/evp.h>

namespace zr {

namespace {

/// Looked up once and kept: OpenSSL's own look-up costs more than digesting a short text.
const EVP_MD *algorithm(MessageDigest digest) {
    static const std::array<EVP_MD *, 3> fetched{EVP_MD_fetch(nullptr, "MD5", nullptr),
                                                 EVP_MD_fetch(nullptr, "SHA1", nullptr),
                                                 EVP_MD_fetch(nullptr, "SHA256", nullptr)};
    return fetched[size_t(digest)];
}

[[noreturn]] void refuse() {
    throw NSException(NSInternalInconsistencyException, QStringLiteral("OpenSSL refuses the digest"));
}

} // namespace

QByteArray NSMessageDigest(MessageDigest digest, QByteArrayView bytes) {
    MessageDigester digester(digest);
    digester.add(bytes);
    return digester.result();
}

struct MessageDigester::Context {
    EVP_MD_CTX *evp = EVP_MD_CTX_new();
    ~Context() { EVP_MD_CTX_free(evp); }
};

MessageDigester::MessageDigester(MessageDigest digest) : m_context(std::make_unique<Context>()) {
    const EVP_MD *const type = algorithm(digest);
    if (!type || !m_context->evp || EVP_DigestInit_ex(m_context->evp, type, nullptr) != 1)
        refuse();
}

MessageDigester::~MessageDigester() = default;

void MessageDigester::add(QByteArrayView bytes) {
    if (EVP_DigestUpdate(m_context->evp, bytes.data(), size_t(bytes.size())) != 1)
        refuse();
}

QByteArray MessageDigester::result() {
    std::array<uchar, EVP_MAX_MD_SIZE> result{};
    unsigned size = 0;
    if (EVP_DigestFinal_ex(m_context->evp, result.data(), &size) != 1)
        refuse();
    return {reinterpret_cast<const char *>(result.data()), qsizetype(size)};
}

} // namespace zr
