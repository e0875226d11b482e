// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/PreviewController.h"

#include "platform/files/AtomicFile.h"
#include "platform/files/NSPathUtilities.h"
#include "tools/zrpdf-desktop/preview/SheetPrinter.h"
#include "tools/zrpdf-desktop/window/ConversionText.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDrag>
#include <QFile>
#include <QFileDialog>
#include <QMimeData>
#include <QPrintDialog>
#include <QPrinter>
#include <QStandardPaths>
#include <QUrl>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// What went wrong; nil if nothing did.
QString writeCopy(const QString &from, const QString &to) {
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return source.errorString();
    const QByteArray content = source.readAll();
    zr::AtomicFile file(NSFileSystemRepresentation(to), zr::AtomicFile::Existing::Replaced);
    std::error_code failure = file.open();
    if (!failure)
        failure = file.commit(content);
    return failure ? QString::fromLocal8Bit(failure.message().c_str()) : QString();
}

} // namespace

PreviewController::PreviewController() {
    m_work.setMaxConcurrentOperationCount(1);
}

PreviewController::~PreviewController() {
    *m_ends = true;
    m_work.waitUntilAllOperationsAreFinished();
}

void PreviewController::viewDidLoad() {
    connect(m_saveButton, &QPushButton::clicked, this, &PreviewController::save);
    connect(m_openButton, &QPushButton::clicked, this, &PreviewController::open);
    connect(m_copyButton, &QPushButton::clicked, this, &PreviewController::copy);
    connect(m_printButton, &QPushButton::clicked, this, &PreviewController::print);
    connect(m_zoomOutButton, &QToolButton::clicked, this, &PreviewController::zoomOut);
    connect(m_zoomInButton, &QToolButton::clicked, this, &PreviewController::zoomIn);
    connect(m_fitButton, &QToolButton::clicked, this, &PreviewController::fitWidth);
    connect(m_tryAgainButton, &QPushButton::clicked, this, &PreviewController::tryAgainWanted);
    connect(m_preview, &PreviewView::changed, this, &PreviewController::update);
    connect(m_preview, &PreviewView::dragWanted, this, &PreviewController::drag);
    show(nullptr, QString());
}

void PreviewController::show(const Conversion *conversion, const QString &path) {
    m_path = path;
    m_fileName = conversion ? conversion->suggestedFileName() : QString();
    const bool canBeTried = conversion && (conversion->state() == Conversion::State::Failed ||
                                           conversion->state() == Conversion::State::Cancelled);
    QString message =
        QCoreApplication::translate("PreviewController", "Drop documents here, or paste an address");
    m_about = QString();
    if (conversion) {
        m_about = ConversionText::headline(*conversion);
        message = ConversionText::state(*conversion);
        if (hasPDF())
            message = QCoreApplication::translate("PreviewController", "The page can't be shown");
    }
    m_tryAgainButton->setVisible(canBeTried);
    m_preview->setMessage(message);
    m_preview->setPath(path);
    update();
}

void PreviewController::update() {
    for (QWidget *button :
         std::initializer_list<QWidget *>{m_saveButton, m_openButton, m_copyButton, m_printButton})
        button->setEnabled(hasPDF());
    const bool hasPage = !m_preview->pageSize().isEmpty();
    for (QWidget *button : std::initializer_list<QWidget *>{m_zoomOutButton, m_zoomInButton, m_fitButton})
        button->setEnabled(hasPage);
    QString text = m_about;
    if (hasPage)
        text = QCoreApplication::translate("PreviewController", "%1, %2 × %3 points, %4 %")
                   .arg(m_about)
                   .arg(std::lround(m_preview->pageSize().width()))
                   .arg(std::lround(m_preview->pageSize().height()))
                   .arg(std::lround(m_preview->zoom() * 100));
    m_detailLabel->setStringValue(text);
}

void PreviewController::say(const QString &text) {
    m_detailLabel->setStringValue(text);
    Q_EMIT said(text);
}

bool PreviewController::isBusy() const {
    return m_work.operationCount() > 0;
}

