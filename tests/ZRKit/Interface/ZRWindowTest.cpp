// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRWindow.h"

#include "ZRKit/Interface/ZRTextField.h"
#include "platform/base/NSException.h"
#include "platform/interface/NSApplication.h"
#include "platform/interface/NSNib.h"
#include "tests/support/LogCapture.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTranslator>
#include <gtest/gtest.h>

namespace {

class Delegate : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void windowWillClose(ZRWindow *window) {
        calls << QStringLiteral("will close %1 %2")
                     .arg(window->isVisible())
                     .arg(window->representedObject().toString());
    }
    Q_INVOKABLE void windowDidClose(ZRWindow *window) {
        calls << QStringLiteral("did close %1 %2")
                     .arg(window->isVisible())
                     .arg(window->representedObject().toString());
        if (raises)
            throw NSException(NSGenericException, QStringLiteral("no"));
    }

    QStringList calls;
    bool raises = false;
};

/// Records what becomes of the focus.
class Field : public QLineEdit {
public:
    Field(const QString &name, QStringList &calls, QWidget *parent)
        : QLineEdit(parent), m_name(name), m_calls(calls) {
        QObject::connect(this, &QLineEdit::editingFinished,
                         [this] { m_calls << m_name + QStringLiteral(" ended"); });
    }

protected:
    void focusInEvent(QFocusEvent *event) override {
        m_calls << m_name + QStringLiteral(" in");
        QLineEdit::focusInEvent(event);
    }
    void focusOutEvent(QFocusEvent *event) override {
        m_calls << m_name + QStringLiteral(" out");
        QLineEdit::focusOutEvent(event);
    }

private:
    const QString m_name;
    QStringList &m_calls;
};

class ZRWindowTest : public testing::Test {
protected:
    ZRWindowTest() {
        window.setRepresentedObject(QStringLiteral("book"));
        window.setDelegate(&delegate);
    }
    void show() {
        window.makeKeyAndOrderFront();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    void expectClosed() {
        EXPECT_FALSE(window.isVisible());
        EXPECT_EQ(delegate.calls,
                  (QStringList{QStringLiteral("will close 1 book"), QStringLiteral("did close 0 book")}));
        EXPECT_FALSE(window.representedObject().isValid());
    }

    Delegate delegate;
    ZRWindow window;
};

} // namespace

TEST_F(ZRWindowTest, ClosingIsFollowedByTheDelegateAndThenByNoRepresentedObject) {
    show();
    window.close();
    expectClosed();
}

TEST_F(ZRWindowTest, ClosingThroughItsBaseClassIsTheSame) {
    show();
    QWidget *const widget = &window;
    widget->close();
    expectClosed();
}

TEST_F(ZRWindowTest, ClosingByMessageIsTheSame) {
    show();
    QMetaObject::invokeMethod(&window, "close");
    expectClosed();
}

TEST_F(ZRWindowTest, ClosingByTheUserIsTheSame) {
    show();
    window.performClose();
    expectClosed();
}

TEST_F(ZRWindowTest, ClosingByTheWindowSystemIsTheSame) {
    show();
    ASSERT_TRUE(window.windowHandle());
    window.windowHandle()->close();
    expectClosed();
}

TEST_F(ZRWindowTest, ADelegateWithoutTheMessageStillClearsTheRepresentedObject) {
    QObject silent;
    window.setDelegate(&silent);
    show();
    window.close();
    EXPECT_FALSE(window.representedObject().isValid());
    window.setRepresentedObject(1);
    window.setDelegate(nullptr);
    window.close();
    EXPECT_FALSE(window.representedObject().isValid()) << "of a window that isn't visible, too";
}

TEST_F(ZRWindowTest, WhatADelegateRaisesIsLoggedAndKeepsNothingOpen) {
    delegate.raises = true;
    const LogCapture log;
    show();
    EXPECT_TRUE(window.close());
    expectClosed();
    EXPECT_EQ(log.count(QStringLiteral("Exception in an event: no")), 1);
    delegate.calls.clear();
    window.setRepresentedObject(QStringLiteral("book"));
    show();
    EXPECT_TRUE(window.close());
    expectClosed();
}

TEST_F(ZRWindowTest, AWindowThatIsOnlyOrderedOutKeepsItsRepresentedObject) {
    show();
    window.orderOut();
    EXPECT_EQ(window.representedObject(), QVariant(QStringLiteral("book")));
    EXPECT_EQ(delegate.calls, QStringList());
}

TEST_F(ZRWindowTest, TheRepresentedObjectGoesWithTheWindow) {
    auto object = std::make_shared<int>(7);
    {
        ZRWindow other;
        other.setRepresentedObject(QVariant::fromValue(object));
        EXPECT_EQ(object.use_count(), 2);
    }
    EXPECT_EQ(object.use_count(), 1);
}

