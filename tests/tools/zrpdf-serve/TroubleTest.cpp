// SPDX-License-Identifier: MIT
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/LoopbackServers.h"
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-serve/ServeTest.h"

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

class Trouble : public ServeTest {
protected:
    static ScriptedServer::Answer silence(int, const QByteArray &) { return {.bytes = "", .closes = false}; }

    /// A document that isn't loaded before a server that never answers does.
    static QByteArray endless(const ScriptedServer &slow) {
        return "<img src='" + slow.url().toEncoded() + "'>";
    }
    static bool isAskedFor(const ScriptedServer &slow, int times) {
        return ProcessTree::waitUntil([&] { return slow.requests().size() >= times; });
    }
};

} // namespace

TEST_F(Trouble, AClientThatHangsUpEndsItsConversion) {
    ScriptedServer slow(&silence);
    start();
    {
        HTTPConnection connection = connect();
        connection.post("/v1/pdf", endless(slow));
        ASSERT_TRUE(isAskedFor(slow, 1));
    }
    EXPECT_TRUE(waitForMetric("zrpdf_requests_in_flight", 0));
    EXPECT_EQ(metric("zrpdf_failures_total{code=\"abandoned\"}"), 1);
    EXPECT_TRUE(post("<p>next").isPDF());
    EXPECT_EQ(metric("zrpdf_instance_restarts_total"), 0);
}

TEST_F(Trouble, AClientThatHangsUpWhileItWaitsLosesItsPlace) {
    ScriptedServer slow(&silence);
    start({"--queue", "1"});
    HTTPConnection first = connect();
    first.post("/v1/pdf", endless(slow));
    ASSERT_TRUE(isAskedFor(slow, 1));
    {
        HTTPConnection waiting = connect();
        waiting.post("/v1/pdf", "<p>x");
        ASSERT_TRUE(waitForMetric("zrpdf_queue_length", 1));
    }
    EXPECT_TRUE(waitForMetric("zrpdf_queue_length", 0));
    EXPECT_EQ(slow.requests().size(), 1);
}

TEST_F(Trouble, ALostBrowserOrServiceIsNoErrorForAnybody) {
    start({"--instances", "2"});
    ASSERT_TRUE(post("<p>x").isPDF());
    std::atomic<bool> isOver = false;
    std::atomic<int> good = 0;
    std::atomic<int> bad = 0;
    std::vector<std::thread> clients;
    for (int client = 0; client < 4; ++client)
        clients.emplace_back([&] {
            while (!isOver) {
                const Answer answer = post(html(500));
                (answer.isPDF() ? good : bad)++;
                EXPECT_TRUE(answer.isPDF()) << answer.body.toStdString();
            }
        });
    const auto waitForMore = [&] {
        return ProcessTree::waitUntil([&, before = int(good)] { return good > before + 3 || bad > 0; });
    };
    for (int kill = 0; kill < 4; ++kill) {
        EXPECT_TRUE(waitForMore());
        const pid_t victim = processWith(kill % 2 ? "com.velmora.zrpdf" : "--type=renderer");
        if (victim > 0)
            ::kill(victim, SIGKILL);
    }
    EXPECT_TRUE(waitForMore());
    isOver = true;
    for (std::thread &client : clients)
        client.join();
    EXPECT_EQ(bad, 0);
    EXPECT_GE(metric("zrpdf_instance_restarts_total"), 1);
}

TEST_F(Trouble, ADocumentWhoseServiceIsLostEachTimeIsAnsweredInTheEnd) {
    ScriptedServer slow(&silence);
    start();
    HTTPConnection connection = connect();
    connection.post("/v1/pdf", endless(slow));
    for (int time = 1; time <= 3; ++time) {
        ASSERT_TRUE(isAskedFor(slow, time));
        const pid_t service = processWith("com.velmora.zrpdf");
        ASSERT_GT(service, 0);
        ASSERT_EQ(::kill(service, SIGKILL), 0);
    }
    const Answer answer = connection.answer();
    EXPECT_EQ(answer.status, 502);
    EXPECT_EQ(answer.code(), "engine-lost");
    EXPECT_TRUE(post("<p>next").isPDF());
}

TEST_F(Trouble, AStopFinishesWhatHasBegunAndTurnsNewRequestsAway) {
    Gate gate;
    HTTPServer pictures([&](const HTTPServer::Request &) {
        gate.pass();
        return HTTPServer::Response{.contentType = "image/svg+xml",
                                    .body = "<svg xmlns='http://www.w3.org/2000/svg'/>"};
    });
    start();
    HTTPConnection begun = connect();
    begun.post("/v1/pdf", "<p>begun<img src='" + pictures.url(QStringLiteral("/a.svg")).toEncoded() + "'>");
    HTTPConnection waiting = connect();
    waiting.post("/v1/pdf", "<p>waits");
    ASSERT_TRUE(waitForMetric("zrpdf_queue_length", 1));
    HTTPConnection kept = connect();
    kept.get("/none");
    ASSERT_EQ(kept.answer().status, 404);
    server().kill(SIGTERM);
    ASSERT_TRUE(server().readUntil([&] { return server().standardError().contains("stopping"); }));
    kept.post("/v1/pdf", "<p>new");
    const Answer refused = kept.answer();
    EXPECT_EQ(refused.status, 503);
    EXPECT_EQ(refused.code(), "stopping");
    EXPECT_EQ(refused.header.value("connection"), "close");
    gate.open();
    EXPECT_TRUE(begun.answer().isPDF());
    EXPECT_TRUE(waiting.answer().isPDF());
    EXPECT_EQ(server().wait(), 0);
}

