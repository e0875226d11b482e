// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/ViewDecoration.h"

class NSSplitView;

namespace zr {

/// What the user takes hold of to move a divider: an invisible strip, a little wider than the divider, that takes the focus.
class SplitDivider : public ViewDecoration {
    Q_OBJECT

public:
    SplitDivider(NSSplitView &view, int index);

    /// Lets screen readers know split views and their dividers for what they are, from now on.
    static void introduceToScreenReaders();

    NSSplitView &view() const { return m_view; }
    int index() const { return m_index; }
    double position() const;

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    NSSplitView &m_view;
    const int m_index;
    bool m_isMarked = false;
    double m_grip = 0; ///< where it was taken hold of, from its position
};

} // namespace zr
