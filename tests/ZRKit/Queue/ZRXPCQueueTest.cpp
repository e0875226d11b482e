// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/ZRXPCQueue.h"

#include "ZRKit/Queue/TaskMessage.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "ZRKit/Service/Serialization.h"
#include "platform/base/NSException.h"
#include "platform/broker/BrokerClient.h"
#include "tests/support/Gate.h"
#include "tests/support/ListenOnLoopback.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessTree.h"
#include "tests/support/RabbitMQ.h"

#include <QDir>
#include <QTemporaryDir>
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace zr;

namespace {

/// One broker for all cases, which have queues of their own.
class ZRXPCQueueTest : public testing::Test {
protected:
    static void SetUpTestSuite() { broker = std::make_unique<RabbitMQ>(); }
    static void TearDownTestSuite() { broker.reset(); }

    ZRXPCQueue::Options options() const {
        ZRXPCQueue::Options options;
        options.brokers = {broker->url()};
        options.prefix = QString::fromLatin1(testing::UnitTest::GetInstance()->current_test_info()->name());
        return options;
    }

    static inline std::unique_ptr<RabbitMQ> broker;
};

/// Does tasks as a function says, on the queues of a prefix.
class Workers {
public:
    using Work = std::function<TaskMessage::Reply(const QVariant &task, const BrokerDelivery &delivery)>;

    Workers(const ZRXPCQueue::Options &options, Work work, int replies = 1) {
        const TaskQueues queues(options.prefix);
        if (!options.store.isEmpty())
            m_store = std::make_unique<ClaimStore>(options.store);
        BrokerClient::Plan plan;
        plan.addresses = {BrokerAddress::fromUrl(options.brokers.front())};
        plan.queues = queues.shared();
        for (const bool urgent : {true, false})
            plan.consumers.push_back(
                {queues.tasks(urgent), 10,
                 [this, work, replies](const BrokerDelivery &delivery) { work_(work, replies, delivery); }});
        m_client = std::make_unique<BrokerClient>(plan);
    }
    int taken() const { return m_taken; }
    BrokerClient &client() { return *m_client; }

private:
    void work_(const Work &work, int replies, const BrokerDelivery &delivery) {
        ++m_taken;
        const QVariant task = unserialize(TaskMessage::body(delivery.message, m_store.get()));
        const TaskMessage::Reply reply = work(task, delivery);
        for (int index = 0; index < replies; ++index)
            m_client->publish(delivery.message.replyTo,
                              TaskMessage::withReply(reply, delivery.message, m_store.get()),
                              BrokerClient::Clock::now() + 30s, nullptr);
        m_client->acknowledge(delivery);
    }

    std::unique_ptr<ClaimStore> m_store;
    std::atomic<int> m_taken{0};
    std::unique_ptr<BrokerClient> m_client;
};

TaskMessage::Reply echo(const QVariant &task, const BrokerDelivery &) {
    return {task, {}};
}

struct Answer {
    QVariant result;
    NSError error;
};

Answer perform(ZRXPCQueue &queue, const QVariant &task) {
    Answer answer;
    queue.performXPCSynchronousWithObject(task, [&](const QVariant &result, const NSError &error) {
        answer = {result, error};
    });
    return answer;
}

std::string text(const NSError &error) {
    return error.description().toStdString();
}

} // namespace

TEST_F(ZRXPCQueueTest, GivesBackWhatAWorkerMakesOfATask) {
    Workers workers(options(), [](const QVariant &task, const BrokerDelivery &) {
        return TaskMessage::Reply{
            QVariantMap{{u"upper"_s, task.toMap().value(u"text"_s).toString().toUpper()}}, {}};
    });
    ZRXPCQueue queue(options());
    const QVariant task = QVariantMap{{u"text"_s, u"caf\u00e9"_s}};
    const QVariant expected = QVariantMap{{u"upper"_s, u"CAF\u00c9"_s}};
    EXPECT_EQ(queue.performXPCWithObject(task), expected);
    EXPECT_EQ(perform(queue, task).result, expected);
    std::promise<QVariant> result;
    queue.performXPCAsyncWithObject(task,
                                    [&](const QVariant &value, const NSError &) { result.set_value(value); });
    EXPECT_EQ(result.get_future().get(), expected);
    queue.performXPCSynchronousWithObject(task, nullptr);
    queue.performXPCBoot();
    queue.operationQueue()->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(workers.taken(), 5);
}

