// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRQuilletLibrary.h"
#include "ZRKit/Values/AnyText.h"
#include "ZRKit/Values/NSAutoresizing+ZRKit.h"
#include "platform/interface/NSView.h"

#include <concepts>
#include <memory>

/// Short words for a view's geometry, for stacking subviews, and for looking through a tree of views. A view is any
/// QWidget, and its frame is NSViewFrame(): points from the bottom left corner of the superview. Setters round, positions
/// by round(), half away from zero, and sizes up, unless they say otherwise. nil (nullptr) has the neutral value, and
/// setting anything of it does nothing. Main thread only.
namespace ZRKit {

/// A length or position as an argument: any number. Flags and characters aren't taken for numbers.
class AnyLength {
public:
    template <typename Number>
    requires(std::floating_point<Number> ||
             (std::integral<Number> && !std::same_as<Number, bool> && !std::same_as<Number, char> &&
              !std::same_as<Number, wchar_t> && !std::same_as<Number, char8_t> &&
              !std::same_as<Number, char16_t> && !std::same_as<Number, char32_t>)) AnyLength(Number number)
        : m_value(double(number)) {}
    operator double() const { return m_value; }

private:
    double m_value;
};

// Where a view is

double left(const QWidget *view);   ///< x
double top(const QWidget *view);    ///< y
double right(const QWidget *view);  ///< x + width
double bottom(const QWidget *view); ///< y + height
double width(const QWidget *view);
double height(const QWidget *view);
QPointF origin(const QWidget *view); ///< (left, top)
QSizeF size(const QWidget *view);
QPointF center(const QWidget *view); ///< the frame's mid point
double centerX(const QWidget *view);
double centerY(const QWidget *view);
QPointF topRight(const QWidget *view);    ///< (right, top)
QPointF bottomLeft(const QWidget *view);  ///< (left, bottom)
QPointF bottomRight(const QWidget *view); ///< (right, bottom)
/// The sum of left() of the view and all its ancestors up to the window.
double screenX(const QWidget *view);
/// The sum of top() of the same.
double screenY(const QWidget *view);

/// x = round(v).
void setLeft(QWidget *view, AnyLength v);
/// y = round(v).
void setTop(QWidget *view, AnyLength v);
/// x = round(v - width).
void setRight(QWidget *view, AnyLength v);
/// y = round(v), as setTop(): bottom() is v + height then. Packing relies on it.
void setBottom(QWidget *view, AnyLength v);
/// width = ceil(v).
void setWidth(QWidget *view, AnyLength v);
/// height = ceil(v); y moves, so that y + height stays.
void setHeight(QWidget *view, AnyLength v);
/// Not rounded.
void setOrigin(QWidget *view, const QPointF &origin);
/// Both rounded up.
void setSize(QWidget *view, const QSizeF &size);
/// Not rounded.
void setCenter(QWidget *view, const QPointF &center);
/// The centre becomes (round(v), centerY).
void setCenterX(QWidget *view, AnyLength v);
/// The centre becomes (centerX, round(v)).
void setCenterY(QWidget *view, AnyLength v);
/// Moves the centre, not rounded.
/// \return the new centre
QPointF moveDelta(QWidget *view, AnyLength dx, AnyLength dy);
void moveBy(QWidget *view, AnyLength dx, AnyLength dy);
/// Width and height times the factor, not rounded; the origin stays.
void scaleBy(QWidget *view, AnyLength factor);
/// Shrinks the view in its proportions so that it fits into width by height, and rounds its sides up in any case. It never grows.
void setSizeWithAspectFit(QWidget *view, AnyLength width, AnyLength height);
/// Scales the view in its proportions to the height if it is higher, and then to the width if it isn't narrower. A side of 0 is
/// left out. Not rounded; the origin stays.
void fitInSize(QWidget *view, AnyLength width, AnyLength height);
/// Rounds all four numbers of the frame by round().
/// \return the view
QWidget *normalizeFrame(QWidget *view);
/// NSViewSizeToFit(), as the mask has it: what isn't flexible on the right or at the top stays, so that x goes left by what the
/// view gets wider, and y down by what it gets higher. If both margins are flexible, the origin stays.
void sizeToFitRespectingAutoresizingMask(QWidget *view);

// Making and changing

/// A new view of the class, which belongs to the caller.
template <std::derived_from<QWidget> View = NSView>
std::unique_ptr<View> newWithFrame(const QRectF &frame) {
    auto view = std::make_unique<View>();
    NSViewSetFrame(view.get(), frame);
    return view;
}
/// With the origin (0, 0).
template <std::derived_from<QWidget> View = NSView>
std::unique_ptr<View> newWithSize(const QSizeF &size) {
    return newWithFrame<View>(QRectF(QPointF(), size));
}
/// Gives the subview the view's bounds as its frame and adds it.
void addFilledSubview(QWidget *view, QWidget *subview);
/// As for a view of the platform; here for any widget.
template <std::derived_from<QWidget> View, std::same_as<bool> Flag>
requires(!HasAutoresizingMask<View>) View *setStretch(View *view, Flag flag) {
    NSViewSetAutoresizingMask(view, flag ? NSViewWidthSizable | NSViewHeightSizable : NSViewNotSizable);
    return view;
}
/// See NSViewRemoveAllAnimations().
void removeAllAnimations(QWidget *view);
/// Removes the last subview until there is none. They belong to the caller, as NSViewRemoveFromSuperview() has it.
void removeAllSubviews(QWidget *view);
/// Whether the view gets the keys when its window is active.
bool isFirstResponder(const QWidget *view);
/// Does nothing.
void findAndResignFirstResponder(QWidget *view);
/// The application's first open document; nullptr if none is open.
ZRQuilletLibrary *library(const QWidget *view);

// Looking through the tree

/// The nearest of the view and its ancestors that is of the class or a subclass; nullptr if none is.
QWidget *ancestorOrSelfWithClass(QWidget *view, const QMetaObject &viewClass);
/// The view itself if it is of the class or a subclass, otherwise nullptr: no descendant is ever found.
QWidget *descendantOrSelfWithClass(QWidget *view, const QMetaObject &viewClass);
template <std::derived_from<QWidget> View>
View *ancestorOrSelfWithClass(QWidget *view) {
    return static_cast<View *>(ancestorOrSelfWithClass(view, View::staticMetaObject));
}
template <std::derived_from<QWidget> View>
View *descendantOrSelfWithClass(QWidget *view) {
    return static_cast<View *>(descendantOrSelfWithClass(view, View::staticMetaObject));
}
/// The first of the view and its descendants, from the back to the front and each before those in it, whose class has
/// exactly that name, without namespaces; nullptr if none has.
QWidget *findSubViewByClassName(QWidget *view, const AnyText &name);

/// The classes of a view and of all that is in it, a line each; those of subviews have one tab more.
/// \param receiver  makes no difference
/// \param tabs      what each line begins with; nil for nothing
QString showSubviews(const QWidget *receiver, const QWidget *view, const AnyText &tabs);
/// Appends a line for a view, and for each that is in it, one deeper: "--" ("**" if the view is hidden or its alpha value is not
/// above 0) as often as the depth says, then "[ 1] NSView {{0, 0}, {10, 10}}" with the depth, the class and the frame.
/// \param receiver  makes no difference
void dumpView(const QWidget *receiver, const QWidget *view, int atIndent, QString &into);
/// The dump of the view at depth 0.
QString dump(const QWidget *view);
/// The dump of the content view of the view's window: its central widget if it is a main window, otherwise the window itself.
QString dumpAll(const QWidget *view);

// Stacking subviews; hidden ones take no room

/// Stands the subviews on one another, each rounded with the gap, so that the first is on top and the last above the bottom
/// margin, and gives the view the height of all with both margins; its y + height stays.
/// \return the new height
double packVerticallyWithGap(QWidget *view, AnyLength gap, AnyLength top, AnyLength bottom);
double packVerticallyWithGap(QWidget *view, AnyLength gap, AnyLength top);
double packVertically(QWidget *view);
/// Puts the subviews beside one another, each rounded with the gap, the first behind the left margin, and gives the view
/// the width up to the end of the last one. There is no margin on the right.
/// \return where the next one would stand: the end of the last one and one more gap
double packHorizontallyWithGap(QWidget *view, AnyLength gap, AnyLength left);
double packHorizontally(QWidget *view);

} // namespace ZRKit
