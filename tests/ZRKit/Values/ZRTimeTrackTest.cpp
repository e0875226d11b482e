// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRTimeTrack.h"

#include "tests/support/LogCapture.h"

#include <QRegularExpression>
#include <QThread>
#include <gtest/gtest.h>

using namespace ZRKit;

namespace {

struct Line {
    QString name;
    double step = -1;
    double start = -1;
    QString message;
};

Line tracked(const QString &name, const QString &message) {
    const LogCapture log;
    zxTimeTrack(name, message);
    static const QRegularExpression form(
        QStringLiteral("^Time <(.*)> \\[(\\d+\\.\\d{4})s of (\\d+\\.\\d{4})s\\] (.*)$"));
    EXPECT_EQ(log.lines().size(), 1);
    const auto match = form.match(log.lines().value(0));
    EXPECT_TRUE(match.hasMatch()) << qPrintable(log.lines().value(0));
    return {match.captured(1), match.captured(2).toDouble(), match.captured(3).toDouble(), match.captured(4)};
}

} // namespace

TEST(ZRTimeTrack, LogsTheTimeSinceTheLastCallAndSinceTheStart) {
    const QString name = QStringLiteral("steps");
    const Line first = tracked(name, QStringLiteral("begun"));
    EXPECT_EQ(first.name, name);
    EXPECT_EQ(first.message, QStringLiteral("begun"));
    EXPECT_EQ(first.step, 0);
    EXPECT_EQ(first.start, 0);

    QThread::msleep(30);
    const Line second = tracked(name, QStringLiteral("half"));
    EXPECT_GE(second.step, 0.03);
    EXPECT_NEAR(second.start, second.step, 0.0001);

    QThread::msleep(10);
    const Line third = tracked(name, QStringLiteral("done"));
    EXPECT_GE(third.step, 0.01);
    EXPECT_NEAR(third.start, second.start + third.step, 0.0002);
}

TEST(ZRTimeTrack, ANilMessageStartsAgainAndIsLoggedAsEmptyText) {
    const QString name = QStringLiteral("again");
    tracked(name, QStringLiteral("begun"));
    QThread::msleep(5);
    const Line restarted = tracked(name, QString());
    EXPECT_EQ(restarted.message, QStringLiteral(""));
    EXPECT_EQ(restarted.step, 0);
    EXPECT_EQ(restarted.start, 0);
}

TEST(ZRTimeTrack, ANilNameIsTheClockMainAndIsLoggedAsNil) {
    tracked(QStringLiteral("main"), QString());
    QThread::msleep(5);
    const Line line = tracked(QString(), QStringLiteral("step"));
    EXPECT_EQ(line.name, QStringLiteral("(null)"));
    EXPECT_GE(line.step, 0.005);
    EXPECT_EQ(tracked(QStringLiteral("other"), QStringLiteral("x")).start, 0);
}
