// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <functional>
#include <unistd.h>

/// An application that ends the process once its first window has been painted and is on its way to the screen; with
/// isEnough(), once something has been painted while that holds.
class UntilPainted : public QApplication {
public:
    using QApplication::QApplication;

    std::function<bool()> isEnough;

    bool notify(QObject *receiver, QEvent *event) override {
        if (event->type() == QEvent::Paint && receiver->isWidgetType())
            m_isPainted = !isEnough || isEnough();
        const bool isOutermost = m_depth++ == 0;
        const bool result = QApplication::notify(receiver, event);
        --m_depth;
        if (m_isPainted && isOutermost)
            ::_exit(0);
        return result;
    }

private:
    int m_depth = 0;
    bool m_isPainted = false;
};
