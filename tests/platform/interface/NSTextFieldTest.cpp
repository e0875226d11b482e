// SPDX-License-Identifier: MIT
#include "platform/interface/NSTextField.h"

#include "platform/base/NSException.h"
#include "platform/interface/NSNib.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSValueTransformer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ShownWindow.h"

#include <QAccessible>
#include <QClipboard>
#include <QDialog>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Model : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariant name READ name WRITE setName NOTIFY nameChanged)

public:
    QVariant name() const { return m_name; }
    void setName(const QVariant &name) {
        names += name.toString();
        m_name = name;
        Q_EMIT nameChanged();
    }

    QStringList names;

Q_SIGNALS:
    void nameChanged();

private:
    QVariant m_name = u"Ann"_s;
};

/// Notes what a field tells, and deletes the field or raises at one of these calls.
class Delegate : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void controlTextDidBeginEditing(const NSNotification &notification) {
        note("begin", notification);
    }
    Q_INVOKABLE void controlTextDidChange(const NSNotification &notification) {
        note("change", notification);
    }
    Q_INVOKABLE void controlTextDidEndEditing(const NSNotification &notification) {
        note("end " + QByteArray::number(notification.userInfo().value(NSTextMovementKey).toInt()),
             notification);
    }
    Q_INVOKABLE void act(QObject *) { call("act"); }

    QStringList calls;
    QByteArray fatal, failing;
    QPointer<NSTextField> field;

protected:
    void note(const QByteArray &name, const NSNotification &notification) {
        EXPECT_EQ(notification.object().value<QObject *>(), field.data());
        EXPECT_TRUE(
            qobject_cast<NSTextView *>(notification.userInfo().value(u"NSFieldEditor"_s).value<QObject *>()));
        call(name);
    }
    void call(const QByteArray &name) {
        calls += QString::fromLatin1(name);
        if (name == fatal)
            delete field;
        if (name == failing)
            throw NSException(NSGenericException, u"out of order"_s);
    }
};

class CommandDelegate : public Delegate {
    Q_OBJECT

public:
    Q_INVOKABLE bool controlTextViewDoCommandBySelector(NSControl *control, NSTextView *textView,
                                                        const NSSelector &selector) {
        EXPECT_EQ(control, field.data());
        EXPECT_TRUE(textView);
        call(selector.name().toLatin1());
        return selector == handled;
    }

    NSSelector handled;
};

struct NSTextFieldInWindow : ::testing::Test {
    NSTextFieldInWindow() : field(new NSTextField(&window)), other(new NSTextField(&window)) {
        field->setGeometry(0, 0, 200, 30);
        other->setGeometry(0, 40, 200, 30);
        delegate.field = field;
        commands.field = field;
    }
    void SetUp() override {
        // Nobody has the focus at first.
        window.setFocusPolicy(Qt::StrongFocus);
        window.setFocus();
        ASSERT_TRUE(window.becomeActive());
        field->setDelegate(&delegate);
        field->setTarget(&delegate);
        field->setAction(NSSelector("act:"));
    }

    ShownWindow window;
    const QPointer<NSTextField> field, other;
    Delegate delegate;
    CommandDelegate commands;
};

} // namespace

TEST(NSTextField, HoldsAText) {
    NSTextField field;
    EXPECT_TRUE(field.stringValue().isEmpty() && !field.stringValue().isNull());
    field.setStringValue(u"naïve 😀"_s);
    EXPECT_EQ(field.stringValue(), u"naïve 😀"_s);
    EXPECT_EQ(field.objectValue(), QVariant(u"naïve 😀"_s));
    field.setStringValue(QString());
    EXPECT_FALSE(field.stringValue().isNull());
}

TEST(NSTextField, ShowsAnyValue) {
    NSTextField field;
    for (const auto &[value, text] : {std::pair<QVariant, QString>{u"text"_s, u"text"_s},
                                      {12, u"12"_s},
                                      {0.1, u"0.1"_s},
                                      {true, u"1"_s},
                                      {QVariant(), u""_s},
                                      {QString(), u""_s},
                                      {NSNull(), u""_s},
                                      {QVariantList{1, 2}, u"(\n    1,\n    2\n)"_s}}) {
        field.setObjectValue(u"before"_s);
        field.setObjectValue(value);
        EXPECT_EQ(field.stringValue(), text);
    }
}

