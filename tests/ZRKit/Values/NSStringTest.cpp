// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include <QRegularExpression>
#include <QSet>
#include <QUuid>
#include <gtest/gtest.h>

namespace {

TEST(NSString, UuidIsAnUpperCaseRandomUuidOf36Characters) {
    const QRegularExpression form(QStringLiteral("\\A[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\z"));
    QSet<QString> seen;
    for (int i = 0; i < 1000; ++i) {
        const QString uuid = ZRKit::uuid();
        EXPECT_EQ(uuid.size(), 36);
        EXPECT_TRUE(form.match(uuid).hasMatch()) << uuid.toStdString();
        EXPECT_EQ(QUuid(uuid).version(), QUuid::Random);
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 1000);
}

} // namespace
