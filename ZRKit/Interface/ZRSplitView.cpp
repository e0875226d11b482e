// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRSplitView.h"

#include "ZRKit/Interface/NSView+ZRKit.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/images/NSGraphicsContext.h"

#include <algorithm>

namespace {

/// A limit that was set, or what the other pane's opposite limit leaves of the width.
double effective(double own, double width, double opposite) {
    return std::max(own != 0 ? own : width - opposite, 0.0);
}

/// The minimum wins over the maximum.
void limitWidth(QWidget *pane, double minimum, double maximum) {
    ZRKit::setWidth(pane, std::max(std::min(ZRKit::width(pane), maximum), minimum));
}

} // namespace

double ZRSplitView::minLeft() const {
    return effective(m_minLeft, ZRKit::width(this), m_maxRight);
}

double ZRSplitView::minRight() const {
    return effective(m_minRight, ZRKit::width(this), m_maxLeft);
}

double ZRSplitView::maxLeft() const {
    return effective(m_maxLeft, ZRKit::width(this), m_minRight);
}

double ZRSplitView::maxRight() const {
    return effective(m_maxRight, ZRKit::width(this), m_minLeft);
}

void ZRSplitView::awakeFromNib() {
    NSSplitView::awakeFromNib();
    if (subviews().size() != 2)
        ZRKit::zxAssertFailed("-[ZRSplitView awakeFromNib]", "self.subviews.count == 2", "ZRSplitView", 18,
                              "We need exactly 2 subviews, not more not less");
    if (!delegate())
        setDelegate(this);
}

void ZRSplitView::viewWillMoveToSuperview(QWidget *superview) {
    NSSplitView::viewWillMoveToSuperview(superview);
}

void ZRSplitView::drawDividerInRect(const QRectF &rect) {
    NSGraphicsContext *const context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    context->setFillColor(QColor::fromRgbF(0.83F, 0.83F, 0.83F));
    NSRectFill(rect);
}

void ZRSplitView::updateSplitview() {
    const double width = ZRKit::width(this);
    const double height = ZRKit::height(this);
    const double thickness = dividerThickness();
    QWidget *const leftPane = subviews().value(0);
    QWidget *const rightPane = subviews().value(1);
    const QRectF left = NSViewFrame(leftPane);
    const QRectF right = NSViewFrame(rightPane);
    const double leftWidth = m_fixRight ? std::max(0.0, width - right.width() - thickness)
                                        : std::min(left.width(), width - thickness);
    NSViewSetFrame(leftPane, {left.x(), left.y(), leftWidth, height});
    NSViewSetFrame(rightPane, {thickness + leftWidth, right.y(), width - (thickness + leftWidth), height});
}

void ZRSplitView::resizeSubviewsWithOldSize(const QSizeF &) {
    limitWidth(subviews().value(0), minLeft(), maxLeft());
    limitWidth(subviews().value(1), minRight(), maxRight());
    updateSplitview();
}

double ZRSplitView::splitViewConstrainMinCoordinate(NSSplitView *, double, int) const {
    return minLeft();
}

double ZRSplitView::splitViewConstrainMaxCoordinate(NSSplitView *, double, int) const {
    return maxLeft();
}

void ZRSplitView::splitViewResizeSubviewsWithOldSize(NSSplitView *, const QSizeF &) {
    updateSplitview();
}

bool ZRSplitView::splitViewShouldHideDividerAtIndex(NSSplitView *, int) const {
    return false;
}

void ZRSplitView::setValue(const QVariant &value, const QString &forUndefinedKey) {
    // The matcher compares in lower case, but these keys are known only as they are written.
    const auto entry = [&](const QString &key, std::function<void()> set) {
        return std::pair<QVariant, std::function<void()>>(key.toLower(),
                                                          [&forUndefinedKey, key, set = std::move(set)] {
                                                              if (forUndefinedKey.endsWith(key))
                                                                  set();
                                                          });
    };
    ZRKit::handleIBKey(
        this, forUndefinedKey,
        {entry(QStringLiteral("minleft"), [&] { m_minLeft = double(ZRKit::toFloat(value)); }),
         entry(QStringLiteral("maxleft"), [&] { m_maxLeft = double(ZRKit::toFloat(value)); }),
         entry(QStringLiteral("minright"), [&] { m_minRight = double(ZRKit::toFloat(value)); }),
         entry(QStringLiteral("maxright"), [&] { m_maxRight = double(ZRKit::toFloat(value)); }),
         entry(QStringLiteral("fixRight"), [&] { m_fixRight = ZRKit::toBool(value); })});
}

#include "moc_ZRSplitView.cpp"
