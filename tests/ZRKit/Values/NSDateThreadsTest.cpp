// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDate+ZRKit.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace ZRKit;

TEST(NSDateThreads, WhatIsSharedIsLocked) {
    const QDateTime ten(QDate(2024, 1, 1), QTime(10, 0), Qt::UTC);
    std::atomic<int> wrong = 0;
    const auto work = [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            wrong += dateFromRFC3339String(QStringLiteral("2024-01-01T10:00:00Z")) != ten;
            wrong += dateFromString(QStringLiteral("2024-01-01 10"), QStringLiteral("yyyy-MM-dd HH")) != ten;
            wrong +=
                dateFromString(QStringLiteral("10 %1").arg(thread), QStringLiteral("HH '%1'").arg(thread))
                    .time() != QTime(10, 0);
            wrong += formatDate(ten, QStringLiteral("yyyy")) != QStringLiteral("2024");
            wrong += dateFromHumanString(QStringLiteral("2024-01-01T10:00:00Z")) != ten;
            wrong += daysSince(ten.addDays(2), ten) != 2;
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back(work, thread);
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
