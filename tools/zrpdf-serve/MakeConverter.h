// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/Converter.h"
#include "tools/zrpdf-serve/ServeOptions.h"

#include <memory>

namespace zr {

/// Where the server has documents converted. Raises NSException for options that can't be meant.
std::unique_ptr<Converter> makeConverter(const ServeOptions &options);

} // namespace zr
