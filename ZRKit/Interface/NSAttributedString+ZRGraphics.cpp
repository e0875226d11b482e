// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSAttributedString+ZRGraphics.h"

#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/images/StyledText.h"

#include <QPainter>

void ZRKit::drawWithRect(const NSAttributedString &text, const QRectF &rect,
                         const NSGraphicsContext *context) {
    if (context)
        zr::drawStyledText(context->painter(), context->painterRect(rect.normalized()), text);
}

void ZRKit::setParagraphStyleWithBlock(NSMutableAttributedString &text,
                                       const std::function<void(NSMutableParagraphStyle &)> &block) {
    NSMutableParagraphStyle style;
    if (block)
        block(style);
    text.addAttribute(NSParagraphStyleAttributeName, QVariant::fromValue<NSParagraphStyle>(style),
                      range(text.string()));
}

void ZRKit::setFont(NSMutableAttributedString &text, const QFont &font) {
    text.addAttribute(NSFontAttributeName, font, range(text.string()));
}

void ZRKit::setColor(NSMutableAttributedString &text, const QColor &color) {
    text.addAttribute(NSForegroundColorAttributeName, color.isValid() ? QVariant(color) : QVariant(),
                      range(text.string()));
}
