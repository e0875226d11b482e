// SPDX-License-Identifier: MIT
#include "platform/interface/NSApplication.h"

#include "platform/interface/MessageBoxPresenter.h"
#include "platform/interface/NSWindow.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSErrorPresenter.h"
#include "tests/support/InChild.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>
#include <thread>

namespace {

NSError errorNamed(const QString &text, const QVariantMap &more = {}) {
    QVariantMap details = more;
    details.insert(NSLocalizedDescriptionKey, text);
    return {QStringLiteral("Test"), 7, details};
}

/// Acknowledges each message box, once it is shown, and remembers what it said.
class User : public QObject {
public:
    User() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *object, QEvent *event) override {
        auto *const box = qobject_cast<QMessageBox *>(object);
        if (box && event->type() == QEvent::Show) {
            texts << box->text();
            icons << box->icon();
            details << box->informativeText();
            isModal = box->isModal();
            QMetaObject::invokeMethod(
                box, [this, box] { act(box); }, Qt::QueuedConnection);
        }
        return false;
    }

    std::function<void(QMessageBox *)> act = [](QMessageBox *box) { box->button(QMessageBox::Ok)->click(); };
    QStringList texts, details;
    QList<QMessageBox::Icon> icons;
    bool isModal = false;
};

/// Ends the application, which stands in main().
void endApplication() {
    static_cast<QApplication *>(QCoreApplication::instance())->~QApplication();
}

NSEvent current() {
    return NSApplication::sharedApplication().currentEvent();
}

} // namespace

// The program's first test: those after it have events.
TEST(NSApplication, WithoutAnyEventThereIsNoCurrentOne) {
    EXPECT_TRUE(current().isNil());
    EXPECT_EQ(current().modifierFlags(), 0U);
    EXPECT_EQ(current().window(), nullptr);
}

TEST(NSEvent, ModifierKeysAreBits) {
    const auto flags = [](Qt::KeyboardModifiers modifiers) {
        return NSEvent(QKeyEvent(QEvent::KeyPress, Qt::Key_A, modifiers)).modifierFlags();
    };
    EXPECT_EQ(flags(Qt::NoModifier), 0U);
    EXPECT_EQ(flags(Qt::ShiftModifier), 1U << 17);
    EXPECT_EQ(flags(Qt::ControlModifier), 1U << 18);
    EXPECT_EQ(flags(Qt::AltModifier), 1U << 19);
    EXPECT_EQ(flags(Qt::MetaModifier), 1U << 20);
    EXPECT_EQ(flags(Qt::KeypadModifier | Qt::GroupSwitchModifier), 0U);
    EXPECT_EQ(flags(Qt::ShiftModifier | Qt::MetaModifier), 1U << 17 | 1U << 20);
    const QKeyEvent shiftItself(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier);
    EXPECT_EQ(NSEvent(shiftItself).modifierFlags(), 1U << 17) << "the key that went down is down";
    EXPECT_EQ(NSEvent(shiftItself).type(), NSEventTypeFlagsChanged);
}

TEST(NSEvent, WhatQtReportsHasItsType) {
    const auto mouse = [](QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons held) {
        return NSEvent(QMouseEvent(type, QPointF(), QPointF(), button, held, Qt::NoModifier)).type();
    };
    EXPECT_EQ(mouse(QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton), NSEventTypeLeftMouseDown);
    EXPECT_EQ(mouse(QEvent::MouseButtonDblClick, Qt::RightButton, Qt::RightButton),
              NSEventTypeRightMouseDown);
    EXPECT_EQ(mouse(QEvent::MouseButtonRelease, Qt::MiddleButton, Qt::NoButton), NSEventTypeOtherMouseUp);
    EXPECT_EQ(mouse(QEvent::MouseMove, Qt::NoButton, Qt::NoButton), NSEventTypeMouseMoved);
    EXPECT_EQ(mouse(QEvent::MouseMove, Qt::NoButton, Qt::LeftButton | Qt::RightButton),
              NSEventTypeLeftMouseDragged);
    EXPECT_EQ(mouse(QEvent::MouseMove, Qt::NoButton, Qt::BackButton), NSEventTypeOtherMouseDragged);
    const QKeyEvent up(QEvent::KeyRelease, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
    EXPECT_EQ(NSEvent(up).type(), NSEventTypeKeyUp);
    EXPECT_EQ(NSEvent(up).characters(), QStringLiteral("a"));
    EXPECT_EQ(NSEvent(up).keyCode(), Qt::Key_A);
    EXPECT_TRUE(NSEvent(QEvent(QEvent::Timer)).isNil());
    EXPECT_FALSE(NSEvent());
}

TEST(NSEvent, APlaceIsMeasuredFromTheWindowsBottomLeft) {
    QWidget window;
    window.setGeometry(100, 100, 200, 150);
    const QPoint place = window.mapToGlobal(QPoint(20, 30));
    const NSEvent event(QContextMenuEvent(QContextMenuEvent::Mouse, QPoint(20, 30), place, Qt::AltModifier),
                        &window);
    EXPECT_EQ(event.type(), NSEventTypeRightMouseDown);
    EXPECT_EQ(event.locationInWindow(), QPointF(20, 120));
    EXPECT_EQ(event.window(), &window);
    EXPECT_EQ(event.modifierFlags(), unsigned(NSEventModifierFlagOption));
}

TEST(NSApplication, TheCurrentEventIsTheLatestOne) {
    NSWindow window;
    auto *const field = new QLineEdit;
    window.setContentView(field);
    window.makeKeyAndOrderFront();
    QTest::keyPress(field, Qt::Key_A, Qt::ShiftModifier);
    EXPECT_EQ(current().type(), NSEventTypeKeyDown);
    EXPECT_EQ(current().modifierFlags(), unsigned(NSEventModifierFlagShift));
    EXPECT_EQ(current().window(), &window);
    QTest::mousePress(field, Qt::LeftButton, Qt::ControlModifier, QPoint(5, 6));
    EXPECT_EQ(current().type(), NSEventTypeLeftMouseDown);
    EXPECT_EQ(current().modifierFlags(), unsigned(NSEventModifierFlagControl));
    EXPECT_EQ(current().locationInWindow(), QPointF(5, window.height() - 6));
    QTest::mouseRelease(field, Qt::LeftButton);
    EXPECT_EQ(current().modifierFlags(), 0U);
}

TEST(NSApplication, AShortcutsKeyIsTheCurrentEventOfItsAction) {
    NSWindow window;
    QAction action;
    action.setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_K));
    window.addAction(&action);
    unsigned flags = 0;
    QObject::connect(&action, &QAction::triggered, [&] { flags = current().modifierFlags(); });
    window.makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(window.windowHandle(), Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(flags, unsigned(NSEventModifierFlagControl | NSEventModifierFlagShift));
}