TEST_F(ZRXPCQueueTest, PassesErrorsOnWithTheirCauses) {
    const NSError cause(u"NSURLErrorDomain"_s, -1100, {{NSLocalizedDescriptionKey, u"no such page"_s}});
    const NSError error(
        u"com.velmora.error"_s, 101,
        {{NSLocalizedDescriptionKey, u"did fail"_s}, {NSUnderlyingErrorKey, QVariant::fromValue(cause)}});
    Workers workers(options(), [&](const QVariant &, const BrokerDelivery &) {
        return TaskMessage::Reply{{}, error};
    });
    ZRXPCQueue queue(options());
    const Answer answer = perform(queue, u"task"_s);
    EXPECT_FALSE(answer.result.isValid());
    EXPECT_EQ(answer.error, error) << text(answer.error);
    const LogCapture log;
    EXPECT_FALSE(queue.performXPCWithObject(u"task"_s).isValid());
    EXPECT_EQ(log.count(u"Error while executing XPC task occured: "_s), 1);
}

TEST_F(ZRXPCQueueTest, TellsNoResultAndNoErrorFromNothing) {
    Workers workers(options(), [](const QVariant &, const BrokerDelivery &) { return TaskMessage::Reply{}; });
    ZRXPCQueue queue(options());
    const Answer answer = perform(queue, u"task"_s);
    EXPECT_FALSE(answer.result.isValid());
    EXPECT_FALSE(answer.error) << text(answer.error);
}

TEST_F(ZRXPCQueueTest, AnswersATaskOnceHoweverOftenItIsReplied) {
    Workers workers(options(), echo, 3);
    ZRXPCQueue queue(options());
    std::atomic<int> answers{0};
    for (int index = 0; index < 5; ++index)
        queue.performXPCAsyncWithObject(index, [&](const QVariant &, const NSError &) { ++answers; });
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return answers >= 5; }));
    EXPECT_EQ(perform(queue, 6).result, QVariant(6));
    EXPECT_EQ(answers, 5);
}

TEST_F(ZRXPCQueueTest, RunsItsTasksOneAtATimeInOrder) {
    Gate replying;
    std::mutex mutex;
    QVariantList order;
    Workers workers(options(), [&](const QVariant &task, const BrokerDelivery &) {
        replying.pass();
        const std::lock_guard lock(mutex);
        order.append(task);
        return TaskMessage::Reply{task, {}};
    });
    ZRXPCQueue queue(options());
    std::vector<std::future<QVariant>> results;
    for (int index = 0; index < 5; ++index) {
        results.push_back(
            std::async(std::launch::async, [&, index] { return queue.performXPCWithObject(index); }));
        ASSERT_TRUE(ProcessTree::waitUntil(
            [&] { return int(queue.operationQueue()->operationCount()) == index + 1; }));
    }
    EXPECT_EQ(queue.operationQueue()->maxConcurrentOperationCount(), 1);
    replying.open();
    for (int index = 0; index < 5; ++index)
        EXPECT_EQ(results[std::size_t(index)].get(), QVariant(index));
    EXPECT_EQ(order, QVariantList({0, 1, 2, 3, 4}));
}

TEST_F(ZRXPCQueueTest, SendsUrgentTasksToTheirOwnQueue) {
    Workers workers(options(), [](const QVariant &, const BrokerDelivery &delivery) {
        return TaskMessage::Reply{QString::fromUtf8(delivery.queue), {}};
    });
    auto options = this->options();
    options.isUrgent = true;
    ZRXPCQueue urgent(options);
    ZRXPCQueue usual(this->options());
    EXPECT_EQ(urgent.performXPCWithObject(1), QVariant(options.prefix + u".tasks.urgent"_s));
    EXPECT_EQ(usual.performXPCWithObject(1), QVariant(options.prefix + u".tasks"_s));
}

