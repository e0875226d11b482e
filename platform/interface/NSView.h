// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSAutoresizingMask.h"

#include <QList>
#include <QPointer>
#include <QRectF>
#include <QWidget>
#include <concepts>
#include <memory>

class QContextMenuEvent;
class QMenu;

namespace zr {
struct ViewMembers;
}

// Views. A view is any QWidget; its frame is a rectangle in points in the coordinates of its superview, whose origin is the
// bottom left corner, y upwards, and is kept to the last digit. Main thread only, all of it. Functions that are given
// nullptr as the view do nothing and give an empty result.

/// The view's frame.
///
/// A frame that was set is what is returned, be it fractional, too large for Qt, not a number, or of a negative size (which
/// shows nothing). The widget gets the integer geometry whose edges are nearest: views that touch neither overlap nor leave a
/// gap. If a layout, the user or anybody else sets the widget's geometry, the frame follows it. Without a superview there is no
/// place for an origin: it is kept, and used once there is one.
QRectF NSViewFrame(const QWidget *view);
void NSViewSetFrame(QWidget *view, const QRectF &frame);
void NSViewSetFrameOrigin(QWidget *view, const QPointF &origin);
void NSViewSetFrameSize(QWidget *view, const QSizeF &size);
/// A rectangle of the frame's size, with the origin (0, 0).
QRectF NSViewBounds(const QWidget *view);

/// Which parts of the frame give way when the superview's size changes, a mask of NSAutoresizingMaskOptions; none at first.
/// Along each axis the flexible ones share the change in proportion to their lengths, equally if these come to nothing; if none
/// is flexible, the margin on the right or at the top takes it. What shrinks below nothing gets a negative length, and comes
/// back exactly. Views that got neither a frame nor a mask, and those in a layout, stay where Qt puts them.
unsigned NSViewAutoresizingMask(const QWidget *view);
void NSViewSetAutoresizingMask(QWidget *view, unsigned mask);

/// The widget that the view is in; nullptr for a window.
QWidget *NSViewSuperview(const QWidget *view);
/// The widgets in the view, from the back to the front; windows are left out.
QList<QWidget *> NSViewSubviews(const QWidget *view);
/// Puts the subview in front of the others in the view, out of its former superview. It keeps its frame's numbers, and is shown
/// unless it was hidden. Nothing happens if one of them is nullptr, or if the subview holds the view.
void NSViewAddSubview(QWidget *view, QWidget *subview);
/// Takes the view out of its superview, which is no longer its owner: it belongs to the caller.
void NSViewRemoveFromSuperview(QWidget *view);

/// Whether the view was hidden by hide() or setHidden(); not whether it can be seen.
bool NSViewIsHidden(const QWidget *view);

/// How opaque the view is drawn, with all that is in it: from 0, not at all, to 1, as it is, which is the initial value.
/// Any number is kept. While it is below 1, the widget has a QGraphicsOpacityEffect.
double NSViewAlphaValue(const QWidget *view);
void NSViewSetAlphaValue(QWidget *view, double alpha);

/// Gives the view the size that its content asks for: by its own invokable sizeToFit() if it has one, otherwise its
/// sizeHint() within its minimum and maximum sizes. The origin stays.
void NSViewSizeToFit(QWidget *view);

/// Stops the animations of the view, at their present values: property animations whose target it is, as far as they are among
/// the objects in its window, and those whose parent it is. One that runs in a group is taken out of it, and is the view's then.
void NSViewRemoveAllAnimations(QWidget *view);

/// Makes the Tab key go through the views of the view's window from the top to the bottom and, within a line, as one reads;
/// the subviews of a view one after the other.
void NSViewRecalculateKeyViewLoop(QWidget *view);

/// A view that draws itself.
class NSView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(unsigned autoresizingMask READ autoresizingMask WRITE setAutoresizingMask)

public:
    explicit NSView(QWidget *superview = nullptr);
    explicit NSView(const QRectF &frame, QWidget *superview = nullptr);

    // What the functions above do, by the names of members.
    Q_INVOKABLE QRectF frame() const { return NSViewFrame(this); }
    Q_INVOKABLE void setFrame(const QRectF &frame) { NSViewSetFrame(this, frame); }
    void setFrameOrigin(const QPointF &origin) { NSViewSetFrameOrigin(this, origin); }
    void setFrameSize(const QSizeF &size) { NSViewSetFrameSize(this, size); }
    Q_INVOKABLE QRectF bounds() const { return NSViewBounds(this); }
    unsigned autoresizingMask() const { return NSViewAutoresizingMask(this); }
    void setAutoresizingMask(unsigned mask) { NSViewSetAutoresizingMask(this, mask); }
    QWidget *superview() const { return NSViewSuperview(this); }
    QList<QWidget *> subviews() const { return NSViewSubviews(this); }
    void addSubview(QWidget *subview) { NSViewAddSubview(this, subview); }
    void removeFromSuperview() { NSViewRemoveFromSuperview(this); }
    Q_INVOKABLE double alphaValue() const { return NSViewAlphaValue(this); }
    void setAlphaValue(double alpha) { NSViewSetAlphaValue(this, alpha); }

    /// Draws the view. There is a current NSGraphicsContext then, whose area are the bounds; its painter is the widget's, whose
    /// origin is at the top left, and is set to the whole points that the view takes on the screen. What it raises
    /// is logged. Does nothing.
    /// \param rect  what has to be drawn at least
    virtual void drawRect(const QRectF &rect);
    /// Has the view drawn anew, soon.
    void setNeedsDisplay(std::same_as<bool> auto flag) {
        if (flag)
            update();
    }

    /// The menu that a click with the right button, or the menu key, brings up; nullptr leaves it to the superview.
    virtual QMenu *menuForEvent(QContextMenuEvent *event);
    /// What menuForEvent() gives if nobody overrides it; nullptr for none. The menu stays the caller's.
    QMenu *menu() const;
    void setMenu(QMenu *menu);

    /// Called once after an interface file has been loaded, when all of its objects are there, subviews before superviews.
    Q_INVOKABLE virtual void awakeFromNib();
    /// Called before the view gets another superview, or none.
    virtual void viewWillMoveToSuperview(QWidget *superview);
    /// See NSViewSizeToFit().
    Q_INVOKABLE virtual void sizeToFit();
    /// Called when the view has got another size, be it visible or not, before any subview's frame is looked at. Does nothing:
    /// the subviews' masks do.
    virtual void resizeSubviewsWithOldSize(const QSizeF &oldSize);
    /// Whether the subviews' masks count.
    virtual bool autoresizesSubviews() const { return true; }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    friend struct zr::ViewMembers;

    QPointer<QMenu> m_menu;
    std::shared_ptr<void> m_frameState; ///< of zr::ViewFrame, which keeps other widgets' in a table
    QSizeF m_noticedSize;               ///< that resizeSubviewsWithOldSize() was called for
};
