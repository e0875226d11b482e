// SPDX-License-Identifier: MIT
#include "platform/broker/BrokerClient.h"

#include "tests/support/ListenOnLoopback.h"
#include "tests/support/ProcessTree.h"
#include "tests/support/RabbitMQ.h"

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace zr;

namespace {

using Clock = BrokerClient::Clock;
using Outcome = BrokerClient::Outcome;

const QVariantMap quorum{{u"x-queue-type"_s, u"quorum"_s}};

/// One broker for all cases.
class BrokerClientTest : public testing::Test {
protected:
    static void SetUpTestSuite() { broker = std::make_unique<RabbitMQ>(1, RabbitMQ::Security::TLS); }
    static void TearDownTestSuite() { broker.reset(); }

    static BrokerClient::Plan plan(const QByteArray &queue = {}, const QVariantMap &arguments = quorum,
                                   const QUrl &url = broker->url()) {
        BrokerClient::Plan plan;
        plan.addresses = {BrokerAddress::fromUrl(url)};
        if (!queue.isEmpty())
            plan.queues = {{queue, arguments}};
        return plan;
    }
    static bool connects(BrokerClient &client) {
        return ProcessTree::waitUntil([&] { return client.state().isConnected; });
    }
    /// Whether the queue comes to have so many messages; -1 stands for no queue. The broker counts now and then.
    static bool holds(const char *queue, int count) {
        return ProcessTree::waitUntil(
            [&] { return broker->queues().value(QString::fromLatin1(queue), -1) == count; });
    }

    static inline std::unique_ptr<RabbitMQ> broker;
};

/// Sends a message and waits for the outcome.
Outcome publish(BrokerClient &client, const QByteArray &queue, const QByteArray &body,
                std::chrono::milliseconds limit = 30s) {
    static std::atomic<int> count{0};
    BrokerMessage message;
    message.body = body;
    message.messageId = "message " + QByteArray::number(++count);
    auto done = std::make_shared<std::promise<Outcome>>();
    client.publish(queue, message, Clock::now() + limit,
                   [done](Outcome outcome, const QString &) { done->set_value(outcome); });
    return done->get_future().get();
}

/// Collects what is delivered.
class Inbox {
public:
    BrokerClient::Consumer consumer(const QByteArray &queue, int prefetch = 10) {
        return {queue, prefetch, [this](BrokerDelivery delivery) {
                    const std::lock_guard lock(m_mutex);
                    m_deliveries.push_back(std::move(delivery));
                }};
    }
    std::vector<BrokerDelivery> wait(std::size_t count) {
        ProcessTree::waitUntil([&] {
            const std::lock_guard lock(m_mutex);
            return m_deliveries.size() >= count;
        });
        const std::lock_guard lock(m_mutex);
        return m_deliveries;
    }

private:
    std::mutex m_mutex;
    std::vector<BrokerDelivery> m_deliveries;
};

/// Passes one connection on to a port, and cuts it once so many bytes have come back from there.
class CuttingProxy {
public:
    CuttingProxy(int target, qsizetype limit) : m_listener(listenOnLoopback(&m_port)) {
        m_thread = std::thread([this, target, limit] { run(target, limit); });
    }
    ~CuttingProxy() {
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
    }
    int port() const { return m_port; }
    bool hasCut() const { return m_hasCut; }

private:
    void run(int target, qsizetype limit) {
        const int client = ::accept(m_listener, nullptr, nullptr);
        const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(uint16_t(target));
        (void)!::connect(server, reinterpret_cast<sockaddr *>(&address), sizeof address);
        std::array<char, 4096> buffer;
        for (;;) {
            pollfd polls[]{{client, POLLIN, 0}, {server, POLLIN, 0}};
            ::poll(polls, 2, -1);
            const bool isAnswer = polls[1].revents != 0;
            const ssize_t count = ::read(isAnswer ? server : client, buffer.data(), buffer.size());
            if (count <= 0)
                break;
            limit -= isAnswer ? count : 0;
            if (limit < 0) {
                m_hasCut = true;
                break;
            }
            (void)!::send(isAnswer ? client : server, buffer.data(), std::size_t(count), MSG_NOSIGNAL);
        }
        ::close(server);
        ::close(client);
    }

    int m_port = 0;
    const int m_listener;
    std::atomic<bool> m_hasCut{false};
    std::thread m_thread;
};

} // namespace