TEST_F(ZRXPCQueueTest, AnswersWithAnErrorWhenATasksTimeHasPassed) {
    auto options = this->options();
    options.timeToLive = 1s;
    ZRXPCQueue queue(options);
    // What is sent before there is a connection may never get to the broker.
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        const QStringList names = broker->queues().keys();
        return std::any_of(names.begin(), names.end(), [&](const QString &name) {
            return name.startsWith(options.prefix + u".replies."_s);
        });
    }));
    const Answer answer = perform(queue, u"nobody"_s);
    EXPECT_EQ(answer.error.code(), ZRXPCQueueExpiredError) << text(answer.error);
    // It is with the lost ones, whose workers tell a sender that waits. Its time begins a little later for the broker.
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        const auto queues = broker->queues();
        return queues.value(options.prefix + u".lost"_s) == 1 &&
               queues.value(options.prefix + u".tasks"_s) == 0;
    }));
    // No worker gets it any more: the next task is the first.
    Workers workers(options, echo);
    ZRXPCQueue patient(this->options());
    EXPECT_EQ(perform(patient, u"somebody"_s).result, QVariant(u"somebody"_s));
    EXPECT_EQ(workers.taken(), 1);
}

TEST_F(ZRXPCQueueTest, AnswersWithAnErrorWhenTheBrokerIsOutOfReach) {
    int port = 0;
    ::close(listenOnLoopback(&port));
    auto options = this->options();
    options.brokers = {QUrl(u"amqp://127.0.0.1:%1"_s.arg(port))};
    options.brokerLimit = 1s;
    ZRXPCQueue queue(options);
    const Answer answer = perform(queue, u"nobody"_s);
    EXPECT_EQ(answer.error.domain(), u"com.velmora.error");
    EXPECT_EQ(answer.error.code(), ZRXPCQueueUnreachableError);
    EXPECT_TRUE(answer.error.localizedDescription().contains(u"amqp://127.0.0.1"));
}

TEST_F(ZRXPCQueueTest, LeavesNoTaskWithoutAnAnswerWhenItIsDestroyed) {
    auto queue = std::make_unique<ZRXPCQueue>(options());
    std::promise<NSError> error;
    queue->performXPCAsyncWithObject(1,
                                     [&](const QVariant &, const NSError &value) { error.set_value(value); });
    queue.reset();
    EXPECT_EQ(error.get_future().get().code(), ZRXPCQueueUnreachableError);
}

TEST_F(ZRXPCQueueTest, MayBeDestroyedInItsOwnBlock) {
    Workers workers(options(), echo);
    auto queue = std::make_unique<ZRXPCQueue>(options());
    std::promise<void> done;
    queue->performXPCAsyncWithObject(1, [&](const QVariant &, const NSError &) {
        queue.reset();
        done.set_value();
    });
    done.get_future().get();
}

TEST_F(ZRXPCQueueTest, RemovesItsReplyQueueAtTheEnd) {
    const QString begin = options().prefix + u".replies."_s;
    const auto replies = [&] {
        const QStringList names = broker->queues().keys();
        return std::count_if(names.begin(), names.end(),
                             [&](const QString &name) { return name.startsWith(begin); });
    };
    {
        Workers workers(options(), echo);
        ZRXPCQueue queue(options());
        EXPECT_EQ(queue.performXPCWithObject(1), QVariant(1));
        EXPECT_EQ(replies(), 1);
    }
    EXPECT_EQ(replies(), 0);
}

TEST_F(ZRXPCQueueTest, GetsRepliesThatCameWhileItHadNoConnection) {
    Gate replying;
    Gate taken;
    Workers workers(options(), [&](const QVariant &task, const BrokerDelivery &) {
        taken.open();
        replying.pass();
        return TaskMessage::Reply{task, {}};
    });
    ZRXPCQueue queue(options());
    std::promise<QVariant> result;
    queue.performXPCAsyncWithObject(1,
                                    [&](const QVariant &value, const NSError &) { result.set_value(value); });
    ASSERT_TRUE(taken.pass());
    broker->control({u"close_all_connections"_s, u"test"_s});
    replying.open();
    EXPECT_EQ(result.get_future().get(), QVariant(1));
}

