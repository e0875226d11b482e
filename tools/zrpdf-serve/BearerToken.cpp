// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/BearerToken.h"

#include "platform/base/ASCII.h"
#include "platform/base/FileDescriptor.h"
#include "platform/base/SystemError.h"

#include <QCryptographicHash>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <openssl/crypto.h>
#include <unistd.h>

using namespace zr;

namespace {

constexpr qsizetype shortest = 16;
constexpr qsizetype longest = 4096;

/// Comparing digests of one length tells nothing of the token's own.
QByteArray digestOf(const QByteArray &token) {
    return QCryptographicHash::hash(token, QCryptographicHash::Sha256);
}

bool isTokenCharacter(char c) {
    return isASCIILetter(uchar(c)) || isASCIIDigit(uchar(c)) || QByteArrayView("-._~+/=").contains(c);
}

} // namespace

std::optional<BearerToken> BearerToken::fromFile(const QByteArray &path, QByteArray *problem) {
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    std::array<char, longest + 2> bytes{};
    const ssize_t count = file ? ::read(file.get(), bytes.data(), bytes.size()) : -1;
    if (count < 0) {
        *problem = "the token file " + path + ": " + systemErrorText().toLocal8Bit();
        return {};
    }
    QByteArray token(bytes.data(), count);
    while (token.endsWith('\n') || token.endsWith('\r'))
        token.chop(1);
    if (token.size() < shortest || token.size() > longest ||
        !std::all_of(token.begin(), token.end(), isTokenCharacter)) {
        *problem = "the token file " + path +
                   " holds no token: 16 to 4096 characters, letters, digits and -._~+/= only";
        return {};
    }
    return BearerToken(digestOf(token));
}

QByteArray BearerToken::credentialFile() {
    const QByteArray folder = qgetenv("CREDENTIALS_DIRECTORY");
    const QByteArray file = folder + "/zrpdf-serve.token";
    return !folder.isEmpty() && ::access(file.constData(), F_OK) == 0 ? file : QByteArray();
}

bool BearerToken::isShownBy(const QByteArray &authorization) const {
    const qsizetype blank = authorization.indexOf(' ');
    if (blank < 0 || authorization.left(blank).compare("bearer", Qt::CaseInsensitive) != 0)
        return false;
    const QByteArray shown = digestOf(authorization.mid(blank + 1).trimmed());
    return ::CRYPTO_memcmp(shown.constData(), m_digest.constData(), std::size_t(m_digest.size())) == 0;
}
