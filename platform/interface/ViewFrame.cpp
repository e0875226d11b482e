// SPDX-License-Identifier: MIT
#include "platform/interface/ViewFrame.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/interface/Autoresizing.h"
#include "platform/interface/NSView.h"
#include "platform/values/NSAssociatedObjects.h"

#include <QEvent>
#include <QLayout>
#include <QPointer>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <utility>

using namespace zr;

/// What a view keeps for its frame.
struct zr::ViewMembers {
    static QSizeF &noticedSize(NSView &view) { return view.m_noticedSize; }
    static std::shared_ptr<void> &frameState(NSView &view) { return view.m_frameState; }
    static const std::shared_ptr<void> &frameState(const NSView &view) { return view.m_frameState; }
};

namespace {

const char stateKey = 0;

/// What a superview is to its subviews: its exact size, and how far its exact top left corner is beyond that of its geometry.
struct Grid {
    QSizeF size;
    QPointF offset;
};

struct State {
    QRectF frame;
    unsigned mask = 0;
    /// From where the frame follows the superview's size.
    QRectF reference;
    QSizeF referenceSize;
    QPointer<QWidget> superview;
    Grid grid;      ///< of the superview when the frame was last placed
    QRect geometry; ///< what the frame was mapped to
    QPointF offset; ///< of the frame's top left corner beyond the geometry's
    bool isPlacing = false;
};

// Qt's own comparisons take nearly equal numbers for equal; not-a-number is the same as itself here.
bool isSame(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool isSame(const QSizeF &a, const QSizeF &b) {
    return isSame(a.width(), b.width()) && isSame(a.height(), b.height());
}

bool isSame(const QPointF &a, const QPointF &b) {
    return isSame(a.x(), b.x()) && isSame(a.y(), b.y());
}

std::shared_ptr<State> find(const QWidget *view) {
    const auto *const drawn = qobject_cast<const NSView *>(view);
    return std::static_pointer_cast<State>(drawn ? ViewMembers::frameState(*drawn)
                                                 : NSAssociatedObjects::get(view, &stateKey));
}

int onGrid(double position) {
    if (std::isnan(position))
        return 0;
    return int(std::floor(std::clamp(position, -double(QWIDGETSIZE_MAX), double(QWIDGETSIZE_MAX)) + 0.5));
}

double beyond(double position, int onGrid) {
    const double distance = position - onGrid;
    return std::abs(distance) <= 1 ? distance : 0; // what is too far away to be mapped is nowhere near it
}

bool isLaidOut(const QLayout *layout, const QWidget *view) {
    for (int i = 0; layout && i < layout->count(); ++i) {
        const QLayoutItem *const item = layout->itemAt(i);
        if (item->widget() == view || isLaidOut(const_cast<QLayoutItem *>(item)->layout(), view))
            return true;
    }
    return false;
}

/// Notices superviews that change their size and aren't NSViews, which notice it themselves.
class SuperviewFilter : public QObject {
public:
    bool eventFilter(QObject *superview, QEvent *event) override {
        if (event->type() == QEvent::Resize && superview->isWidgetType())
            ViewFrame::settleSubviews(static_cast<QWidget *>(superview));
        return false;
    }

    static void watch(QWidget *superview) {
        static NeverDestroyed<SuperviewFilter> filter;
        if (!qobject_cast<NSView *>(superview))
            superview->installEventFilter(&*filter);
    }
};

QRect mapped(const QRectF &frame, const Grid &grid) {
    const double left = grid.offset.x() + frame.x();
    const double top = grid.offset.y() + grid.size.height() - frame.y() - frame.height();
    const QPoint corner(onGrid(left), onGrid(top));
    return {corner, QSize(std::clamp(onGrid(left + frame.width()) - corner.x(), 0, QWIDGETSIZE_MAX),
                          std::clamp(onGrid(top + frame.height()) - corner.y(), 0, QWIDGETSIZE_MAX))};
}

/// Puts the widget where its frame is.
void place(QWidget *view, const std::shared_ptr<State> &state, const Grid &grid) {
    state->grid = grid;
    const QRectF &frame = state->frame;
    if (state->superview) {
        state->geometry = mapped(frame, grid);
        state->offset = {
            beyond(grid.offset.x() + frame.x(), state->geometry.x()),
            beyond(grid.offset.y() + grid.size.height() - frame.y() - frame.height(), state->geometry.y())};
    } else {
        // Where a window stands is not its frame's business.
        state->geometry = {view->geometry().topLeft(),
                           mapped(QRectF(QPointF(), frame.size()), {frame.size(), {}}).size()};
        state->offset = {};
    }
    const QPointer<QWidget> living = view; // events may delete it
    state->isPlacing = true;
    if (!state->superview)
        view->resize(state->geometry.size());
    else if (view->geometry() != state->geometry)
        view->setGeometry(state->geometry);
    state->isPlacing = false;
    if (!living)
        return;
    state->geometry = view->geometry(); // a widget has limits of its own
    ViewFrame::settleSubviews(view);
}

void makeReference(State &state) {
    state.reference = state.frame;
    state.referenceSize = state.grid.size;
}

/// Takes the widget's geometry for its frame.
void takeOver(const QWidget *view, State &state, const Grid &grid) {
    const QRect geometry = view->geometry();
    state.geometry = geometry;
    state.grid = grid;
    if (state.superview)
        state.frame = {double(geometry.x()), grid.size.height() - geometry.y() - geometry.height(),
                       double(geometry.width()), double(geometry.height())};
    else
        state.frame.setSize(geometry.size());
    state.offset = grid.offset;
    makeReference(state);
}

/// \param grid  the superview's
void settleIn(QWidget *superview, const Grid &grid, QWidget *view, const std::shared_ptr<State> &state) {
    if (state->isPlacing)
        return;
    if (superview != state->superview) {
        state->superview = superview;
        state->grid = grid;
        makeReference(*state);
        if (superview)
            SuperviewFilter::watch(superview);
        place(view, state, grid);
        return;
    }
    const bool isMoved =
        superview ? view->geometry() != state->geometry : view->size() != state->geometry.size();
    const bool isResized = !isSame(grid.size, state->grid.size);
    if (isMoved || (isResized && superview && isLaidOut(superview->layout(), view))) {
        takeOver(view, *state, grid);
    } else if (isResized) {
        const auto *const drawn = qobject_cast<const NSView *>(superview);
        const unsigned mask = drawn && !drawn->autoresizesSubviews() ? NSViewNotSizable : state->mask;
        state->frame = autoresized(state->reference, state->referenceSize, grid.size, mask);
        place(view, state, grid);
    } else if (!isSame(grid.offset, state->grid.offset)) {
        place(view, state, grid);
    }
}

Grid gridOf(QWidget *view) {
    if (!view)
        return {};
    ViewFrame::settle(view);
    if (const std::shared_ptr<State> state = find(view))
        return {state->frame.size(), state->offset};
    return {view->size(), gridOf(NSViewSuperview(view)).offset};
}

void noticeSize(QWidget *view, const QSizeF &size) {
    auto *const drawn = qobject_cast<NSView *>(view);
    if (drawn && !isSame(size, ViewMembers::noticedSize(*drawn)))
        drawn->resizeSubviewsWithOldSize(std::exchange(ViewMembers::noticedSize(*drawn), size));
}

/// The view's state; a new one has the frame that the geometry gives.
std::shared_ptr<State> stateOf(QWidget *view) {
    if (std::shared_ptr<State> known = find(view))
        return known;
    auto state = std::make_shared<State>();
    state->superview = NSViewSuperview(view);
    if (state->superview)
        SuperviewFilter::watch(state->superview);
    takeOver(view, *state, gridOf(state->superview));
    if (auto *const drawn = qobject_cast<NSView *>(view))
        ViewMembers::frameState(*drawn) = state;
    else
        NSAssociatedObjects::set(view, &stateKey, state);
    return state;
}

} // namespace

QRectF ViewFrame::get(const QWidget *view) {
    if (!view)
        return {};
    // Frames are settled when they are asked for; nothing of the view that can be seen from outside changes.
    auto *const settled = const_cast<QWidget *>(view);
    settle(settled);
    if (const std::shared_ptr<State> state = find(view))
        return state->frame;
    QWidget *const superview = NSViewSuperview(view);
    if (!superview)
        return {QPointF(), QSizeF(view->size())};
    const QRect geometry = view->geometry();
    return {double(geometry.x()), gridOf(superview).size.height() - geometry.y() - geometry.height(),
            double(geometry.width()), double(geometry.height())};
}

void ViewFrame::set(QWidget *view, const QRectF &frame) {
    if (!view)
        return;
    const std::shared_ptr<State> state = stateOf(view);
    if (state->superview != NSViewSuperview(view)) {
        state->superview = NSViewSuperview(view);
        if (state->superview)
            SuperviewFilter::watch(state->superview);
    }
    const Grid grid = gridOf(state->superview);
    state->frame = frame;
    state->grid = grid;
    makeReference(*state);
    place(view, state, grid);
}

unsigned ViewFrame::mask(const QWidget *view) {
    const std::shared_ptr<State> state = find(view);
    return state ? state->mask : 0;
}

void ViewFrame::setMask(QWidget *view, unsigned mask) {
    if (!view)
        return;
    const std::shared_ptr<State> state = stateOf(view);
    settle(view);
    state->mask = mask;
    makeReference(*state);
}

void ViewFrame::settle(QWidget *view) {
    const std::shared_ptr<State> state = find(view);
    if (!state || state->isPlacing)
        return;
    QWidget *const superview = NSViewSuperview(view);
    const Grid grid = gridOf(superview);
    noticeSize(superview, grid.size);
    settleIn(superview, grid, view, state);
}

void ViewFrame::settleSubviews(QWidget *view) {
    const Grid grid = gridOf(view);
    QList<QPointer<QWidget>> subviews; // events may delete some
    for (QWidget *subview : NSViewSubviews(view))
        subviews.append(subview);
    const QPointer<QWidget> living = view;
    noticeSize(view, grid.size);
    for (const QPointer<QWidget> &subview : subviews)
        if (living && subview && NSViewSuperview(subview) == view)
            if (const std::shared_ptr<State> state = find(subview))
                settleIn(view, grid, subview, state);
}