TEST_F(Trouble, AStopAnswersThoseWhoAskForHealth) {
    ScriptedServer slow(&silence);
    start();
    HTTPConnection begun = connect();
    begun.post("/v1/pdf", endless(slow));
    ASSERT_TRUE(isAskedFor(slow, 1));
    // Its tiny document waits for the only instance.
    HTTPConnection asking = connect();
    asking.get("/health");
    ASSERT_TRUE(waitForMetric("zrpdf_queue_length", 1));
    HTTPConnection kept = connect();
    kept.get("/none");
    ASSERT_EQ(kept.answer().status, 404);
    server().kill(SIGTERM);
    const Answer answer = asking.answer();
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.code(), "unhealthy");
    EXPECT_EQ(answer.problem().value(u"detail"_s).toString(), u"The server is stopping."_s);
    kept.get("/health");
    EXPECT_EQ(kept.answer().code(), "unhealthy");
    server().kill(SIGTERM);
    EXPECT_EQ(server().wait(std::chrono::seconds(20)), 0);
}

TEST_F(Trouble, AServerThatIsBusyForLongIsHealthy) {
    ScriptedServer slow(&silence);
    start();
    ASSERT_TRUE(post("<p>x").isPDF());
    HTTPConnection begun = connect();
    begun.post("/v1/pdf", endless(slow));
    ASSERT_TRUE(isAskedFor(slow, 1));
    // What the real one has shown holds for a few seconds; then a tiny one is tried, which has to wait.
    int status = 200;
    std::chrono::steady_clock::duration took{};
    ASSERT_TRUE(server().readUntil([&] {
        const auto start = std::chrono::steady_clock::now();
        status = get("/health").status;
        took = std::chrono::steady_clock::now() - start;
        return status != 200 || took > std::chrono::seconds(10);
    }));
    EXPECT_EQ(status, 200);
    EXPECT_EQ(metric("zrpdf_conversions_total"), 1);
}

TEST_F(Trouble, ASecondSignalEndsItAtOnce) {
    ScriptedServer slow(&silence);
    start();
    HTTPConnection connection = connect();
    connection.post("/v1/pdf", endless(slow));
    ASSERT_TRUE(isAskedFor(slow, 1));
    server().kill(SIGTERM);
    ASSERT_TRUE(server().readUntil([&] { return server().standardError().contains("stopping"); }));
    server().kill(SIGINT);
    EXPECT_EQ(server().wait(std::chrono::seconds(20)), 0);
    EXPECT_TRUE(server().standardError().contains("giving up"));
    EXPECT_TRUE(connection.isClosed());
}

TEST_F(Trouble, TheGraceHasAnEnd) {
    ScriptedServer slow(&silence);
    start({"--grace", "0.2"});
    HTTPConnection connection = connect();
    connection.post("/v1/pdf", endless(slow));
    ASSERT_TRUE(isAskedFor(slow, 1));
    EXPECT_EQ(stop(), 0);
}

TEST_F(Trouble, AKilledServerLeavesNothingBehind) {
    start({"--instances", "2"});
    ASSERT_TRUE(post("<p>x").isPDF());
    server().kill(SIGKILL);
    EXPECT_EQ(server().wait(), -SIGKILL);
    EXPECT_TRUE(allGone());
    // A new one cleans up its socket.
    start();
}

TEST_F(Trouble, WithItsStandardStreamsClosedItServes) {
    Child::Setup wanted = serveSetup({"--instances", "1"});
    wanted.prepare = [] { return ::close(0) == 0 && ::close(1) == 0; };
    start(wanted);
    EXPECT_TRUE(post("<p>x").isPDF());
}

TEST_F(Trouble, ClientsThatOnlyHoldOnLeaveDescriptorsForTheWork) {
    Child::Setup wanted = serveSetup({});
    wanted.prepare = [] {
        const rlimit limit{100, 100};
        return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
    };
    start(wanted);
    HTTPConnection early = connect();
    ASSERT_TRUE(early.post("/v1/pdf", "<p>x"));
    EXPECT_TRUE(early.answer().isPDF());
    std::vector<HTTPConnection> holding;
    for (int i = 0; i < 150; ++i)
        holding.push_back(connect());
    ASSERT_TRUE(early.post("/v1/pdf", "<p>x"));
    EXPECT_TRUE(early.answer().isPDF());
    // A browser that is lost is replaced, too.
    const pid_t service = processWith("com.velmora.zrpdf");
    ASSERT_GT(service, 0);
    ::kill(service, SIGKILL);
    ASSERT_TRUE(early.post("/v1/pdf", "<p>x"));
    EXPECT_TRUE(early.answer().isPDF());
    holding.clear();
    EXPECT_TRUE(post("<p>x").isPDF());
}

TEST_F(Trouble, ManyClientsAtOnceGetTheirOwnDocuments) {
    start({"--instances", "2"});
    std::atomic<int> wrong = 0;
    std::vector<std::thread> clients;
    for (int client = 0; client < 8; ++client)
        clients.emplace_back([&, client] {
            for (int turn = 0; turn < 5; ++turn) {
                const int height = 1200 + client * 50 + turn;
                wrong += pageHeightOf(post(html(height)).body) == height ? 0 : 1;
            }
        });
    for (std::thread &client : clients)
        client.join();
    EXPECT_EQ(wrong, 0);
}
