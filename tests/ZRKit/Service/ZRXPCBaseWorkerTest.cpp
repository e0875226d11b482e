// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPCBaseWorker.h"

#include "ZRKit/Service/ZRXPCDelegate.h"
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/NSXPCListener.h"
#include "tests/ZRKit/Service/TestKitWorker.h"
#include "tests/support/LogCapture.h"

#include <QRegularExpression>
#include <QUuid>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace {

struct Answer {
    QByteArray data;
    NSError error;
    QVariant result() const {
        return data.isNull() ? QVariant() : NSKeyedUnarchiver::unarchiveObjectWithData(data);
    }
};

/// Runs a task on a worker and gives all replies.
template <typename Worker = TestKitWorker>
std::vector<Answer> perform(const QByteArray &data) {
    std::vector<Answer> answers;
    Worker worker;
    worker.performWithData(data, [&](const QByteArray &reply, const NSError &error) {
        answers.push_back({reply, error});
    });
    return answers;
}

std::vector<Answer> perform(const QVariant &task) {
    return perform(NSKeyedArchiver::archivedDataWithRootObject(task));
}

QVariantMap doing(const char *what, const QVariantMap &more = {}) {
    QVariantMap task = more;
    task.insert(QStringLiteral("do"), QString::fromLatin1(what));
    return task;
}

void expectError(const std::vector<Answer> &answers, const QString &message) {
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_TRUE(answers[0].data.isNull());
    EXPECT_EQ(answers[0].error,
              NSError(QStringLiteral("com.velmora.error"), 101, {{NSLocalizedDescriptionKey, message}}));
}

const QRegularExpression startLine(QStringLiteral("^==> XPC work on task ([0-9A-F-]{36})#(\\d+)$"));
const QRegularExpression
    endLine(QStringLiteral("^<== XPC finished successfully task ([0-9A-F-]{36})#(\\d+)$"));

} // namespace

TEST(ZRXPCBaseWorker, RepliesOnceAndLogsStartAndEndOfTheTask) {
    const LogCapture log;
    const auto answers = perform(doing("echo", {{QStringLiteral("n"), 5}}));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].result().toMap().value(QStringLiteral("n")).toInt(), 5);
    EXPECT_TRUE(answers[0].error.isNil());
    ASSERT_EQ(log.lines().size(), 2);
    const auto start = startLine.match(log.lines()[0]);
    const auto end = endLine.match(log.lines()[1]);
    ASSERT_TRUE(start.hasMatch() && end.hasMatch());
    EXPECT_EQ(start.captured(1), end.captured(1));
    EXPECT_EQ(start.captured(2), end.captured(2));
    EXPECT_FALSE(QUuid::fromString(start.captured(1)).isNull());
}

TEST(ZRXPCBaseWorker, EachTaskHasANumberOneAboveTheLastAndItsOwnIdentifier) {
    const LogCapture log;
    TestKitWorker one;
    TestKitWorker two;
    const QByteArray task = NSKeyedArchiver::archivedDataWithRootObject(doing("echo"));
    for (TestKitWorker *worker : {&one, &two, &one})
        worker->performWithData(task, [](const QByteArray &, const NSError &) {});
    std::vector<uint> numbers;
    std::set<QString> identifiers;
    for (const QString &line : log.lines()) {
        if (const auto match = startLine.match(line); match.hasMatch()) {
            identifiers.insert(match.captured(1));
            numbers.push_back(match.captured(2).toUInt());
        }
    }
    ASSERT_EQ(numbers.size(), 3u);
    EXPECT_EQ(numbers[1], numbers[0] + 1);
    EXPECT_EQ(numbers[2], numbers[0] + 2);
    EXPECT_EQ(identifiers.size(), 3u);
}

TEST(ZRXPCBaseWorker, TasksOnManyThreadsMayShareNumbersButNothingElse) {
    const LogCapture log;
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int n = 0; n < 50; ++n) {
                const auto answers = perform(doing("echo", {{QStringLiteral("n"), i * 1000 + n}}));
                right += answers.size() == 1 &&
                         answers[0].result().toMap().value(QStringLiteral("n")).toInt() == i * 1000 + n;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 400);
    EXPECT_EQ(log.count(QStringLiteral("==> ")), 400);
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 400);
}