TEST(NSTextField, KeepsTextAndPropertiesInEachOfItsForms) {
    NSTextField field;
    field.setStringValue(u"text"_s);
    field.setPlaceholderString(u"Name"_s);
    field.setAccessibleName(u"Your name"_s);
    EXPECT_TRUE(field.isEditable() && field.usesSingleLineMode() && field.isBezeled());
    EXPECT_EQ(field.alignment(), NSTextAlignmentNatural);
    auto *line = qobject_cast<QLineEdit *>(field.focusProxy());
    ASSERT_TRUE(line);
    EXPECT_EQ(line->placeholderText(), u"Name"_s);
    EXPECT_EQ(line->accessibleName(), u"Your name"_s);

    field.setUsesSingleLineMode(false);
    auto *const text = qobject_cast<QPlainTextEdit *>(field.focusProxy());
    ASSERT_TRUE(text);
    EXPECT_EQ(text->toPlainText(), u"text"_s);
    EXPECT_EQ(text->placeholderText(), u"Name"_s);
    EXPECT_EQ(text->accessibleName(), u"Your name"_s);

    field.setEditable(false);
    EXPECT_EQ(field.focusProxy(), nullptr);
    EXPECT_EQ(field.stringValue(), u"text"_s);
    EXPECT_FALSE(field.acceptsFirstResponder());

    field.setSelectable(true);
    field.setUsesSingleLineMode(true);
    line = qobject_cast<QLineEdit *>(field.focusProxy());
    ASSERT_TRUE(line);
    EXPECT_TRUE(line->isReadOnly());
    EXPECT_EQ(line->text(), u"text"_s);
}

TEST(NSTextField, AlignmentAndFrameReachTheEditor) {
    NSTextField field;
    const auto *const line = qobject_cast<QLineEdit *>(field.focusProxy());
    field.setAlignment(NSTextAlignmentRight);
    field.setBezeled(false);
    EXPECT_TRUE(line->alignment().testFlag(Qt::AlignRight));
    EXPECT_FALSE(line->hasFrame());
    field.setAlignment(NSTextAlignmentCenter);
    EXPECT_TRUE(line->alignment().testFlag(Qt::AlignHCenter));
    EXPECT_EQ(field.property("alignment"), QVariant(2));
}

