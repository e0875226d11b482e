// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSView.h"

/// Subviews side by side, the panes, with a divider between each two that the user can drag, by mouse or, when it has the focus,
/// by keys: left and right arrow move it by 10 points, Home and End as far as it goes. Main thread only.
///
/// Panes are the subviews in their order; the first stands on the left. Their autoresizing masks don't count. A delegate is asked
/// if its meta-object declares the message; in each the view comes first and positions are points from its left edge:
///
/// | message                                                     | asks for                                                |
/// |-------------------------------------------------------------|---------------------------------------------------------|
/// | `double splitViewConstrainMinCoordinate(view, x, divider)`  | the smallest position of the divider; x is that without |
/// | `double splitViewConstrainMaxCoordinate(view, x, divider)`  | the largest; the smallest wins over it                  |
/// | `void splitViewResizeSubviewsWithOldSize(view, size)`       | laying out the panes when the view has another size     |
/// | `bool splitViewShouldHideDividerAtIndex(view, divider)`     | whether a divider at the edge of the view is hidden     |
///
/// In the types of C++ they are `NSSplitView *`, `double`, `int` and `QSizeF`.
class NSSplitView : public NSView {
    Q_OBJECT

public:
    explicit NSSplitView(QWidget *superview = nullptr);
    explicit NSSplitView(const QRectF &frame, QWidget *superview = nullptr);
    ~NSSplitView() override;

    /// Isn't kept alive.
    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

    /// In points; 9 here.
    virtual double dividerThickness() const { return 9; }
    /// Draws a divider: the window's shade of shadows here.
    virtual void drawDividerInRect(const QRectF &rect);

    /// Moves a divider as the user would, within its limits: the panes beside it share the change. Nothing happens if there
    /// is no such divider.
    /// \param position       of its left edge, in points
    /// \param dividerIndex  from 0, that behind the first pane
    void setPosition(double position, int dividerIndex);
    /// The smallest and the largest position that setPosition() can come to.
    double minPosition(int dividerIndex) const;
    double maxPosition(int dividerIndex) const;
    /// Where the divider is: at the end of the pane before it.
    QRectF dividerRect(int dividerIndex) const;
    int dividerCount() const;

    /// Lets the delegate lay out the panes; without one they keep their proportions.
    void resizeSubviewsWithOldSize(const QSizeF &oldSize) override;
    /// Fills the view's height with the panes, and its width in proportion to their widths.
    void adjustSubviews();
    bool autoresizesSubviews() const override { return false; }
    void drawRect(const QRectF &rect) override;
    void awakeFromNib() override;

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *pane, QEvent *event) override;

private:
    bool isDividerHidden(int dividerIndex) const;
    void placeDividers();
    void takePanes();

    QPointer<QObject> m_delegate;
    QList<QWidget *> m_dividers; ///< what is dragged, in front of the panes
};
