// SPDX-License-Identifier: MIT
#pragma once

#include "platform/images/NSGraphicsContext.h"
#include "platform/text/NSAttributedString.h"
#include "platform/text/NSParagraphStyle.h"

#include <QFont>
#include <functional>

namespace ZRKit {

/// Draws a text in a rectangle of the context's area, which is measured from the bottom left: its lines from the
/// rectangle's top to its bottom, upright. Lines that don't fit whole are left out, and nobody is told. Attributes of
/// another type than they should have don't count; without them the text is black, in the application's font, and set
/// naturally. Nothing is drawn for a nil context.
///
/// A font's size is that which Qt gives it on the screen. Pictures (emoji) are coloured if the font "Noto Color
/// Emoji" is there. On any thread that may draw in the context; there must be a QGuiApplication.
void drawWithRect(const NSAttributedString &text, const QRectF &rect, const NSGraphicsContext *context);

// Attributes over the whole of a text, in place of those it has under the same name; others stay. Nothing happens to
// an empty text. One thread at a time.

/// Has the block set up a new paragraph style. A nil block leaves it as it is, with natural alignment and without
/// spacing or indents.
void setParagraphStyleWithBlock(NSMutableAttributedString &text,
                                const std::function<void(NSMutableParagraphStyle &)> &block);
void setFont(NSMutableAttributedString &text, const QFont &font);
/// Raises NSInvalidArgumentException for an invalid colour, which is nil.
void setColor(NSMutableAttributedString &text, const QColor &color);

} // namespace ZRKit
