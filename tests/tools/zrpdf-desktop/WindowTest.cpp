// SPDX-License-Identifier: MIT
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-desktop/DesktopTest.h"
#include "tests/tools/zrpdf-desktop/Presented.h"
#include "tools/zrpdf-desktop/preview/SheetPrinter.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMenuBar>
#include <QMimeData>
#include <QPrinter>
#include <QSet>
#include <QTest>
#include <QUrl>
#include <unistd.h>

using namespace Qt::StringLiterals;
using State = Conversion::State;

namespace {

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString shownIn(QWidget *view) {
    return qobject_cast<NSTextField *>(view)->stringValue();
}

/// The letter behind the "&" of a text; null if there is none.
QChar mnemonicOf(QString text) {
    text.remove(u"&&"_s);
    const qsizetype mark = text.indexOf(u'&');
    return mark < 0 || mark + 1 >= text.size() ? QChar() : text[mark + 1].toUpper();
}

const Source page =
    Source::withMarkup(u"<!DOCTYPE html><body style='font:16px sans-serif'><h1>A page</h1><p>Some words."_s);

TEST_F(DesktopTest, TheWindowIsThereBeforeTheStoreAndTheService) {
    MainWindowController early;
    early.show();
    EXPECT_TRUE(early.window()->isVisible());
    EXPECT_EQ(early.history(), nullptr);
    EXPECT_EQ(early.window()->windowTitle(), u"One-Page PDF"_s);
    EXPECT_FALSE(early.queueController().isViewLoaded());
    ASSERT_TRUE(QTest::qWaitFor([&] { return early.previewController().isViewLoaded(); }, patience));
    EXPECT_EQ(early.window()->menuBar()->actions().size(), 3);
    early.window()->close();
}

TEST_F(DesktopTest, ADroppedFileBecomesAPageOnTheRight) {
    start();
    QMimeData data;
    data.setUrls(
        {QUrl::fromLocalFile(put(u"report.html"_s, "<h1>Report</h1><p style='height:2000px'>tall"))});
    ASSERT_TRUE(drop(data));
    ASSERT_EQ(all().size(), 1);
    ASSERT_TRUE(settled());
    EXPECT_EQ(all()[0]->state(), State::Done) << all()[0]->error().toStdString();
    EXPECT_EQ(queue().selected(), all()[0]);
    EXPECT_TRUE(preview().hasPDF());
    EXPECT_EQ(preview().preview()->pageSize().width(), 800);
    EXPECT_GT(preview().preview()->pageSize().height(), 2000);
    EXPECT_TRUE(shownIn(find<QWidget>(u"detailLabel"_s)).startsWith(u"report.html, 800 ×"));
    picture(u"done"_s);
}

TEST_F(DesktopTest, DocumentsNamedAtTheStartAreConverted) {
    start({page, Source::withBytes("words")});
    ASSERT_EQ(all().size(), 2);
    ASSERT_TRUE(settled());
    EXPECT_EQ(all()[0]->state(), State::Done);
    EXPECT_EQ(all()[1]->state(), State::Done);
    EXPECT_EQ(queue().selected(), all()[1]);
}

TEST_F(DesktopTest, WhatHoldsNoDocumentIsNotTaken) {
    start();
    EXPECT_FALSE(drop(QMimeData()));
    QMimeData blank;
    blank.setText(u"  "_s);
    EXPECT_FALSE(drop(blank));
    EXPECT_TRUE(all().isEmpty());
}

TEST_F(DesktopTest, PastingMakesADocumentUnlessAFieldIsEdited) {
    start();
    QApplication::clipboard()->setText(u"data:text/html,<p>pasted"_s);
    queue().focusList();
    press(Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all()[0]->kind(), Source::Kind::Address);
    QApplication::clipboard()->setText(u"A pasted title"_s);
    press(Qt::Key_F3);
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(all().size(), 1);
    EXPECT_EQ(shownIn(find<QWidget>(u"titleField"_s)), u"A pasted title"_s);
    ASSERT_TRUE(settled());
}

TEST_F(DesktopTest, EverythingCanBeDoneByKeyboard) {
    start();
    press(Qt::Key_F3);
    type(u"My title"_s);
    press(Qt::Key_Tab);
    type(u"Me"_s);
    press(Qt::Key_F2);
    type(u"<h1>Typed</h1>"_s);
    press(Qt::Key_Return);
    type(u"<p>in two lines"_s);
    press(Qt::Key_Return, Qt::ControlModifier);
    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all()[0]->source().content(), "<h1>Typed</h1>\n<p>in two lines");
    EXPECT_EQ(all()[0]->title(), u"My title"_s);
    EXPECT_EQ(all()[0]->creator(), u"Me"_s);
    EXPECT_EQ(shownIn(find<QWidget>(u"documentField"_s)), u""_s);
    ASSERT_TRUE(settled());

