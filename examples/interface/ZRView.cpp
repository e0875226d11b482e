// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRView.h"

#include "ZRKit/Interface/NSView+ZRKit.h"
#include "examples/kit/Example.h"
#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/NSNib.h"
#include "platform/interface/NSViewController.h"

#include <QContextMenuEvent>
#include <QMenu>

using namespace Qt::StringLiterals;

class PageController : public NSViewController {
    Q_OBJECT

public:
    Q_INVOKABLE void viewDidAppear() { isShown = true; }
    Q_INVOKABLE void viewWDidDisappear() { isShown = false; }

    bool isShown = false;
};

class PageMenus : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE QMenu *menuForView(QWidget *, QContextMenuEvent *) { return &menu; }

    QMenu menu;
};

EXAMPLE(ZRView) {
    // From an interface file: attributes are Designer's dynamic properties.
    const NSNib nib(QByteArray(R"(<ui version="4.0"><class>Card</class>
        <widget class="ZRView" name="Card">
            <property name="geometry"><rect><x>0</x><y>0</y><width>200</width><height>100</height></rect></property>
            <property name="bgcolor" stdset="0"><string>#ffe</string></property>
            <property name="border" stdset="0"><string>top, bottom</string></property>
            <property name="corner" stdset="0"><string>8</string></property>
        </widget></ui>)"));
    const std::unique_ptr<QWidget> loaded = nib.instantiateWithOwner(nullptr);
    auto *const card = qobject_cast<ZRView *>(loaded.get());
    expect(card && card->backgroundColor() == QColor(0xFF, 0xFF, 0xEE));
    expect(card->borderTop() && card->borderBottom() && card->cornerRadius() == 8);

    // The same by key
    card->setValue(u"#f00"_s, u"IBbgcolor"_s);
    expect(card->backgroundColor() == QColor(Qt::red));
    card->setValue(u"no"_s, u"opaque"_s);
    expect(!card->opaque());

    expect(ZRView::normalizeColorHexString(" #fff ") == u"ffffff"_s);
    expect(ZRView::colorFromHexString("00ff80", 0.5).blue() == 128);
    expect(!ZRView::colorFromHexString("zz0000", 1).isValid());

    // A block draws in place of background and borders.
    ZRView half(QRectF(0, 0, 20, 20));
    half.setBlockDrawRect([](ZRView *view) {
        NSGraphicsContext::currentContext()->setFillColor(Qt::blue);
        NSRectFill(QRectF(0, 0, ZRKit::width(view), 10)); // the lower half
    });
    const QImage picture = half.grab().toImage();
    expect(picture.pixelColor(5, 15) == QColor(Qt::blue));
    expect(picture.pixelColor(5, 5) != QColor(Qt::blue));

    // The view of a controller fills the view and follows its size.
    const auto page = std::make_shared<PageController>();
    card->setViewController(page);
    expect(page->isShown && NSViewSuperview(page->view()) == card);
    ZRKit::setSize(card, QSizeF(300, 200));
    expect(ZRKit::size(page->view()) == QSizeF(300, 200));
    card->setViewController(nullptr);
    expect(!page->isShown);

    // The delegate's menu comes up for the right button and the menu key.
    PageMenus menus;
    card->setMenuDelegate(&menus);
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(1, 1), QPoint(1, 1));
    expect(card->menuForEvent(&event) == &menus.menu);
}

#include "ZRView.moc"
