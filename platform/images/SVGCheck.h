// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace zr {

/// Whether an SVG document may be handed to Qt's reader. It refers to no files: Qt's reader would open pictures and style sheets
/// that a document names. Its pictures within are not too large, its elements not too deeply nested, and not too many
/// even with each reuse counted; it has no text unless there is a QGuiApplication, without which text can't be drawn. Any
/// thread.
bool isHarmlessSVG(const QByteArray &data);

} // namespace zr
