// SPDX-License-Identifier: MIT
#include "platform/observing/NSKeyValueBinding.h"

#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSValueTransformer.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QObject>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;
using namespace NSKeyValueBinding;

namespace {

/// Something observed: a value that is announced, and one inside another object.
class Model : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariant amount READ amount WRITE setAmount NOTIFY amountChanged)
    Q_PROPERTY(QObject *part MEMBER part NOTIFY partChanged)

public:
    QVariant amount() const { return m_amount; }
    void setAmount(const QVariant &amount) {
        if (amount == u"refused"_s)
            throw NSException(NSInvalidArgumentException, u"no such amount"_s);
        ++writes;
        m_amount = amount.toInt() > 100 ? QVariant(100) : amount;
        Q_EMIT amountChanged();
    }

    QObject *part = nullptr;
    int writes = 0;

Q_SIGNALS:
    void amountChanged();
    void partChanged();

private:
    QVariant m_amount = 1;
};

/// Something that shows a value.
class Shown : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariant value MEMBER value)

public:
    QVariant value = u"nothing yet"_s;
};

/// Whole numbers as texts with a unit.
class Grams : public NSValueTransformer {
public:
    bool allowsReverseTransformation() const override { return true; }
    QVariant transformedValue(const QVariant &value) const override {
        if (value == u"bad"_s)
            throw NSException(NSInvalidArgumentException, u"not a weight"_s);
        return u"%1 g"_s.arg(value.toInt());
    }
    QVariant reverseTransformedValue(const QVariant &value) const override {
        const QString text = value.toString();
        if (!text.endsWith(u" g"))
            throw NSException(NSInvalidArgumentException, u"no grams"_s);
        return text.chopped(2).toInt();
    }
};

class Reciting : public NSValueTransformer {};

QVariantMap with(std::shared_ptr<NSValueTransformer> transformer) {
    return {{NSValueTransformerBindingOption, QVariant::fromValue(std::move(transformer))}};
}

} // namespace

TEST(NSKeyValueBinding, TheValueIsShownAtOnceAndWheneverItChanges) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s);
    EXPECT_EQ(shown.value, QVariant(1));
    model.setAmount(7);
    EXPECT_EQ(shown.value, QVariant(7));
    unbind(&shown, u"value"_s);
    model.setAmount(8);
    EXPECT_EQ(shown.value, QVariant(7));
    unbind(&shown, u"value"_s);
}

TEST(NSKeyValueBinding, AKeyPathIsFollowed) {
    Model whole, part, other;
    Shown shown;
    whole.part = &part;
    bind(&shown, u"value"_s, &whole, u"part.amount"_s);
    part.setAmount(5);
    EXPECT_EQ(shown.value, QVariant(5));
    other.setAmount(6);
    whole.setProperty("part", QVariant::fromValue<QObject *>(&other));
    EXPECT_EQ(shown.value, QVariant(6));
    EXPECT_TRUE(setObservedValue(&shown, u"value"_s, 9));
    EXPECT_EQ(other.amount(), QVariant(9));
    EXPECT_EQ(part.amount(), QVariant(5));
}

TEST(NSKeyValueBinding, WhatTheUserGivesIsWrittenAndShownAsTheModelTookIt) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s);
    EXPECT_TRUE(setObservedValue(&shown, u"value"_s, 250));
    EXPECT_EQ(model.amount(), QVariant(100));
    EXPECT_EQ(shown.value, QVariant(100));
    EXPECT_EQ(model.writes, 1);
    EXPECT_FALSE(setObservedValue(&shown, u"other"_s, 1));
}

TEST(NSKeyValueBinding, ATransformerStandsBetweenThem) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s, with(std::make_shared<Grams>()));
    EXPECT_EQ(shown.value, QVariant(u"1 g"_s));
    EXPECT_TRUE(setObservedValue(&shown, u"value"_s, u"20 g"_s));
    EXPECT_EQ(model.amount(), QVariant(20));
    EXPECT_EQ(shown.value, QVariant(u"20 g"_s));
}

