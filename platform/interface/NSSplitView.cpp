// SPDX-License-Identifier: MIT
#include "platform/interface/NSSplitView.h"

#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/SplitDivider.h"
#include "platform/values/NSObjectRuntime.h"

#include <QChildEvent>
#include <QCoreApplication>
#include <algorithm>
#include <cmath>

using namespace zr;

namespace {

/// How far the mouse may be beside a divider, in points.
constexpr int reach = 2;

/// What the delegate answers; std::nullopt if it doesn't respond.
std::optional<QVariant> asked(QObject *delegate, const char *selector, const QVariantList &arguments) {
    const QVariant receiver = QVariant::fromValue(delegate);
    if (!delegate || !NSObjectRuntime::respondsTo(receiver, NSSelector(selector)))
        return std::nullopt;
    return NSObjectRuntime::perform(receiver, NSSelector(selector), arguments);
}

QVariant self(const NSSplitView *view) {
    return QVariant::fromValue(const_cast<NSSplitView *>(view));
}

} // namespace

NSSplitView::NSSplitView(QWidget *superview) : NSView(superview) {
    SplitDivider::introduceToScreenReaders();
}

NSSplitView::NSSplitView(const QRectF &frame, QWidget *superview) : NSView(frame, superview) {
    SplitDivider::introduceToScreenReaders();
}

NSSplitView::~NSSplitView() = default;

void NSSplitView::drawDividerInRect(const QRectF &rect) {
    NSGraphicsContext *const context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    context->setFillColor(palette().color(QPalette::Mid));
    NSRectFill(rect);
}

int NSSplitView::dividerCount() const {
    return std::max(0, int(subviews().size()) - 1);
}

QRectF NSSplitView::dividerRect(int dividerIndex) const {
    const QRectF pane = NSViewFrame(subviews().value(dividerIndex));
    return {pane.x() + pane.width(), 0, dividerThickness(), bounds().height()};
}

double NSSplitView::minPosition(int dividerIndex) const {
    const double least = NSViewFrame(subviews().value(dividerIndex)).x();
    const auto limit = asked(
        m_delegate, "splitViewConstrainMinCoordinate:x:ofSubviewAt:", {self(this), least, dividerIndex});
    const double most =
        std::max(least, NSViewFrame(subviews().value(dividerIndex + 1)).x() +
                            NSViewFrame(subviews().value(dividerIndex + 1)).width() - dividerThickness());
    return limit ? std::clamp(limit->toDouble(), least, most) : least;
}

double NSSplitView::maxPosition(int dividerIndex) const {
    const QRectF before = NSViewFrame(subviews().value(dividerIndex));
    const QRectF behind = NSViewFrame(subviews().value(dividerIndex + 1));
    const double most = std::max(before.x(), behind.x() + behind.width() - dividerThickness());
    const auto limit =
        asked(m_delegate, "splitViewConstrainMaxCoordinate:x:ofSubviewAt:", {self(this), most, dividerIndex});
    return std::clamp(limit ? limit->toDouble() : most, minPosition(dividerIndex), most);
}

void NSSplitView::setPosition(double position, int dividerIndex) {
    const QList<QWidget *> panes = subviews();
    if (dividerIndex < 0 || dividerIndex + 1 >= panes.size() || std::isnan(position))
        return;
    QRectF before = NSViewFrame(panes[dividerIndex]);
    QRectF behind = NSViewFrame(panes[dividerIndex + 1]);
    const double at = std::max(std::min(position, maxPosition(dividerIndex)), minPosition(dividerIndex));
    before.setWidth(at - before.x());
    behind.setLeft(at + dividerThickness());
    NSViewSetFrame(panes[dividerIndex], before);
    NSViewSetFrame(panes[dividerIndex + 1], behind);
    placeDividers();
    update();
}

void NSSplitView::resizeSubviewsWithOldSize(const QSizeF &oldSize) {
    if (!asked(m_delegate, "splitViewResizeSubviewsWithOldSize:size:", {self(this), oldSize}))
        adjustSubviews();
    placeDividers();
}

void NSSplitView::adjustSubviews() {
    const QList<QWidget *> panes = subviews();
    double before = 0;
    for (const QWidget *pane : panes)
        before += NSViewFrame(pane).width();
    const QSizeF size = bounds().size();
    const double now = std::max(0.0, size.width() - dividerThickness() * dividerCount());
    double x = 0;
    for (QWidget *pane : panes) {
        const double width =
            before > 0 ? now * NSViewFrame(pane).width() / before : now / double(panes.size());
        NSViewSetFrame(pane, {x, 0, width, size.height()});
        x += width + dividerThickness();
    }
}

bool NSSplitView::isDividerHidden(int dividerIndex) const {
    const QRectF rect = dividerRect(dividerIndex);
    const bool isAtEdge = rect.left() <= 0 || rect.right() >= bounds().width();
    return isAtEdge &&
           asked(m_delegate, "splitViewShouldHideDividerAtIndex:index:", {self(this), dividerIndex})
               .value_or(false)
               .toBool();
}

void NSSplitView::drawRect(const QRectF &) {
    for (int i = 0; i < dividerCount(); ++i)
        if (!isDividerHidden(i))
            drawDividerInRect(dividerRect(i));
}

void NSSplitView::placeDividers() {
    while (m_dividers.size() > dividerCount())
        delete m_dividers.takeLast();
    while (m_dividers.size() < dividerCount())
        m_dividers.append(new SplitDivider(*this, int(m_dividers.size())));
    for (int i = 0; i < int(m_dividers.size()); ++i) {
        const QRectF rect = dividerRect(i);
        const int x = int(std::floor(std::clamp(rect.x(), 0.0, double(width())) + 0.5));
        m_dividers[i]->setGeometry(x - reach, 0, int(std::ceil(rect.width())) + 2 * reach, height());
        m_dividers[i]->setVisible(!isDividerHidden(i));
        m_dividers[i]->raise();
    }
}

void NSSplitView::takePanes() {
    for (QWidget *pane : subviews()) {
        pane->installEventFilter(this);
        NSViewSetFrame(pane, NSViewFrame(pane)); // from now on it is a frame that counts
    }
}

void NSSplitView::awakeFromNib() {
    takePanes();
}

bool NSSplitView::event(QEvent *event) {
    switch (event->type()) {
    case QEvent::ChildAdded:
    case QEvent::ChildRemoved:
        // Whether it is a pane can't be known yet, or no longer.
        QCoreApplication::postEvent(this, new QEvent(QEvent::LayoutRequest));
        break;
    case QEvent::LayoutRequest:
        takePanes();
        if (m_dividers.size() != dividerCount()) {
            resizeSubviewsWithOldSize(bounds().size());
            placeDividers();
            update();
        }
        break;
    default:
        break;
    }
    return NSView::event(event);
}

bool NSSplitView::eventFilter(QObject *pane, QEvent *event) {
    if ((event->type() == QEvent::Move || event->type() == QEvent::Resize) && pane->parent() == this) {
        placeDividers();
        update();
    }
    return NSView::eventFilter(pane, event);
}

#include "moc_NSSplitView.cpp"
