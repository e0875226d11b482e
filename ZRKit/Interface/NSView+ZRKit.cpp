// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSView+ZRKit.h"

#include "platform/values/NSLog.h"
#include "platform/values/NSObjectRuntime.h"

#include <QMainWindow>
#include <algorithm>
#include <cmath>

namespace {

/// Changes one thing of a view's frame.
template <typename Change>
void changeFrame(QWidget *view, Change change) {
    if (!view)
        return;
    QRectF frame = NSViewFrame(view);
    change(frame);
    NSViewSetFrame(view, frame);
}

void addClasses(const QWidget *view, const QString &tabs, QString &text) {
    if (!view)
        return;
    text +=
        NSFormat("%@%@\n", {tabs, NSObjectRuntime::className(QVariant::fromValue<const QObject *>(view))});
    for (const QWidget *subview : NSViewSubviews(view))
        addClasses(subview, tabs + QLatin1Char('\t'), text);
}

/// Those that take room.
QList<QWidget *> shownSubviews(const QWidget *view) {
    QList<QWidget *> subviews = NSViewSubviews(view);
    subviews.removeIf(NSViewIsHidden);
    return subviews;
}

} // namespace

namespace ZRKit {

double left(const QWidget *view) {
    return NSViewFrame(view).x();
}

double top(const QWidget *view) {
    return NSViewFrame(view).y();
}

double right(const QWidget *view) {
    const QRectF frame = NSViewFrame(view);
    return frame.x() + frame.width();
}

double bottom(const QWidget *view) {
    const QRectF frame = NSViewFrame(view);
    return frame.y() + frame.height();
}

double width(const QWidget *view) {
    return NSViewFrame(view).width();
}

double height(const QWidget *view) {
    return NSViewFrame(view).height();
}

QPointF origin(const QWidget *view) {
    return NSViewFrame(view).topLeft();
}

QSizeF size(const QWidget *view) {
    return NSViewFrame(view).size();
}

QPointF center(const QWidget *view) {
    const QRectF frame = NSViewFrame(view);
    return {frame.x() + frame.width() * 0.5, frame.y() + frame.height() * 0.5};
}

double centerX(const QWidget *view) {
    return center(view).x();
}

double centerY(const QWidget *view) {
    return center(view).y();
}

QPointF topRight(const QWidget *view) {
    return {right(view), top(view)};
}

QPointF bottomLeft(const QWidget *view) {
    return {left(view), bottom(view)};
}

QPointF bottomRight(const QWidget *view) {
    return {right(view), bottom(view)};
}

double screenX(const QWidget *view) {
    return view ? left(view) + screenX(NSViewSuperview(view)) : 0;
}

double screenY(const QWidget *view) {
    return view ? top(view) + screenY(NSViewSuperview(view)) : 0;
}

void setLeft(QWidget *view, AnyLength v) {
    changeFrame(view, [v](QRectF &frame) { frame.moveLeft(std::round(v)); });
}

void setTop(QWidget *view, AnyLength v) {
    changeFrame(view, [v](QRectF &frame) { frame.moveTop(std::round(v)); });
}

void setRight(QWidget *view, AnyLength v) {
    changeFrame(view, [v](QRectF &frame) { frame.moveLeft(std::round(v - frame.width())); });
}

void setBottom(QWidget *view, AnyLength v) {
    setTop(view, v);
}

void setWidth(QWidget *view, AnyLength v) {
    changeFrame(view, [v](QRectF &frame) { frame.setWidth(std::ceil(v)); });
}

void setHeight(QWidget *view, AnyLength v) {
    changeFrame(view, [v](QRectF &frame) {
        const double height = std::ceil(v);
        frame = {frame.x(), frame.y() + (frame.height() - height), frame.width(), height};
    });
}

void setOrigin(QWidget *view, const QPointF &origin) {
    changeFrame(view, [&](QRectF &frame) { frame.moveTopLeft(origin); });
}

void setSize(QWidget *view, const QSizeF &size) {
    changeFrame(view, [&](QRectF &frame) {
        frame.setSize({std::ceil(size.width()), std::ceil(size.height())});
    });
}

void setCenter(QWidget *view, const QPointF &center) {
    changeFrame(view, [&](QRectF &frame) {
        frame.moveTopLeft({center.x() - frame.width() * 0.5, center.y() - frame.height() * 0.5});
    });
}

void setCenterX(QWidget *view, AnyLength v) {
    setCenter(view, {std::round(v), centerY(view)});
}

void setCenterY(QWidget *view, AnyLength v) {
    setCenter(view, {centerX(view), std::round(v)});
}

QPointF moveDelta(QWidget *view, AnyLength dx, AnyLength dy) {
    if (!view)
        return {};
    const QPointF moved = center(view) + QPointF(dx, dy);
    setCenter(view, moved);
    return moved;
}

void moveBy(QWidget *view, AnyLength dx, AnyLength dy) {
    moveDelta(view, dx, dy);
}

void scaleBy(QWidget *view, AnyLength factor) {
    changeFrame(view, [factor](QRectF &frame) { frame.setSize(frame.size() * factor); });
}

void setSizeWithAspectFit(QWidget *view, AnyLength width, AnyLength height) {
    const QSizeF before = size(view);
    const double scale = std::min(width / before.width(), height / before.height());
    setSize(view, scale < 1 ? before * scale : before);
}

void fitInSize(QWidget *view, AnyLength width, AnyLength height) {
    changeFrame(view, [width, height](QRectF &frame) {
        QSizeF size = frame.size();
        if (size.height() != 0 && size.height() > height)
            size *= height / size.height();
        if (size.width() != 0 && size.width() >= width)
            size *= width / size.width();
        frame.setSize(size);
    });
}

QWidget *normalizeFrame(QWidget *view) {
    changeFrame(view, [](QRectF &frame) {
        frame = {std::round(frame.x()), std::round(frame.y()), std::round(frame.width()),
                 std::round(frame.height())};
    });
    return view;
}

void sizeToFitRespectingAutoresizingMask(QWidget *view) {
    if (!view)
        return;
    const QRectF before = NSViewFrame(view);
    NSViewSizeToFit(view);
    QRectF frame = NSViewFrame(view);
    const unsigned mask = NSViewAutoresizingMask(view);
    const bool isRightFlexible = mask & NSViewMaxXMargin;
    const bool isTopFlexible = mask & NSViewMaxYMargin;
    if (isRightFlexible && isTopFlexible)
        return;
    frame.translate(isRightFlexible ? 0 : before.width() - frame.width(),
                    isTopFlexible ? 0 : before.height() - frame.height());
    NSViewSetFrame(view, frame);
}

void addFilledSubview(QWidget *view, QWidget *subview) {
    if (!view)
        return;
    NSViewSetFrame(subview, NSViewBounds(view));
    NSViewAddSubview(view, subview);
}

void removeAllAnimations(QWidget *view) {
    NSViewRemoveAllAnimations(view);
}

void removeAllSubviews(QWidget *view) {
    for (QList<QWidget *> subviews = NSViewSubviews(view); !subviews.isEmpty();
         subviews = NSViewSubviews(view))
        NSViewRemoveFromSuperview(subviews.last());
}

bool isFirstResponder(const QWidget *view) {
    return view && view->window()->focusWidget() == view;
}

void findAndResignFirstResponder(QWidget *) {
}

ZRQuilletLibrary *library(const QWidget *view) {
    return view ? zr::openLibrary() : nullptr;
}

QWidget *ancestorOrSelfWithClass(QWidget *view, const QMetaObject &viewClass) {
    while (view && !view->metaObject()->inherits(&viewClass))
        view = NSViewSuperview(view);
    return view;
}

QWidget *descendantOrSelfWithClass(QWidget *view, const QMetaObject &viewClass) {
    // What the subviews would answer isn't passed on, so they needn't be asked.
    return view && view->metaObject()->inherits(&viewClass) ? view : nullptr;
}

QWidget *findSubViewByClassName(QWidget *view, const AnyText &name) {
    if (!view || NSObjectRuntime::className(QVariant::fromValue<QObject *>(view)) == name)
        return view;
    for (QWidget *subview : NSViewSubviews(view))
        if (QWidget *const found = findSubViewByClassName(subview, name))
            return found;
    return nullptr;
}

QString showSubviews(const QWidget *, const QWidget *view, const AnyText &tabs) {
    QString text = QStringLiteral("");
    addClasses(view, tabs.isNull() ? QStringLiteral("") : QString(tabs), text);
    return text;
}

void dumpView(const QWidget *receiver, const QWidget *view, int atIndent, QString &into) {
    if (!view)
        return;
    const bool isSeen = !NSViewIsHidden(view) && NSViewAlphaValue(view) > 0;
    into += QString(isSeen ? QStringLiteral("--") : QStringLiteral("**")).repeated(std::max(atIndent, 0));
    into += NSFormat("[%2d] %@ %@\n",
                     {atIndent, NSObjectRuntime::className(QVariant::fromValue<const QObject *>(view)),
                      QVariant(NSViewFrame(view))});
    for (const QWidget *subview : NSViewSubviews(view))
        dumpView(receiver, subview, atIndent + 1, into);
}

QString dump(const QWidget *view) {
    if (!view)
        return {};
    QString text = QStringLiteral("");
    dumpView(view, view, 0, text);
    return text;
}

QString dumpAll(const QWidget *view) {
    if (!view)
        return {};
    const QWidget *const window = view->window();
    const auto *const mainWindow = qobject_cast<const QMainWindow *>(window);
    const QWidget *const content = mainWindow ? mainWindow->centralWidget() : window;
    return content ? dump(content) : QStringLiteral("");
}

double packVerticallyWithGap(QWidget *view, AnyLength gap, AnyLength top, AnyLength bottom) {
    if (!view)
        return 0;
    QList<QWidget *> subviews = shownSubviews(view);
    double total = bottom;
    for (const QWidget *subview : subviews)
        total += std::round(height(subview) + gap);
    setHeight(view, std::round(total - gap + top));
    double y = bottom;
    while (!subviews.isEmpty()) {
        QWidget *const subview = subviews.takeLast();
        setBottom(subview, y);
        y += std::round(height(subview) + gap);
    }
    return height(view);
}

double packVerticallyWithGap(QWidget *view, AnyLength gap, AnyLength top) {
    return packVerticallyWithGap(view, gap, top, 0);
}

double packVertically(QWidget *view) {
    return packVerticallyWithGap(view, 0, 0, 0);
}

double packHorizontallyWithGap(QWidget *view, AnyLength gap, AnyLength left) {
    if (!view)
        return 0;
    double x = left;
    for (QWidget *subview : shownSubviews(view)) {
        setLeft(subview, x);
        x += std::round(width(subview) + gap);
    }
    setWidth(view, std::round(std::max(x - gap, 0.0)));
    return x;
}

double packHorizontally(QWidget *view) {
    return packHorizontallyWithGap(view, 0, 0);
}

} // namespace ZRKit