TEST(NSKeyValueBinding, ATransformerWithoutAWayBackWritesNothing) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s, with(std::make_shared<Reciting>()));
    EXPECT_EQ(shown.value, QVariant(1));
    EXPECT_FALSE(setObservedValue(&shown, u"value"_s, 5));
    EXPECT_EQ(model.writes, 0);
}

TEST(NSKeyValueBinding, ATransformerThatRaisesIsLoggedAndChangesNothing) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s, with(std::make_shared<Grams>()));
    LogCapture log;
    model.setAmount(u"bad"_s);
    EXPECT_EQ(shown.value, QVariant(u"1 g"_s));
    EXPECT_FALSE(setObservedValue(&shown, u"value"_s, u"twenty"_s));
    EXPECT_EQ(model.amount(), QVariant(u"bad"_s));
    EXPECT_EQ(log.lines(), (QStringList{u"Binding \"value\" failed: not a weight"_s,
                                        u"Binding \"value\" failed: no grams"_s}));
}

TEST(NSKeyValueBinding, ASetterThatRaisesIsLogged) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s);
    LogCapture log;
    EXPECT_FALSE(setObservedValue(&shown, u"value"_s, u"refused"_s));
    EXPECT_EQ(log.lines(), QStringList{u"Binding \"value\" failed: no such amount"_s});
}

TEST(NSKeyValueBinding, NilAndTheNullMarkerAreShownAsNilOrAsThePlaceholder) {
    Model model;
    Shown plain, placeholder;
    bind(&plain, u"value"_s, &model, u"amount"_s);
    bind(&placeholder, u"value"_s, &model, u"amount"_s, {{NSNullPlaceholderBindingOption, u"none"_s}});
    for (const QVariant &nothing : {QVariant(), NSNull()}) {
        model.setAmount(3);
        model.setAmount(nothing);
        EXPECT_FALSE(plain.value.isValid());
        EXPECT_EQ(placeholder.value, QVariant(u"none"_s));
    }
    model.setAmount(u""_s);
    EXPECT_EQ(placeholder.value, QVariant(u""_s));
}

TEST(NSKeyValueBinding, InfoTellsWhatIsBound) {
    Model model;
    Shown shown;
    EXPECT_FALSE(infoForBinding(&shown, u"value"_s));
    EXPECT_FALSE(infoForBinding(nullptr, u"value"_s));
    const auto grams = std::make_shared<Grams>();
    bind(&shown, u"value"_s, &model, u"amount"_s, with(grams));
    const auto info = infoForBinding(&shown, u"value"_s);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->value(u"NSObservedObject"_s).value<QObject *>(), &model);
    EXPECT_EQ(info->value(u"NSObservedKeyPath"_s), QVariant(u"amount"_s));
    EXPECT_EQ(info->value(u"NSOptions"_s)
                  .toMap()
                  .value(u"NSValueTransformer"_s)
                  .value<std::shared_ptr<NSValueTransformer>>(),
              grams);
    EXPECT_FALSE(infoForBinding(&shown, u"other"_s));
    unbind(&shown, u"value"_s);
    EXPECT_FALSE(infoForBinding(&shown, u"value"_s));
}

TEST(NSKeyValueBinding, ATransformersNameIsResolved) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s,
         {{NSValueTransformerNameBindingOption, u"NSNegateBoolean"_s}});
    EXPECT_EQ(shown.value, QVariant(false));
    EXPECT_TRUE(infoForBinding(&shown, u"value"_s)
                    ->value(NSOptionsKey)
                    .toMap()
                    .value(NSValueTransformerBindingOption)
                    .value<std::shared_ptr<NSValueTransformer>>());
}

