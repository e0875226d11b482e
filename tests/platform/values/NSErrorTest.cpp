// SPDX-License-Identifier: MIT
#include "platform/base/NSError.h"
#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"

#include <QDateTime>
#include <QUrl>
#include <gtest/gtest.h>
#include <stdexcept>

TEST(NSError, DefaultConstructedIsNilAndEmptyDomainIsNot) {
    EXPECT_TRUE(NSError().isNil());
    EXPECT_FALSE(NSError(QString(), 0).isNil());
    EXPECT_FALSE(NSError() == NSError(QStringLiteral(""), 0));
}

TEST(NSError, LocalizedDescriptionComesFromUserInfoOrFromDomainAndCode) {
    const NSError plain(QStringLiteral("com.velmora.error"), 101);
    EXPECT_TRUE(plain.localizedDescription().contains(QStringLiteral("com.velmora.error error 101")));
    const NSError said(QStringLiteral("com.velmora.error"), 101,
                       {{NSLocalizedDescriptionKey, QStringLiteral("no paper")}});
    EXPECT_EQ(said.localizedDescription(), QStringLiteral("no paper"));
    EXPECT_EQ(said.description(), QStringLiteral("Error Domain=com.velmora.error Code=101 \"no paper\""));
    EXPECT_EQ(NSError().description(), QStringLiteral("(null)"));
}

TEST(NSException, DescribesWhateverIsBeingHandled) {
    const auto describe = [](auto &&thrown) {
        try {
            throw thrown;
        } catch (...) {
            return NSException::currentDescription();
        }
    };
    EXPECT_EQ(describe(NSException(NSInvalidArgumentException, QStringLiteral("why"))),
              QStringLiteral("why"));
    EXPECT_EQ(describe(NSException(NSInvalidArgumentException, QString())), NSInvalidArgumentException);
    EXPECT_EQ(describe(std::runtime_error("std")), QStringLiteral("std"));
    EXPECT_EQ(describe(7), QStringLiteral("unknown exception"));
}

TEST(NSNull, NilNullMarkerAndEmptyValuesAreThreeThings) {
    EXPECT_TRUE(NSIsNil(QVariant()));
    EXPECT_TRUE(NSIsNil(QString()));
    EXPECT_TRUE(NSIsNil(QByteArray()));
    EXPECT_TRUE(NSIsNil(QDateTime()));
    EXPECT_TRUE(NSIsNil(QUrl()));
    EXPECT_TRUE(NSIsNil(QVariant::fromValue(NSError())));
    EXPECT_FALSE(NSIsNil(NSNull()));
    EXPECT_FALSE(NSIsNil(QStringLiteral("")));
    EXPECT_FALSE(NSIsNil(QByteArray("")));
    EXPECT_FALSE(NSIsNil(0));
    EXPECT_TRUE(NSIsNull(NSNull()));
    EXPECT_FALSE(NSIsNull(QVariant()));
    EXPECT_FALSE(NSIsNull(QStringLiteral("")));
}

TEST(NSNull, DescriptionsOfValues) {
    EXPECT_EQ(NSDescription(QVariant()), QStringLiteral("(null)"));
    EXPECT_EQ(NSDescription(NSNull()), QStringLiteral("<null>"));
    EXPECT_EQ(NSDescription(QStringLiteral("text")), QStringLiteral("text"));
    EXPECT_EQ(NSDescription(42), QStringLiteral("42"));
}