TEST_F(ZRWindowTest, TheTitleIsTranslatedWithoutAContextWhenTheFileIsLoaded) {
    struct German : QTranslator {
        QString translate(const char *context, const char *text, const char *, int) const override {
            return qstrlen(context) == 0 && qstrcmp(text, "Settings") == 0 ? QStringLiteral("Einstellungen")
                                                                           : QString();
        }
        bool isEmpty() const override { return false; }
    } german;
    QCoreApplication::installTranslator(&german);
    const auto root =
        NSNib(QByteArray(
                  "<ui version=\"4.0\"><class>Form</class><widget class=\"ZRWindow\" name=\"w\"><property "
                  "name=\"windowTitle\"><string>Settings</string></property></widget></ui>"))
            .instantiateWithOwner(nullptr);
    window.setTitle(QStringLiteral("Untranslated"));
    window.awakeFromNib();
    QCoreApplication::removeTranslator(&german);
    ASSERT_TRUE(qobject_cast<ZRWindow *>(root.get())) << "the kit's classes are known to files";
    EXPECT_EQ(root->windowTitle(), QStringLiteral("Einstellungen"));
    EXPECT_EQ(window.title(), QStringLiteral("Untranslated"));
}

TEST_F(ZRWindowTest, ConfirmingASheetEndsEditingStepByStep) {
    QStringList calls;
    auto *const content = new QWidget;
    auto *const field = new Field(QStringLiteral("field"), calls, content);
    auto *const button = new Field(QStringLiteral("button"), calls, content);
    ZRWindow sheet;
    sheet.setContentView(content);
    show();
    window.beginSheet(&sheet, [&](qint64 code) { calls << QStringLiteral("code %1").arg(code); });
    // A window's own windows call themselves active when they aren't.
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &sheet; }));
    ASSERT_TRUE(sheet.makeFirstResponder(field));
    QTest::keyClick(field, Qt::Key_X);
    calls.clear();
    sheet.doConfirmSheet(button);
    EXPECT_EQ(calls, (QStringList{QStringLiteral("field out"), QStringLiteral("field ended"),
                                  QStringLiteral("button in"), QStringLiteral("button out"),
                                  QStringLiteral("code 0")}))
        << calls.join(u'|').toStdString();
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(window.attachedSheet(), nullptr);
}

TEST_F(ZRWindowTest, ASenderThatCannotBeFirstResponderLeavesNobodyEditing) {
    QStringList calls;
    auto *const content = new QWidget;
    auto *const field = new Field(QStringLiteral("field"), calls, content);
    auto *const button = new QPushButton(content);
    button->setFocusPolicy(Qt::NoFocus);
    window.setContentView(content);
    show();
    field->setFocus();
    QTest::keyClick(field, Qt::Key_X);
    window.doConfirmSheet(button);
    EXPECT_EQ(window.firstResponder(), &window);
    EXPECT_EQ(calls.count(QStringLiteral("field ended")), 1);
    EXPECT_FALSE(window.isVisible()) << "a window that is no sheet is ordered out all the same";
    EXPECT_EQ(delegate.calls, QStringList()) << "and isn't closed";
}

TEST_F(ZRWindowTest, ASheetMayBeDeletedByWhoWaitsForIt) {
    auto *const sheet = new ZRWindow;
    const QPointer<ZRWindow> alive = sheet;
    show();
    window.beginSheet(sheet, [sheet](qint64) { delete sheet; });
    sheet->doConfirmSheet();
    EXPECT_FALSE(alive);
}

TEST_F(ZRWindowTest, AFieldOfAWindowWithoutTheKeysEndsItsEditing) {
    auto *const field = new ZRTextField;
    window.setContentView(field);
    show();
    ASSERT_TRUE(window.makeFirstResponder(field));
    ZRWindow other;
    other.makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &other; }));
    ASSERT_TRUE(field->currentEditor()) << "it goes on while another window has the keys";
    window.endEditingFor(nullptr);
    EXPECT_FALSE(field->currentEditor());
}

TEST_F(ZRWindowTest, AConnectionToConfirmASheetHasTheButtonAsItsSender) {
    auto *const content = new QWidget;
    auto *const button = new QPushButton(content);
    button->setFocusPolicy(Qt::StrongFocus);
    window.setContentView(content);
    QObject::connect(button, SIGNAL(clicked()), &window, SLOT(doConfirmSheet()));
    show();
    button->click();
    EXPECT_EQ(window.firstResponder(), button);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(ZRWindowTest, TheLibraryIsTheFirstOpenDocument) {
    EXPECT_EQ(window.library(), nullptr);
    QObject first, second;
    NSDocumentController *const documents = NSDocumentController::sharedDocumentController();
    documents->addDocument(&first);
    documents->addDocument(&second);
    EXPECT_EQ(window.library(), &first);
    EXPECT_EQ(window.property("library").value<QObject *>(), &first);
    documents->removeDocument(&first);
    EXPECT_EQ(window.library(), &second);
    documents->removeDocument(&second);
}

#include "ZRWindowTest.moc"
