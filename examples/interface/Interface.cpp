// SPDX-License-Identifier: MIT
// What docs/interface.md shows.
#include "ZRKit/Interface/NSView+ZRKit.h"
#include "ZRKit/Interface/NSView+ZRLocalize.h"
#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRSplitView.h"
#include "ZRKit/Interface/ZRView.h"
#include "ZRKit/Interface/ZRViewController.h"
#include "ZRKit/Interface/ZRWindow.h"
#include "examples/kit/Example.h"
#include "platform/interface/NSNib.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

/// Stands for a translation file.
class German : public QTranslator {
public:
    QString translate(const char *context, const char *text, const char *, int) const override {
        return context == "ColorController"_ba && text == "Colours"_ba ? u"Farben"_s : QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

class ColorController : public ZRViewController {
    Q_OBJECT
    Q_PROPERTY(ZRView *swatch MEMBER swatch)
    Q_PROPERTY(ZRLabel *listLabel MEMBER listLabel)

public:
    ZRView *swatch = nullptr;
    ZRLabel *listLabel = nullptr;
};

EXAMPLE(Interface) {
    ZRView page(QRectF(0, 0, 300, 200));
    auto *const badge = new ZRView(QRectF(20.25, 150.5, 40, 30));
    badge->setBackgroundColor(QColor(u"#c33"_s));
    page.addSubview(badge);
    expect(badge->frame() == QRectF(20.25, 150.5, 40, 30));
    expect(badge->geometry() == QRect(20, 20, 40, 30));

    auto *const button = new QPushButton(u"Send"_s);
    page.addSubview(button);
    NSViewSetFrame(button, QRectF(200, 10, 90, 24));
    NSViewSetAutoresizingMask(button, NSViewMinXMargin);
    page.resize(400, 200);
    expect(NSViewFrame(button) == QRectF(300, 10, 90, 24));
    expect(ZRKit::right(button) == 390);

    NSError error;
    std::unique_ptr<QWidget> view = NSNib(u"ColorController"_s).instantiateWithOwner(nullptr, &error);
    expect(view != nullptr && error.isNil());
    expect(!NSNib(u"Nothing"_s).instantiateWithOwner(nullptr, &error));
    expect(error.localizedDescription().startsWith(u":/Nothing.ui: "_s));

    const auto controller = ZRViewController::make<ColorController>();
    const German german;
    QCoreApplication::installTranslator(const_cast<German *>(&german));
    expect(controller->view() != nullptr);
    expect(controller->swatch->cornerRadius() == 14);
    expect(controller->listLabel->stringValue() == u"Farben"_s);
}

#include "Interface.moc"