TEST(ZRXPCBaseWorker, ABootProbeIsAnsweredWithoutWork) {
    for (const QVariant &value : {QVariant(true), QVariant(false), QVariant(QStringLiteral("")), NSNull(),
                                  QVariant(QVariantList())}) {
        const LogCapture log;
        const auto answers = perform(doing("raise", {{QStringLiteral("__boot"), value}}));
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0].result(),
                  QVariant(QVariantMap{{QStringLiteral("boot"), QStringLiteral("success")}}));
        EXPECT_TRUE(answers[0].error.isNil());
        EXPECT_EQ(log.count(QStringLiteral("==> ")), 1);
        EXPECT_EQ(log.count(QStringLiteral("<== ")), 1);
    }
}

TEST(ZRXPCBaseWorker, NilAndEmptyDataGiveANilTaskWithoutALogLine) {
    for (const QByteArray &data : {QByteArray(), QByteArray("")}) {
        const LogCapture log;
        const auto answers = perform(data);
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_TRUE(answers[0].result().toMap().value(QStringLiteral("isNil")).toBool());
        EXPECT_EQ(log.lines().size(), 2);
    }
}

TEST(ZRXPCBaseWorker, UndecodableDataIsLoggedAndGivesANilTask) {
    const LogCapture log;
    const auto answers = perform(QByteArray("no archive"));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_TRUE(answers[0].result().toMap().value(QStringLiteral("isNil")).toBool());
    ASSERT_EQ(log.lines().size(), 3);
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("zxDataUnserialize: ")));
    EXPECT_TRUE(log.lines()[1].startsWith(QStringLiteral("==> ")));
}

TEST(ZRXPCBaseWorker, ATaskThatIsNoDictionaryHasNoSubscript) {
    const LogCapture log;
    const auto answers = perform(QVariant(QStringLiteral("text")));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_TRUE(answers[0].error.localizedDescription().contains(QStringLiteral("objectForKeyedSubscript:")));
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 0);
}

TEST(ZRXPCBaseWorker, ExceptionsBecomeErrorRepliesWithoutAnEndLine) {
    const LogCapture log;
    expectError(perform(doing("raise", {{QStringLiteral("reason"), QStringLiteral("no ink")}})),
                QStringLiteral("no ink"));
    EXPECT_EQ(log.lines().size(), 2);
    EXPECT_EQ(log.lines().back(), QStringLiteral("!!! XPC Error: no ink"));
    expectError(perform(doing("throw")), QStringLiteral("unknown exception"));
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 0);
}

TEST(ZRXPCBaseWorker, AfterAnExceptionTheTaskIsNotCleared) {
    const LogCapture log;
    const auto ignore = [](const QByteArray &, const NSError &) {};
    TestKitWorker worker;
    worker.performWithData(NSKeyedArchiver::archivedDataWithRootObject(doing("raise")), ignore);
    EXPECT_EQ(worker[QStringLiteral("do")].toString(), QStringLiteral("raise"));
    worker.performWithData(NSKeyedArchiver::archivedDataWithRootObject(doing("echo")), ignore);
    EXPECT_FALSE(worker.object().isValid());
}

TEST(ZRXPCBaseWorker, ErrorsCarryDomainCodeAndMessage) {
    const LogCapture log;
    expectError(perform(doing("error", {{QStringLiteral("reason"), QStringLiteral("did fail")}})),
                QStringLiteral("did fail"));
    EXPECT_EQ(log.count(QStringLiteral("!!! XPC Error: did fail")), 1);
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 1);
}

