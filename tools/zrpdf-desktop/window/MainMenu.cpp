// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/MainMenu.h"

#include <QCoreApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What a step is called, "%1" for what it is about.
struct StepTitle {
    const char *plain, *about;
};
constexpr StepTitle undoTitle{QT_TRANSLATE_NOOP("MainMenu", "&Undo"),
                              QT_TRANSLATE_NOOP("MainMenu", "&Undo %1")};
constexpr StepTitle redoTitle{QT_TRANSLATE_NOOP("MainMenu", "&Redo"),
                              QT_TRANSLATE_NOOP("MainMenu", "&Redo %1")};

// The names that the history gives its steps.
[[maybe_unused]] constexpr const char *const steps[] = {
    QT_TRANSLATE_NOOP("MainMenu", "Remove"),
    QT_TRANSLATE_NOOP("MainMenu", "Title"),
    QT_TRANSLATE_NOOP("MainMenu", "Creator"),
};

QString translated(const char *text) {
    return QCoreApplication::translate("MainMenu", text);
}

void show(QAction &item, bool isPossible, const QString &name, const StepTitle &title) {
    item.setEnabled(isPossible);
    item.setText(name.isEmpty() ? translated(title.plain)
                                : translated(title.about).arg(translated(name.toUtf8().constData())));
}

} // namespace

template <typename Receiver, typename Slot>
QAction *MainMenu::add(ZRMenu *menu, const char *title, const QKeySequence &key, Receiver *receiver,
                       Slot slot) {
    QAction *const item = menu->addItemWithTitle(QString::fromUtf8(title));
    item->setShortcut(key);
    connect(item, &QAction::triggered, receiver, [receiver, slot] { std::invoke(slot, receiver); });
    return item;
}

