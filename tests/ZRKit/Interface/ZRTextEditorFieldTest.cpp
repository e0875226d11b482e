// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRTextEditorField.h"

#include "platform/values/NSObjectRuntime.h"
#include "tests/ZRKit/Interface/Forms.h"
#include "tests/support/ShownWindow.h"

#include <QAccessible>
#include <QClipboard>
#include <QPlainTextEdit>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Action : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void act() { ++sent; }
    int sent = 0;
};

struct ZRTextEditorFieldInWindow : ::testing::Test {
    ZRTextEditorFieldInWindow()
        : view(loadForm(R"(<class>Form</class><widget class="QWidget" name="Form">
        <widget class="ZRTextEditorField" name="notes"/><widget class="ZRTextField" name="name"/></widget>)")) {
        view->setParent(&window);
        notes = view->findChild<ZRTextEditorField *>();
        notes->setTarget(&action);
        notes->setAction(NSSelector("act"));
        notes->setGeometry(0, 0, 200, 100);
    }
    void SetUp() override {
        ASSERT_TRUE(window.becomeActive());
        ASSERT_TRUE(notes->becomeFirstResponder());
    }
    ~ZRTextEditorFieldInWindow() override { view.reset(); }

    ShownWindow window;
    std::unique_ptr<QWidget> view;
    QPointer<ZRTextEditorField> notes;
    Action action;
};

} // namespace

TEST_F(ZRTextEditorFieldInWindow, ReturnBreaksTheLineAndEditingGoesOn) {
    ShownWindow::type(u"one"_s);
    ShownWindow::press(Qt::Key_Return);
    ShownWindow::type(u"two"_s);
    ShownWindow::press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(notes->stringValue(), u"one\ntwo\n"_s);
    EXPECT_TRUE(notes->currentEditor());
    EXPECT_EQ(action.sent, 0);
}

TEST_F(ZRTextEditorFieldInWindow, TabLeaves) {
    ShownWindow::type(u"one"_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(notes->stringValue(), u"one"_s);
    EXPECT_FALSE(notes->currentEditor());
    EXPECT_TRUE(view->findChild<ZRTextField *>(u"name"_s)->currentEditor());
}

TEST_F(ZRTextEditorFieldInWindow, ALineBreakReplacesWhatIsSelectedAndCanBeUndone) {
    ShownWindow::type(u"abc"_s);
    notes->currentEditor()->setSelectedRange({1, 1});
    ShownWindow::press(Qt::Key_Return);
    EXPECT_EQ(notes->stringValue(), u"a\nc"_s);
    ShownWindow::press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(notes->stringValue(), u"abc"_s);
}

TEST_F(ZRTextEditorFieldInWindow, TheClipboardWorks) {
    ShownWindow::type(u"abc"_s);
    ShownWindow::press(Qt::Key_A, Qt::ControlModifier);
    ShownWindow::press(Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(notes->stringValue(), u""_s);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"abc"_s);
    ShownWindow::press(Qt::Key_V, Qt::ControlModifier);
    ShownWindow::press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(notes->stringValue(), u"abcabc"_s);
}

TEST_F(ZRTextEditorFieldInWindow, ScreenReadersSeeAMultiLineEditor) {
    notes->setAccessibleName(u"Notes"_s);
    QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(notes->focusProxy());
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->role(), QAccessible::EditableText);
    EXPECT_TRUE(interface->state().multiLine);
    EXPECT_EQ(interface->text(QAccessible::Name), u"Notes"_s);
}

TEST_F(ZRTextEditorFieldInWindow, LinesOfManyLinesAreShown) {
    notes->setStringValue(u"one\ntwo\nthree"_s);
    const auto *const text = qobject_cast<QPlainTextEdit *>(notes->focusProxy());
    ASSERT_TRUE(text);
    EXPECT_EQ(text->blockCount(), 3);
    EXPECT_EQ(notes->stringValue(), u"one\ntwo\nthree"_s);
}

TEST(ZRTextEditorField, OnlyTheLineBreakIsItsCommand) {
    ZRTextEditorField field;
    EXPECT_TRUE(field.controlTextViewDoCommandBySelector(&field, nullptr, NSSelector("insertNewline:")));
    for (const char *command : {"insertTab:", "insertBacktab:", "cancelOperation:", "insertNewline",
                                "deleteBackward:", "insertNewlineIgnoringFieldEditor:", ""})
        EXPECT_FALSE(field.controlTextViewDoCommandBySelector(&field, nullptr, NSSelector(command)))
            << command;
    EXPECT_FALSE(field.controlTextViewDoCommandBySelector(&field, nullptr, NSSelector()));
}

TEST(ZRTextEditorField, ItRespondsAsADelegate) {
    ZRTextEditorField field;
    EXPECT_TRUE(
        NSObjectRuntime::respondsTo(QVariant::fromValue<QObject *>(&field),
                                    NSSelector("controlTextViewDoCommandBySelector:textView:selector:")));
    ZRTextField plain;
    EXPECT_FALSE(
        NSObjectRuntime::respondsTo(QVariant::fromValue<QObject *>(&plain),
                                    NSSelector("controlTextViewDoCommandBySelector:textView:selector:")));
}

#include "ZRTextEditorFieldTest.moc"
