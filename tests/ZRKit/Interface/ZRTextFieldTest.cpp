// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRTextField.h"

#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueBinding.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSValueTransformer.h"
#include "tests/ZRKit/Interface/Forms.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ShownWindow.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Model : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariant price READ price WRITE setPrice NOTIFY priceChanged)

public:
    QVariant price() const { return m_price; }
    void setPrice(const QVariant &price) {
        ++writes;
        m_price = price;
        Q_EMIT priceChanged();
    }

    int writes = 0;

Q_SIGNALS:
    void priceChanged();

private:
    QVariant m_price = 3.14159;
};

/// Prices with two places.
class Price : public NSValueTransformer {
public:
    bool allowsReverseTransformation() const override { return true; }
    QVariant transformedValue(const QVariant &value) const override {
        return QString::number(value.toDouble(), 'f', 2);
    }
    QVariant reverseTransformedValue(const QVariant &value) const override {
        bool isNumber = false;
        const double price = value.toString().toDouble(&isNumber);
        if (!isNumber)
            throw NSException(NSInvalidArgumentException, u"not a price"_s);
        return price;
    }
};

class RaisingOnTheWay : public Price {
public:
    QVariant transformedValue(const QVariant &) const override { throw std::runtime_error("no way"); }
};

class ThrowingANumber : public Price {
public:
    QVariant reverseTransformedValue(const QVariant &) const override { throw 7; }
};

/// What it doesn't know, it turns into nothing.
class Forgetting : public Price {
public:
    QVariant transformedValue(const QVariant &value) const override {
        return NSIsNil(value) ? QVariant() : value.toDouble() < 0 ? QVariant(QVariantList{1}) : value;
    }
    QVariant reverseTransformedValue(const QVariant &value) const override {
        bool isNumber = false;
        const double price = value.toString().toDouble(&isNumber);
        return isNumber ? QVariant(price) : QVariant();
    }
};

QVariantMap with(std::shared_ptr<NSValueTransformer> transformer) {
    return {{NSValueTransformerBindingOption, QVariant::fromValue(std::move(transformer))}};
}

/// Hears all four calls, with the field's text at that time.
class Responder : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void textFieldWillBecomeFirstResponder(ZRTextField *field) { note("willBecome", field); }
    Q_INVOKABLE void textFieldDidBecomeFirstResponder(ZRTextField *field) { note("didBecome", field); }
    Q_INVOKABLE void textFieldWillResignFirstResponder(ZRTextField *field) { note("willResign", field); }
    Q_INVOKABLE void textFieldDidResignFirstResponder(ZRTextField *field) { note("didResign", field); }
    Q_INVOKABLE void act(QObject *) { calls += u"act"_s; }

    QStringList calls;
    QByteArray fatal;

private:
    void note(const char *name, ZRTextField *field) {
        calls += QString::fromLatin1(name) + u" "_s + field->stringValue() +
                 (field->currentEditor() ? u" +"_s : u""_s);
        if (fatal == name)
            delete field;
    }
};

/// Hears only one.
class PartialResponder : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void textFieldDidResignFirstResponder(QObject *) { ++calls; }
    int calls = 0;
};

struct ZRTextFieldInWindow : ::testing::Test {
    ZRTextFieldInWindow() : field(new ZRTextField(&window)), other(new ZRTextField(&window)) {
        field->setGeometry(0, 0, 200, 30);
        other->setGeometry(0, 40, 200, 30);
    }
    void SetUp() override {
        window.setFocusPolicy(Qt::StrongFocus);
        window.setFocus();
        ASSERT_TRUE(window.becomeActive());
        field->setResponderDelegate(&responder);
    }
    void bindPrice(const std::shared_ptr<NSValueTransformer> &transformer) {
        field->bind(u"value"_s, &model, u"price"_s, with(transformer));
    }

    ShownWindow window;
    const QPointer<ZRTextField> field, other;
    Responder responder;
    Model model;
};

} // namespace

TEST(ZRTextField, AwakesAsItsOwnDelegate) {
    ZRTextField field;
    EXPECT_EQ(field.delegate(), nullptr);
    field.awakeFromNib();
    EXPECT_EQ(field.delegate(), &field);
    const auto view = loadForm(R"(<class>Form</class><widget class="QWidget" name="Form">
                                  <widget class="ZRTextField" name="field"/></widget>)");
    ASSERT_TRUE(view);
    auto *const loaded = view->findChild<ZRTextField *>();
    EXPECT_EQ(loaded->delegate(), loaded);
}

