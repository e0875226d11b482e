// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/values/NSNull.h"

#include <QAnyStringView>
#include <algorithm>
#include <optional>

namespace zr {

/// What documents may reach, as tasks, options and requests name it. Any thread.
using NetworkMode = ZRConvertHTML::Network;

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
inline std::optional<NetworkMode> networkModeNamed(QAnyStringView name) {
    for (const NetworkMode mode : {NetworkMode::None, NetworkMode::Public, NetworkMode::All})
        if (name == networkModeName(mode))
            return mode;
    return {};
}

/// The mode that a task asks for: everything if it says nothing; nothing if its value names none.
inline std::optional<NetworkMode> networkModeOf(const QVariant &value) {
    if (NSIsNil(value) || NSIsNull(value))
        return NetworkMode::All;
    return value.typeId() == QMetaType::QString ? networkModeNamed(value.toString()) : std::nullopt;
}

inline NetworkMode narrower(NetworkMode a, NetworkMode b) {
    static_assert(NetworkMode::All < NetworkMode::Public && NetworkMode::Public < NetworkMode::None);
    return std::max(a, b);
}

} // namespace zr
