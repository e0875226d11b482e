// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QUrl>
#include <chrono>

namespace zr {

/// Where bodies too large for a broker are put; messages then carry a name. Names are random, and nobody can guess one.
///
/// A store is a folder that clients and workers share (a file URL), or an HTTP server that takes PUT, GET and DELETE below
/// its URL (user and password of the URL are used; redirects are not followed, and certificates are verified). A name is
/// never more than a name, so that no message leads anywhere else.
///
/// All functions may be called on any thread, and block it. All but drop() raise an NSException that says what is wrong.
class ClaimStore {
public:
    /// Raises NSInvalidArgumentException unless the URL can be a store's.
    /// \param patience  what one call may take with an HTTP server, all its tries together
    explicit ClaimStore(const QUrl &url, std::chrono::milliseconds patience = std::chrono::minutes(4));

    /// \return the body's name
    QByteArray put(const QByteArray &body) const;
    /// Raises for a name that isn't there any more, or can't be one.
    QByteArray get(const QByteArray &name) const;
    /// Nothing happens if it isn't there.
    void remove(const QByteArray &name) const;
    /// Removes a body, or logs why it can't, and leaves it to its age.
    void drop(const QByteArray &name) const;
    /// Removes bodies that were left behind, of a folder; HTTP servers are not asked what they have.
    /// \return how many there were
    int removeOlderThan(std::chrono::seconds age) const;

private:
    QByteArray path(const QByteArray &name) const;
    QUrl url(const QByteArray &name) const;

    QUrl m_url;
    std::chrono::milliseconds m_patience;
    QByteArray m_folder; ///< null for HTTP
};

} // namespace zr
