// SPDX-License-Identifier: MIT
#include "platform/interface/NSWindow.h"

#include "platform/base/NSException.h"
#include "platform/interface/NSApplication.h"
#include "tests/support/Expect.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

class Delegate : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE bool windowShouldClose(QObject *window) {
        asked << window;
        return agrees;
    }
    Q_INVOKABLE void windowWillClose(QObject *window) {
        wasVisible = qobject_cast<QWidget *>(window)->isVisible();
        told << window;
    }

    bool agrees = true;
    bool wasVisible = false;
    QObjectList asked, told;
};

class Window : public NSWindow {
public:
    int closed = 0;
    bool wasVisible = true;
    bool refuses = false;

protected:
    void didClose() override {
        NSWindow::didClose();
        ++closed;
        wasVisible = isVisible();
    }
    void closeEvent(QCloseEvent *event) override {
        NSWindow::closeEvent(event);
        event->setAccepted(!refuses);
    }
};

/// A field that has its own say, as the kit's text fields do.
class OwnField : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;
    Q_INVOKABLE bool becomeFirstResponder() { return ++asked, answer; }

    int asked = 0;
    bool answer = true;
};

class NSWindowTest : public testing::Test {
protected:
    void show() {
        window.makeKeyAndOrderFront();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    Window window;
};

} // namespace

TEST_F(NSWindowTest, AFrameIsMeasuredFromTheScreensBottomLeft) {
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    window.setFrame(QRectF(30, 40, 200, 100));
    EXPECT_EQ(window.frame(), QRectF(30, 40, 200, 100));
    EXPECT_EQ(window.frameGeometry(), QRect(screen.x() + 30, screen.y() + screen.height() - 140, 200, 100));
    window.setFrame(QRectF(30.4, 40.6, 200.2, 100.5));
    EXPECT_EQ(window.frame(), QRectF(30, 41, 201, 100)) << "edges are rounded";
}

TEST_F(NSWindowTest, NumbersThatAreNoPlacesDoNoHarm) {
    const double undefined = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const QRectF &frame :
         {QRectF(undefined, undefined, undefined, undefined), QRectF(0, 0, infinite, infinite),
          QRectF(1e300, -1e300, 10, 10), QRectF(0, 0, -5, -5)})
        window.setFrame(frame);
    EXPECT_GE(window.width(), 0);
    EXPECT_LE(window.frame().width(), 1e6);
}

TEST_F(NSWindowTest, TheContentViewFillsTheWindow) {
    auto *const content = new QWidget;
    EXPECT_EQ(window.contentView(), nullptr);
    window.setContentView(content);
    EXPECT_EQ(window.contentView(), content);
    window.resize(300, 200);
    show();
    EXPECT_EQ(content->size(), QSize(300, 200));
}

TEST_F(NSWindowTest, AContentViewThatIsReplacedBelongsToTheCaller) {
    const std::unique_ptr<QWidget> first = std::make_unique<QWidget>();
    const std::unique_ptr<QWidget> second = std::make_unique<QWidget>();
    window.setContentView(first.get());
    window.setContentView(second.get());
    EXPECT_EQ(first->parent(), nullptr);
    window.setContentView(nullptr);
    EXPECT_EQ(second->parent(), nullptr);
    EXPECT_EQ(window.contentView(), nullptr);
}

TEST_F(NSWindowTest, ClosingByCodeAsksNobody) {
    Delegate delegate;
    delegate.agrees = false;
    window.setDelegate(&delegate);
    show();
    EXPECT_TRUE(window.close());
    EXPECT_TRUE(delegate.asked.isEmpty());
    EXPECT_EQ(delegate.told, QObjectList{&window});
    EXPECT_TRUE(delegate.wasVisible);
    EXPECT_EQ(window.closed, 1);
    EXPECT_FALSE(window.wasVisible);
}

