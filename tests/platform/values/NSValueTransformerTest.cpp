// SPDX-License-Identifier: MIT
#include "platform/values/NSValueTransformer.h"

#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Doubling : public NSValueTransformer {
public:
    bool allowsReverseTransformation() const override { return true; }
    QVariant transformedValue(const QVariant &value) const override { return value.toInt() * 2; }
    QVariant reverseTransformedValue(const QVariant &value) const override { return value.toInt() / 2; }
};

} // namespace

TEST(NSValueTransformer, TheBaseTurnsValuesIntoThemselvesOneWay) {
    const NSValueTransformer transformer;
    EXPECT_EQ(transformer.transformedValue(7), QVariant(7));
    EXPECT_FALSE(transformer.transformedValue({}).isValid());
    EXPECT_FALSE(transformer.allowsReverseTransformation());
    EXPECT_THROW(transformer.reverseTransformedValue(7), NSException);
}

TEST(NSValueTransformer, ANameStandsForATransformerUntilItIsRemoved) {
    const auto doubling = std::make_shared<Doubling>();
    EXPECT_EQ(NSValueTransformer::valueTransformerForName(u"Doubling"_s), nullptr);
    NSValueTransformer::setValueTransformerForName(doubling, u"Doubling"_s);
    EXPECT_EQ(NSValueTransformer::valueTransformerForName(u"Doubling"_s), doubling);
    EXPECT_TRUE(NSValueTransformer::valueTransformerNames().contains(u"Doubling"_s));
    const auto other = std::make_shared<Doubling>();
    NSValueTransformer::setValueTransformerForName(other, u"Doubling"_s);
    EXPECT_EQ(NSValueTransformer::valueTransformerForName(u"Doubling"_s), other);
    NSValueTransformer::setValueTransformerForName(nullptr, u"Doubling"_s);
    EXPECT_EQ(NSValueTransformer::valueTransformerForName(u"Doubling"_s), nullptr);
    EXPECT_FALSE(NSValueTransformer::valueTransformerNames().contains(u"Doubling"_s));
    EXPECT_EQ(other.use_count(), 1);
}

TEST(NSValueTransformer, NegationGoesBothWays) {
    const auto negation = NSValueTransformer::valueTransformerForName(u"NSNegateBoolean"_s);
    ASSERT_TRUE(negation);
    EXPECT_TRUE(negation->allowsReverseTransformation());
    EXPECT_EQ(negation->transformedValue(true), QVariant(false));
    EXPECT_EQ(negation->transformedValue(u"no"_s), QVariant(true));
    EXPECT_EQ(negation->transformedValue({}), QVariant(true));
    EXPECT_EQ(negation->reverseTransformedValue(false), QVariant(true));
}

TEST(NSValueTransformer, NilIsTestedForAndTheNullMarkerIsNotNil) {
    const auto isNil = NSValueTransformer::valueTransformerForName(u"NSIsNil"_s);
    const auto isNotNil = NSValueTransformer::valueTransformerForName(u"NSIsNotNil"_s);
    ASSERT_TRUE(isNil && isNotNil);
    EXPECT_FALSE(isNil->allowsReverseTransformation());
    for (const auto &[value, nil] : {std::pair<QVariant, bool>{QVariant(), true},
                                     {QString(), true},
                                     {u""_s, false},
                                     {NSNull(), false},
                                     {0, false}}) {
        EXPECT_EQ(isNil->transformedValue(value), QVariant(nil));
        EXPECT_EQ(isNotNil->transformedValue(value), QVariant(!nil));
    }
}