TEST(NSKeyValueBinding, WrongArgumentsRaiseAndLeaveTheBindingThatThereIs) {
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s);
    EXPECT_THROW(bind(&shown, u"value"_s, nullptr, u"amount"_s), NSException);
    EXPECT_THROW(bind(nullptr, u"value"_s, &model, u"amount"_s), NSException);
    EXPECT_THROW(bind(&shown, u"value"_s, &model, QString()), NSException);
    EXPECT_THROW(bind(&shown, QString(), &model, u"amount"_s), NSException);
    EXPECT_THROW(
        bind(&shown, u"value"_s, &model, u"amount"_s, {{NSValueTransformerBindingOption, u"grams"_s}}),
        NSException);
    // A pointer to the subclass is another type than what transformers are kept as.
    EXPECT_THROW(bind(&shown, u"value"_s, &model, u"amount"_s,
                      {{NSValueTransformerBindingOption, QVariant::fromValue(std::make_shared<Grams>())}}),
                 NSException);
    EXPECT_THROW(bind(&shown, u"value"_s, &model, u"amount"_s,
                      {{NSValueTransformerNameBindingOption, u"NoSuchThing"_s}}),
                 NSException);
    model.setAmount(4);
    EXPECT_EQ(shown.value, QVariant(4));
}

TEST(NSKeyValueBinding, BindingAgainReplaces) {
    Model first, second;
    Shown shown;
    bind(&shown, u"value"_s, &first, u"amount"_s);
    second.setAmount(2);
    bind(&shown, u"value"_s, &second, u"amount"_s);
    EXPECT_EQ(shown.value, QVariant(2));
    first.setAmount(50);
    EXPECT_EQ(shown.value, QVariant(2));
    EXPECT_TRUE(setObservedValue(&shown, u"value"_s, 60));
    EXPECT_EQ(first.amount(), QVariant(50));
}

TEST(NSKeyValueBinding, EitherSideMayGo) {
    auto model = std::make_unique<Model>();
    auto shown = std::make_unique<Shown>();
    bind(shown.get(), u"value"_s, model.get(), u"amount"_s);
    shown.reset();
    model->setAmount(5);

    Shown survivor;
    bind(&survivor, u"value"_s, model.get(), u"amount"_s);
    model.reset();
    EXPECT_FALSE(setObservedValue(&survivor, u"value"_s, 1));
    EXPECT_FALSE(infoForBinding(&survivor, u"value"_s)->value(NSObservedObjectKey).isValid());
    unbind(&survivor, u"value"_s);
}

TEST(NSKeyValueBinding, TwoObjectsOfOneValueFollowEachOther) {
    Model model;
    Shown one, two;
    bind(&one, u"value"_s, &model, u"amount"_s);
    bind(&two, u"value"_s, &model, u"amount"_s, with(std::make_shared<Grams>()));
    EXPECT_TRUE(setObservedValue(&two, u"value"_s, u"30 g"_s));
    EXPECT_EQ(one.value, QVariant(30));
    EXPECT_EQ(two.value, QVariant(u"30 g"_s));
    EXPECT_EQ(model.writes, 1);
}

TEST(NSKeyValueBinding, AChangeOnAnotherThreadIsShownOnTheOwn) {
    int count = 1;
    char name[] = "test";
    char *arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    Model model;
    Shown shown;
    bind(&shown, u"value"_s, &model, u"amount"_s);
    std::thread([&] { model.setAmount(9); }).join();
    EXPECT_EQ(shown.value, QVariant(1));
    QCoreApplication::sendPostedEvents(&shown);
    EXPECT_EQ(shown.value, QVariant(9));
    // Nothing is shown of what came before the end of the binding.
    std::thread([&] { model.setAmount(10); }).join();
    unbind(&shown, u"value"_s);
    QCoreApplication::sendPostedEvents(&shown);
    EXPECT_EQ(shown.value, QVariant(9));
}

#include "NSKeyValueBindingTest.moc"
