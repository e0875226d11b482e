// SPDX-License-Identifier: MIT
#include "platform/interface/NSNib.h"

#include "platform/base/NSFileReadError.h"
#include "platform/files/NSBundle.h"
#include "platform/interface/InterfaceAttributes.h"
#include "platform/interface/NSWindow.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTranslator>
#include <gtest/gtest.h>

namespace {

/// What happened to the objects of a file, in order.
QStringList &history() {
    static QStringList lines;
    return lines;
}

class Recorder : public QWidget {
    Q_OBJECT

public:
    explicit Recorder(QWidget *parent = nullptr) : QWidget(parent) {}
    ~Recorder() override { history() << QStringLiteral("delete ") + objectName(); }

    Q_INVOKABLE void setValue(const QVariant &value, const QString &forUndefinedKey) {
        attributes.append({forUndefinedKey, value});
        childrenAtAttributes = int(children().size());
    }
    Q_INVOKABLE void awakeFromNib() {
        history() << QStringLiteral("awake %1 %2").arg(objectName()).arg(attributes.size());
    }
    bool event(QEvent *event) override { return zr::attributeArrived(this, event) || QWidget::event(event); }

    QList<std::pair<QString, QVariant>> attributes;
    int childrenAtAttributes = -1;
};

class TestMenu : public QMenu {
    Q_OBJECT

public:
    explicit TestMenu(QWidget *parent = nullptr) : QMenu(parent) {}

    Q_INVOKABLE void setValue(const QVariant &value, const QString &forUndefinedKey) {
        prefix = value;
        EXPECT_EQ(forUndefinedKey, QStringLiteral("prefix"));
    }
    Q_INVOKABLE void awakeFromNib() {
        history() << QStringLiteral("awake %1 %2").arg(objectName()).arg(actions().size());
    }
    bool event(QEvent *event) override { return zr::attributeArrived(this, event) || QMenu::event(event); }

    QVariant prefix;
};

namespace Inner {
class Named : public QWidget {
    Q_OBJECT

public:
    explicit Named(QWidget *parent = nullptr) : QWidget(parent) {}
};
} // namespace Inner

class Owner : public QObject {
    Q_OBJECT
    Q_PROPERTY(QLineEdit *field MEMBER field)
    Q_PROPERTY(QObject *inner MEMBER inner)
    Q_PROPERTY(QAction *open MEMBER open)
    Q_PROPERTY(QString label MEMBER label)
    Q_PROPERTY(QWidget *button READ button)

public:
    QWidget *button() const { return nullptr; }

    QLineEdit *field = nullptr;
    QObject *inner = nullptr;
    QAction *open = nullptr;
    QString label;
};

class WrongOwner : public QObject {
    Q_OBJECT
    Q_PROPERTY(QLabel *field MEMBER field)

public:
    QLabel *field = nullptr;
};

class NSNibTest : public testing::Test {
protected:
    NSNibTest() {
        NSNib::registerClass<Recorder>(QStringLiteral("Recorder"));
        NSNib::registerClass<TestMenu>(QStringLiteral("TestMenu"));
        NSBundle::mainBundle().setResourcePath(
            QStringLiteral(ZR_SOURCE_DIR "/tests/platform/interface/forms"));
        history().clear();
    }
    ~NSNibTest() override { NSBundle::mainBundle().setResourcePath({}); }

    std::unique_ptr<QWidget> panel(QObject *owner = nullptr) {
        NSError error;
        std::unique_ptr<QWidget> root = NSNib(QStringLiteral("Panel")).instantiateWithOwner(owner, &error);
        EXPECT_TRUE(root) << error.localizedDescription().toStdString();
        return root;
    }

    /// The error of a file with that as its outermost element's content.
    static NSError errorOf(const QByteArray &inside, const QByteArray &behind = {}) {
        NSError error;
        const QByteArray contents = "<ui version=\"4.0\">\n<widget class=\"QWidget\" name=\"root\">\n" +
                                    inside + "\n</widget>\n" + behind + "</ui>\n";
        EXPECT_FALSE(NSNib(contents).instantiateWithOwner(nullptr, &error));
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        return error;
    }