    press(Qt::Key_F4);
    EXPECT_EQ(QApplication::focusWidget(), find<QWidget>(u"queueList"_s));
    press(Qt::Key_Delete);
    EXPECT_TRUE(all().isEmpty());
    press(Qt::Key_Z, Qt::ControlModifier);
    ASSERT_EQ(all().size(), 1);
    press(Qt::Key_Home);
    ASSERT_TRUE(settled());
    EXPECT_EQ(queue().selected(), all()[0]);

    press(Qt::Key_F5);
    EXPECT_EQ(QApplication::focusWidget(), preview().preview());
    const double zoom = preview().preview()->zoom();
    press(Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_GT(preview().preview()->zoom(), zoom);
    press(Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(preview().preview()->zoom(), 1);
    press(Qt::Key_0, Qt::ControlModifier);
    EXPECT_TRUE(preview().preview()->fitsWidth());

    press(Qt::Key_S, Qt::ControlModifier);
    auto *const dialog = window().findChild<QFileDialog *>(u"saveDialog"_s);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->selectedFiles().value(0).section(u'/', -1), u"My title.pdf"_s);
    dialog->reject();
}

TEST_F(DesktopTest, TabReachesEveryControl) {
    start({page});
    ASSERT_TRUE(settled());
    queue().focusText();
    QSet<QString> reached;
    for (int i = 0; i < 40; ++i) {
        for (QWidget *widget = QApplication::focusWidget(); widget; widget = widget->parentWidget())
            reached.insert(widget->objectName());
        press(Qt::Key_Tab);
    }
    for (const QString &name :
         {u"documentField"_s, u"addFilesButton"_s, u"convertButton"_s, u"titleField"_s, u"creatorField"_s,
          u"queueList"_s, u"removeButton"_s, u"saveButton"_s, u"openButton"_s, u"copyButton"_s,
          u"printButton"_s, u"zoomOutButton"_s, u"zoomInButton"_s, u"fitButton"_s, u"preview"_s})
        EXPECT_TRUE(reached.contains(name)) << name.toStdString();
}

TEST_F(DesktopTest, ScreenReadersHaveANameForEveryControl) {
    start({page});
    ASSERT_TRUE(settled());
    int controls = 0;
    for (QWidget *widget : window().findChildren<QWidget *>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus || widget->focusProxy())
            continue;
        QAccessibleInterface *const accessible = QAccessible::queryAccessibleInterface(widget);
        ASSERT_TRUE(accessible);
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
            << widget->metaObject()->className() << ' ' << widget->objectName().toStdString();
        ++controls;
    }
    EXPECT_GE(controls, 12);
    const QAbstractItemModel *const rows = find<QListView>(u"queueList"_s)->model();
    EXPECT_TRUE(rows->index(0, 0).data(Qt::AccessibleTextRole).toString().startsWith(u"Pasted HTML, Done, "));
}

