// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <memory>

namespace zr {

/// A message digest: 16 bytes for MD5 (RFC 1321), 20 for SHA-1 and 32 for SHA-256 (FIPS 180-4).
enum class MessageDigest { MD5, SHA1, SHA256 };

/// The digest of the bytes, by OpenSSL. Raises NSInternalInconsistencyException if OpenSSL is set up to refuse
/// the digest. Any thread.
QByteArray NSMessageDigest(MessageDigest digest, QByteArrayView bytes);

/// A digest of bytes that come piece by piece. Raises as NSMessageDigest() does. One thread.
class MessageDigester {
public:
    explicit MessageDigester(MessageDigest digest);
    ~MessageDigester();
    MessageDigester(const MessageDigester &) = delete;
    MessageDigester &operator=(const MessageDigester &) = delete;

    void add(QByteArrayView bytes);
    /// The digest of all that was added; once, and nothing can be added after it.
    QByteArray result();

private:
    struct Context;
    std::unique_ptr<Context> m_context;
};

} // namespace zr