TEST_F(BrokerClientTest, DeliversWhatWasConfirmedWithAllItsProperties) {
    Inbox inbox;
    auto plan = this->plan("whole");
    plan.consumers = {inbox.consumer("whole")};
    BrokerClient client(plan);
    BrokerMessage message;
    message.body = "the body";
    message.messageId = "the identifier";
    message.correlationId = "another";
    message.replyTo = "somewhere";
    message.type = "kind";
    message.headers = {{u"text"_s, u"caf\u00e9"_s}, {u"number"_s, 42LL}, {u"truth"_s, true}};
    std::promise<Outcome> done;
    client.publish("whole", message, Clock::now() + 30s,
                   [&](Outcome outcome, const QString &) { done.set_value(outcome); });
    EXPECT_EQ(done.get_future().get(), Outcome::Confirmed);
    const auto deliveries = inbox.wait(1);
    ASSERT_EQ(deliveries.size(), 1U);
    const BrokerMessage &got = deliveries[0].message;
    EXPECT_EQ(got.body, message.body);
    EXPECT_EQ(got.messageId, message.messageId);
    EXPECT_EQ(got.correlationId, message.correlationId);
    EXPECT_EQ(got.replyTo, message.replyTo);
    EXPECT_EQ(got.type, message.type);
    EXPECT_EQ(got.headers, message.headers);
    EXPECT_EQ(deliveries[0].queue, "whole");
    EXPECT_EQ(deliveries[0].earlierDeliveries, 0);
    client.acknowledge(deliveries[0]);
    client.stop();
    EXPECT_TRUE(holds("whole", 0));
}

TEST_F(BrokerClientTest, CarriesLargeAndEmptyBodies) {
    Inbox inbox;
    auto plan = this->plan("sizes");
    plan.consumers = {inbox.consumer("sizes")};
    BrokerClient client(plan);
    const QByteArray large(20 << 20, 'x');
    EXPECT_EQ(publish(client, "sizes", large), Outcome::Confirmed);
    EXPECT_EQ(publish(client, "sizes", ""), Outcome::Confirmed);
    const auto deliveries = inbox.wait(2);
    ASSERT_EQ(deliveries.size(), 2U);
    EXPECT_EQ(deliveries[0].message.body, large);
    EXPECT_EQ(deliveries[1].message.body, "");
    for (const auto &delivery : deliveries)
        client.acknowledge(delivery);
}

TEST_F(BrokerClientTest, TellsOfMessagesThatNoQueueTakes) {
    BrokerClient client(plan());
    EXPECT_EQ(publish(client, "no such queue", "lost"), Outcome::Unroutable);
    EXPECT_TRUE(client.state().isConnected);
}

TEST_F(BrokerClientTest, DeliversNoMoreAtATimeThanAskedFor) {
    Inbox inbox;
    auto plan = this->plan("few");
    plan.consumers = {inbox.consumer("few", 2)};
    BrokerClient client(plan);
    for (int index = 0; index < 4; ++index)
        EXPECT_EQ(publish(client, "few", "one"), Outcome::Confirmed);
    EXPECT_EQ(inbox.wait(2).size(), 2U);
    client.acknowledge(inbox.wait(2)[0]);
    EXPECT_EQ(inbox.wait(3).size(), 3U);
}

TEST_F(BrokerClientTest, CountsDeliveriesOfWhatIsGivenBackOrLeftBehind) {
    {
        Inbox inbox;
        auto plan = this->plan("again");
        plan.consumers = {inbox.consumer("again")};
        BrokerClient client(plan);
        EXPECT_EQ(publish(client, "again", "one"), Outcome::Confirmed);
        client.giveBack(inbox.wait(1).at(0));
        EXPECT_EQ(inbox.wait(2).at(1).earlierDeliveries, 1);
    }
    Inbox inbox;
    auto plan = this->plan("again");
    plan.consumers = {inbox.consumer("again")};
    BrokerClient client(plan);
    const auto deliveries = inbox.wait(1);
    ASSERT_EQ(deliveries.size(), 1U);
    EXPECT_EQ(deliveries[0].earlierDeliveries, 2);
    client.acknowledge(deliveries[0]);
}

TEST_F(BrokerClientTest, TakesNothingMoreOnceItHasStoppedConsuming) {
    Inbox inbox;
    auto plan = this->plan("stopped");
    plan.consumers = {inbox.consumer("stopped")};
    BrokerClient client(plan);
    EXPECT_EQ(publish(client, "stopped", "first"), Outcome::Confirmed);
    const auto first = inbox.wait(1);
    std::promise<void> stopped;
    client.stopConsuming([&] { stopped.set_value(); });
    stopped.get_future().get();
    EXPECT_EQ(publish(client, "stopped", "second"), Outcome::Confirmed);
    client.acknowledge(first.at(0));
    client.stop();
    EXPECT_EQ(inbox.wait(1).size(), 1U);
    EXPECT_TRUE(holds("stopped", 1));
}