TEST_F(DesktopTest, AFailureSaysWhyAndCanBeTriedAgain) {
    start();
    const QString late = path(u"late.html"_s);
    program().queue()->add({});
    queue().add({Source::withArgument(late.toUtf8())});
    ASSERT_TRUE(settled());
    EXPECT_EQ(all()[0]->state(), State::Failed);
    auto *const again = find<QPushButton>(u"tryAgainButton"_s);
    QPushButton *const besidePage = preview().view()->findChild<QPushButton *>(u"tryAgainButton"_s);
    EXPECT_TRUE(again->isEnabled());
    ASSERT_TRUE(besidePage->isVisible());
    EXPECT_FALSE(find<QPushButton>(u"saveButton"_s)->isEnabled());
    const QAbstractItemModel *const rows = find<QListView>(u"queueList"_s)->model();
    EXPECT_EQ(rows->index(0, 0).data(ConversionRows::DetailRole).toString(),
              u"Failed. No such file or directory"_s);
    picture(u"failed"_s);
    put(u"late.html"_s, "<p>here");
    QTest::mouseClick(besidePage, Qt::LeftButton);
    ASSERT_TRUE(settled());
    EXPECT_EQ(all()[0]->state(), State::Done);
    EXPECT_FALSE(besidePage->isVisible());
    EXPECT_TRUE(find<QPushButton>(u"saveButton"_s)->isEnabled());
}

TEST_F(DesktopTest, AServicesReasonIsShownWithItsCause) {
    start({Source::withArgument("http://127.0.0.1:1/")});
    ASSERT_TRUE(settled());
    const QAbstractItemModel *const rows = find<QListView>(u"queueList"_s)->model();
    const QString detail = rows->index(0, 0).data(ConversionRows::DetailRole).toString();
    EXPECT_TRUE(detail.startsWith(u"Failed. HTML to PDF converter did fail: ")) << detail.toStdString();
    EXPECT_TRUE(detail.contains(u"net::ERR_")) << detail.toStdString();
}

TEST_F(DesktopTest, WhatRunsCanBeCancelledByEscape) {
    start({endless()});
    ASSERT_TRUE(isAsked());
    EXPECT_TRUE(find<QWidget>(u"progressBar"_s)->isVisible());
    EXPECT_EQ(shownIn(find<QWidget>(u"statusLabel"_s)), u"0 of 1 converted"_s);
    picture(u"converting"_s);
    queue().focusList();
    press(Qt::Key_Escape);
    ASSERT_TRUE(settled());
    EXPECT_EQ(all()[0]->state(), State::Cancelled);
    EXPECT_FALSE(find<QWidget>(u"progressBar"_s)->isVisible());
}

TEST_F(DesktopTest, TitleAndCreatorAreRememberedAndUndone) {
    start();
    press(Qt::Key_F3);
    type(u"Remembered"_s);
    press(Qt::Key_F4);
    EXPECT_EQ(program().history()->title(), u"Remembered"_s);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(shownIn(find<QWidget>(u"titleField"_s)), u""_s);
    press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(shownIn(find<QWidget>(u"titleField"_s)), u"Remembered"_s);
    // The end of the program ends the editing too.
    press(Qt::Key_F3);
    press(Qt::Key_Tab);
    type(u"Somebody"_s);
    stop();
    start();
    EXPECT_EQ(shownIn(find<QWidget>(u"titleField"_s)), u"Remembered"_s);
    EXPECT_EQ(shownIn(find<QWidget>(u"creatorField"_s)), u"Somebody"_s);
}

TEST_F(DesktopTest, TheHistorySurvivesARestart) {
    start({page});
    ASSERT_TRUE(settled());
    const QByteArray before = contentOf(program().queue()->pathOf(*all()[0]));
    stop();
    start();
    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all()[0]->state(), State::Done);
    EXPECT_EQ(contentOf(program().queue()->pathOf(*all()[0])), before);
    EXPECT_EQ(queue().selected(), all()[0]);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(preview().hasPDF());
}

TEST_F(DesktopTest, UndoNamesWhatItTakesBack) {
    start({page});
    ASSERT_TRUE(settled());
    QAction *const undo = window().menuBar()->actions()[1]->menu()->actions()[0];
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_EQ(undo->text(), u"&Undo"_s);
    queue().remove();
    EXPECT_TRUE(undo->isEnabled());
    EXPECT_EQ(undo->text(), u"&Undo Remove"_s);
    undo->trigger();
    EXPECT_EQ(all().size(), 1);
    EXPECT_FALSE(undo->isEnabled());
}

TEST_F(DesktopTest, AllThatIsFinishedIsRemovedAndNothingElse) {
    start({page, Source::withArgument("/missing.html"), endless()});
    ASSERT_TRUE(isAsked());
    queue().removeFinished();
    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all()[0]->state(), State::Converting);
    program().history()->undo();
    EXPECT_EQ(all().size(), 3);
}

