// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRView.h"
#include "ZRKit/Interface/ZRViewController.h"
#include "ZRKit/Interface/ZRWindow.h"
#include "ZRKit/Interface/ZRWindowController.h"
#include "platform/interface/NSNib.h"
#include "tests/support/InterfaceFiles.h"

#include <QCoreApplication>
#include <QLabel>
#include <QTranslator>
#include <gtest/gtest.h>

namespace {

QStringList &history() {
    static QStringList calls;
    return calls;
}

/// A view that is asked to translate itself.
class Localized : public QWidget {
    Q_OBJECT

public:
    explicit Localized(QWidget *parent = nullptr) : QWidget(parent) {}
    Q_INVOKABLE void localizeWithPrefix(const QString &prefix) {
        history() << QStringLiteral("localize ") + prefix;
    }
};

} // namespace

namespace App {

class SettingsController : public ZRViewController {
    Q_OBJECT

public:
    explicit SettingsController(const QString &title = {}) : m_title(title) {}
    Q_INVOKABLE void configureViewController() {
        history() << QStringLiteral("configure ") + m_title;
        EXPECT_FALSE(isViewLoaded());
    }

protected:
    void viewDidLoad() override { history() << QStringLiteral("loaded"); }

private:
    const QString m_title;
};

/// Declares no configuration, and makes its view itself.
class PlainController : public ZRViewController {
    Q_OBJECT

public:
    void viewWillAppear() override { history() << QStringLiteral("appears"); }

protected:
    void loadView() override { setView(new Localized); }
};

/// Records all of its appearances.
class ShownController : public ZRViewController {
    Q_OBJECT

public:
    Q_INVOKABLE void configureViewController() { history() << QStringLiteral("configure"); }
    void viewWillAppear() override { history() << QStringLiteral("will appear %1").arg(isViewLoaded()); }
    void viewDidAppear() override { history() << QStringLiteral("did appear %1").arg(isViewLoaded()); }
    void viewWillDisappear() override {
        history() << QStringLiteral("will disappear ") + representedObject().toString();
    }
    void viewDidDisappear() override { history() << QStringLiteral("never"); }
    Q_INVOKABLE void viewWDidDisappear() {
        history() << QStringLiteral("did disappear %1").arg(representedObject().isValid());
    }

protected:
    void loadView() override { setView(new Localized); }
};

class Windows : public ZRWindowController {
    Q_OBJECT

public:
    using ZRWindowController::ZRWindowController;

protected:
    void configure() override {
        history() << QStringLiteral("configure %1").arg(isWindowLoaded());
        setRepresentedObject(QStringLiteral("configured"));
    }
};

} // namespace App

namespace {

class ControllersTest : public testing::Test {
protected:
    ControllersTest() {
        NSNib::registerClass<Localized>(QStringLiteral("Localized"));
        files.write(
            "SettingsController",
            R"(<ui version="4.0"><widget class="Localized" name="settings"><widget class="QLabel" name="l"/></widget></ui>)");
        files.write("Main", R"(<ui version="4.0"><widget class="ZRWindow" name="main"/></ui>)");
        history().clear();
    }

    const InterfaceFiles files;
};

} // namespace

TEST_F(ControllersTest, AViewControllersNameIsItsClassesWithoutModules) {
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("App.SettingsController")),
              QStringLiteral("SettingsController"));
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("A.B.Settings")), QStringLiteral("Settings"));
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("A::B::Settings")), QStringLiteral("Settings"));
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("A::B.Settings")), QStringLiteral("Settings"));
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("A.B::Settings")), QStringLiteral("Settings"));
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("Settings")), QStringLiteral("Settings"));
    EXPECT_EQ(zr::nameWithoutModules(QStringLiteral("Settings.")), QStringLiteral(""));
    EXPECT_EQ(zr::nameWithoutModules(QString()), QStringLiteral(""));
    const App::SettingsController controller;
    EXPECT_EQ(controller.name(), QStringLiteral("SettingsController"));
    EXPECT_EQ(controller.nibName(), QStringLiteral("SettingsController"));
    EXPECT_EQ(controller.property("name"), QVariant(QStringLiteral("SettingsController")));
}

TEST_F(ControllersTest, ItsViewIsLoadedFromTheFileOfThatNameAndLocalizedWithItOnce) {
    const auto controller = ZRViewController::make<App::SettingsController>(QStringLiteral("early"));
    EXPECT_EQ(history(), QStringList{QStringLiteral("configure early")});
    EXPECT_FALSE(controller->isViewLoaded());
    QWidget *const view = controller->view();
    ASSERT_TRUE(view);
    EXPECT_EQ(view->objectName(), QStringLiteral("settings"));
    EXPECT_EQ(controller->view(), view);
    EXPECT_EQ(history(), (QStringList{QStringLiteral("configure early"), QStringLiteral("loaded"),
                                      QStringLiteral("localize SettingsController")}));
}

TEST_F(ControllersTest, AViewThatIsLoadedAgainIsNotLocalizedAgain) {
    App::SettingsController controller;
    delete controller.view();
    history().clear();
    EXPECT_TRUE(controller.view());
    EXPECT_EQ(history(), QStringList{QStringLiteral("loaded")});
}