TEST_F(NSWindowTest, ClosingByTheUserAsksTheDelegate) {
    Delegate delegate;
    delegate.agrees = false;
    window.setDelegate(&delegate);
    show();
    window.performClose();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.closed, 0);
    delegate.agrees = true;
    window.performClose();
    EXPECT_EQ(delegate.asked, (QObjectList{&window, &window}));
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(window.closed, 1);
}

TEST_F(NSWindowTest, AWindowThatRefusesIsNotClosedByBeingHiddenLater) {
    window.refuses = true;
    show();
    EXPECT_FALSE(window.close());
    window.orderOut();
    EXPECT_EQ(window.closed, 0);
    window.refuses = false;
    show();
    EXPECT_TRUE(window.close());
    EXPECT_EQ(window.closed, 1);
}

TEST_F(NSWindowTest, AHiddenWindowCanBeClosedToo) {
    window.close();
    EXPECT_EQ(window.closed, 1);
    show();
    window.orderOut();
    EXPECT_EQ(window.closed, 1) << "to be ordered out is not to be closed";
    window.close();
    EXPECT_EQ(window.closed, 2) << "closing counts each time";
}

TEST_F(NSWindowTest, ADelegateIsNotKept) {
    auto delegate = std::make_unique<Delegate>();
    window.setDelegate(delegate.get());
    delegate.reset();
    EXPECT_EQ(window.delegate(), nullptr);
    window.performClose();
    EXPECT_EQ(window.closed, 1);
}

TEST_F(NSWindowTest, TheFirstResponderIsTheWindowsFocusWidget) {
    auto *const content = new QWidget;
    auto *const field = new QLineEdit(content);
    auto *const button = new QPushButton(content);
    auto *const plain = new QWidget(content);
    QWidget elsewhere;
    window.setContentView(content);
    show();
    EXPECT_TRUE(window.makeFirstResponder(field));
    EXPECT_EQ(window.firstResponder(), field);
    EXPECT_TRUE(field->hasFocus());
    EXPECT_TRUE(window.makeFirstResponder(button));
    EXPECT_FALSE(field->hasFocus());
    EXPECT_FALSE(window.makeFirstResponder(plain)) << "takes no focus";
    EXPECT_FALSE(window.makeFirstResponder(&elsewhere)) << "is in no window, or another";
    field->setEnabled(false);
    EXPECT_FALSE(window.makeFirstResponder(field));
    field->setEnabled(true);
    field->hide();
    EXPECT_FALSE(window.makeFirstResponder(field));
    EXPECT_EQ(window.firstResponder(), button);
    EXPECT_TRUE(window.makeFirstResponder(&window));
    EXPECT_EQ(window.firstResponder(), &window);
    EXPECT_TRUE(window.makeFirstResponder(nullptr));
}

TEST_F(NSWindowTest, AViewMaySayItselfWhetherItBecomesFirstResponder) {
    auto *const content = new QWidget;
    auto *const field = new OwnField(content);
    window.setContentView(content);
    show();
    EXPECT_TRUE(window.makeFirstResponder(field));
    field->answer = false;
    EXPECT_FALSE(window.makeFirstResponder(field));
    EXPECT_EQ(field->asked, 2);
}

TEST_F(NSWindowTest, EditingEndsForTheFirstResponderAndWhatItIsIn) {
    auto *const content = new QWidget;
    auto *const box = new QWidget(content);
    auto *const field = new QLineEdit(box);
    auto *const other = new QLineEdit(content);
    window.setContentView(content);
    show();
    const QSignalSpy ended(field, &QLineEdit::editingFinished);
    field->setFocus();
    QTest::keyClick(field, Qt::Key_X);
    window.endEditingFor(other);
    EXPECT_TRUE(field->hasFocus());
    window.endEditingFor(box);
    EXPECT_EQ(ended.size(), 1);
    EXPECT_EQ(window.firstResponder(), &window);
    field->setFocus();
    QTest::keyClick(field, Qt::Key_X);
    window.endEditingFor(nullptr);
    EXPECT_EQ(ended.size(), 2);
}