TEST_F(DesktopTest, SavingWritesTheFileOrSaysWhyNot) {
    start({page});
    ASSERT_TRUE(settled());
    const QByteArray pdf = contentOf(program().queue()->pathOf(*all()[0]));
    preview().saveTo(path(u"saved.pdf"_s));
    ASSERT_TRUE(settled());
    EXPECT_EQ(contentOf(path(u"saved.pdf"_s)), pdf);
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return shownIn(find<QWidget>(u"detailLabel"_s)) == u"Saved as saved.pdf"_s; }, patience));
    preview().saveTo(path(u"missing/saved.pdf"_s));
    EXPECT_TRUE(QTest::qWaitFor(
        [this] {
            return shownIn(find<QWidget>(u"detailLabel"_s)) ==
                   u"saved.pdf could not be saved: No such file or directory"_s;
        },
        patience));
}

TEST_F(DesktopTest, OtherProgramsGetAFileWithTheTitlesName) {
    start();
    program().history()->setTitle(u"A title"_s);
    queue().add({page});
    ASSERT_TRUE(settled());
    const QByteArray pdf = contentOf(program().queue()->pathOf(*all()[0]));
    queue().focusList();
    press(Qt::Key_C, Qt::ControlModifier);
    const QList<QUrl> urls = QApplication::clipboard()->mimeData()->urls();
    ASSERT_EQ(urls.size(), 1);
    EXPECT_EQ(urls[0].fileName(), u"A title.pdf"_s);
    EXPECT_EQ(contentOf(urls[0].toLocalFile()), pdf);
    // The same file for what is dragged, as long as the program lives.
    const std::unique_ptr<QMimeData> dragged(preview().mimeData());
    EXPECT_EQ(dragged->urls(), urls);
    stop();
    EXPECT_TRUE(QFile::exists(urls[0].toLocalFile()));
    QApplication::clipboard()->clear();
}

TEST_F(DesktopTest, PrintingGoesOnWithoutTheWindowWaiting) {
    start({Source::withMarkup(u"<p style='height:5000px'>tall"_s)});
    ASSERT_TRUE(settled());
    const auto printer = std::make_shared<QPrinter>();
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(path(u"printed.pdf"_s));
    printer->setResolution(SheetPrinter::resolution);
    QStringList said;
    QObject::connect(&preview(), &PreviewController::said, [&](const QString &text) { said << text; });
    preview().printOn(printer);
    EXPECT_EQ(said, QStringList{u"Printing…"_s});
    ASSERT_TRUE(QTest::qWaitFor([&] { return said.last() == u"Printed"_s; }, patience));
    EXPECT_TRUE(contentOf(path(u"printed.pdf"_s)).startsWith("%PDF-"));
}

TEST_F(DesktopTest, ClosingWhileConvertingLeavesNoProcess) {
    start({endless(), page});
    ASSERT_TRUE(isAsked());
    const auto processes = ProcessTree::below(::getpid());
    EXPECT_FALSE(processes.empty());
    stop();
    start();
    for (const Conversion *conversion : all())
        EXPECT_EQ(conversion->state(), State::Cancelled);
    EXPECT_EQ(all().size(), 2);
}

TEST_F(DesktopTest, ADamagedStoreIsToldAndTheWindowWorks) {
    QDir().mkpath(path(u"XDG_DATA_HOME/zrpdf-desktop"_s));
    put(u"XDG_DATA_HOME/zrpdf-desktop/Data.db"_s, QByteArray("no database ").repeated(1000));
    const auto presented = std::make_shared<Presented>();
    NSErrorPresenter::setSharedPresenter(presented);
    start({page});
    NSErrorPresenter::setSharedPresenter(nullptr);
    EXPECT_FALSE(presented->errors.isEmpty());
    ASSERT_TRUE(settled());
    EXPECT_EQ(all()[0]->state(), State::Done);
    EXPECT_EQ(shownIn(find<QWidget>(u"statusLabel"_s)), u"The history can't be kept this time"_s);
}

