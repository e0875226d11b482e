// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>

namespace zr {

/// The secret that clients show (RFC 6750). A value; any thread.
class BearerToken {
public:
    /// Reads it from a file; a line end behind it doesn't count. Nothing, and one sentence about why, if the file can't
    /// be read or holds no token of 16 characters or more.
    static std::optional<BearerToken> fromFile(const QByteArray &path, QByteArray *problem);
    /// The file that systemd put it in (LoadCredential=zrpdf-serve.token:...); empty if there is none.
    static QByteArray credentialFile();

    /// Whether the value of an Authorization field shows it. Takes as long whatever is shown.
    bool isShownBy(const QByteArray &authorization) const;

private:
    explicit BearerToken(QByteArray digest) : m_digest(std::move(digest)) {}

    QByteArray m_digest;
};

} // namespace zr
