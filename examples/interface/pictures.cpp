// SPDX-License-Identifier: MIT
// Draws the pictures of docs/interface.md: pictures FOLDER.
#include "ZRKit/Interface/NSView+ZRKit.h"
#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRMenu.h"
#include "ZRKit/Interface/ZRSplitView.h"
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "ZRKit/Interface/ZRTextField.h"
#include "ZRKit/Interface/ZRView.h"
#include "platform/interface/NSNib.h"
#include "platform/interface/NSWindow.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPushButton>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// Draws a view, with some room around it, for screens of two pixels a point.
bool draw(QWidget &view, const QString &path) {
    constexpr int scale = 2;
    constexpr int margin = 8;
    view.show();
    QCoreApplication::processEvents();
    // No selection, and no cursor that blinks.
    if (QWidget *const focused = QApplication::focusWidget())
        focused->clearFocus();
    QImage image((view.size() + QSize(2 * margin, 2 * margin)) * scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(QApplication::palette().color(QPalette::Window));
    QPainter painter(&image);
    view.render(&painter, QPoint(margin, margin), QRegion(),
                QWidget::DrawWindowBackground | QWidget::DrawChildren);
    painter.end();
    view.hide();
    return image.save(path);
}

std::unique_ptr<QWidget> zrView() {
    auto view = std::make_unique<ZRView>(QRectF(0, 0, 240, 110));
    view->setValue(u"#dfe9f3"_s, u"bgcolor"_s);
    view->setValue(16, u"corner"_s);
    auto *const lined = new ZRView(QRectF(40, 30, 160, 50));
    lined->setValue(u"#fff"_s, u"bgcolor"_s);
    lined->setValue(u"top, bottom"_s, u"border"_s);
    view->addSubview(lined);
    return view;
}

std::unique_ptr<QWidget> packedViews() {
    auto column = std::make_unique<ZRView>(QRectF(0, 0, 200, 10));
    column->setBackgroundColor(QColor(u"#f4f4f0"_s));
    for (const QString &color : {u"#c33"_s, u"#3a3"_s, u"#36c"_s}) {
        auto *const bar = new ZRView(QRectF(12, 0, 176, 10 + 10 * double(column->subviews().size())));
        bar->setValue(color, u"color"_s);
        column->addSubview(bar);
    }
    ZRKit::packVerticallyWithGap(column.get(), 5, 8, 8);
    return column;
}

std::unique_ptr<QWidget> zrSplitView() {
    return NSNib(u"ColorController"_s).instantiateWithOwner(nullptr);
}

std::unique_ptr<QWidget> zrTextField() {
    auto field = std::make_unique<ZRTextField>();
    field->setStringValue(u"Ada Lovelace"_s);
    field->resize(220, field->sizeHint().height());
    return field;
}

std::unique_ptr<QWidget> zrTextEditorField() {
    auto field = std::make_unique<ZRTextEditorField>();
    field->setStringValue(u"A field of many lines,\nin which Return\nbegins a new one."_s);
    field->resize(220, 84);
    return field;
}

std::unique_ptr<QWidget> zrLabel() {
    auto labels = std::make_unique<ZRView>(QRectF(0, 0, 220, 60));
    labels->setBackgroundColor(QColor(u"#c9d3dd"_s));
    for (const bool isRaised : {false, true}) {
        auto *const label = new ZRLabel(labels.get());
        label->setStringValue(isRaised ? u"A label with a shadow"_s : u"A label"_s);
        label->setValue(isRaised, u"shadow"_s);
        NSViewSetFrame(label, QRectF(16, isRaised ? 8 : 32, 190, 20));
    }
    return labels;
}

std::unique_ptr<QWidget> zrMenu() {
    auto menu = std::make_unique<ZRMenu>(u"File"_s);
    menu->addItemWithTitle(u"New"_s);
    menu->addItemWithTitle(u"Open…"_s);
    menu->addSeparator();
    auto *const recent = new ZRMenu(u"Recent"_s, menu.get());
    recent->addItemWithTitle(u"Notes"_s);
    menu->addMenu(recent);
    menu->resize(menu->sizeHint());
    return menu;
}

std::unique_ptr<QWidget> zrWindow() {
    auto window = NSNib(u"PersonWindow"_s).instantiateWithOwner(nullptr);
    auto view = NSNib(u"PersonController"_s).instantiateWithOwner(nullptr);
    if (auto *const shown = qobject_cast<NSWindow *>(window.get()); shown && view) {
        shown->setContentView(view.release());
        shown->contentView()->findChild<ZRTextField *>()->setStringValue(u"Ada"_s);
    }
    return window;
}

} // namespace

int main(int argc, char **argv) {
    const QTemporaryDir runtime;
    qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    // The same on every desktop.
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QApplication::setPalette(QPalette(QColor(239, 239, 239)));
    QApplication::setFont(QFont(u"DejaVu Sans"_s, 10));
    if (argc != 2) {
        std::fputs("usage: pictures FOLDER\n", stderr);
        return 64;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const std::pair<QString, std::unique_ptr<QWidget> (*)()> pictures[]{
        {u"ZRView"_s, zrView},           {u"packed"_s, packedViews},
        {u"ZRSplitView"_s, zrSplitView}, {u"ZRTextField"_s, zrTextField},
        {u"ZRLabel"_s, zrLabel},         {u"ZRTextEditorField"_s, zrTextEditorField},
        {u"ZRMenu"_s, zrMenu},           {u"ZRWindow"_s, zrWindow},
    };
    for (const auto &[name, make] : pictures) {
        const std::unique_ptr<QWidget> view = make();
        if (!view || !draw(*view, folder.filePath(name + u".png"_s))) {
            std::fprintf(stderr, "no picture of %s\n", qPrintable(name));
            return 1;
        }
    }
    return 0;
}
