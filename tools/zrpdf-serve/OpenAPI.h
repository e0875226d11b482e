// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace zr {

/// The description of what the server answers (OpenAPI 3.0), in JSON.
const QByteArray &openAPIText();

} // namespace zr