TEST(NSTextField, AnInterfaceFileSetsIt) {
    const auto view =
        NSNib(QByteArray(R"(<ui version="4.0"><class>Form</class><widget class="QWidget" name="Form">
        <widget class="NSTextField" name="name">
         <property name="stringValue"><string>Ann</string></property>
         <property name="placeholderString"><string>Name</string></property>
         <property name="usesSingleLineMode"><bool>false</bool></property>
         <property name="alignment"><number>1</number></property>
        </widget>
        <widget class="NSTextField" name="label"><property name="editable"><bool>false</bool></property></widget>
        </widget></ui>)"))
            .instantiateWithOwner(nullptr);
    ASSERT_TRUE(view);
    const auto *const field = view->findChild<NSTextField *>(u"name"_s);
    EXPECT_EQ(field->stringValue(), u"Ann"_s);
    EXPECT_EQ(field->placeholderString(), u"Name"_s);
    EXPECT_FALSE(field->usesSingleLineMode());
    EXPECT_EQ(field->alignment(), NSTextAlignmentRight);
    EXPECT_FALSE(view->findChild<NSTextField *>(u"label"_s)->isEditable());
}

TEST(NSTextField, ItsSizeIsThatOfItsEditor) {
    NSTextField field;
    EXPECT_EQ(field.sizeHint(), field.focusProxy()->sizeHint());
    field.show();
    field.resize(123, 45);
    EXPECT_EQ(field.focusProxy()->geometry(), QRect(0, 0, 123, 45));
}

TEST_F(NSTextFieldInWindow, ReturnCommitsSendsTheActionAndStays) {
    ASSERT_TRUE(field->becomeFirstResponder());
    EXPECT_TRUE(field->currentEditor());
    ASSERT_TRUE(ShownWindow::type(u"ab"_s));
    ASSERT_TRUE(ShownWindow::press(Qt::Key_Return));
    EXPECT_EQ(delegate.calls, (QStringList{u"begin"_s, u"change"_s, u"change"_s, u"end 16"_s, u"act"_s}));
    EXPECT_EQ(field->stringValue(), u"ab"_s);
    EXPECT_TRUE(field->focusProxy()->hasFocus());
    // All is selected: what is typed next replaces it.
    ShownWindow::type(u"c"_s);
    EXPECT_EQ(field->stringValue(), u"c"_s);
    EXPECT_EQ(delegate.calls.sliced(5), (QStringList{u"begin"_s, u"change"_s}));
}

TEST_F(NSTextFieldInWindow, TheKeypadsEnterIsReturn) {
    field->becomeFirstResponder();
    ShownWindow::press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(delegate.calls, (QStringList{u"end 16"_s, u"act"_s}));
}

TEST_F(NSTextFieldInWindow, LeavingCommitsWithoutTheAction) {
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_TRUE(other->focusProxy()->hasFocus());
    EXPECT_EQ(delegate.calls, (QStringList{u"begin"_s, u"change"_s, u"end 17"_s}));
    EXPECT_FALSE(field->currentEditor());
    ShownWindow::press(Qt::Key_Backtab, Qt::ShiftModifier);
    ASSERT_TRUE(field->focusProxy()->hasFocus());
    field->focusProxy()->clearFocus();
    EXPECT_EQ(delegate.calls.last(), u"end 0"_s);
}

TEST_F(NSTextFieldInWindow, ClickingIntoAnotherFieldEndsEditing) {
    QTest::mouseClick(field->focusProxy(), Qt::LeftButton);
    EXPECT_TRUE(field->currentEditor());
    QTest::mouseClick(other->focusProxy(), Qt::LeftButton);
    EXPECT_EQ(delegate.calls, QStringList{u"end 0"_s});
    EXPECT_TRUE(other->currentEditor());
}

TEST_F(NSTextFieldInWindow, EditingGoesOnWhileAnotherWindowOrAMenuHasTheFocus) {
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    ShownWindow second;
    ASSERT_TRUE(second.becomeActive());
    EXPECT_TRUE(field->currentEditor());
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QFocusEvent popup(QEvent::FocusOut, Qt::PopupFocusReason);
    QCoreApplication::sendEvent(field->focusProxy(), &popup);
    EXPECT_TRUE(field->currentEditor());
    EXPECT_EQ(delegate.calls, (QStringList{u"begin"_s, u"change"_s}));
}

TEST_F(NSTextFieldInWindow, EditingEndsInAWindowThatIsNotActiveToo) {
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    ShownWindow second;
    ASSERT_TRUE(second.becomeActive());
    ASSERT_TRUE(field->currentEditor());
    other->setFocus();
    EXPECT_FALSE(field->currentEditor());
    EXPECT_EQ(delegate.calls.last(), u"end 0"_s);
    EXPECT_TRUE(other->becomeFirstResponder());
    EXPECT_TRUE(other->currentEditor());
}

TEST_F(NSTextFieldInWindow, AWindowThatClosesEndsEditing) {
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    window.close();
    EXPECT_EQ(delegate.calls.last(), u"end 0"_s);
}

TEST_F(NSTextFieldInWindow, DisabledFieldsAndLabelsDoNotBecomeFirstResponder) {
    field->setEnabled(false);
    EXPECT_FALSE(field->becomeFirstResponder());
    other->setEditable(false);
    EXPECT_FALSE(other->becomeFirstResponder());
    EXPECT_FALSE(field->currentEditor());
}

TEST_F(NSTextFieldInWindow, TheBoundValueIsShownAndWrittenBackWhenEditingEnds) {
    Model model;
    field->bind(u"value"_s, &model, u"name"_s);
    EXPECT_EQ(field->stringValue(), u"Ann"_s);
    model.setName(u"Bob"_s);
    EXPECT_EQ(field->stringValue(), u"Bob"_s);
    model.names.clear();
    field->becomeFirstResponder();
    ShownWindow::type(u"Cy"_s);
    EXPECT_EQ(model.name(), QVariant(u"Bob"_s));
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(model.names, QStringList{u"Cy"_s});
    field->unbind(u"value"_s);
    model.setName(u"Dee"_s);
    EXPECT_EQ(field->stringValue(), u"Cy"_s);
}

TEST_F(NSTextFieldInWindow, AFieldThatWasLeftAsItWasWritesNothing) {
    Model model;
    field->bind(u"value"_s, &model, u"name"_s);
    field->becomeFirstResponder();
    ShownWindow::press(Qt::Key_Return);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_TRUE(model.names.isEmpty());
}

TEST_F(NSTextFieldInWindow, AChangeOfTheModelReplacesWhatIsBeingTyped) {
    Model model;
    field->bind(u"value"_s, &model, u"name"_s);
    field->becomeFirstResponder();
    ShownWindow::type(u"half"_s);
    model.setName(u"Eve"_s);
    model.names.clear();
    EXPECT_EQ(field->stringValue(), u"Eve"_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_TRUE(model.names.isEmpty());
}

TEST_F(NSTextFieldInWindow, AnObservedObjectThatIsGoneDoesNoHarm) {
    auto model = std::make_unique<Model>();
    field->bind(u"value"_s, model.get(), u"name"_s);
    field->becomeFirstResponder();
    ShownWindow::type(u"x"_s);
    model.reset();
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"x"_s);
}

TEST_F(NSTextFieldInWindow, CommandsAreAskedForBeforeTheEditorTakesThem) {
    field->setDelegate(&commands);
    field->setStringValue(u"ab"_s);
    field->becomeFirstResponder();
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Home,
                              Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Escape})
        ShownWindow::press(key);
    EXPECT_EQ(commands.calls, (QStringList{u"moveLeft:"_s, u"moveRight:"_s, u"moveUp:"_s, u"moveDown:"_s,
                                           u"moveToBeginningOfLine:"_s, u"moveToEndOfLine:"_s,
                                           u"scrollPageUp:"_s, u"scrollPageDown:"_s, u"cancelOperation:"_s}));
    commands.calls.clear();
    commands.handled = NSSelector("deleteBackward:");
    ShownWindow::press(Qt::Key_End);
    ShownWindow::press(Qt::Key_Backspace);
    EXPECT_EQ(field->stringValue(), u"ab"_s);
    commands.handled = NSSelector();
    ShownWindow::press(Qt::Key_Backspace);
    EXPECT_EQ(field->stringValue(), u"a"_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_TRUE(commands.calls.contains(u"insertTab:"_s));
}

