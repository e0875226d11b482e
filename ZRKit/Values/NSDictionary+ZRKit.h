// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSNull.h"

#include <QString>
#include <QVariantMap>
#include <concepts>

namespace ZRKit {

/// Anything that answers value(key) like a dictionary.
template <typename T>
concept DictionaryLike = requires(const T &dictionary, const QString &k) {
    { dictionary.value(k) } -> std::convertible_to<QVariant>;
};

/// The value for the key; nil where it is missing, where the null marker stands for it, and where the lookup
/// throws. Empty values are values.
template <DictionaryLike Dictionary>
QVariant key(const Dictionary &dictionary, const QString &k) {
    try {
        const QVariant value = dictionary.value(k);
        return NSIsNull(value) ? QVariant() : value;
    } catch (...) {
        return {};
    }
}

} // namespace ZRKit
