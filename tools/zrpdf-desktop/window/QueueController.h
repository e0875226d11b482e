// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "ZRKit/Interface/ZRTextField.h"
#include "ZRKit/Interface/ZRViewController.h"
#include "tools/zrpdf-desktop/model/ConversionQueue.h"
#include "tools/zrpdf-desktop/window/ConversionRows.h"

#include <QListView>
#include <QProgressBar>
#include <QPushButton>

class QMimeData;

/// The left pane: where documents come in, what the next ones are called, and the list of all. Main thread.
class QueueController : public ZRViewController {
    Q_OBJECT
    Q_PROPERTY(ZRTextEditorField *documentField MEMBER m_documentField)
    Q_PROPERTY(QPushButton *addFilesButton MEMBER m_addFilesButton)
    Q_PROPERTY(QPushButton *convertButton MEMBER m_convertButton)
    Q_PROPERTY(ZRTextField *titleField MEMBER m_titleField)
    Q_PROPERTY(ZRTextField *creatorField MEMBER m_creatorField)
    Q_PROPERTY(QListView *queueList MEMBER m_queueList)
    Q_PROPERTY(QProgressBar *progressBar MEMBER m_progressBar)
    Q_PROPERTY(ZRLabel *statusLabel MEMBER m_statusLabel)
    Q_PROPERTY(QPushButton *tryAgainButton MEMBER m_tryAgainButton)
    Q_PROPERTY(QPushButton *cancelButton MEMBER m_cancelButton)
    Q_PROPERTY(QPushButton *removeButton MEMBER m_removeButton)

public:
    QueueController();
    ~QueueController() override;

    /// Shows a history that is open, and its queue; both must outlive the view.
    void setHistory(History &history, ConversionQueue &queue);

    /// Adds what was dropped or pasted; false if there is nothing in it.
    bool add(const QMimeData &data);
    void add(const QList<Source> &sources);

    /// The one that is shown on the right; nullptr if none is selected.
    Conversion *selected() const;
    QList<Conversion *> allSelected() const;
    bool canTryAgain() const;
    bool canCancel() const;
    bool canRemove() const { return !allSelected().isEmpty(); }

public Q_SLOTS:
    void addFiles();
    void paste();
    /// Adds what stands in the field, and empties it.
    void convertText();
    void tryAgain();
    void cancel();
    void remove();
    /// Takes all off the list that neither wait nor are converted.
    void removeFinished();
    void focusText();
    void focusTitle();
    void focusList();
    /// Ends the editing of title and creator, so that they count.
    void endEditing();

Q_SIGNALS:
    /// Another one is selected, or the selected one has changed.
    void selectionChanged();

protected:
    void viewDidLoad() override;

private:
    void rememberSelection();
    void restoreSelection();
    void select(const Conversion *conversion);
    void update();
    void showProgress();
    void showMenu(const QPoint &place);

    History *m_history = nullptr;
    ConversionQueue *m_queue = nullptr;
    ConversionRows m_rows;
    QList<Conversion *> m_remembered;
    const Conversion *m_rememberedCurrent = nullptr;

    ZRTextEditorField *m_documentField = nullptr;
    QPushButton *m_addFilesButton = nullptr, *m_convertButton = nullptr;
    ZRTextField *m_titleField = nullptr, *m_creatorField = nullptr;
    QListView *m_queueList = nullptr;
    QProgressBar *m_progressBar = nullptr;
    ZRLabel *m_statusLabel = nullptr;
    QPushButton *m_tryAgainButton = nullptr, *m_cancelButton = nullptr, *m_removeButton = nullptr;
};