TEST(ZRXPCBaseWorker, TheCauseIsInTheErrorsUserInfoAndMessageAndCodeStayAsTheyAre) {
    const LogCapture log;
    const NSError cause(QStringLiteral("NSURLErrorDomain"), -1004,
                        {{NSLocalizedDescriptionKey, QStringLiteral("refused")}});
    const auto answers = perform(doing("error", {{QStringLiteral("reason"), QStringLiteral("did fail")},
                                                 {QStringLiteral("cause"), QVariant::fromValue(cause)}}));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].error, NSError(QStringLiteral("com.velmora.error"), 101,
                                        {{NSLocalizedDescriptionKey, QStringLiteral("did fail")},
                                         {NSUnderlyingErrorKey, QVariant::fromValue(cause)}}));
    EXPECT_EQ(log.count(QStringLiteral("!!! XPC Error: did fail")), 1);
}

TEST(ZRXPCBaseWorker, ACauseThatCannotBeArchivedDoesNotCostTheReply) {
    const LogCapture log;
    expectError(perform(doing("unarchivableCause", {{QStringLiteral("reason"), QStringLiteral("did fail")}})),
                QStringLiteral("did fail"));
    EXPECT_EQ(log.count(QStringLiteral("zxDataSerialize: ")), 1);
}

TEST(ZRXPCBaseWorker, AnErrorWithoutAMessageHasNoUserInfo) {
    const LogCapture log;
    for (const QVariantMap &more :
         {QVariantMap(), QVariantMap{{QStringLiteral("reason"), QStringLiteral("")}}}) {
        const auto answers = perform(doing("error", more));
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0].error, NSError(QStringLiteral("com.velmora.error"), 101));
        EXPECT_TRUE(answers[0].error.userInfo().isEmpty());
    }
    EXPECT_EQ(log.count(QStringLiteral("!!! XPC Error: (null)")), 1);
    EXPECT_EQ(log.lines().filter(QRegularExpression(QStringLiteral("^!!! XPC Error: $"))).size(), 1);
}

TEST(ZRXPCBaseWorker, WorkThatDoesNotReplyIsAnErrorAfterTheEndLine) {
    const LogCapture log;
    const QString message =
        QStringLiteral("You have to call `doneWithResult` or `doneWithErrorMessage` at least once!");
    expectError(perform(doing("nothing")), message);
    ASSERT_EQ(log.lines().size(), 3);
    EXPECT_TRUE(log.lines()[1].startsWith(QStringLiteral("<== ")));
    EXPECT_EQ(log.lines()[2], QStringLiteral("!!! XPC Error: ") + message);
}

TEST(ZRXPCBaseWorker, WithoutAnOverrideWorkIsAnError) {
    const LogCapture log;
    expectError(perform<ZRXPCBaseWorker>(QByteArray()), QStringLiteral("You have to implement `work`!"));
    EXPECT_EQ(log.count(QStringLiteral("!!! XPC Error: You have to implement `work`!")), 1);
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 1);
}

TEST(ZRXPCBaseWorker, AResultThatCannotBeArchivedRepliesNothingAtAll) {
    const LogCapture log;
    const auto answers = perform(doing("unarchivable"));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_TRUE(answers[0].data.isNull());
    EXPECT_TRUE(answers[0].error.isNil());
    EXPECT_EQ(log.count(QStringLiteral("zxDataSerialize: ")), 1);
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 1);
}

TEST(ZRXPCBaseWorker, ASecondReplyIsLoudAndReachesNobody) {
    const LogCapture log;
    for (const char *what : {"twice", "replyAndRaise"}) {
        std::vector<Answer> answers;
        TestKitWorker worker;
        EXPECT_THROW(worker.performWithData(NSKeyedArchiver::archivedDataWithRootObject(doing(what)),
                                            [&](const QByteArray &data, const NSError &error) {
                                                answers.push_back({data, error});
                                            }),
                     std::bad_function_call);
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0].result(), QVariant(QStringLiteral("first")));
    }
    EXPECT_EQ(log.count(QStringLiteral("!!! XPC Error: ")), 2);
    EXPECT_EQ(log.count(QStringLiteral("<== ")), 0);
}

