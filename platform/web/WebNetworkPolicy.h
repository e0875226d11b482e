// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <chrono>

namespace zr {

/// What a document may reach, and how much of it. A value.
///
/// A document whose access is limited is loaded in a browser that has no network of its own; what is fetched for it is
/// bounded. A document that asks for more fails.
struct WebNetworkPolicy {
    enum class Access {
        All,    ///< whatever this machine reaches
        Public, ///< what anybody on the internet reaches
        None,   ///< nothing
    };
    Access access = Access::All;
    int mostRequests = 1000;
    qint64 mostBytes = qint64(100) << 20;
    /// Of one answer. The browser ends if a message to it has more than 100 MiB, and bytes are sent as Base64.
    qint64 mostBytesOfAnswer = qint64(64) << 20;
    /// For all that is fetched, from the first request on.
    std::chrono::milliseconds longest = std::chrono::seconds(50);

    bool isLimited() const { return access != Access::All; }
};

} // namespace zr