TEST_F(BrokerClientTest, SaysWhyItCannotConnect) {
    QUrl url = broker->url();
    url.setUserName(u"nobody"_s);
    BrokerClient wrong(plan({}, quorum, url));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return wrong.state().problem.contains(u"403"); }))
        << wrong.state().problem.toStdString();
    BrokerClient other(plan("whole", {{u"x-queue-type"_s, u"classic"_s}}));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return other.state().problem.contains(u"406"); }))
        << other.state().problem.toStdString();
}

TEST_F(BrokerClientTest, TriesOneAddressAfterTheOther) {
    int port = 0;
    ::close(listenOnLoopback(&port));
    auto plan = this->plan();
    plan.addresses.insert(plan.addresses.begin(),
                          BrokerAddress::fromUrl(QUrl(u"amqp://127.0.0.1:%1"_s.arg(port))));
    BrokerClient client(plan);
    EXPECT_TRUE(connects(client));
}

TEST_F(BrokerClientTest, VerifiesServersByNameAndByAddress) {
    for (const QString &host : {u"localhost"_s, u"127.0.0.1"_s}) {
        BrokerClient client(plan({}, quorum, broker->secureUrl(host, broker->authority())));
        EXPECT_TRUE(connects(client)) << client.state().problem.toStdString();
        EXPECT_EQ(publish(client, "no such queue", QByteArray(1 << 20, 'x')), Outcome::Unroutable);
    }
    // The certificate doesn't name this address, on which the broker listens too.
    BrokerClient stranger(plan({}, quorum, broker->secureUrl(u"127.0.0.2"_s, broker->authority())));
    // Nobody the system trusts has signed it.
    BrokerClient unsignedOne(plan({}, quorum, broker->secureUrl(u"localhost"_s, {})));
    for (BrokerClient *const client : {&stranger, &unsignedOne}) {
        EXPECT_TRUE(ProcessTree::waitUntil([&] {
            return client->state().problem.contains(u"SSL") ||
                   client->state().problem.contains(u"certificate");
        })) << client->state().problem.toStdString();
        EXPECT_FALSE(client->state().isConnected);
    }
}

TEST_F(BrokerClientTest, SurvivesTheEndOfAConnectionInTheMiddleOfAMessage) {
    {
        BrokerClient sender(plan("cut"));
        EXPECT_EQ(publish(sender, "cut", QByteArray(4 << 20, 'x')), Outcome::Confirmed);
    }
    const CuttingProxy proxy(broker->url().port(), 1 << 20);
    Inbox inbox;
    auto plan = this->plan("cut", quorum, QUrl(u"amqp://127.0.0.1:%1"_s.arg(proxy.port())));
    plan.addresses.push_back(BrokerAddress::fromUrl(broker->url()));
    plan.consumers = {inbox.consumer("cut")};
    BrokerClient client(plan);
    const auto deliveries = inbox.wait(1);
    ASSERT_EQ(deliveries.size(), 1U);
    EXPECT_TRUE(proxy.hasCut());
    EXPECT_EQ(deliveries[0].message.body.size(), 4 << 20);
    EXPECT_EQ(deliveries[0].earlierDeliveries, 1);
    client.acknowledge(deliveries[0]);
}

TEST_F(BrokerClientTest, KnowsWhenTheBrokerTakesNoMessages) {
    BrokerClient client(plan("blocked"));
    EXPECT_EQ(publish(client, "blocked", "before"), Outcome::Confirmed);
    broker->control({u"set_vm_memory_high_watermark"_s, u"0.0000001"_s});
    // The broker says so when it is sent something, and confirms nothing.
    EXPECT_EQ(publish(client, "blocked", "during", 2s), Outcome::Expired);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return client.state().isBlocked; }));
    EXPECT_TRUE(client.state().problem.contains(u"memory"));
    EXPECT_EQ(publish(client, "blocked", "still", 1s), Outcome::Expired);
    broker->control({u"set_vm_memory_high_watermark"_s, u"absolute"_s, u"2GB"_s});
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return !client.state().isBlocked; }));
    EXPECT_EQ(publish(client, "blocked", "after"), Outcome::Confirmed);
}

