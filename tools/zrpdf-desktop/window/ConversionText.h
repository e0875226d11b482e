// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-desktop/model/Conversion.h"

#include <QString>

/// What people are told of a conversion, in their language. Main thread.
namespace ConversionText {

/// The document's title or, without one, what it is called.
QString headline(const Conversion &conversion);
/// How it stands, in a few words: "Waiting", "Done, 240 kB", or why it failed.
QString state(const Conversion &conversion);
/// Why it failed, with what led to that; "" if it didn't.
QString failure(const Conversion &conversion);

} // namespace ConversionText