TEST(NSApplication, TheKeyWindowIsTheActiveOne) {
    NSWindow window;
    window.makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_EQ(NSApplication::sharedApplication().keyWindow(), &window);
}

TEST(MessageBoxPresenter, AnErrorIsAMessageBoxUntilItIsAcknowledged) {
    User user;
    NSApplication::sharedApplication().presentError(
        errorNamed(QStringLiteral("The file <b>x</b> & y is gone."),
                   {{NSLocalizedFailureReasonErrorKey, QStringLiteral("It was <i>moved</i>.")},
                    {NSLocalizedRecoverySuggestionErrorKey, QStringLiteral("Look elsewhere.")}}));
    EXPECT_EQ(user.texts, QStringList{QStringLiteral("The file <b>x</b> & y is gone.")});
    EXPECT_EQ(user.icons, QList<QMessageBox::Icon>{QMessageBox::Warning});
    EXPECT_TRUE(user.isModal);
    ASSERT_EQ(user.details.size(), 1);
    EXPECT_TRUE(user.details.first().contains(QStringLiteral("&lt;i&gt;moved&lt;/i&gt;")));
    EXPECT_TRUE(user.details.first().contains(QStringLiteral("Look elsewhere.")));
    NSRunModalAlert(errorNamed(QStringLiteral("Note")));
    EXPECT_EQ(user.icons.last(), QMessageBox::Information);
    EXPECT_EQ(user.details.last(), QString());
    NSApplication::sharedApplication().presentError({});
    EXPECT_EQ(user.texts.size(), 2);
}

TEST(MessageBoxPresenter, AnErrorOfAnotherThreadIsABoxOnTheMainThread) {
    User user;
    std::thread([] { NSPresentError(errorNamed(QStringLiteral("From afar"))); }).join();
    EXPECT_TRUE(user.texts.isEmpty());
    EXPECT_TRUE(QTest::qWaitFor([&] { return user.texts.size() == 1; }));
    EXPECT_TRUE(QTest::qWaitFor([] { return !QApplication::activeModalWidget(); }));
}

TEST(MessageBoxPresenter, TheMainQueueGoesOnWhileABoxIsOpen) {
    User user;
    bool hasRun = false;
    user.act = [&](QMessageBox *box) {
        std::thread([&hasRun, box] {
            zr::DispatchQueue::mainQueue().async([&hasRun, box] {
                hasRun = true;
                box->button(QMessageBox::Ok)->click();
            });
        }).join();
    };
    std::thread([] { NSPresentError(errorNamed(QStringLiteral("From afar"))); }).join();
    EXPECT_TRUE(QTest::qWaitFor([&] { return hasRun; }));
    EXPECT_TRUE(QTest::qWaitFor([] { return !QApplication::activeModalWidget(); }));
}

TEST(MessageBoxPresenter, AWindowThatIsDeletedWhileItsBoxIsOpenTakesTheBoxAlong) {
    auto *const window = new NSWindow;
    window->makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    User user;
    user.act = [window](QMessageBox *box) {
        EXPECT_EQ(box->parent(), window);
        delete window;
    };
    NSPresentError(errorNamed(QStringLiteral("Too late")));
    EXPECT_EQ(user.texts.size(), 1);
}

TEST(MessageBoxPresenter, AProgramsOwnPresenterIsNotReplaced) {
    const auto installed = NSErrorPresenter::sharedPresenter();
    EXPECT_TRUE(std::dynamic_pointer_cast<zr::MessageBoxPresenter>(installed));
    checkInChild([] {
        endApplication();
        const auto own = std::make_shared<NSErrorPresenter>();
        NSErrorPresenter::setSharedPresenter(own);
        int count = 0;
        const QApplication application(count, nullptr);
        EXPECT_EQ(NSErrorPresenter::sharedPresenter(), own);
    });
}

TEST(MessageBoxPresenter, WithoutWidgetsAnErrorIsALine) {
    checkInChild([] {
        endApplication();
        testing::internal::CaptureStderr();
        NSPresentError(errorNamed(QStringLiteral("gone")));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "gone\n");
    });
}
