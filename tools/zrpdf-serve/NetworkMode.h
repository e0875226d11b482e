// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace zr {

/// What documents may reach, from nothing to everything.
enum class NetworkMode { None, Public, All };

inline QString networkModeName(NetworkMode mode) {
    switch (mode) {
    case NetworkMode::None:
        return QStringLiteral("none");
    case NetworkMode::Public:
        return QStringLiteral("public");
    case NetworkMode::All:
        break;
    }
    return QStringLiteral("all");
}

/// The mode with that name; nothing for another word.
inline std::optional<NetworkMode> networkModeNamed(const QByteArray &name) {
    for (const NetworkMode mode : {NetworkMode::None, NetworkMode::Public, NetworkMode::All})
        if (name == networkModeName(mode).toLatin1())
            return mode;
    return {};
}

} // namespace zr
