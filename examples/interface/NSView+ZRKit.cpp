// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSView+ZRKit.h"

#include "examples/kit/Example.h"

#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

EXAMPLE(NSView_ZRKit) {
    // Any widget is a view. Frames count from the bottom left, in fractions too.
    NSView window(QRectF(0, 0, 400, 300));
    auto *const button = new QPushButton(u"Print"_s);
    window.addSubview(button);
    NSViewSetFrame(button, QRectF(20, 10.5, 100, 30));
    expect(NSViewFrame(button) == QRectF(20, 10.5, 100, 30));
    expect(ZRKit::bottom(button) == 40.5);

    // Positions are rounded, sizes rounded up.
    ZRKit::setLeft(button, 3.4);
    expect(ZRKit::left(button) == 3);
    ZRKit::setWidth(button, 80.1);
    expect(ZRKit::width(button) == 81);
    ZRKit::setHeight(button, 20);
    expect(NSViewFrame(button) == QRectF(3, 20.5, 81, 20)); // the upper edge stays
    ZRKit::setBottom(button, 10);
    expect(ZRKit::bottom(button) == 10 + ZRKit::height(button)); // it sets y, as setTop() does

    // A column: the first is on top.
    NSView column(QRectF(0, 0, 100, 100));
    for (const double height : {10, 20, 30})
        column.addSubview(ZRKit::newWithSize(QSizeF(100, height)).release());
    expect(ZRKit::packVerticallyWithGap(&column, 5, 2, 3) == 75);
    expect(ZRKit::top(column.subviews()[0]) == 63);
    expect(ZRKit::top(column.subviews()[2]) == 3);

    // A row; the result is where the next one would stand.
    NSView row(QRectF(0, 0, 10, 10));
    for (const double width : {10, 20})
        row.addSubview(ZRKit::newWithSize(QSizeF(width, 10)).release());
    expect(ZRKit::packHorizontallyWithGap(&row, 4, 2) == 40);
    expect(ZRKit::width(&row) == 36);

    // Masks say what gives way when the superview gets another size.
    ZRKit::setStretch(button, true);
    window.setFrameSize(QSizeF(500, 320));
    expect(ZRKit::size(button) == QSizeF(181, 40));

    // Looking through the tree
    expect(ZRKit::ancestorOrSelfWithClass<NSView>(button) == &window);
    expect(ZRKit::descendantOrSelfWithClass<QPushButton>(&window) == nullptr); // finds itself only
    expect(ZRKit::findSubViewByClassName(&window, "QPushButton") == button);
    button->setHidden(true);
    expect(ZRKit::dump(&window) == u"[ 0] NSView {{0, 0}, {500, 320}}\n"
                                   "**[ 1] QPushButton {{3, 10}, {181, 40}}\n"_s);
}
