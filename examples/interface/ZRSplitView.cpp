// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRSplitView.h"

#include "ZRKit/Interface/NSView+ZRKit.h"
#include "examples/kit/Example.h"

using namespace Qt::StringLiterals;

EXAMPLE(ZRSplitView) {
    ZRSplitView split(QRectF(0, 0, 500, 300));
    auto *const list = new NSView(QRectF(0, 0, 150, 300), &split);
    auto *const page = new NSView(QRectF(151, 0, 349, 300), &split);

    // As an interface file sets them; then it sends awakeFromNib.
    split.setValue(u"120"_s, u"minleft"_s);
    split.setValue(u"240"_s, u"maxleft"_s);
    split.awakeFromNib();

    // The divider goes as far as the left pane's limits.
    split.setPosition(400, 0);
    expect(ZRKit::width(list) == 240);
    split.setPosition(10, 0);
    expect(ZRKit::width(list) == 120);
    expect(page->frame() == QRectF(121, 0, 379, 300));

    // The left pane keeps its width when the view is resized ...
    ZRKit::setSize(&split, QSizeF(700, 300));
    expect(ZRKit::width(list) == 120 && ZRKit::width(page) == 579);

    // ... or the right one does.
    split.setValue(true, u"fixRight"_s);
    split.setMaxLeft(0);
    split.setMinRight(200);
    ZRKit::setSize(&split, QSizeF(800, 300));
    expect(ZRKit::width(page) == 579 && ZRKit::width(list) == 220);

    // A limit of 0 is what the other pane's opposite limit leaves.
    expect(split.maxLeft() == 800 - 200);
    expect(split.maxRight() == 800 - 120);
}