TEST_F(NSTextFieldInWindow, AHandledReturnGoesOnEditing) {
    field->setDelegate(&commands);
    commands.handled = NSSelector("insertNewline:");
    field->becomeFirstResponder();
    ShownWindow::press(Qt::Key_Return);
    EXPECT_EQ(commands.calls, QStringList{u"insertNewline:"_s});
    EXPECT_TRUE(field->currentEditor());
}

TEST_F(NSTextFieldInWindow, AltReturnTypesALineBreakIntoAFieldOfManyLines) {
    field->setUsesSingleLineMode(false);
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    ShownWindow::press(Qt::Key_Return, Qt::AltModifier);
    ShownWindow::type(u"b"_s);
    EXPECT_EQ(field->stringValue(), u"a\nb"_s);
    ShownWindow::press(Qt::Key_Return);
    EXPECT_EQ(delegate.calls.last(), u"act"_s);
    EXPECT_EQ(field->stringValue(), u"a\nb"_s);
}

TEST_F(NSTextFieldInWindow, WhatAnInputMethodComposesIsToldOnceItIsThere) {
    field->becomeFirstResponder();
    QInputMethodEvent composing(u"に"_s, {});
    QCoreApplication::sendEvent(field->focusProxy(), &composing);
    EXPECT_TRUE(delegate.calls.isEmpty());
    QInputMethodEvent composed;
    composed.setCommitString(u"日"_s);
    QCoreApplication::sendEvent(field->focusProxy(), &composed);
    EXPECT_EQ(delegate.calls, (QStringList{u"begin"_s, u"change"_s}));
    EXPECT_EQ(field->stringValue(), u"日"_s);
}

