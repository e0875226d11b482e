// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSEvent+ZRKit.h"
#include "ZRKit/Interface/ZRTextField.h"
#include "ZRKit/Interface/ZRWindow.h"
#include "platform/interface/NSApplication.h"
#include "tests/support/XUser.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace {

void key(const char *action, const char *name) {
    user({QString::fromLatin1(action), QString::fromLatin1(name)});
}

class Delegate : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE bool windowShouldClose(NSWindow *) {
        calls << QStringLiteral("should");
        return agrees;
    }
    Q_INVOKABLE void windowDidClose(ZRWindow *window) {
        calls << QStringLiteral("did %1").arg(window->isVisible());
    }

    bool agrees = true;
    QStringList calls;
};

class XWindowTest : public testing::Test {
protected:
    XWindowTest() {
        auto *const content = new QWidget;
        auto *const rows = new QVBoxLayout(content);
        rows->addWidget(field = new ZRTextField);
        rows->addWidget(button = new QPushButton(QStringLiteral("Done")));
        window.setContentView(content);
        window.resize(300, 120);
        window.makeKeyAndOrderFront();
        // The window manager gives the focus when it has put the window up.
        isActive = QTest::qWaitFor([&] { return QApplication::activeWindow() == &window; }, 30000);
    }
    void SetUp() override { ASSERT_TRUE(isActive); }

    static NSEvent current() { return NSApplication::sharedApplication().currentEvent(); }
    static bool waitForEvent(NSEventType type) {
        return QTest::qWaitFor([&] { return current().type() == type; }, 30000);
    }
    static bool waitForFlags(unsigned flags) {
        return QTest::qWaitFor([&] { return current().modifierFlags() == flags; }, 30000);
    }

    ZRWindow window;
    ZRTextField *field = nullptr;
    QPushButton *button = nullptr;
    bool isActive = false;
};

} // namespace

TEST_F(XWindowTest, ClosingByTheWindowManagerAsksAndTellsTheDelegate) {
    Delegate delegate;
    delegate.agrees = false;
    window.setDelegate(&delegate);
    window.setRepresentedObject(QStringLiteral("book"));
    key("key", "alt+F4");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !delegate.calls.isEmpty(); }, 30000));
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.representedObject(), QVariant(QStringLiteral("book")));
    delegate.agrees = true;
    key("key", "alt+F4");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.isVisible(); }, 30000));
    EXPECT_EQ(delegate.calls,
              (QStringList{QStringLiteral("should"), QStringLiteral("should"), QStringLiteral("did 0")}));
    EXPECT_FALSE(window.representedObject().isValid());
}

TEST_F(XWindowTest, AFrameIncludesTheTitleBar) {
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.frameGeometry() != window.geometry(); }, 30000));
    window.setFrame(QRectF(100, 200, 400, 300));
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.frame() == QRectF(100, 200, 400, 300); }, 30000))
        << window.frame().y() << ' ' << window.frame().height();
    EXPECT_LT(window.height(), 300);
}

TEST_F(XWindowTest, RealModifierKeysAreDownWhileTheyAreHeld) {
    const struct {
        const char *name;
        unsigned flag;
        bool (*isDown)();
    } keys[]{{"Shift_L", NSEventModifierFlagShift, ZRKit::zrShiftKeyIsDown},
             {"Control_L", NSEventModifierFlagControl, ZRKit::zrControlKeyIsDown},
             {"Alt_L", NSEventModifierFlagOption, ZRKit::zrOptionKeyIsDown},
             {"Super_L", NSEventModifierFlagCommand, ZRKit::zrCommandKeyIsDown}};
    for (const auto &[name, flag, isDown] : keys) {
        key("keydown", name);
        EXPECT_TRUE(waitForFlags(flag)) << name << ' ' << current().modifierFlags();
        EXPECT_TRUE(isDown()) << name;
        EXPECT_EQ(ZRKit::zrShiftKeyIsDown() + ZRKit::zrControlKeyIsDown() + ZRKit::zrOptionKeyIsDown() +
                      ZRKit::zrCommandKeyIsDown() + ZRKit::zrCapsLockKeyIsDown(),
                  1)
            << name;
        key("keyup", name);
        EXPECT_TRUE(waitForFlags(0)) << name << ' ' << current().modifierFlags();
    }
}

TEST_F(XWindowTest, CapsLockIsDownWhileItIsLocked) {
    key("key", "Caps_Lock");
    EXPECT_TRUE(QTest::qWaitFor(ZRKit::zrCapsLockKeyIsDown, 30000));
    EXPECT_FALSE(ZRKit::zrShiftKeyIsDown());
    key("key", "Caps_Lock");
    EXPECT_TRUE(QTest::qWaitFor([] { return !ZRKit::zrCapsLockKeyIsDown(); }, 30000));
}

TEST_F(XWindowTest, AClickIsWhereItWas) {
    const QPoint place = button->mapToGlobal(QPoint(5, 6));
    user({QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y()),
          QStringLiteral("click"), QStringLiteral("1")});
    ASSERT_TRUE(waitForEvent(NSEventTypeLeftMouseUp));
    const QPoint inWindow = button->mapTo(&window, QPoint(5, 6));
    EXPECT_EQ(current().locationInWindow(), QPointF(inWindow.x(), window.height() - inWindow.y()));
    EXPECT_EQ(current().window(), &window);
}

TEST_F(XWindowTest, TypingInASheetEndsWhenItIsConfirmed) {
    ZRWindow sheet;
    auto *const typed = new ZRTextField;
    sheet.setContentView(typed);
    qint64 code = -1;
    window.beginSheet(&sheet, [&](qint64 returnCode) { code = returnCode; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &sheet; }, 30000));
    ASSERT_TRUE(sheet.makeFirstResponder(typed));
    user({QStringLiteral("type"), QStringLiteral("abc")});
    ASSERT_TRUE(QTest::qWaitFor([&] { return typed->stringValue() == QStringLiteral("abc"); }, 30000));
    EXPECT_TRUE(typed->currentEditor());
    sheet.doConfirmSheet(button);
    EXPECT_FALSE(typed->currentEditor()) << "editing has ended";
    EXPECT_EQ(code, 0);
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &window; }, 30000));
}

#include "XWindowTest.moc"
