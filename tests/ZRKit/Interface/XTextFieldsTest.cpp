// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "tests/support/ShownWindow.h"
#include "tests/support/XUser.h"

#include <QMenu>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Responder : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void textFieldWillBecomeFirstResponder(ZRTextField *field) { note(u"willBecome"_s, field); }
    Q_INVOKABLE void textFieldDidBecomeFirstResponder(ZRTextField *field) { note(u"didBecome"_s, field); }
    Q_INVOKABLE void textFieldWillResignFirstResponder(ZRTextField *field) { note(u"willResign"_s, field); }
    Q_INVOKABLE void textFieldDidResignFirstResponder(ZRTextField *field) { note(u"didResign"_s, field); }
    Q_INVOKABLE void act(QObject *) { calls += u"act"_s; }

    QStringList calls;

private:
    void note(const QString &call, ZRTextField *field) { calls += call + u" "_s + field->objectName(); }
};

/// A window with two fields, of one line and of many, and a real user before it.
class XTextFields : public ::testing::Test {
protected:
    XTextFields() {
        name->setObjectName(u"name"_s);
        notes->setObjectName(u"notes"_s);
        name->setGeometry(10, 10, 300, 30);
        notes->setGeometry(10, 60, 300, 100);
        for (ZRTextField *field : {name, static_cast<ZRTextField *>(notes)}) {
            field->awakeFromNib();
            field->setResponderDelegate(&responder);
            field->setTarget(&responder);
            field->setAction(NSSelector("act:"));
        }
        window.setFocusPolicy(Qt::StrongFocus);
        window.setFocus();
    }
    void SetUp() override { ASSERT_TRUE(window.becomeActive()); }

    static void click(const QWidget &widget) {
        const QPoint at = widget.mapToGlobal(widget.rect().center());
        user({u"mousemove"_s, QString::number(at.x()), QString::number(at.y()), u"click"_s, u"1"_s});
    }
    template <typename Condition>
    static bool eventually(Condition condition) {
        return QTest::qWaitFor(condition, 30'000);
    }
    bool reads(const ZRTextField &field, const QString &text) {
        return eventually([&] { return field.stringValue() == text; });
    }
    /// Waits for so many calls and takes them.
    QStringList take(qsizetype count) {
        eventually([&] { return responder.calls.size() >= count; });
        return std::exchange(responder.calls, {});
    }

    Responder responder;
    ShownWindow window;
    ZRTextField *const name = new ZRTextField(&window);
    ZRTextEditorField *const notes = new ZRTextEditorField(&window);
};

} // namespace

TEST_F(XTextFields, ClicksAndKeysOfARealUser) {
    click(*name);
    EXPECT_EQ(take(2), (QStringList{u"willBecome name"_s, u"didBecome name"_s}));
    EXPECT_TRUE(name->focusProxy()->hasFocus());
    user({u"type"_s, u"Ada"_s});
    EXPECT_TRUE(reads(*name, u"Ada"_s));

    user({u"key"_s, u"Return"_s});
    EXPECT_EQ(take(5), (QStringList{u"willResign name"_s, u"act"_s, u"didResign name"_s, u"willBecome name"_s,
                                    u"didBecome name"_s}));
    // All is selected then.
    user({u"type"_s, u"Eve"_s});
    EXPECT_TRUE(reads(*name, u"Eve"_s));

    user({u"key"_s, u"Tab"_s});
    EXPECT_EQ(take(4), (QStringList{u"willResign name"_s, u"didResign name"_s, u"willBecome notes"_s,
                                    u"didBecome notes"_s}));
    EXPECT_TRUE(notes->focusProxy()->hasFocus());
    user({u"type"_s, u"one"_s});
    user({u"key"_s, u"Return"_s});
    user({u"type"_s, u"two"_s});
    EXPECT_TRUE(reads(*notes, u"one\ntwo"_s));
    EXPECT_TRUE(responder.calls.isEmpty());

    user({u"key"_s, u"shift+Tab"_s});
    EXPECT_EQ(take(4), (QStringList{u"willResign notes"_s, u"didResign notes"_s, u"willBecome name"_s,
                                    u"didBecome name"_s}));
    EXPECT_EQ(notes->stringValue(), u"one\ntwo"_s);
    EXPECT_EQ(name->stringValue(), u"Eve"_s);
}

TEST_F(XTextFields, AnotherWindowDoesNotEndEditing) {
    click(*name);
    take(2);
    user({u"type"_s, u"half"_s});
    ASSERT_TRUE(reads(*name, u"half"_s));
    ShownWindow second;
    ASSERT_TRUE(second.becomeActive());
    ASSERT_TRUE(eventually([&] { return !name->focusProxy()->hasFocus(); }));
    EXPECT_TRUE(name->currentEditor());
    second.close();
    window.activateWindow();
    ASSERT_TRUE(eventually([&] { return name->focusProxy()->hasFocus(); }));
    user({u"type"_s, u" done"_s});
    EXPECT_TRUE(reads(*name, u"half done"_s));
    EXPECT_TRUE(responder.calls.isEmpty());
}

TEST_F(XTextFields, TheContextMenuDoesNotEndEditing) {
    click(*name);
    take(2);
    user({u"type"_s, u"abc"_s});
    ASSERT_TRUE(reads(*name, u"abc"_s));
    user({u"click"_s, u"3"_s});
    ASSERT_TRUE(eventually([] { return QApplication::activePopupWidget() != nullptr; }));
    EXPECT_TRUE(name->currentEditor());
    user({u"key"_s, u"Escape"_s});
    ASSERT_TRUE(eventually([] { return QApplication::activePopupWidget() == nullptr; }));
    user({u"type"_s, u"d"_s});
    EXPECT_TRUE(reads(*name, u"abcd"_s));
    EXPECT_TRUE(responder.calls.isEmpty());
}

TEST_F(XTextFields, ClosingTheWindowEndsEditing) {
    click(*name);
    take(2);
    window.close();
    EXPECT_EQ(take(2), (QStringList{u"willResign name"_s, u"didResign name"_s}));
}

#include "XTextFieldsTest.moc"