TEST_F(NSTextFieldInWindow, WhatIsPastedIsToldBeforeEditingEnds) {
    field->becomeFirstResponder();
    QGuiApplication::clipboard()->setText(u"pasted"_s);
    qobject_cast<QLineEdit *>(field->focusProxy())->paste();
    EXPECT_TRUE(delegate.calls.isEmpty());
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(delegate.calls, (QStringList{u"begin"_s, u"change"_s, u"end 17"_s}));
}

TEST_F(NSTextFieldInWindow, WhatIsPastedByAMenuIsToldSoon) {
    field->becomeFirstResponder();
    QGuiApplication::clipboard()->setText(u"pasted"_s);
    qobject_cast<QLineEdit *>(field->focusProxy())->paste();
    QCoreApplication::processEvents();
    EXPECT_EQ(delegate.calls, (QStringList{u"begin"_s, u"change"_s}));
}

TEST_F(NSTextFieldInWindow, TheNotificationCenterTellsToo) {
    QStringList names;
    auto &center = NSNotificationCenter::defaultCenter();
    QObject *const token =
        center.addObserverForName(QString(), QVariant::fromValue<QObject *>(field.data()),
                                  [&](const NSNotification &notification) { names += notification.name(); });
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    ShownWindow::press(Qt::Key_Tab);
    center.removeObserver(token);
    EXPECT_EQ(names,
              (QStringList{NSControlTextDidBeginEditingNotification, NSControlTextDidChangeNotification,
                           NSControlTextDidEndEditingNotification}));
}

TEST_F(NSTextFieldInWindow, ADelegateThatDeletesTheFieldDoesNotCrash) {
    for (const char *call : {"begin", "change", "end 16", "act", "end 17"}) {
        auto *const doomed = new NSTextField(&window);
        doomed->show();
        Delegate killer;
        killer.field = doomed;
        killer.fatal = call;
        doomed->setDelegate(&killer);
        doomed->setTarget(&killer);
        doomed->setAction(NSSelector("act:"));
        ASSERT_TRUE(doomed->becomeFirstResponder());
        ShownWindow::type(u"a"_s);
        if (killer.field)
            ShownWindow::press(QByteArray(call) == "end 17" ? Qt::Key_Tab : Qt::Key_Return);
        EXPECT_FALSE(killer.field) << call;
        EXPECT_EQ(killer.calls.last(), QString::fromLatin1(call));
    }
    for (const char *call : {"insertNewline:", "deleteBackward:"}) {
        auto *const doomed = new NSTextField(&window);
        doomed->show();
        CommandDelegate killer;
        killer.field = doomed;
        killer.fatal = call;
        doomed->setDelegate(&killer);
        ASSERT_TRUE(doomed->becomeFirstResponder());
        ShownWindow::press(Qt::Key_Backspace);
        if (killer.field)
            ShownWindow::press(Qt::Key_Return);
        EXPECT_FALSE(killer.field) << call;
    }
}

TEST_F(NSTextFieldInWindow, ADelegateThatRaisesIsLoggedAndEditingGoesOn) {
    delegate.failing = "change";
    field->becomeFirstResponder();
    LogCapture log;
    ShownWindow::type(u"ab"_s);
    ShownWindow::press(Qt::Key_Return);
    EXPECT_EQ(log.count(u"Exception in an event: out of order"_s), 2);
    EXPECT_EQ(delegate.calls.last(), u"act"_s);
}

TEST_F(NSTextFieldInWindow, BecomingALabelEndsEditing) {
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
    field->setEditable(false);
    EXPECT_EQ(delegate.calls.last(), u"end 0"_s);
    EXPECT_EQ(field->stringValue(), u"a"_s);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(field->currentEditor());
}

