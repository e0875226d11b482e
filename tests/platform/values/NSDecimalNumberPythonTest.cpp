// SPDX-License-Identifier: MIT
// Every operation against Python's decimal module. ZR_DECIMAL_CASES and ZR_DECIMAL_SEED ask for another
// number of cases, and for others.
#include "platform/values/NSDecimalNumber.h"

#include <QProcess>
#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace {

NSDecimalNumber number(const QByteArray &text) {
    return NSDecimalNumber(QString::fromLatin1(text));
}

double fromHex(const QByteArray &text) {
    return std::strtod(text.constData(), nullptr);
}

NSDecimalNumber calculated(const QByteArray &operation, const NSDecimalNumberHandler &behavior,
                           const QByteArray &first, const QByteArray &second) {
    const NSDecimalNumber a = number(first);
    if (operation == "add")
        return a.decimalNumberByAdding(number(second), behavior);
    if (operation == "sub")
        return a.decimalNumberBySubtracting(number(second), behavior);
    if (operation == "mul")
        return a.decimalNumberByMultiplyingBy(number(second), behavior);
    if (operation == "div")
        return a.decimalNumberByDividingBy(number(second), behavior);
    if (operation == "pow")
        return a.decimalNumberByRaisingToPower(second.toULongLong(), behavior);
    if (operation == "shift")
        return a.decimalNumberByMultiplyingByPowerOf10(qint16(second.toInt()), behavior);
    if (operation == "round")
        return a.decimalNumberByRoundingAccordingToBehavior(behavior);
    if (operation == "from")
        return NSDecimalNumber::decimalNumberWithDouble(fromHex(first));
    ADD_FAILURE() << "an unknown operation: " << operation.constData();
    return {};
}

int asked(const char *variable, int otherwise) {
    bool given = false;
    const int value = qEnvironmentVariableIntValue(variable, &given);
    return given ? value : otherwise;
}

} // namespace

TEST(NSDecimalNumberPython, CalculatesLikePythonsDecimalModule) {
    const int count = asked("ZR_DECIMAL_CASES", 8000);
    QProcess python;
    python.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    python.start(QStringLiteral("python3"),
                 {QStringLiteral(ZR_SOURCE_DIR "/tests/platform/values/decimal_cases.py"),
                  QString::number(count), QString::number(asked("ZR_DECIMAL_SEED", 20240101))});
    ASSERT_TRUE(python.waitForStarted());

    int cases = 0, notNumbers = 0;
    while (python.waitForReadyRead(60000) || python.canReadLine()) {
        while (python.canReadLine()) {
            const QByteArrayList fields = python.readLine().trimmed().split(' ');
            ASSERT_EQ(fields.size(), 6);
            ++cases;
            const NSDecimalNumberHandler behavior(NSRoundingMode(fields[1].toInt()),
                                                  qint16(fields[2].toInt()), false, false, false, false);
            const QByteArray &answer = fields[5];
            if (fields[0] == "cmp") {
                const auto order = number(fields[3]) <=> number(fields[4]);
                ASSERT_EQ(order < 0 ? -1 : order > 0, answer.toInt()) << fields.join(' ').constData();
                continue;
            }
            if (fields[0] == "double") {
                ASSERT_EQ(number(fields[3]).doubleValue(), fromHex(answer)) << fields.join(' ').constData();
                continue;
            }
            const NSDecimalNumber result = calculated(fields[0], behavior, fields[3], fields[4]);
            notNumbers += result.isNaN();
            ASSERT_EQ(result, number(answer))
                << fields.join(' ').constData() << "\nis " << qPrintable(result.stringValue());
        }
    }
    python.waitForFinished();
    EXPECT_EQ(python.exitCode(), 0);
    EXPECT_EQ(cases, count);
    EXPECT_LT(notNumbers, count / 3);
}