TEST_F(ZRTextFieldInWindow, TheResponderDelegateHearsOfBecomingBeforeAndAfter) {
    field->setStringValue(u"text"_s);
    EXPECT_TRUE(field->becomeFirstResponder());
    EXPECT_EQ(responder.calls, (QStringList{u"willBecome text"_s, u"didBecome text +"_s}));
    EXPECT_TRUE(field->focusProxy()->hasFocus());
}

TEST_F(ZRTextFieldInWindow, FocusThatQtBringsMakesItFirstResponderToo) {
    QTest::mouseClick(field->focusProxy(), Qt::LeftButton);
    EXPECT_EQ(responder.calls, (QStringList{u"willBecome "_s, u"didBecome  +"_s}));
    QTest::keyClick(field->focusProxy(), Qt::Key_Tab);
    EXPECT_EQ(responder.calls.sliced(2), (QStringList{u"willResign "_s, u"didResign "_s}));
    QTest::keyClick(other->focusProxy(), Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(responder.calls.sliced(4), (QStringList{u"willBecome "_s, u"didBecome  +"_s}));
}

TEST_F(ZRTextFieldInWindow, AFieldThatCannotBecomeFirstResponderSaysSoAndTellsAllTheSame) {
    field->setEnabled(false);
    EXPECT_FALSE(field->becomeFirstResponder());
    EXPECT_EQ(responder.calls, (QStringList{u"willBecome "_s, u"didBecome "_s}));
}

TEST_F(ZRTextFieldInWindow, BecomingFirstResponderIsAnActionToo) {
    NSObjectRuntime::perform(QVariant::fromValue<QObject *>(field.data()),
                             NSSelector("doBecomeFirstResponder:"),
                             {QVariant::fromValue<QObject *>(&window)});
    EXPECT_TRUE(field->currentEditor());
    EXPECT_EQ(responder.calls.size(), 2);
}

TEST_F(ZRTextFieldInWindow, OnlyWhatTheDelegateRespondsToIsSent) {
    PartialResponder partial;
    field->setResponderDelegate(&partial);
    field->becomeFirstResponder();
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(partial.calls, 1);
    QObject silent;
    field->setResponderDelegate(&silent);
    field->becomeFirstResponder();
    field->setResponderDelegate(nullptr);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_TRUE(other->currentEditor());
}

TEST_F(ZRTextFieldInWindow, TheResponderDelegateIsNotKeptAlive) {
    auto gone = std::make_unique<Responder>();
    field->setResponderDelegate(gone.get());
    gone.reset();
    EXPECT_EQ(field->responderDelegate(), nullptr);
    EXPECT_TRUE(field->becomeFirstResponder());
}

TEST_F(ZRTextFieldInWindow, WhatWasTypedIsShownAsTheTransformerWritesIt) {
    bindPrice(std::make_shared<Price>());
    EXPECT_EQ(field->stringValue(), u"3.14"_s);
    field->becomeFirstResponder();
    ShownWindow::type(u"7.5"_s);
    responder.calls.clear();
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"7.50"_s);
    EXPECT_EQ(model.price(), QVariant(7.5));
    EXPECT_EQ(model.writes, 1);
    // It has its form before the delegate hears of it.
    EXPECT_EQ(responder.calls, (QStringList{u"willResign 7.50"_s, u"didResign 7.50"_s}));
}

TEST_F(ZRTextFieldInWindow, ATransformersWrittenFormDoesNotOverwriteAFinerValue) {
    bindPrice(std::make_shared<Price>());
    field->becomeFirstResponder();
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"3.14"_s);
    EXPECT_EQ(model.price(), QVariant(3.14159));
    EXPECT_EQ(model.writes, 0);
}

TEST_F(ZRTextFieldInWindow, ATransformerThatRaisesLeavesTheTextAndBothCallsAreHeard) {
    bindPrice(std::make_shared<Price>());
    field->becomeFirstResponder();
    ShownWindow::type(u"much"_s);
    responder.calls.clear();
    const LogCapture log;
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"much"_s);
    EXPECT_EQ(responder.calls, (QStringList{u"willResign much"_s, u"didResign much"_s}));
    EXPECT_EQ(model.writes, 0);
}

TEST_F(ZRTextFieldInWindow, WhateverIsThrownOnEitherWayIsSwallowed) {
    const LogCapture log;
    const std::shared_ptr<NSValueTransformer> transformers[] = {std::make_shared<RaisingOnTheWay>(),
                                                                std::make_shared<ThrowingANumber>()};
    for (const auto &transformer : transformers) {
        bindPrice(transformer);
        field->setStringValue(u"5"_s);
        responder.calls.clear();
        EXPECT_NO_THROW(field->textDidEndEditing(NSNotification(NSTextDidEndEditingNotification)));
        EXPECT_EQ(responder.calls, (QStringList{u"willResign 5"_s, u"didResign 5"_s}));
    }
}