    static std::string textOf(const NSError &error) { return error.localizedDescription().toStdString(); }
};

using Attributes = QList<std::pair<QString, QVariant>>;

} // namespace

TEST_F(NSNibTest, AFileIsFoundByItsNameWithAndWithoutItsEnding) {
    EXPECT_TRUE(NSNib(QStringLiteral("Panel")).instantiateWithOwner(nullptr));
    EXPECT_TRUE(NSNib(QStringLiteral("Panel.ui")).instantiateWithOwner(nullptr));
    NSBundle::mainBundle().setResourcePath({});
    EXPECT_TRUE(NSNib(QStringLiteral("Panel")).instantiateWithOwner(nullptr)) << "among what is compiled in";
}

TEST_F(NSNibTest, AMissingFileIsAnError) {
    NSError error;
    for (const QString &name : {QStringLiteral("Nowhere"), QString(), QStringLiteral("")}) {
        EXPECT_FALSE(NSNib(name).instantiateWithOwner(nullptr, &error));
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        EXPECT_EQ(error.code(), NSFileReadNoSuchFileError);
    }
    EXPECT_FALSE(NSNib(QStringLiteral("Nowhere")).instantiateWithOwner(nullptr, nullptr));
}

TEST_F(NSNibTest, BrokenXMLIsAnErrorWithItsLine) {
    const NSError error = errorOf("<widget class=\"QLabel\">\n</wrong>");
    EXPECT_EQ(error.code(), NSFileReadCorruptFileError);
    EXPECT_NE(textOf(error).find("line 4"), std::string::npos) << textOf(error);
    NSError ofNothing;
    EXPECT_FALSE(NSNib(QByteArray()).instantiateWithOwner(nullptr, &ofNothing));
    EXPECT_EQ(ofNothing.code(), NSFileReadCorruptFileError);
}

TEST_F(NSNibTest, AnElementThatDesignerDoesNotKnowIsAnError) {
    const NSError error = errorOf("<widgets/>");
    EXPECT_EQ(error.code(), NSFileReadCorruptFileError);
    EXPECT_FALSE(error.localizedDescription().isEmpty());
}

TEST_F(NSNibTest, AClassThatNobodyKnowsIsAnErrorWithItsLine) {
    const NSError error =
        errorOf("<widget class=\"QLabel\" name=\"a\"/>\n<widget class=\"Foo\" name=\"foo\"/>");
    EXPECT_EQ(error.code(), NSFileReadCorruptFileError);
    EXPECT_NE(textOf(error).find("line 4: the class Foo"), std::string::npos) << textOf(error);
}

TEST_F(NSNibTest, AClassThatExtendsOnlyUnknownOnesOrItselfIsAnError) {
    const QByteArray foo = "<widget class=\"Foo\" name=\"foo\"/>";
    const auto extends = [](const QByteArray &name, const QByteArray &base) {
        return "<customwidget><class>" + name + "</class><extends>" + base + "</extends></customwidget>";
    };
    EXPECT_NE(
        textOf(errorOf(foo, "<customwidgets>" + extends("Foo", "Bar") + "</customwidgets>")).find("Foo"),
        std::string::npos);
    EXPECT_NE(textOf(errorOf(foo, "<customwidgets>" + extends("Foo", "Bar") + extends("Bar", "Foo") +
                                      "</customwidgets>"))
                  .find("Foo"),
              std::string::npos);
}

TEST_F(NSNibTest, AnUnknownLayoutIsAnError) {
    EXPECT_NE(textOf(errorOf("<layout class=\"FlowLayout\" name=\"flow\"/>")).find("FlowLayout"),
              std::string::npos);
}

TEST_F(NSNibTest, AnActionThatIsNotThereIsAnError) {
    EXPECT_NE(textOf(errorOf("<widget class=\"QMenu\" name=\"menu\"><addaction name=\"gone\"/></widget>"))
                  .find("line 3: there is nothing named gone"),
              std::string::npos);
}

TEST_F(NSNibTest, AConnectionToAnObjectThatIsNotThereIsAnError) {
    EXPECT_NE(textOf(errorOf("", "<connections><connection><sender>root</sender><signal>a()</signal>"
                                 "<receiver>gone</receiver><slot>b()</slot></connection></connections>"))
                  .find("gone"),
              std::string::npos);
}