void PreviewController::save() {
    if (!hasPDF())
        return;
    auto *const dialog =
        new QFileDialog(view()->window(), QCoreApplication::translate("PreviewController", "Save PDF"));
    dialog->setObjectName(u"saveDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(QCoreApplication::translate("PreviewController", "PDF documents (*.pdf)"));
    dialog->setDefaultSuffix(u"pdf"_s);
    dialog->setDirectory(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->selectFile(m_fileName);
    connect(dialog, &QFileDialog::fileSelected, this, &PreviewController::saveTo);
    dialog->open();
}

void PreviewController::saveTo(const QString &path) {
    m_work.addOperation(std::make_shared<ZROperation>([this, from = m_path, path](const auto &) {
        const QString failure = writeCopy(from, path);
        const QString name = path.section(u'/', -1);
        const auto tell = [this, failure, name] {
            say(failure.isNull()
                    ? QCoreApplication::translate("PreviewController", "Saved as %1").arg(name)
                    : QCoreApplication::translate("PreviewController", "%1 could not be saved: %2")
                          .arg(name, failure));
        };
        QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
    }));
}

QString PreviewController::copyForOthers() {
    QString copy = hasPDF() ? m_copies.copyOf(m_path, m_fileName) : QString();
    if (copy.isNull() && hasPDF())
        say(QCoreApplication::translate("PreviewController", "The PDF could not be copied"));
    return copy;
}

void PreviewController::open() {
    const QString copy = copyForOthers();
    if (!copy.isNull() && !QDesktopServices::openUrl(QUrl::fromLocalFile(copy)))
        say(QCoreApplication::translate("PreviewController", "No program opens PDFs"));
}

QMimeData *PreviewController::mimeData() {
    const QString copy = copyForOthers();
    if (copy.isNull())
        return nullptr;
    auto *const data = new QMimeData;
    data->setUrls({QUrl::fromLocalFile(copy)});
    return data;
}

void PreviewController::copy() {
    QMimeData *const data = mimeData();
    if (!data)
        return;
    QApplication::clipboard()->setMimeData(data);
    say(QCoreApplication::translate("PreviewController", "The PDF is on the clipboard"));
}

void PreviewController::drag() {
    QMimeData *const data = mimeData();
    if (!data)
        return;
    auto *const drag = new QDrag(m_preview);
    drag->setMimeData(data);
    drag->setPixmap(QApplication::windowIcon().pixmap(48));
    drag->exec(Qt::CopyAction);
}

void PreviewController::print() {
    if (!hasPDF())
        return;
    const auto printer = std::make_shared<QPrinter>();
    printer->setResolution(SheetPrinter::resolution);
    printer->setDocName(m_fileName);
    auto *const dialog = new QPrintDialog(printer.get(), view()->window());
    dialog->setObjectName(u"printDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // How many sheets there are is only known once they are printed.
    dialog->setOption(QAbstractPrintDialog::PrintPageRange, false);
    connect(dialog, qOverload<QPrinter *>(&QPrintDialog::accepted), this,
            [this, printer](QPrinter *) { printOn(printer); });
    // The dialog uses the printer until it is gone.
    connect(dialog, &QObject::destroyed, this, [printer] {});
    dialog->open();
}

void PreviewController::printOn(const std::shared_ptr<QPrinter> &printer) {
    say(QCoreApplication::translate("PreviewController", "Printing…"));
    m_work.addOperation(std::make_shared<ZROperation>([this, printer, path = m_path,
                                                       ends = m_ends](const auto &) {
        const auto tell = [this](const QString &text) {
            QMetaObject::invokeMethod(
                this, [this, text] { say(text); }, Qt::QueuedConnection);
        };
        QFile file(path);
        const auto page = file.open(QIODevice::ReadOnly) ? PDFPage::open(file.readAll()) : nullptr;
        const bool isPrinted = page && SheetPrinter::print(*page, *printer, [&](double progress) {
                                   tell(QCoreApplication::translate("PreviewController", "Printing, %1 %")
                                            .arg(std::lround(progress * 100)));
                                   return !*ends;
                               });
        tell(isPrinted ? QCoreApplication::translate("PreviewController", "Printed")
                       : QCoreApplication::translate("PreviewController", "The page could not be printed"));
    }));
}

void PreviewController::zoomIn() {
    m_preview->zoomIn();
}

void PreviewController::zoomOut() {
    m_preview->zoomOut();
}

void PreviewController::fitWidth() {
    m_preview->setFitsWidth();
}

void PreviewController::showActualSize() {
    m_preview->setActualSize();
}

void PreviewController::focusPage() {
    m_preview->setFocus(Qt::ShortcutFocusReason);
}
