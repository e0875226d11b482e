// SPDX-License-Identifier: MIT
#include "platform/interface/NSView.h"

#include "platform/base/NSException.h"
#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/InterfaceAttributes.h"
#include "platform/interface/ViewDecoration.h"
#include "platform/interface/ViewFrame.h"
#include "platform/values/NSAssociatedObjects.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSObjectRuntime.h"

#include <QAnimationGroup>
#include <QContextMenuEvent>
#include <QGraphicsOpacityEffect>
#include <QMenu>
#include <QPaintEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <algorithm>

using namespace zr;

namespace {

const char alphaKey = 0;

/// The effect that an alpha value makes, as opposed to one of the program's.
class AlphaEffect : public QGraphicsOpacityEffect {
public:
    using QGraphicsOpacityEffect::QGraphicsOpacityEffect;
};

void sizeToItsHint(QWidget *view) {
    const QSize hint = view->sizeHint();
    if (hint.isValid())
        NSViewSetFrameSize(view, hint.expandedTo(view->minimumSizeHint())
                                     .boundedTo(view->maximumSize())
                                     .expandedTo(view->minimumSize()));
}

void addKeyViews(const QWidget *view, QList<QWidget *> &keyViews) {
    QList<QWidget *> subviews = NSViewSubviews(view);
    const bool isFromRight = view->isRightToLeft();
    std::ranges::stable_sort(subviews, [isFromRight](const QWidget *a, const QWidget *b) {
        if (a->y() != b->y())
            return a->y() < b->y();
        return isFromRight ? a->geometry().right() > b->geometry().right() : a->x() < b->x();
    });
    for (QWidget *subview : subviews) {
        if (subview->focusPolicy() & Qt::TabFocus)
            keyViews.append(subview);
        addKeyViews(subview, keyViews);
    }
}

} // namespace

QRectF NSViewFrame(const QWidget *view) {
    return ViewFrame::get(view);
}

void NSViewSetFrame(QWidget *view, const QRectF &frame) {
    ViewFrame::set(view, frame);
}

void NSViewSetFrameOrigin(QWidget *view, const QPointF &origin) {
    NSViewSetFrame(view, {origin, NSViewFrame(view).size()});
}

void NSViewSetFrameSize(QWidget *view, const QSizeF &size) {
    NSViewSetFrame(view, {NSViewFrame(view).topLeft(), size});
}

QRectF NSViewBounds(const QWidget *view) {
    return {QPointF(), NSViewFrame(view).size()};
}

unsigned NSViewAutoresizingMask(const QWidget *view) {
    return ViewFrame::mask(view);
}

void NSViewSetAutoresizingMask(QWidget *view, unsigned mask) {
    ViewFrame::setMask(view, mask);
}

QWidget *NSViewSuperview(const QWidget *view) {
    return !view || view->isWindow() ? nullptr : view->parentWidget();
}

QList<QWidget *> NSViewSubviews(const QWidget *view) {
    QList<QWidget *> subviews;
    if (!view)
        return subviews;
    for (QObject *child : view->children())
        if (auto *const widget = qobject_cast<QWidget *>(child);
            widget && !widget->isWindow() && !dynamic_cast<ViewDecoration *>(widget))
            subviews.append(widget);
    return subviews;
}

void NSViewAddSubview(QWidget *view, QWidget *subview) {
    if (!view || !subview || subview == view || subview->isAncestorOf(view))
        return;
    const QRectF frame = NSViewFrame(subview);
    const bool isHidden = NSViewIsHidden(subview);
    if (auto *const drawn = qobject_cast<NSView *>(subview))
        drawn->viewWillMoveToSuperview(view);
    if (subview->parentWidget() != view || subview->isWindow())
        subview->setParent(view);
    subview->raise();
    NSViewSetFrame(subview, frame);
    if (!isHidden)
        subview->show();
}

void NSViewRemoveFromSuperview(QWidget *view) {
    if (!NSViewSuperview(view))
        return;
    const QRectF frame = NSViewFrame(view);
    if (auto *const drawn = qobject_cast<NSView *>(view))
        drawn->viewWillMoveToSuperview(nullptr);
    view->setParent(nullptr);
    NSViewSetFrame(view, frame);
}

bool NSViewIsHidden(const QWidget *view) {
    return view && view->testAttribute(Qt::WA_WState_Hidden) &&
           view->testAttribute(Qt::WA_WState_ExplicitShowHide);
}