TEST_F(ControllersTest, AViewControllerOfABareConstructorIsConfiguredBeforeItsViewIsThere) {
    App::SettingsController controller(QStringLiteral("late"));
    EXPECT_EQ(history(), QStringList());
    controller.view();
    EXPECT_EQ(history().first(), QStringLiteral("configure late"));
    controller.view();
    EXPECT_EQ(history().count(QStringLiteral("configure late")), 1);
}

TEST_F(ControllersTest, AViewControllerWithoutConfigurationIsSentNone) {
    const auto controller = ZRViewController::make<App::PlainController>();
    controller->view();
    EXPECT_EQ(history(), QStringList{QStringLiteral("localize PlainController")});
}

TEST_F(ControllersTest, AViewWithoutAWayOfItsOwnIsTranslatedWithTheName) {
    struct German : QTranslator {
        QString translate(const char *context, const char *text, const char *, int) const override {
            return qstrcmp(context, "SettingsController") == 0 && qstrcmp(text, "Name") == 0
                       ? QStringLiteral("Titel")
                       : QString();
        }
        bool isEmpty() const override { return false; }
    } german;
    files.write("SettingsController",
                R"(<ui version="4.0"><class>Other</class><widget class="QWidget" name="settings">
        <widget class="QLabel" name="label"><property name="text"><string>Name</string></property></widget></widget></ui>)");
    App::SettingsController controller;
    QCoreApplication::installTranslator(&german);
    EXPECT_EQ(controller.view()->findChild<QLabel *>()->text(), QStringLiteral("Titel"));
    QCoreApplication::removeTranslator(&german);
}

TEST_F(ControllersTest, AppearanceHooksAreMessagesThatReachTheSubclass) {
    App::PlainController controller;
    for (const char *message : {"viewWillAppear", "viewDidAppear", "viewWillDisappear", "viewDidDisappear"})
        EXPECT_TRUE(QMetaObject::invokeMethod(static_cast<QObject *>(&controller), message)) << message;
    EXPECT_EQ(history(), QStringList{QStringLiteral("appears")});
}

TEST_F(ControllersTest, AHostingViewCallsTheHooksInTheirOrder) {
    const std::shared_ptr<App::ShownController> controller = ZRViewController::make<App::ShownController>();
    controller->setRepresentedObject(QStringLiteral("book"));
    ZRView place;
    place.setViewController(controller);
    EXPECT_EQ(controller->view()->parent(), &place);
    place.setViewController(nullptr);
    EXPECT_EQ(history(),
              (QStringList{QStringLiteral("configure"), QStringLiteral("will appear 0"),
                           QStringLiteral("localize ShownController"), QStringLiteral("did appear 1"),
                           QStringLiteral("will disappear book"), QStringLiteral("did disappear 0")}));
    EXPECT_TRUE(controller->isViewLoaded()) << "the view stays the controller's";
}

TEST_F(ControllersTest, ClearingTheRepresentedObjectMakesItNil) {
    App::PlainController controller;
    controller.setRepresentedObject(QStringLiteral("book"));
    QMetaObject::invokeMethod(&controller, "clearRepresentedObject");
    EXPECT_FALSE(controller.representedObject().isValid());
}

TEST_F(ControllersTest, AWindowControllerIsConfiguredOnce) {
    const auto made = ZRWindowController::make<App::Windows>(QStringLiteral("Main"));
    EXPECT_EQ(history(), QStringList{QStringLiteral("configure 0")});
    EXPECT_EQ(made->representedObject(), QVariant(QStringLiteral("configured")));
    EXPECT_TRUE(qobject_cast<ZRWindow *>(made->window()));
    EXPECT_EQ(history().size(), 1);
    App::Windows bare(QStringLiteral("Main"));
    EXPECT_EQ(history().size(), 1);
    bare.showWindow();
    EXPECT_EQ(history(), (QStringList{QStringLiteral("configure 0"), QStringLiteral("configure 0")}));
}

TEST_F(ControllersTest, AWindowControllersLibraryIsTheFirstOpenDocumentWhateverWasSet) {
    ZRWindowController controller;
    QObject stored, open;
    controller.setLibrary(&stored);
    EXPECT_EQ(controller.library(), nullptr);
    NSDocumentController::sharedDocumentController()->addDocument(&open);
    EXPECT_EQ(controller.library(), &open);
    EXPECT_EQ(controller.property("library").value<QObject *>(), &open);
    const App::PlainController ofView;
    EXPECT_EQ(ofView.library(), &open);
    NSDocumentController::sharedDocumentController()->removeDocument(&open);
    EXPECT_EQ(ofView.library(), nullptr);
}

TEST_F(ControllersTest, ARepresentedObjectIsReleasedBeforeTheWindow) {
    struct Object {
        QPointer<NSWindow> window;
        ~Object() { history() << QStringLiteral("released, window %1").arg(!window.isNull()); }
    };
    auto object = std::make_shared<Object>();
    auto *const window = new ZRWindow;
    object->window = window;
    {
        ZRWindowController controller(window);
        controller.setRepresentedObject(QVariant::fromValue(std::exchange(object, nullptr)));
    }
    EXPECT_EQ(history(), QStringList{QStringLiteral("released, window 1")});
}

#include "ControllersTest.moc"
