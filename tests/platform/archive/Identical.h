// SPDX-License-Identifier: MIT
#pragma once

#include <QVariant>

/// Whether two trees are the same in types and values. Not-a-number is the same as itself here.
bool identical(const QVariant &a, const QVariant &b);