TEST(ZRXPCBaseWorker, DoneMethodsWithoutATaskAreLoud) {
    const LogCapture log;
    ZRXPCBaseWorker worker;
    EXPECT_THROW(worker.doneWithResult(QVariant()), std::bad_function_call);
    EXPECT_THROW(worker.doneWithErrorMessage(QStringLiteral("x")), std::bad_function_call);
    EXPECT_THROW(worker.work(), std::bad_function_call);
}

TEST(ZRXPCBaseWorker, SubscriptReadsTheNullMarkerAsNilAndKeepsEmptyValues) {
    struct Probe : ZRXPCBaseWorker {
        void work() override {
            missing = (*this)[QStringLiteral("missing")];
            marker = (*this)[QStringLiteral("marker")];
            empty = (*this)[QStringLiteral("empty")];
            isDictionary = object().typeId() == QMetaType::QVariantMap;
            doneWithResult({});
        }
        QVariant missing = 1, marker = 1, empty;
        bool isDictionary = false;
    };
    const LogCapture log;
    Probe probe;
    probe.performWithData(
        NSKeyedArchiver::archivedDataWithRootObject(
            QVariantMap{{QStringLiteral("marker"), NSNull()}, {QStringLiteral("empty"), QStringLiteral("")}}),
        [](const QByteArray &, const NSError &) {});
    EXPECT_TRUE(probe.isDictionary);
    EXPECT_FALSE(probe.missing.isValid());
    EXPECT_FALSE(probe.marker.isValid());
    EXPECT_EQ(probe.empty, QVariant(QStringLiteral("")));
    EXPECT_FALSE(probe[QStringLiteral("empty")].isValid());
}

TEST(ZRXPCBaseWorker, HoldsItsConnectionWeakly) {
    const auto listener = NSXPCListener::anonymousListener();
    auto connection = std::make_shared<NSXPCConnection>(listener->endpoint());
    ZRXPCBaseWorker worker;
    EXPECT_EQ(worker.xpcConnection(), nullptr);
    worker.setXpcConnection(connection);
    EXPECT_EQ(worker.xpcConnection(), connection);
    connection.reset();
    EXPECT_EQ(worker.xpcConnection(), nullptr);
}

TEST(ZRXPCDelegate, GivesEachConnectionAWorkerOfItsClass) {
    const auto listener = NSXPCListener::anonymousListener();
    std::vector<std::shared_ptr<NSXPCConnection>> connections;
    ZRXPCDelegate delegate(&TestKitWorker::staticMetaObject);
    for (int i = 0; i < 2; ++i) {
        connections.push_back(std::make_shared<NSXPCConnection>(listener->endpoint()));
        EXPECT_TRUE(delegate.listenerShouldAcceptNewConnection(listener.get(), connections.back()));
        EXPECT_EQ(connections.back()->exportedInterface(),
                  NSXPCInterface::interfaceWithProtocol<ZRXPCProtocol>());
        const auto worker = std::dynamic_pointer_cast<TestKitWorker>(connections.back()->exportedObject());
        ASSERT_TRUE(worker);
        EXPECT_EQ(worker->xpcConnection(), connections.back());
    }
    EXPECT_NE(connections[0]->exportedObject(), connections[1]->exportedObject());
}

TEST(ZRXPCDelegate, RefusesClassesThatAreNoWorkers) {
    const auto listener = NSXPCListener::anonymousListener();
    const auto connection = std::make_shared<NSXPCConnection>(listener->endpoint());
    ZRXPCDelegate delegate(&QObject::staticMetaObject);
    EXPECT_THROW(delegate.listenerShouldAcceptNewConnection(listener.get(), connection), NSException);
}

TEST(ZRXPCProtocol, DeclaresItsTwoMethodsInOrder) {
    const auto interface = NSXPCInterface::interfaceWithProtocol<ZRXPCProtocol>();
    EXPECT_EQ(interface->protocolName(), QStringLiteral("ZRXPCProtocol"));
    EXPECT_EQ(interface->selectors(),
              (QStringList{QStringLiteral("performWithData:block:"), QStringLiteral("work")}));
}
