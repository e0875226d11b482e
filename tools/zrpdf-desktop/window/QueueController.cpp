// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/QueueController.h"

#include "ZRKit/Interface/ZRMenu.h"
#include "platform/files/NSPathUtilities.h"
#include "tools/zrpdf-desktop/window/ConversionDelegate.h"

#include <QApplication>
#include <QClipboard>
#include <QCoreApplication>
#include <QFileDialog>
#include <QItemSelectionModel>
#include <algorithm>

using namespace Qt::StringLiterals;
using State = Conversion::State;

namespace {

bool canBeTried(const Conversion *conversion) {
    return conversion->state() == State::Failed || conversion->state() == State::Cancelled;
}

} // namespace

QueueController::QueueController() = default;

QueueController::~QueueController() {
    if (!isViewLoaded())
        return;
    m_rows.disconnect(this);
    m_queueList->selectionModel()->disconnect(this);
    m_queueList->setModel(nullptr);
}

void QueueController::viewDidLoad() {
    m_queueList->setModel(&m_rows);
    m_queueList->setItemDelegate(new ConversionDelegate(m_queueList));
    m_progressBar->hide();
    m_statusLabel->hide();
    // What is dropped on a field is a document too.
    for (QWidget *widget : view()->findChildren<QWidget *>())
        widget->setAcceptDrops(false);

    connect(m_addFilesButton, &QPushButton::clicked, this, &QueueController::addFiles);
    connect(m_convertButton, &QPushButton::clicked, this, &QueueController::convertText);
    connect(m_tryAgainButton, &QPushButton::clicked, this, &QueueController::tryAgain);
    connect(m_cancelButton, &QPushButton::clicked, this, &QueueController::cancel);
    connect(m_removeButton, &QPushButton::clicked, this, &QueueController::remove);
    connect(m_queueList, &QWidget::customContextMenuRequested, this, &QueueController::showMenu);
    connect(m_queueList->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &QueueController::update);
    connect(m_queueList->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &QueueController::update);
    connect(&m_rows, &QAbstractItemModel::dataChanged, this, &QueueController::update);
    // A list that is filled anew has forgotten what was selected.
    connect(&m_rows, &QAbstractItemModel::modelAboutToBeReset, this, &QueueController::rememberSelection);
    connect(&m_rows, &QAbstractItemModel::modelReset, this, &QueueController::restoreSelection);
}

void QueueController::setHistory(History &history, ConversionQueue &queue) {
    m_history = &history;
    m_queue = &queue;
    m_rows.setConversions(history.conversions());
    m_titleField->bind(u"value"_s, &history, u"title"_s);
    m_creatorField->bind(u"value"_s, &history, u"creator"_s);
    connect(&queue, &ConversionQueue::progressed, this, &QueueController::showProgress);
    showProgress();
    select(history.all().value(0));
    update();
}

bool QueueController::add(const QMimeData &data) {
    const QList<Source> sources = Source::sourcesWithMimeData(data);
    add(sources);
    return !sources.isEmpty();
}

void QueueController::add(const QList<Source> &sources) {
    if (sources.isEmpty() || !m_queue)
        return;
    endEditing();
    m_queue->add(sources);
    // The first of the new ones, as the latest stand at the top.
    const QList<Conversion *> all = m_history->all();
    select(all.value(std::min(all.size(), sources.size()) - 1));
}

void QueueController::addFiles() {
    auto *const dialog = new QFileDialog(
        view()->window(), QCoreApplication::translate("QueueController", "Add Files"), QString(),
        QCoreApplication::translate(
            "QueueController", "Documents (*.html *.htm *.xhtml *.mht *.mhtml *.webarchive *.txt *.svg *.png "
                               "*.jpg *.jpeg *.gif *.webp);;All files (*)"));
    dialog->setObjectName(u"addFilesDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    connect(dialog, &QFileDialog::filesSelected, this, [this](const QStringList &paths) {
        QList<Source> sources;
        for (const QString &path : paths)
            sources << Source::withArgument(NSFileSystemRepresentation(path));
        add(sources);
    });
    dialog->open();
}

void QueueController::paste() {
    if (const QMimeData *const data = QApplication::clipboard()->mimeData())
        add(*data);
}

void QueueController::convertText() {
    const QList<Source> sources = Source::sourcesWithText(m_documentField->stringValue());
    if (sources.isEmpty() || !m_queue) {
        focusText();
        return;
    }
    m_documentField->setObjectValue(u""_s);
    add(sources);
}

Conversion *QueueController::selected() const {
    const QList<Conversion *> all = allSelected();
    Conversion *const current = m_rows.conversionAt(m_queueList->currentIndex());
    return all.contains(current) ? current : all.value(0);
}