TEST_F(ZRTextFieldInWindow, WhatIsTurnedIntoNoTextStaysAsItWasTyped) {
    bindPrice(std::make_shared<Forgetting>());
    for (const auto &[typed, shown] :
         {std::pair{u"much"_s, u"much"_s}, {u"-1"_s, u"-1"_s}, {u"007.50"_s, u"7.5"_s}}) {
        field->setStringValue(typed);
        field->textDidEndEditing(NSNotification(NSTextDidEndEditingNotification));
        EXPECT_EQ(field->stringValue(), shown);
    }
}

TEST_F(ZRTextFieldInWindow, ATransformerWithoutAWayBackLeavesTheText) {
    field->bind(u"value"_s, &model, u"price"_s, {{NSValueTransformerNameBindingOption, u"NSIsNotNil"_s}});
    field->becomeFirstResponder();
    ShownWindow::type(u"typed"_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"typed"_s);
    EXPECT_EQ(model.writes, 0);
}

TEST_F(ZRTextFieldInWindow, WithoutABindingOrTransformerTheTextStays) {
    field->becomeFirstResponder();
    ShownWindow::type(u"  typed  "_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"  typed  "_s);
    field->bind(u"value"_s, &model, u"price"_s);
    field->becomeFirstResponder();
    ShownWindow::type(u"7.5"_s);
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(field->stringValue(), u"7.5"_s);
    EXPECT_EQ(model.price(), QVariant(u"7.5"_s));
}

TEST_F(ZRTextFieldInWindow, TheStandardBehaviourComesBetweenTheTwoCalls) {
    bindPrice(std::make_shared<Price>());
    field->setTarget(&responder);
    field->setAction(NSSelector("act:"));
    QObject::connect(&model, &Model::priceChanged, &model, [&] { responder.calls += u"written"_s; });
    field->becomeFirstResponder();
    ShownWindow::type(u"1"_s);
    responder.calls.clear();
    ShownWindow::press(Qt::Key_Return);
    // After Return the field goes on as first responder, which is another begin.
    EXPECT_EQ(responder.calls, (QStringList{u"willResign 1.00"_s, u"written"_s, u"act"_s, u"didResign 1.00"_s,
                                            u"willBecome 1.00"_s, u"didBecome 1.00 +"_s}));
}

TEST_F(ZRTextFieldInWindow, MovingBetweenFieldsResignsBeforeTheOtherBecomes) {
    other->setResponderDelegate(&responder);
    field->setStringValue(u"one"_s);
    other->setStringValue(u"two"_s);
    field->becomeFirstResponder();
    responder.calls.clear();
    ShownWindow::press(Qt::Key_Tab);
    EXPECT_EQ(responder.calls, (QStringList{u"willResign one"_s, u"didResign one"_s, u"willBecome two"_s,
                                            u"didBecome two +"_s}));
}

TEST_F(ZRTextFieldInWindow, ADelegateThatDeletesTheFieldDoesNotCrash) {
    for (const char *call : {"willBecome", "didBecome", "willResign", "didResign"}) {
        for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Return}) {
            const QPointer<ZRTextField> doomed = new ZRTextField(&window);
            doomed->show();
            Responder killer;
            killer.fatal = call;
            doomed->setResponderDelegate(&killer);
            const bool isFirst = doomed->becomeFirstResponder();
            if (doomed) {
                EXPECT_TRUE(isFirst);
                ShownWindow::press(key);
            } else {
                EXPECT_FALSE(isFirst);
            }
            EXPECT_FALSE(doomed) << call;
            EXPECT_TRUE(killer.calls.last().startsWith(QString::fromLatin1(call)));
        }
        // By a click, where Qt gives the focus.
        const QPointer<ZRTextField> clicked = new ZRTextField(&window);
        clicked->setGeometry(0, 100, 100, 30);
        clicked->show();
        Responder killer;
        killer.fatal = call;
        clicked->setResponderDelegate(&killer);
        QTest::mouseClick(clicked->focusProxy(), Qt::LeftButton);
        if (clicked)
            QTest::mouseClick(other->focusProxy(), Qt::LeftButton);
        EXPECT_FALSE(clicked) << call;
    }
}

#include "ZRTextFieldTest.moc"
