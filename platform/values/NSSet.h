// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <QVariant>
#include <functional>

/// The hash of any value, in step with NSObjectRuntime::isEqual(): equal values of different types have one
/// hash. Costs a walk over the whole value. An object that declares "hash" is asked for it, so objects in a
/// set must be alive and belong to the thread that uses the set. Any thread otherwise.
template <>
struct std::hash<QVariant> {
    size_t operator()(const QVariant &value, size_t seed = 0) const;
};

/// By this, Qt's hashing containers tell values apart: NSObjectRuntime::isEqual().
template <>
bool qHashEquals(const QVariant &a, const QVariant &b);

/// The platform's set: values without order, each once. 1, 1.0, true and the decimal 1 are one member, and so
/// are a list of strings and an equal array, or two not-a-numbers.
using NSSet = QSet<QVariant>;