TEST_F(NSWindowTest, EditingEndsInAWindowWithoutTheKeysToo) {
    auto *const field = new QLineEdit;
    window.setContentView(field);
    show();
    field->setFocus();
    QTest::keyClick(field, Qt::Key_X);
    const QSignalSpy ended(field, &QLineEdit::editingFinished);
    NSWindow other;
    other.makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    ASSERT_FALSE(field->hasFocus());
    window.endEditingFor(nullptr);
    EXPECT_EQ(ended.size(), 1);
}

TEST_F(NSWindowTest, TheKeyViewLoopGoesByRowsFromTheTop) {
    auto *const content = new QWidget;
    QList<QLineEdit *> fields;
    for (const QPoint &place : {QPoint(0, 80), QPoint(100, 10), QPoint(0, 10)}) {
        fields.append(new QLineEdit(content));
        fields.last()->setGeometry(QRect(place, QSize(80, 20)));
    }
    window.setContentView(content);
    window.resize(300, 200);
    show();
    window.recalculateKeyViewLoop();
    fields[2]->setFocus();
    QTest::keyClick(&window, Qt::Key_Tab);
    EXPECT_EQ(window.firstResponder(), fields[1]);
    QTest::keyClick(fields[1], Qt::Key_Tab);
    EXPECT_EQ(window.firstResponder(), fields[0]);
}

TEST_F(NSWindowTest, ASheetBlocksItsWindowUntilItIsEnded) {
    show();
    NSWindow sheet;
    QList<qint64> codes;
    NSApplication &application = NSApplication::sharedApplication();
    application.beginSheet(&sheet, &window, [&](qint64 code) { codes << code; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &sheet; }));
    EXPECT_EQ(window.attachedSheet(), &sheet);
    EXPECT_EQ(sheet.sheetParent(), &window);
    EXPECT_EQ(sheet.windowModality(), Qt::WindowModal);
    EXPECT_EQ(sheet.windowHandle()->transientParent(), window.windowHandle());
    EXPECT_EQ(QApplication::activeModalWidget(), &sheet);
    application.endSheet(&sheet, 7);
    EXPECT_EQ(codes, QList<qint64>{7});
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(window.attachedSheet(), nullptr);
    EXPECT_EQ(sheet.sheetParent(), nullptr);
    application.endSheet(&sheet, 8);
    application.endSheet(nullptr);
    EXPECT_EQ(codes.size(), 1);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(NSWindowTest, ASheetThatIsClosedIsAborted) {
    show();
    NSWindow sheet;
    QList<qint64> codes;
    window.beginSheet(&sheet, [&](qint64 code) { codes << code; });
    sheet.close();
    EXPECT_EQ(codes, QList<qint64>{NSModalResponseAbort});
    EXPECT_EQ(window.attachedSheet(), nullptr);
}

TEST_F(NSWindowTest, WhatCanBeNoSheetIsRaised) {
    NSWindow sheet;
    expectException(NSInvalidArgumentException, [&] { window.beginSheet(nullptr); });
    expectException(NSInvalidArgumentException, [&] { window.beginSheet(&window); });
    expectException(NSInvalidArgumentException,
                    [&] { NSApplication::sharedApplication().beginSheet(&sheet, nullptr); });
    window.beginSheet(&sheet);
    expectException(NSInvalidArgumentException, [&] { window.beginSheet(&sheet); });
}

TEST_F(NSWindowTest, WindowsOfASheetMayBeDeletedInAnyOrder) {
    auto parent = std::make_unique<NSWindow>();
    auto sheet = std::make_unique<NSWindow>();
    bool isEnded = false;
    parent->beginSheet(sheet.get(), [&](qint64) { isEnded = true; });
    parent.reset();
    EXPECT_EQ(sheet->sheetParent(), nullptr);
    window.beginSheet(sheet.get());
    sheet.reset();
    EXPECT_EQ(window.attachedSheet(), nullptr);
    EXPECT_FALSE(isEnded);
}

#include "NSWindowTest.moc"