TEST_F(NSTextFieldInWindow, ADelegateThatIsGoneIsNotAsked) {
    auto gone = std::make_unique<Delegate>();
    field->setDelegate(gone.get());
    gone.reset();
    EXPECT_EQ(field->delegate(), nullptr);
    field->becomeFirstResponder();
    ShownWindow::type(u"a"_s);
}

TEST_F(NSTextFieldInWindow, SelectTextSelectsAllOfIt) {
    field->setStringValue(u"abc"_s);
    field->selectText(nullptr);
    ASSERT_TRUE(field->currentEditor());
    EXPECT_EQ(field->currentEditor()->selectedRange(), (NSRange{0, 3}));
    field->currentEditor()->setSelectedRange({1, 1});
    EXPECT_EQ(field->currentEditor()->selectedRange(), (NSRange{1, 1}));
    field->currentEditor()->insertText(u"–"_s);
    EXPECT_EQ(field->stringValue(), u"a–c"_s);
    EXPECT_THROW(field->currentEditor()->setSelectedRange({2, 2}), NSException);
    field->selectText(nullptr);
    EXPECT_EQ(field->currentEditor()->selectedRange(), (NSRange{0, 3}));
}

TEST(NSTextFieldInDialog, ReturnWithoutAnActionIsLeftToTheDefaultButton) {
    QDialog dialog;
    QVBoxLayout layout(&dialog);
    auto *const field = new NSTextField;
    auto *const button = new QPushButton;
    layout.addWidget(field);
    layout.addWidget(button);
    button->setDefault(true);
    QObject::connect(button, &QPushButton::clicked, &dialog, &QDialog::accept);
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    Delegate delegate;
    delegate.field = field;
    field->becomeFirstResponder();
    field->setTarget(&delegate);
    field->setAction(NSSelector("act:"));
    ShownWindow::press(Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible());
    field->setAction(NSSelector());
    ShownWindow::press(Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST(NSTextFieldPicture, ALabelIsSetOffAsItsCellSays) {
    NSTextField label;
    label.setEditable(false);
    label.setStringValue(u"IIII"_s);
    label.resize(80, 30);
    QPalette palette = label.palette();
    palette.setColor(QPalette::Window, QColor(128, 128, 128));
    palette.setColor(QPalette::WindowText, Qt::black);
    label.setPalette(palette);
    const auto picture = [&](NSBackgroundStyle style) {
        label.cell()->setBackgroundStyle(style);
        return label.grab().toImage();
    };
    /// The rows of pixels that are lighter or darker than the background.
    const auto rows = [](const QImage &image, bool light) {
        std::pair<int, int> extent{image.height(), -1};
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const int grey = qGray(image.pixel(x, y));
                if (light ? grey > 150 : grey < 100)
                    extent = {std::min(extent.first, y), y};
            }
        return extent;
    };
    const std::pair<int, int> none{30, -1};
    const QImage normal = picture(NSBackgroundStyleNormal);
    const auto ink = rows(normal, false);
    ASSERT_NE(ink, none);
    EXPECT_EQ(rows(normal, true), none);
    const QImage raised = picture(NSBackgroundStyleRaised);
    EXPECT_EQ(rows(raised, false), ink);
    // What shows of the light shadow is its last row, below the text.
    EXPECT_EQ(rows(raised, true).second, ink.second + 1);
    const QImage dark = picture(NSBackgroundStyleDark);
    EXPECT_EQ(rows(dark, true), ink);
    EXPECT_EQ(rows(dark, false), none);
    const QImage lowered = picture(NSBackgroundStyleLowered);
    EXPECT_EQ(rows(lowered, true), ink);
    EXPECT_EQ(rows(lowered, false).first, ink.first - 1);
}

TEST(NSTextFieldPicture, MarkupInALabelIsText) {
    NSTextField label;
    label.setEditable(false);
    label.setStringValue(u"<h1>x</h1>"_s);
    const int asText = label.sizeHint().width();
    label.setStringValue(u"x"_s);
    EXPECT_GT(asText, label.sizeHint().width() * 2);
}

#include "NSTextFieldTest.moc"
