// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <QVariant>

/// Hash of any value, in step with QVariant's equality: numbers of different types that are equal hash alike
/// (1, 1.0 and true are one element of a set), and so does a decimal; containers hash by what they hold.
/// Values of types without a hash of their own hash by type. Costs a walk over the whole value; any thread.
size_t qHash(const QVariant &value, size_t seed = 0);

/// The platform's set: values without order, each once.
using NSSet = QSet<QVariant>;