MainMenu::MainMenu(QMainWindow &window, QueueController &queue, PreviewController &preview)
    : m_queue(queue), m_preview(preview) {
    ZRMenu *const file = addMenu(QT_TRANSLATE_NOOP("MainMenu", "&File"));
    add(file, QT_TRANSLATE_NOOP("MainMenu", "&Add Files…"), QKeySequence::Open, &queue,
        &QueueController::addFiles);
    add(file, QT_TRANSLATE_NOOP("MainMenu", "Pa&ste Documents"), QKeySequence::Paste, &queue,
        &QueueController::paste);
    add(file, QT_TRANSLATE_NOOP("MainMenu", "Convert &Text"), Qt::CTRL | Qt::Key_Return, &queue,
        &QueueController::convertText);
    file->addSeparator();
    m_forPDF << add(file, QT_TRANSLATE_NOOP("MainMenu", "Save PD&F As…"), QKeySequence::Save, &preview,
                    &PreviewController::save)
             << add(file, QT_TRANSLATE_NOOP("MainMenu", "&Open PDF"), Qt::CTRL | Qt::SHIFT | Qt::Key_O,
                    &preview, &PreviewController::open)
             << add(file, QT_TRANSLATE_NOOP("MainMenu", "&Copy PDF"), QKeySequence::Copy, &preview,
                    &PreviewController::copy)
             << add(file, QT_TRANSLATE_NOOP("MainMenu", "&Print…"), QKeySequence::Print, &preview,
                    &PreviewController::print);
    file->addSeparator();
    add(file, QT_TRANSLATE_NOOP("MainMenu", "&Quit"), Qt::CTRL | Qt::Key_Q, &window, &QWidget::close);

    ZRMenu *const edit = addMenu(QT_TRANSLATE_NOOP("MainMenu", "&Edit"));
    m_undo = addStep(edit, undoTitle.plain, QKeySequence::Undo, &History::undo);
    m_redo = addStep(edit, redoTitle.plain, QKeySequence::Redo, &History::redo);
    edit->addSeparator();
    m_tryAgain = add(edit, QT_TRANSLATE_NOOP("MainMenu", "&Try Again"), Qt::CTRL | Qt::Key_R, &queue,
                     &QueueController::tryAgain);
    m_cancel = add(edit, QT_TRANSLATE_NOOP("MainMenu", "&Cancel Conversion"), Qt::Key_Escape, &queue,
                   &QueueController::cancel);
    m_remove = add(edit, QT_TRANSLATE_NOOP("MainMenu", "Re&move from List"), QKeySequence::Delete, &queue,
                   &QueueController::remove);
    add(edit, QT_TRANSLATE_NOOP("MainMenu", "Remove &All That Is Finished"), {}, &queue,
        &QueueController::removeFinished);

    ZRMenu *const show = addMenu(QT_TRANSLATE_NOOP("MainMenu", "&View"));
    m_forPage << add(show, QT_TRANSLATE_NOOP("MainMenu", "&Larger"), Qt::CTRL | Qt::Key_Plus, &preview,
                     &PreviewController::zoomIn)
              << add(show, QT_TRANSLATE_NOOP("MainMenu", "&Smaller"), Qt::CTRL | Qt::Key_Minus, &preview,
                     &PreviewController::zoomOut)
              << add(show, QT_TRANSLATE_NOOP("MainMenu", "As Wide as the &Window"), Qt::CTRL | Qt::Key_0,
                     &preview, &PreviewController::fitWidth)
              << add(show, QT_TRANSLATE_NOOP("MainMenu", "&Actual Size"), Qt::CTRL | Qt::Key_1, &preview,
                     &PreviewController::showActualSize);
    show->addSeparator();
    add(show, QT_TRANSLATE_NOOP("MainMenu", "Go to &Text"), Qt::Key_F2, &queue, &QueueController::focusText);
    add(show, QT_TRANSLATE_NOOP("MainMenu", "Go to T&itle"), Qt::Key_F3, &queue,
        &QueueController::focusTitle);
    add(show, QT_TRANSLATE_NOOP("MainMenu", "Go to &Documents"), Qt::Key_F4, &queue,
        &QueueController::focusList);
    add(show, QT_TRANSLATE_NOOP("MainMenu", "Go to &Page"), Qt::Key_F5, &preview,
        &PreviewController::focusPage);

    m_root.setLocalize(true);
    m_root.setLocalizePrefix(u"MainMenu"_s);
    m_root.awakeFromNib();
    m_root.setMenuBar(window.menuBar());
    update();
}

ZRMenu *MainMenu::addMenu(const char *title) {
    auto *const menu = new ZRMenu(QString::fromUtf8(title), &m_root);
    m_root.addMenu(menu);
    return menu;
}

QAction *MainMenu::addStep(ZRMenu *menu, const char *title, const QKeySequence &key,
                           void (History::*step)()) {
    QAction *const item = menu->addItemWithTitle(QString::fromUtf8(title));
    item->setShortcut(key);
    connect(item, &QAction::triggered, this, [this, step] {
        m_queue.endEditing();
        if (m_history)
            (m_history->*step)();
    });
    return item;
}

void MainMenu::setHistory(History &history) {
    m_history = &history;
    connect(&history, &History::changed, this, &MainMenu::update);
    update();
}

void MainMenu::update() {
    show(*m_undo, m_history && m_history->canUndo(), m_history ? m_history->undoName() : QString(),
         undoTitle);
    show(*m_redo, m_history && m_history->canRedo(), m_history ? m_history->redoName() : QString(),
         redoTitle);
    m_tryAgain->setEnabled(m_queue.canTryAgain());
    m_cancel->setEnabled(m_queue.canCancel());
    m_remove->setEnabled(m_queue.canRemove());
    for (QAction *item : std::as_const(m_forPDF))
        item->setEnabled(m_preview.hasPDF());
    const bool hasPage = m_preview.preview() && !m_preview.preview()->pageSize().isEmpty();
    for (QAction *item : std::as_const(m_forPage))
        item->setEnabled(hasPage);
}
