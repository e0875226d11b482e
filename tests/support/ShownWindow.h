// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QTest>
#include <QWidget>

/// A window that is shown and active, for views to be put into. Keys typed with QTest reach widgets without the
/// keyboard focus too: ask who has it.
class ShownWindow : public QWidget {
public:
    ShownWindow() { resize(400, 300); }

    /// Shows what was put into it.
    bool becomeActive() {
        show();
        activateWindow();
        return QTest::qWaitForWindowActive(this);
    }

    /// Types into the widget that has the keyboard focus.
    static bool type(const QString &text) {
        if (!QApplication::focusWidget())
            return false;
        QTest::keyClicks(QApplication::focusWidget(), text);
        return true;
    }
    static bool press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        if (!QApplication::focusWidget())
            return false;
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
        return true;
    }
};
