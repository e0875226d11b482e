// SPDX-License-Identifier: MIT
#include "platform/base/NSException.h"
#include "platform/interface/NSResponder.h"
#include "platform/interface/NSViewController.h"
#include "platform/interface/NSWindow.h"
#include "platform/interface/NSWindowController.h"
#include "tests/support/Expect.h"
#include "tests/support/InterfaceFiles.h"

#include <QLabel>
#include <QPushButton>
#include <gtest/gtest.h>

namespace {

class Fields : public NSViewController {
    Q_OBJECT
    Q_PROPERTY(QPushButton *send MEMBER send)

public:
    using NSViewController::NSViewController;

    int loads = 0;
    QPushButton *send = nullptr;

protected:
    void viewDidLoad() override {
        EXPECT_TRUE(isViewLoaded());
        ++loads;
    }
};

class Windows : public NSWindowController {
    Q_OBJECT
    Q_PROPERTY(QPushButton *send MEMBER send)

public:
    using NSWindowController::NSWindowController;

    QStringList calls;
    QPushButton *send = nullptr;

protected:
    void windowWillLoad() override { calls << QStringLiteral("will %1").arg(isWindowLoaded()); }
    void windowDidLoad() override { calls << QStringLiteral("did %1").arg(isWindowLoaded()); }
};

class NSControllersTest : public testing::Test {
protected:
    NSControllersTest() {
        files.write("Fields", R"(<ui version="4.0"><widget class="QWidget" name="fields">
            <widget class="QPushButton" name="send"/></widget></ui>)");
        files.write("Window", R"(<ui version="4.0"><widget class="NSWindow" name="window">
            <widget class="QWidget" name="content"><widget class="QPushButton" name="send"/></widget></widget></ui>)");
        files.write("Broken", "<ui>");
    }

    const InterfaceFiles files;
};

} // namespace

TEST_F(NSControllersTest, AViewIsLoadedOnceWhenItIsAskedFor) {
    Fields controller(QStringLiteral("Fields"));
    EXPECT_FALSE(controller.isViewLoaded());
    QWidget *const view = controller.view();
    ASSERT_TRUE(view);
    EXPECT_EQ(view->objectName(), QStringLiteral("fields"));
    EXPECT_EQ(controller.send, view->findChild<QPushButton *>()) << "the controller is the file's owner";
    EXPECT_EQ(controller.view(), view);
    EXPECT_EQ(controller.loads, 1);
}

TEST_F(NSControllersTest, AViewControllerWithoutAFileHasAnEmptyView) {
    Fields controller;
    ASSERT_TRUE(controller.view());
    EXPECT_TRUE(controller.view()->children().isEmpty());
    EXPECT_EQ(controller.loads, 1);
}

TEST_F(NSControllersTest, AFileThatCannotBeLoadedIsRaised) {
    NSViewController missing(QStringLiteral("Missing"));
    EXPECT_TRUE(expectException(NSInternalInconsistencyException, [&] {
                    missing.view();
                }).contains(QStringLiteral("Missing")));
    EXPECT_FALSE(missing.isViewLoaded());
    NSViewController broken(QStringLiteral("Broken"));
    expectException(NSInternalInconsistencyException, [&] { broken.view(); });
    NSWindowController window(QStringLiteral("Missing"));
    expectException(NSInternalInconsistencyException, [&] { window.showWindow(); });
    NSWindowController noWindow(QStringLiteral("Fields"));
    expectException(NSInternalInconsistencyException, [&] { noWindow.window(); });
    EXPECT_FALSE(noWindow.isWindowLoaded());
}

TEST_F(NSControllersTest, AViewGoesWithItsControllerUnlessASuperviewOwnsIt) {
    QWidget superview;
    auto first = std::make_unique<Fields>();
    auto second = std::make_unique<Fields>();
    const QPointer<QWidget> ofFirst = first->view();
    const QPointer<QWidget> ofSecond = second->view();
    ofSecond->setParent(&superview);
    first.reset();
    second.reset();
    EXPECT_FALSE(ofFirst);
    EXPECT_TRUE(ofSecond);
}

TEST_F(NSControllersTest, AViewThatDiedWithItsSuperviewIsLoadedAgain) {
    Fields controller(QStringLiteral("Fields"));
    {
        QWidget superview;
        controller.view()->setParent(&superview);
    }
    EXPECT_FALSE(controller.isViewLoaded());
    EXPECT_TRUE(controller.view());
    EXPECT_EQ(controller.loads, 2);
}

TEST_F(NSControllersTest, AViewThatIsSetCountsAsLoaded) {
    Fields controller(QStringLiteral("Missing"));
    auto *const label = new QLabel;
    controller.setView(label);
    EXPECT_EQ(controller.view(), label);
    EXPECT_EQ(controller.loads, 0);
}

TEST_F(NSControllersTest, ARepresentedObjectAndANextResponderAreKept) {
    NSViewController controller;
    EXPECT_FALSE(controller.representedObject().isValid());
    controller.setProperty("representedObject", QStringLiteral("book"));
    EXPECT_EQ(controller.representedObject(), QVariant(QStringLiteral("book")));
    QObject next;
    EXPECT_EQ(controller.nextResponder(), nullptr);
    controller.setNextResponder(&next);
    EXPECT_EQ(NSResponderNext(&controller), &next);
}

TEST_F(NSControllersTest, AWindowIsLoadedWhenItIsShown) {
    Windows controller(QStringLiteral("Window"));
    EXPECT_EQ(controller.windowNibName(), QStringLiteral("Window"));
    controller.close();
    EXPECT_FALSE(controller.isWindowLoaded()) << "there is nothing to be closed";
    controller.showWindow();
    ASSERT_TRUE(controller.isWindowLoaded());
    EXPECT_TRUE(controller.window()->isVisible());
    EXPECT_EQ(controller.calls, (QStringList{QStringLiteral("will 0"), QStringLiteral("did 1")}));
    EXPECT_EQ(controller.send, controller.window()->findChild<QPushButton *>());
    EXPECT_EQ(NSResponderNext(controller.window()), &controller);
    controller.close();
    EXPECT_FALSE(controller.window()->isVisible());
    EXPECT_EQ(controller.calls.size(), 2);
}

TEST_F(NSControllersTest, AWindowGoesWithItsController) {
    QPointer<NSWindow> window = new NSWindow;
    { const NSWindowController controller(window); }
    EXPECT_FALSE(window);
    NSWindowController without;
    EXPECT_EQ(without.window(), nullptr);
    without.showWindow();
}

TEST_F(NSControllersTest, AWindowThatDeletesItselfIsLoadedAgain) {
    Windows controller(QStringLiteral("Window"));
    delete controller.window();
    EXPECT_FALSE(controller.isWindowLoaded());
    EXPECT_TRUE(controller.window());
}

#include "NSControllersTest.moc"
