// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

/// The Levenshtein distance of two texts: how many UTF-16 units must at least be inserted, removed or
/// replaced to turn one into the other. Exact for texts of any length; two empty ones are 0 apart.
///
/// Computed 64 rows of the table at a time, as bits of a word (G. Myers 1999, H. Hyyrö 2003). Takes time
/// proportional to the product of the lengths, a 64th of it, and memory proportional to their sum. Any
/// thread.
qint64 NSEditDistance(QStringView a, QStringView b);