QList<Conversion *> QueueController::allSelected() const {
    QList<Conversion *> conversions;
    if (!isViewLoaded())
        return conversions;
    for (const QModelIndex &index : m_queueList->selectionModel()->selectedIndexes())
        if (Conversion *const conversion = m_rows.conversionAt(index))
            conversions << conversion;
    return conversions;
}

bool QueueController::canTryAgain() const {
    const QList<Conversion *> all = allSelected();
    return std::any_of(all.begin(), all.end(), canBeTried);
}

bool QueueController::canCancel() const {
    const QList<Conversion *> all = allSelected();
    return std::any_of(all.begin(), all.end(),
                       [](const Conversion *conversion) { return conversion->isWaiting(); });
}

void QueueController::tryAgain() {
    if (canTryAgain())
        m_queue->tryAgain(allSelected());
}

void QueueController::cancel() {
    if (canCancel())
        m_queue->cancel(allSelected());
}

void QueueController::remove() {
    const QList<Conversion *> removed = allSelected();
    if (removed.isEmpty())
        return;
    // The one below takes their place.
    int row = m_queueList->currentIndex().row();
    m_queue->remove(removed);
    row = std::min(row, m_rows.rowCount() - 1);
    select(m_rows.conversionAt(m_rows.index(row, 0)));
}

void QueueController::removeFinished() {
    QList<Conversion *> finished = m_history ? m_history->all() : QList<Conversion *>();
    finished.removeIf([](const Conversion *conversion) { return conversion->isWaiting(); });
    if (!finished.isEmpty())
        m_queue->remove(finished);
}

void QueueController::focusText() {
    m_documentField->becomeFirstResponder();
}

void QueueController::focusTitle() {
    m_titleField->becomeFirstResponder();
}

void QueueController::focusList() {
    m_queueList->setFocus(Qt::ShortcutFocusReason);
}

void QueueController::endEditing() {
    if (!isViewLoaded())
        return;
    for (ZRTextField *field : {m_titleField, m_creatorField})
        if (field->currentEditor())
            focusList();
}

void QueueController::rememberSelection() {
    m_remembered = allSelected();
    m_rememberedCurrent = m_rows.conversionAt(m_queueList->currentIndex());
}

void QueueController::restoreSelection() {
    QItemSelectionModel *const selection = m_queueList->selectionModel();
    for (int row = 0; row < m_rows.rowCount(); ++row) {
        const QModelIndex index = m_rows.index(row, 0);
        const Conversion *const conversion = m_rows.conversionAt(index);
        if (conversion == m_rememberedCurrent)
            selection->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        if (std::find(m_remembered.begin(), m_remembered.end(), conversion) != m_remembered.end())
            selection->select(index, QItemSelectionModel::Select);
    }
    m_remembered.clear();
    m_rememberedCurrent = nullptr;
    update();
}

void QueueController::select(const Conversion *conversion) {
    for (int row = 0; row < m_rows.rowCount(); ++row) {
        const QModelIndex index = m_rows.index(row, 0);
        if (m_rows.conversionAt(index) != conversion)
            continue;
        m_queueList->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
        m_queueList->scrollTo(index);
        return;
    }
}

void QueueController::update() {
    m_tryAgainButton->setEnabled(canTryAgain());
    m_cancelButton->setEnabled(canCancel());
    m_removeButton->setEnabled(canRemove());
    Q_EMIT selectionChanged();
}

void QueueController::showProgress() {
    const int waiting = m_queue->waiting(), done = m_queue->done();
    m_progressBar->setVisible(waiting > 0);
    m_progressBar->setRange(0, waiting + done);
    m_progressBar->setValue(done);
    QString text;
    if (waiting > 0)
        text = QCoreApplication::translate("QueueController", "%1 of %2 converted")
                   .arg(done)
                   .arg(waiting + done);
    else if (!m_history->isKept())
        text = QCoreApplication::translate("QueueController", "The history can't be kept this time");
    m_statusLabel->setStringValue(text);
    m_statusLabel->setVisible(!text.isEmpty());
}

void QueueController::showMenu(const QPoint &place) {
    ZRMenu menu;
    const auto add = [&](const char *title, bool enabled, void (QueueController::*slot)()) {
        QAction *const item =
            menu.addAction(QCoreApplication::translate("QueueController", title), this, slot);
        item->setEnabled(enabled);
    };
    add(QT_TRANSLATE_NOOP("QueueController", "Try &Again"), canTryAgain(), &QueueController::tryAgain);
    add(QT_TRANSLATE_NOOP("QueueController", "Ca&ncel"), canCancel(), &QueueController::cancel);
    add(QT_TRANSLATE_NOOP("QueueController", "&Remove"), canRemove(), &QueueController::remove);
    menu.exec(m_queueList->viewport()->mapToGlobal(place));
}
