// SPDX-License-Identifier: MIT
#pragma once

#include <QPointF>
#include <QRectF>

class QWidget;

namespace zr {

/// The exact frames of widgets beside their integer geometries. Main thread only.
///
/// A frame that was set stays exact, and the widget is put where the frame's edges are nearest on the window's grid of points:
/// what touches exactly touches on the screen, whichever superviews it is in. If Qt, a layout or the user sets the geometry,
/// the frame follows it. If the superview's size changes, the frame follows by its mask, as if the superview had taken its
/// present size in one step from the one that it had when frame and mask were set; so it comes back exactly.
///
/// A widget that got neither a frame nor a mask is Qt's: its frame is what its geometry makes of it.
namespace ViewFrame {

QRectF get(const QWidget *view);
void set(QWidget *view, const QRectF &frame);

unsigned mask(const QWidget *view);
void setMask(QWidget *view, unsigned mask);

/// Brings the view's frame and geometry together, if its superview has changed since.
void settle(QWidget *view);
/// The same for the view's subviews, if its size has changed.
void settleSubviews(QWidget *view);

} // namespace ViewFrame

} // namespace zr
