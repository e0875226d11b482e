// SPDX-License-Identifier: MIT
#pragma once

#include "platform/text/NSAttributedString.h"

class QPainter;
class QRectF;

namespace zr {

/// Draws a text in a rectangle of the painter's coordinates: its lines from the top to the bottom, as many as fit
/// whole. Attributes of another type than they should have don't count. A QGuiApplication must be there; any thread
/// that may use the painter.
void drawStyledText(QPainter &painter, const QRectF &rect, const NSAttributedString &text);

} // namespace zr
