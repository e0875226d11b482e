// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

/// A message digest: 16 bytes for MD5 (RFC 1321), 20 for SHA-1 and 32 for SHA-256 (FIPS 180-4).
enum class MessageDigest { MD5, SHA1, SHA256 };

/// The digest of the bytes, by OpenSSL. Raises NSInternalInconsistencyException where OpenSSL is set up to
/// refuse the digest. Any thread.
QByteArray NSMessageDigest(MessageDigest digest, QByteArrayView bytes);
