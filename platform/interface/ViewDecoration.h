// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace zr {

/// A widget that is part of a view's own looks, and none of its subviews.
class ViewDecoration : public QWidget {
public:
    using QWidget::QWidget;
};

} // namespace zr