TEST_F(NSNibTest, AnErrorLeavesNoObject) {
    NSError error;
    WrongOwner owner;
    EXPECT_FALSE(NSNib(QStringLiteral("Panel")).instantiateWithOwner(&owner, &error));
    EXPECT_EQ(error.code(), NSFileReadCorruptFileError);
    EXPECT_NE(textOf(error).find("the outlet field of"), std::string::npos) << textOf(error);
    EXPECT_EQ(owner.field, nullptr);
    EXPECT_EQ(history().filter(QStringLiteral("awake")), QStringList());
    EXPECT_EQ(history().filter(QStringLiteral("delete")).size(), 3);
}

TEST_F(NSNibTest, AttributesArriveOnceInTheFilesOrderWithTheirTypes) {
    const auto root = panel();
    const auto *const outer = root->findChild<Recorder *>(QStringLiteral("outer"));
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer->attributes,
              (Attributes{{QStringLiteral("IBborder"), QStringLiteral("top, left")},
                          {QStringLiteral("alpha"), QStringLiteral("no")},
                          {QStringLiteral("corner"), 8.5},
                          {QStringLiteral("localize"), false},
                          {QStringLiteral("bg"), QColor(1, 2, 3, 128)},
                          {QStringLiteral("side"), QStringLiteral("Qt::AlignLeft")},
                          {QStringLiteral("sides"), QStringLiteral("Qt::AlignLeft|Qt::AlignTop")}}));
    EXPECT_EQ(outer->childrenAtAttributes, 0) << "attributes arrive before the views inside";
    EXPECT_EQ(outer->geometry(), QRect(10, 20, 200, 100));
    EXPECT_EQ(outer->focusPolicy(), Qt::StrongFocus) << "declared enumerators are no attributes";
}

