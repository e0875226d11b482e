// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/MainWindowController.h"

#include "tools/zrpdf-desktop/window/Program.h"

#include <QDropEvent>
#include <QMimeData>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// A window looks its title up without a prefix.
[[maybe_unused]] constexpr const char *title = QT_TRANSLATE_NOOP("", "One-Page PDF");

} // namespace

MainWindowController::MainWindowController()
    : ZRWindowController(u"MainWindow"_s), m_queueController(ZRViewController::make<QueueController>()),
      m_previewController(ZRViewController::make<PreviewController>()) {
}

MainWindowController::~MainWindowController() {
    if (!isWindowLoaded())
        return;
    m_queueController->endEditing();
    window()->removeEventFilter(this);
    m_queueController->disconnect(this);
    m_leftPane->setViewController(nullptr);
    m_rightPane->setViewController(nullptr);
    // Each is used by those before it.
    m_menu.reset();
    m_queueController.reset();
    m_previewController.reset();
    m_queue.reset();
    m_history.reset();
}

void MainWindowController::windowDidLoad() {
    NSWindow *const frame = window();
    frame->setAcceptDrops(true);
    frame->installEventFilter(this);
}

void MainWindowController::show(const QList<Source> &sources) {
    m_sources = sources;
    showWindow();
}

bool MainWindowController::eventFilter(QObject *watched, QEvent *event) {
    switch (event->type()) {
    case QEvent::Paint:
        if (!m_isPainted) {
            m_isPainted = true;
            QTimer::singleShot(0, this, &MainWindowController::fill);
        }
        break;
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto *const drag = static_cast<QDropEvent *>(event);
        // What is dragged out of the window isn't for it.
        if (!drag->source() && Source::canRead(*drag->mimeData())) {
            drag->setDropAction(Qt::CopyAction);
            drag->accept();
            return true;
        }
        break;
    }
    case QEvent::Drop: {
        auto *const drop = static_cast<QDropEvent *>(event);
        if (!drop->source() && m_queueController->add(*drop->mimeData())) {
            drop->setDropAction(Qt::CopyAction);
            drop->accept();
            return true;
        }
        break;
    }
    default:
        break;
    }
    return ZRWindowController::eventFilter(watched, event);
}

/// Puts the panes into the window.
void MainWindowController::fill() {
    m_leftPane->setViewController(m_queueController);
    m_rightPane->setViewController(m_previewController);
    m_menu = std::make_unique<MainMenu>(*window(), *m_queueController, *m_previewController);
    window()->recalculateKeyViewLoop();
    m_queueController->focusText();
    connect(m_queueController.get(), &QueueController::selectionChanged, this,
            &MainWindowController::showSelected);
    connect(m_previewController.get(), &PreviewController::tryAgainWanted, m_queueController.get(),
            &QueueController::tryAgain);
    connect(m_previewController->preview(), &PreviewView::changed, m_menu.get(), &MainMenu::update);
    QTimer::singleShot(0, this, &MainWindowController::start);
}

/// Opens the history, and has documents converted.
void MainWindowController::start() {
    Program::finish();
    m_history = std::make_unique<History>();
    m_history->open();
    m_queue = std::make_unique<ConversionQueue>(*m_history);
    m_queueController->setHistory(*m_history, *m_queue);
    m_menu->setHistory(*m_history);
    m_queue->begin();
    m_queueController->add(std::exchange(m_sources, {}));
    Q_EMIT started();
}

void MainWindowController::showSelected() {
    const Conversion *const conversion = m_queueController->selected();
    m_previewController->show(conversion, conversion && m_queue ? m_queue->pathOf(*conversion) : QString());
    m_menu->update();
}
