// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSAttributedString+ZRGraphics.h"

#include "examples/kit/Example.h"
#include "platform/images/NSBitmapImageRep.h"
#include "platform/images/NSImage.h"
#include "platform/images/NSImageFocus.h"
#include "platform/interface/NSView.h"

using namespace Qt::StringLiterals;
using namespace ZRKit;

class Title : public NSView {
public:
    NSMutableAttributedString text;

    void drawRect(const QRectF &) override {
        drawWithRect(text, bounds(), NSGraphicsContext::currentContext());
    }
};

EXAMPLE(NSAttributedString_ZRGraphics) {
    // Attributes over the whole text
    NSMutableAttributedString text(u"Every paragraph\nis centred."_s);
    setFont(text, QFont(u"DejaVu Sans"_s, 12));
    setColor(text, Qt::darkBlue);
    setParagraphStyleWithBlock(text, [](NSMutableParagraphStyle &style) {
        style.setAlignment(NSTextAlignmentCenter);
        style.setParagraphSpacing(6);
    });
    expect(text.runs().size() == 1);

    // Attributes of a part
    text.addAttribute(NSBackgroundColorAttributeName, QColor(Qt::yellow), {0, 5});
    text.addAttribute(NSUnderlineStyleAttributeName, true, {6, 9});
    expect(text.runs().size() == 4);

    // In an image
    NSImage image(QSizeF(200, 100));
    {
        const NSImageFocus focus = image.lockFocus();
        drawWithRect(text, QRectF(10, 10, 180, 80), NSGraphicsContext::currentContext());
    }
    expect(image.CGImageForProposedRect().pixelColor(0, 0).alpha() == 0);

    // In a view
    Title view;
    view.text = text;
    view.setFrame({0, 0, 200, 100});
    expect(!view.grab().isNull());

    // Lines that don't fit whole are left out: here all of them.
    NSImage low(QSizeF(200, 100));
    {
        const NSImageFocus focus = low.lockFocus();
        drawWithRect(text, QRectF(10, 10, 180, 5), NSGraphicsContext::currentContext());
    }
    const QImage drawn = low.CGImageForProposedRect();
    QImage blank = drawn;
    blank.fill(Qt::transparent);
    expect(drawn == blank);
}
