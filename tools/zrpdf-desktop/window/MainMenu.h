// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRMenu.h"
#include "tools/zrpdf-desktop/window/PreviewController.h"
#include "tools/zrpdf-desktop/window/QueueController.h"

#include <QObject>

class QMainWindow;

/// The window's menus: all that can be done, each with its key. Main thread.
class MainMenu : public QObject {
    Q_OBJECT

public:
    /// Puts the menus into the window's menu bar. All arguments must outlive the menus.
    MainMenu(QMainWindow &window, QueueController &queue, PreviewController &preview);

    /// What undoing and redoing is about, once there is a history.
    void setHistory(History &history);
    /// Switches items on and off.
    void update();

private:
    template <typename Receiver, typename Slot>
    QAction *add(ZRMenu *menu, const char *title, const QKeySequence &key, Receiver *receiver, Slot slot);
    ZRMenu *addMenu(const char *title);
    QAction *addStep(ZRMenu *menu, const char *title, const QKeySequence &key, void (History::*step)());

    QueueController &m_queue;
    PreviewController &m_preview;
    History *m_history = nullptr;
    ZRMenu m_root;
    QAction *m_undo = nullptr, *m_redo = nullptr, *m_tryAgain = nullptr, *m_cancel = nullptr,
            *m_remove = nullptr;
    QList<QAction *> m_forPDF, m_forPage;
};
