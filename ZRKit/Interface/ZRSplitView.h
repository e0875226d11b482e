// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSSplitView.h"

#include <QString>
#include <QVariant>
#include <concepts>

/// A split view of two panes with a divider of one point. The widths of both have limits, and the right pane can be pinned: it
/// keeps its width then when the view is resized. Main thread only.
///
/// Interface files set the attributes "minleft", "maxleft", "minright" and "maxright" (numbers) and "fixRight" (a flag),
/// written just so; others do nothing.
class ZRSplitView : public NSSplitView {
    Q_OBJECT

public:
    using NSSplitView::NSSplitView;

    // The limits of the panes' widths, in points: what was set, or if that is 0, the view's width less what was set as the
    // opposite limit of the other pane; 0 if that is negative. So without any limit the left pane has all of the width.
    Q_INVOKABLE double minLeft() const;
    Q_INVOKABLE double minRight() const;
    Q_INVOKABLE double maxLeft() const;
    Q_INVOKABLE double maxRight() const;
    void setMinLeft(double width) { m_minLeft = width; }
    void setMinRight(double width) { m_minRight = width; }
    void setMaxLeft(double width) { m_maxLeft = width; }
    void setMaxRight(double width) { m_maxRight = width; }
    /// Whether the right pane keeps its width, so that the left one takes all changes.
    Q_INVOKABLE bool fixRight() const { return m_fixRight; }
    void setFixRight(std::same_as<bool> auto flag) { m_fixRight = flag; }

    /// Logs an assertion if there aren't exactly two subviews. Makes the view its own delegate if it has none.
    void awakeFromNib() override;
    void viewWillMoveToSuperview(QWidget *superview) override;

    double dividerThickness() const override { return 1; }
    /// In a light grey.
    void drawDividerInRect(const QRectF &rect) override;

    /// Lays out both panes: the pinned right one keeps its width; otherwise the left one does, as far as there is room.
    void updateSplitview();
    /// Brings both panes' widths within their limits, of which the smallest one wins, and lays out.
    void resizeSubviewsWithOldSize(const QSizeF &oldSize) override;

    // What the view says as its own delegate. The divider can be dragged within the left pane's limits.
    Q_INVOKABLE double splitViewConstrainMinCoordinate(NSSplitView *view, double proposedMinimum,
                                                       int ofSubviewAt) const;
    Q_INVOKABLE double splitViewConstrainMaxCoordinate(NSSplitView *view, double proposedMaximum,
                                                       int ofSubviewAt) const;
    Q_INVOKABLE void splitViewResizeSubviewsWithOldSize(NSSplitView *view, const QSizeF &oldSize);
    Q_INVOKABLE bool splitViewShouldHideDividerAtIndex(NSSplitView *view, int dividerIndex) const;

    /// Takes an attribute. Numbers are read by toFloat(), the flag by toBool().
    Q_INVOKABLE void setValue(const QVariant &value, const QString &forUndefinedKey);

private:
    double m_minLeft = 0;
    double m_minRight = 0;
    double m_maxLeft = 0;
    double m_maxRight = 0;
    bool m_fixRight = false;
};