double NSViewAlphaValue(const QWidget *view) {
    const auto alpha = std::static_pointer_cast<double>(NSAssociatedObjects::get(view, &alphaKey));
    return view ? (alpha ? *alpha : 1) : 0;
}

void NSViewSetAlphaValue(QWidget *view, double alpha) {
    if (!view)
        return;
    NSAssociatedObjects::set(view, &alphaKey, std::make_shared<double>(alpha));
    auto *effect = dynamic_cast<AlphaEffect *>(view->graphicsEffect());
    if (alpha >= 1) {
        if (effect)
            view->setGraphicsEffect(nullptr);
        return;
    }
    if (!effect) {
        effect = new AlphaEffect;
        view->setGraphicsEffect(effect); // which takes it
    }
    effect->setOpacity(alpha > 0 ? alpha : 0);
}

void NSViewSizeToFit(QWidget *view) {
    if (!view)
        return;
    const QVariant receiver = QVariant::fromValue<QObject *>(view);
    if (const NSSelector own("sizeToFit"); NSObjectRuntime::respondsTo(receiver, own))
        NSObjectRuntime::perform(receiver, own);
    else
        sizeToItsHint(view);
}

void NSViewRemoveAllAnimations(QWidget *view) {
    if (!view)
        return;
    const QList<QAbstractAnimation *> all = view->window()->findChildren<QAbstractAnimation *>();
    QList<QPointer<QAbstractAnimation>> animations; // stopping may delete some
    for (QAbstractAnimation *animation : all) {
        const auto *const change = qobject_cast<QPropertyAnimation *>(animation);
        if (change && change->targetObject() ? change->targetObject() == view : animation->parent() == view)
            animations.append(animation);
    }
    for (const QPointer<QAbstractAnimation> &animation : animations) {
        if (!animation)
            continue;
        if (QAnimationGroup *const group = animation->group()) {
            group->removeAnimation(animation);
            animation->setParent(view);
        }
        animation->stop();
    }
}

void NSViewRecalculateKeyViewLoop(QWidget *view) {
    if (!view)
        return;
    QList<QWidget *> keyViews;
    addKeyViews(view->window(), keyViews);
    for (qsizetype i = 1; i < keyViews.size(); ++i)
        QWidget::setTabOrder(keyViews[i - 1], keyViews[i]);
}

NSView::NSView(QWidget *superview) : QWidget(superview) {
}

NSView::NSView(const QRectF &frame, QWidget *superview) : QWidget(superview) {
    setFrame(frame);
}

void NSView::drawRect(const QRectF &) {
}

QMenu *NSView::menuForEvent(QContextMenuEvent *) {
    return m_menu;
}

QMenu *NSView::menu() const {
    return m_menu;
}

void NSView::setMenu(QMenu *menu) {
    m_menu = menu;
}

void NSView::awakeFromNib() {
}

void NSView::viewWillMoveToSuperview(QWidget *) {
}

void NSView::sizeToFit() {
    sizeToItsHint(this);
}

void NSView::resizeSubviewsWithOldSize(const QSizeF &) {
}

bool NSView::event(QEvent *event) {
    if (attributeArrived(this, event))
        return true;
    if (event->type() == QEvent::ParentChange)
        ViewFrame::settle(this);
    if (event->type() == QEvent::Resize)
        ViewFrame::settleSubviews(this);
    return QWidget::event(event);
}

void NSView::paintEvent(QPaintEvent *event) {
    const QSizeF points = bounds().size();
    if (!(points.width() > 0 && points.height() > 0))
        return;
    QPainter painter(this);
    QRectF dirty = event->rect();
    if (points != QSizeF(size())) {
        // A view of fractional size is stretched over the whole points that it takes.
        const QTransform stretch =
            QTransform::fromScale(width() / points.width(), height() / points.height());
        painter.setTransform(stretch, true);
        dirty = stretch.inverted().mapRect(dirty);
    }
    NSGraphicsContext context(painter, points);
    NSGraphicsContext *const former = NSGraphicsContext::setCurrentContext(&context);
    try {
        drawRect({dirty.x(), points.height() - dirty.bottom(), dirty.width(), dirty.height()});
    } catch (...) { // an exception doesn't pass through Qt's painting
        NSLog("Exception while a view was drawn: %@", NSException::currentDescription());
    }
    NSGraphicsContext::setCurrentContext(former);
}

void NSView::contextMenuEvent(QContextMenuEvent *event) {
    if (QMenu *const menu = menuForEvent(event)) {
        menu->popup(event->globalPos());
        event->accept();
    } else {
        event->ignore();
    }
}

#include "moc_NSView.cpp"