TEST_F(NSNibTest, AGeometryOfTheFileIsAFrame) {
    const auto root = NSNib(QByteArray(R"(<ui version="4.0"><widget class="NSView" name="root">
        <property name="geometry"><rect><x>7</x><y>8</y><width>300</width><height>200</height></rect></property>
        <widget class="QPushButton" name="b">
        <property name="geometry"><rect><x>10</x><y>20</y><width>100</width><height>50</height></rect></property>
        </widget></widget></ui>)"))
                          .instantiateWithOwner(nullptr);
    ASSERT_TRUE(root);
    EXPECT_EQ(NSViewFrame(root.get()).size(), QSizeF(300, 200));
    EXPECT_EQ(NSViewFrame(root->findChild<QPushButton *>()), QRectF(10, 130, 100, 50));
}

TEST_F(NSNibTest, APromotedClassIsMadeAsTheOneThatItExtends) {
    const LogCapture log;
    const auto root = panel();
    const auto *const promoted = root->findChild<Recorder *>(QStringLiteral("promoted"));
    ASSERT_TRUE(promoted);
    EXPECT_EQ(promoted->attributes,
              (Attributes{{QStringLiteral("mood"), QStringLiteral("Stranger::Merry")}}));
    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(NSNibTest, ObjectsAwakeOnceChildrenFirstWhenAllAreThere) {
    const auto root = panel();
    EXPECT_EQ(history(), (QStringList{QStringLiteral("awake inner 0"), QStringLiteral("awake promoted 1"),
                                      QStringLiteral("awake outer 7"), QStringLiteral("awake recentMenu 1"),
                                      QStringLiteral("awake fileMenu 3")}));
}

TEST_F(NSNibTest, EachCallMakesOtherObjects) {
    const NSNib nib(QStringLiteral("Panel"));
    const auto one = nib.instantiateWithOwner(nullptr);
    const auto other = nib.instantiateWithOwner(nullptr);
    ASSERT_TRUE(one && other);
    EXPECT_NE(one, other);
    EXPECT_EQ(history().size(), 10);
}

TEST_F(NSNibTest, MenusOfTheProgramsClassesHoldActionsSeparatorsAndSubmenus) {
    const auto root = panel();
    auto *const window = qobject_cast<NSWindow *>(root.get());
    ASSERT_TRUE(window);
    const auto *const file = root->findChild<TestMenu *>(QStringLiteral("fileMenu"));
    const auto *const recent = root->findChild<TestMenu *>(QStringLiteral("recentMenu"));
    ASSERT_TRUE(file && recent);
    EXPECT_EQ(window->menuBar()->actions(), QList<QAction *>{file->menuAction()});
    EXPECT_EQ(file->title(), QStringLiteral("File"));
    EXPECT_EQ(file->prefix, QVariant(QStringLiteral("Prefs")));
    ASSERT_EQ(file->actions().size(), 3);
    EXPECT_EQ(file->actions().at(0)->text(), QStringLiteral("Open"));
    EXPECT_EQ(file->actions().at(0)->shortcut(), QKeySequence(QStringLiteral("Ctrl+O")));
    EXPECT_TRUE(file->actions().at(1)->isSeparator());
    EXPECT_EQ(file->actions().at(2), recent->menuAction());
}

TEST_F(NSNibTest, WhatQtsOwnWidgetsHaveIsThere) {
    const auto root = panel();
    EXPECT_EQ(root->size(), QSize(480, 320));
    EXPECT_EQ(root->windowTitle(), QStringLiteral("Panel & more"));
    auto *const line = root->findChild<QFrame *>(QStringLiteral("line"));
    ASSERT_TRUE(line);
    EXPECT_EQ(line->frameShape(), QFrame::VLine);
    EXPECT_FALSE(line->property("orientation").isValid());
    const auto *const list = root->findChild<QListWidget *>(QStringLiteral("list"));
    ASSERT_TRUE(list && list->count() == 1);
    EXPECT_EQ(list->item(0)->checkState(), Qt::Checked);
    auto *const field = root->findChild<QLineEdit *>(QStringLiteral("field"));
    auto *const button = root->findChild<QPushButton *>(QStringLiteral("button"));
    ASSERT_TRUE(field && button);
    EXPECT_EQ(root->findChild<QLabel *>(QStringLiteral("label"))->buddy(), field);
    field->setText(QStringLiteral("x"));
    button->click();
    EXPECT_EQ(field->text(), QString()) << "connections inside the file";
}

TEST_F(NSNibTest, TextsStayAsTheyAreInTheFile) {
    struct Loud : QTranslator {
        QString translate(const char *, const char *text, const char *, int) const override {
            return QString::fromUtf8(text).toUpper();
        }
        bool isEmpty() const override { return false; }
    } loud;
    QCoreApplication::installTranslator(&loud);
    const auto root = panel();
    QCoreApplication::removeTranslator(&loud);
    EXPECT_EQ(root->findChild<QPushButton *>(QStringLiteral("button"))->text(), QStringLiteral("Clear"));
    EXPECT_EQ(root->findChild<QListWidget *>(QStringLiteral("list"))->item(0)->text(), QStringLiteral("One"));
    EXPECT_EQ(root->windowTitle(), QStringLiteral("Panel & more"));
}

TEST_F(NSNibTest, AnOwnersObjectPropertiesAreOutlets) {
    Owner owner;
    const auto root = panel(&owner);
    EXPECT_EQ(owner.field, root->findChild<QLineEdit *>(QStringLiteral("field")));
    EXPECT_EQ(owner.inner, root->findChild<Recorder *>(QStringLiteral("inner")));
    EXPECT_EQ(owner.open, root->findChild<QAction *>(QStringLiteral("open")));
    ASSERT_TRUE(owner.field && owner.inner && owner.open);
    EXPECT_TRUE(owner.label.isNull()) << "a text is no outlet";
}

TEST_F(NSNibTest, ClassesInNamespacesAreKnownByTheirWholeName) {
    NSNib::registerClass<Inner::Named>();
    const QByteArray name = Inner::Named::staticMetaObject.className();
    EXPECT_TRUE(name.endsWith("Inner::Named"));
    const auto root = NSNib("<ui version=\"4.0\"><widget class=\"" + name + "\" name=\"n\"/></ui>")
                          .instantiateWithOwner(nullptr);
    EXPECT_TRUE(qobject_cast<Inner::Named *>(root.get()));
}

#include "NSNibTest.moc"
