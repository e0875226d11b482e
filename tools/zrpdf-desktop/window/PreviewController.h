// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRViewController.h"
#include "ZRKit/Operations/ZROperationQueue.h"
#include "tools/zrpdf-desktop/model/Conversion.h"
#include "tools/zrpdf-desktop/preview/PreviewView.h"
#include "tools/zrpdf-desktop/window/PDFCopies.h"

#include <QPushButton>
#include <QToolButton>
#include <atomic>
#include <memory>

class QMimeData;
class QPrinter;

/// The right pane: the page of one conversion, or why there is none, and what can be done with it. Main thread.
class PreviewController : public ZRViewController {
    Q_OBJECT
    Q_PROPERTY(PreviewView *preview MEMBER m_preview)
    Q_PROPERTY(QPushButton *saveButton MEMBER m_saveButton)
    Q_PROPERTY(QPushButton *openButton MEMBER m_openButton)
    Q_PROPERTY(QPushButton *copyButton MEMBER m_copyButton)
    Q_PROPERTY(QPushButton *printButton MEMBER m_printButton)
    Q_PROPERTY(QToolButton *zoomOutButton MEMBER m_zoomOutButton)
    Q_PROPERTY(QToolButton *zoomInButton MEMBER m_zoomInButton)
    Q_PROPERTY(QToolButton *fitButton MEMBER m_fitButton)
    Q_PROPERTY(ZRLabel *detailLabel MEMBER m_detailLabel)
    Q_PROPERTY(QPushButton *tryAgainButton MEMBER m_tryAgainButton)

public:
    PreviewController();
    /// Ends printing and waits for files that are being written.
    ~PreviewController() override;

    /// Shows a conversion, nullptr for none, and its PDF, nil if it has none.
    void show(const Conversion *conversion, const QString &path);
    /// Whether there is a PDF that can be saved, opened, copied or printed.
    bool hasPDF() const { return !m_path.isNull(); }
    PreviewView *preview() const { return m_preview; }

    /// The PDF for the clipboard or another program: a file and its bytes; nullptr if it can't be had. The caller's.
    QMimeData *mimeData();
    /// Writes the PDF to a file, in place of one that is there, and says how that went; returns at once.
    void saveTo(const QString &path);
    /// Prints the page, see SheetPrinter, and returns at once.
    void printOn(const std::shared_ptr<QPrinter> &printer);
    /// Whether something is being saved or printed.
    bool isBusy() const;

public Q_SLOTS:
    void save();
    void open();
    void copy();
    void print();
    void zoomIn();
    void zoomOut();
    void fitWidth();
    void showActualSize();
    void focusPage();

Q_SIGNALS:
    void tryAgainWanted();
    /// Saving or printing has ended; what was said of it.
    void said(const QString &text);

protected:
    void viewDidLoad() override;

private:
    QString copyForOthers();
    void drag();
    void say(const QString &text);
    void update();

    QString m_path, m_fileName, m_about;
    PDFCopies m_copies;
    std::shared_ptr<std::atomic<bool>> m_ends = std::make_shared<std::atomic<bool>>(false);
    ZROperationQueue m_work;

    PreviewView *m_preview = nullptr;
    QPushButton *m_saveButton = nullptr, *m_openButton = nullptr, *m_copyButton = nullptr,
                *m_printButton = nullptr;
    QToolButton *m_zoomOutButton = nullptr, *m_zoomInButton = nullptr, *m_fitButton = nullptr;
    ZRLabel *m_detailLabel = nullptr;
    QPushButton *m_tryAgainButton = nullptr;
};