TEST_F(BrokerClientTest, KeepsItsConnectionWhileALargeMessageWaitsForTheBrokersMemory) {
    auto plan = this->plan("large");
    plan.limits.call = 2s;
    std::atomic<int> connections = 0;
    plan.changed = [&](bool isConnected, const QString &) { connections += isConnected; };
    BrokerClient client(plan);
    EXPECT_EQ(publish(client, "large", "before"), Outcome::Confirmed);
    broker->control({u"set_vm_memory_high_watermark"_s, u"0.0000001"_s});
    std::promise<Outcome> large;
    BrokerMessage message;
    message.messageId = "large";
    message.body = QByteArray(64 << 20, 'x');
    client.publish("large", message, Clock::now() + 60s,
                   [&](Outcome outcome, const QString &) { large.set_value(outcome); });
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return client.state().isBlocked; }));
    // Time for several more to be cut.
    EXPECT_EQ(publish(client, "large", "during", 6s), Outcome::Expired);
    EXPECT_TRUE(client.state().isConnected);
    // The one that could not know, and the next.
    EXPECT_LE(connections, 2);
    broker->control({u"set_vm_memory_high_watermark"_s, u"absolute"_s, u"2GB"_s});
    EXPECT_EQ(large.get_future().get(), Outcome::Confirmed);
    EXPECT_LE(connections, 2);
}

TEST_F(BrokerClientTest, IsNotHeldUpByABrokerThatHasStopped) {
    QUrl url = broker->url();
    url.setQuery(u"heartbeat=1"_s);
    auto plan = this->plan("held", quorum, url);
    plan.limits.call = 2s;
    plan.limits.connecting = 1s;
    BrokerClient client(plan);
    EXPECT_EQ(publish(client, "held", "before"), Outcome::Confirmed);
    broker->signal(0, SIGSTOP);
    // Far more than a socket takes: the library waits for room, and has no limit for that.
    const auto start = Clock::now();
    EXPECT_EQ(publish(client, "held", QByteArray(64 << 20, 'x'), 3s), Outcome::Expired);
    EXPECT_LT(Clock::now() - start, 20s);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return !client.state().isConnected; }));
    broker->signal(0, SIGCONT);
    EXPECT_EQ(publish(client, "held", "after"), Outcome::Confirmed);
}

TEST_F(BrokerClientTest, SendsAgainWhatADeadBrokerHasNotConfirmed) {
    Inbox inbox;
    auto plan = this->plan("restarted");
    plan.consumers = {inbox.consumer("restarted")};
    BrokerClient client(plan);
    EXPECT_EQ(publish(client, "restarted", "early"), Outcome::Confirmed);
    // A lone node forgets queues that it was killed right after making.
    ASSERT_TRUE(holds("restarted", 1));
    broker->kill(0);
    EXPECT_EQ(publish(client, "restarted", "too late", 500ms), Outcome::Expired);
    auto later = std::async(std::launch::async, [&] { return publish(client, "restarted", "later", 60s); });
    broker->restart(0);
    EXPECT_EQ(later.get(), Outcome::Confirmed) << client.state().problem.toStdString();
    // The first was delivered before, too, and not acknowledged.
    const auto deliveries = inbox.wait(3);
    ASSERT_EQ(deliveries.size(), 3U);
    EXPECT_EQ(deliveries[1].message.body, "early");
    EXPECT_EQ(deliveries[2].message.body, "later");
    for (const auto &delivery : deliveries)
        client.acknowledge(delivery);
}

TEST_F(BrokerClientTest, EndsWhatIsNotConfirmedWhenItIsStopped) {
    int port = 0;
    ::close(listenOnLoopback(&port));
    BrokerClient client(plan({}, quorum, QUrl(u"amqp://127.0.0.1:%1"_s.arg(port))));
    std::promise<Outcome> done;
    client.publish("any", {}, Clock::now() + 1h,
                   [&](Outcome outcome, const QString &) { done.set_value(outcome); });
    client.stop();
    EXPECT_EQ(done.get_future().get(), Outcome::Closed);
    EXPECT_EQ(publish(client, "any", "after the end"), Outcome::Closed);
}

TEST_F(BrokerClientTest, RemovesItsTemporaryQueuesAtTheEnd) {
    auto plan = this->plan("temporary");
    plan.temporary = {"temporary"};
    BrokerClient client(plan);
    EXPECT_EQ(publish(client, "temporary", "one"), Outcome::Confirmed);
    client.stop();
    EXPECT_TRUE(holds("temporary", -1));
}