TEST_F(ZRXPCQueueTest, PassesLargeBodiesThroughTheStoreAndLeavesNothingThere) {
    const QTemporaryDir folder;
    auto options = this->options();
    options.store = QUrl::fromLocalFile(folder.path());
    std::atomic<qsizetype> inMessage{-1};
    Workers workers(options, [&](const QVariant &task, const BrokerDelivery &delivery) {
        inMessage = delivery.message.body.size();
        return TaskMessage::Reply{task, {}};
    });
    ZRXPCQueue queue(options);
    const QVariant large = QByteArray(3 << 20, 'x');
    EXPECT_EQ(queue.performXPCWithObject(large), large);
    EXPECT_EQ(inMessage, 0);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return QDir(folder.path()).isEmpty(); }));
    const QVariant small = QByteArray(1 << 19, 'x');
    EXPECT_EQ(queue.performXPCWithObject(small), small);
    EXPECT_GT(inMessage, 1 << 19);
}

TEST_F(ZRXPCQueueTest, SaysWhenAResultsClaimIsGone) {
    const QTemporaryDir folder;
    auto options = this->options();
    options.store = QUrl::fromLocalFile(folder.path());
    std::unique_ptr<BrokerClient> liar;
    BrokerClient::Plan plan;
    plan.addresses = {BrokerAddress::fromUrl(broker->url())};
    const TaskQueues queues(options.prefix);
    plan.queues = queues.shared();
    plan.consumers = {{queues.tasks(false), 1, [&](const BrokerDelivery &delivery) {
                           BrokerMessage message;
                           message.messageId = "reply";
                           message.correlationId = delivery.message.messageId;
                           message.type = "result";
                           message.headers.insert(u"zrpdf-claim"_s, QString(64, u'a'));
                           liar->publish(delivery.message.replyTo, message, BrokerClient::Clock::now() + 30s,
                                         nullptr);
                           liar->acknowledge(delivery);
                       }}};
    liar = std::make_unique<BrokerClient>(plan);
    ZRXPCQueue queue(options);
    const Answer answer = perform(queue, 1);
    EXPECT_EQ(answer.error.code(), ZRXPCQueueTransferError);
    EXPECT_EQ(answer.error.localizedDescription(), u"the document's claim is not in the store any more");
}

TEST_F(ZRXPCQueueTest, RefusesBodiesThatABrokerShouldNotCarry) {
    ZRXPCQueue queue(options());
    const Answer answer = perform(queue, QByteArray(17 << 20, 'x'));
    EXPECT_EQ(answer.error.code(), ZRXPCQueueTransferError) << text(answer.error);
}

TEST_F(ZRXPCQueueTest, RefusesOptionsThatCannotBeMeant) {
    const auto refused = [&](const std::function<void(ZRXPCQueue::Options &)> &change) {
        auto options = this->options();
        change(options);
        EXPECT_THROW(ZRXPCQueue{options}, NSException);
    };
    refused([](auto &options) { options.brokers.clear(); });
    refused([](auto &options) { options.brokers = {QUrl(u"http://host"_s)}; });
    refused([](auto &options) { options.prefix = u""_s; });
    refused([](auto &options) { options.prefix = u"with blank"_s; });
    refused([](auto &options) { options.prefix = QString(65, u'a'); });
    refused([](auto &options) { options.prefix = u"amq"_s; });
    refused([](auto &options) { options.prefix = u"amq.mine"_s; });
    refused([](auto &options) { options.timeToLive = -1ms; });
    refused([](auto &options) { options.timeToLive = std::chrono::milliseconds::max(); });
    refused([](auto &options) { options.brokerLimit = std::chrono::milliseconds::max(); });
    refused([](auto &options) { options.replyExpiry = std::chrono::milliseconds::max(); });
    refused([](auto &options) { options.brokerLimit = 0ms; });
    refused([](auto &options) { options.replyExpiry = 0ms; });
    refused([](auto &options) { options.store = QUrl(u"ftp://host/"_s); });
}
