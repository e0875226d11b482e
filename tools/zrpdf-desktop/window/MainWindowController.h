// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRView.h"
#include "ZRKit/Interface/ZRWindow.h"
#include "ZRKit/Interface/ZRWindowController.h"
#include "tools/zrpdf-desktop/window/MainMenu.h"

#include <memory>

/// The program's window, and all that it shows. Main thread.
///
/// The window comes first; menus and panes follow once it has been painted, then the store is opened, and the service is started
/// with the first document.
class MainWindowController : public ZRWindowController {
    Q_OBJECT
    Q_PROPERTY(ZRView *leftPane MEMBER m_leftPane)
    Q_PROPERTY(ZRView *rightPane MEMBER m_rightPane)

public:
    MainWindowController();
    /// Ends what is being converted.
    ~MainWindowController() override;

    /// Shows the window, and has the documents converted.
    void show(const QList<Source> &sources = {});

    QueueController &queueController() { return *m_queueController; }
    PreviewController &previewController() { return *m_previewController; }
    /// nullptr until the window has been painted for the first time.
    History *history() { return m_history.get(); }
    ConversionQueue *queue() { return m_queue.get(); }

Q_SIGNALS:
    /// The store is open, and documents can be converted.
    void started();

protected:
    void windowDidLoad() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void fill();
    void start();
    void showSelected();

    ZRView *m_leftPane = nullptr, *m_rightPane = nullptr;
    std::unique_ptr<History> m_history;
    std::unique_ptr<ConversionQueue> m_queue;
    std::shared_ptr<QueueController> m_queueController;
    std::shared_ptr<PreviewController> m_previewController;
    std::unique_ptr<MainMenu> m_menu;
    QList<Source> m_sources;
    bool m_isPainted = false;
};