TEST_F(DesktopTest, MnemonicsAreUniqueInBothLanguages) {
    for (const QString &language : {u"en"_s, u"de"_s}) {
        speak(language);
        start();
        QList<QChar> letters;
        for (const QAbstractButton *button : window().findChildren<QAbstractButton *>())
            if (const QChar letter = mnemonicOf(button->text()); !letter.isNull())
                letters << letter;
        EXPECT_GE(letters.size(), 9);
        for (const QAction *menu : window().menuBar()->actions()) {
            letters << mnemonicOf(menu->text());
            QSet<QChar> items;
            for (const QAction *item : menu->menu()->actions())
                if (!item->isSeparator()) {
                    const QChar letter = mnemonicOf(item->text());
                    EXPECT_FALSE(letter.isNull() || items.contains(letter)) << item->text().toStdString();
                    items.insert(letter);
                }
        }
        std::sort(letters.begin(), letters.end());
        EXPECT_EQ(std::adjacent_find(letters.begin(), letters.end()), letters.end())
            << QString(letters.constData(), letters.size()).toStdString();
        stop();
    }
}

TEST_F(DesktopTest, GermansReadGerman) {
    speak(u"de"_s);
    start({page, Source::withArgument("/missing.html"), Source::withArgument("http://127.0.0.1:1/")});
    ASSERT_TRUE(settled());
    EXPECT_EQ(window().windowTitle(), u"Einseiten-PDF"_s);
    EXPECT_EQ(find<QPushButton>(u"convertButton"_s)->text(), u"&Umwandeln"_s);
    EXPECT_EQ(window().menuBar()->actions()[0]->text(), u"&Datei"_s);
    EXPECT_EQ(qobject_cast<NSTextField *>(find<QWidget>(u"titleField"_s))->placeholderString(),
              u"Kein Titel"_s);
    const QAbstractItemModel *const rows = find<QListView>(u"queueList"_s)->model();
    EXPECT_TRUE(rows->index(0, 0)
                    .data(ConversionRows::DetailRole)
                    .toString()
                    .startsWith(u"Fehlgeschlagen. Das Dokument ließ sich nicht umwandeln: "));
    for (const QAbstractButton *button : window().findChildren<QAbstractButton *>()) {
        if (button->isVisible()) {
            EXPECT_GE(button->width(), button->minimumSizeHint().width()) << button->text().toStdString();
        }
    }
    picture(u"german"_s);
}

TEST_F(DesktopTest, LongNamesAreCutAndTheWindowKeepsItsSize) {
    start();
    const QSize before = window().size();
    program().history()->setTitle(QString(400, u'W'));
    queue().add({page, Source::withArgument("/missing/" + QByteArray(300, 'x') + ".html")});
    program().history()->setTitle(u"Ein Titel mit Bären, שלום und 漢字"_s);
    queue().add({page});
    ASSERT_TRUE(settled());
    EXPECT_EQ(window().size(), before);
    EXPECT_LE(preview().view()->width() + queue().view()->width(), before.width());
    picture(u"long"_s);
}

TEST_F(DesktopTest, LightAndDarkChangeWhileItRuns) {
    start({page, Source::withArgument("/missing.html")});
    ASSERT_TRUE(settled());
    const QPalette light = QApplication::palette();
    QPalette dark(QColor(45, 45, 48));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::Text, Qt::white);
    const auto lightness = [](const QImage &image, const QPoint &place) {
        return image.pixelColor(place).lightness();
    };
    const QWidget *const list = find<QWidget>(u"queueList"_s);
    const QPoint empty = list->mapTo(&window(), QPoint(list->width() / 2, list->height() - 20));
    const QWidget *const pane = find<QWidget>(u"leftPane"_s);
    const QPoint edge = pane->mapTo(&window(), QPoint(3, 3));
    const QImage before = picture(u"light"_s);
    EXPECT_GT(lightness(before, empty), 200);
    EXPECT_GT(lightness(before, edge), 200);
    QApplication::setPalette(dark);
    QApplication::processEvents();
    const QImage after = picture(u"dark"_s);
    EXPECT_LT(lightness(after, empty), 60);
    EXPECT_LT(lightness(after, edge), 80);
    QApplication::setPalette(light);
    QApplication::processEvents();
    EXPECT_GT(lightness(picture(u"light-again"_s), empty), 200);
}

} // namespace
