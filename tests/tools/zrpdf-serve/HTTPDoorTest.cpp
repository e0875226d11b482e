// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/HTTPDoor.h"

#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-serve/HTTPConnection.h"
#include "tools/zrpdf-serve/ListenAddress.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <optional>
#include <sys/ioctl.h>
#include <thread>

using namespace zr;

namespace {

using namespace std::chrono_literals;
using Answer = HTTPConnection::Answer;

/// Answers at once, with a body of its choice.
class Echo : public HTTPHandler {
public:
    QByteArray body = "fine";
    std::atomic<int> answered = 0, unanswered = 0;

    std::optional<HTTPAnswer> refuse(HTTPRequest &) override { return {}; }
    HTTPAnswer refuseBody(const HTTPRequest &, bool isTooLong) override {
        return {.status = isTooLong ? 413 : 503};
    }
    void handle(HTTPRequest, std::function<void(HTTPAnswer)> reply) override { reply({.body = body}); }
    void finished(const HTTPRequest &, const HTTPAnswer *answer, qsizetype, double,
                  bool isComplete) override {
        ++(answer && isComplete ? answered : unanswered);
    }
};

class Door : public ::testing::Test {
protected:
    void open(HTTPDoor::Limits limits) {
        limits.body = 1 << 20;
        limits.connections = 10;
        door.emplace(echo, limits);
        QByteArray problem;
        const auto address = ListenAddress::read(path, &problem);
        ASSERT_TRUE(address) << problem.constData();
        auto socket = ListeningSocket::open(*address, &problem);
        ASSERT_TRUE(socket) << problem.constData();
        ASSERT_TRUE(door->open(std::move(*socket)));
    }
    HTTPConnection connect() const { return HTTPConnection(path); }
    /// Waits until the door has read all that a client has sent. Whatever others send then is looked at later.
    static bool isTaken(const HTTPConnection &connection) {
        return ProcessTree::waitUntil([&] {
            int left = -1;
            return ::ioctl(connection.descriptor(), SIOCOUTQ, &left) == 0 && left == 0;
        });
    }

    const QTemporaryDir folder;
    const QByteArray path = folder.filePath(QStringLiteral("socket")).toUtf8();
    Echo echo;
    std::optional<HTTPDoor> door;
};

constexpr qsizetype plenty = 1 << 24;

TEST_F(Door, AConnectionThatAsksForNothingIsClosed) {
    open({.allBodies = plenty, .headTime = 1500ms});
    HTTPConnection silent = connect();
    EXPECT_TRUE(silent.isClosed());
    // So is one that asked before.
    HTTPConnection other = connect();
    ASSERT_TRUE(other.get("/"));
    EXPECT_EQ(other.answer().body, "fine");
    EXPECT_TRUE(other.isClosed());
    EXPECT_EQ(echo.answered, 1);
    EXPECT_EQ(echo.unanswered, 0);
}

TEST_F(Door, AHeadThatComesInDropsHasItsTimeAndNoMore) {
    open({.allBodies = plenty, .headTime = 300ms});
    HTTPConnection slow = connect();
    ASSERT_TRUE(slow.send("GET / HTTP/1.1\r\nHost: x\r\nX-Long: "));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return !slow.send("x"); }));
}

TEST_F(Door, ABodyThatComesInDropsIsCut) {
    open({.allBodies = plenty, .bodyTime = 300ms});
    HTTPConnection slow = connect();
    ASSERT_TRUE(slow.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 1000000\r\n\r\n"));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return !slow.send("x"); }));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return echo.unanswered == 1; }));
    EXPECT_EQ(echo.answered, 0);
}

TEST_F(Door, ABodyThatComesFastEnoughHasTheTimeThatItsSizeTakes) {
    open({.allBodies = plenty, .bodyTime = 300ms, .slowest = 10'000});
    HTTPConnection steady = connect();
    // What comes first has time for a machine that is busy.
    qsizetype sent = 100'000;
    ASSERT_TRUE(
        steady.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 1000000\r\n\r\n" + QByteArray(sent, 'x')));
    const auto start = std::chrono::steady_clock::now();
    for (; std::chrono::steady_clock::now() - start < 1s && sent < 999'000; sent += 1000) {
        ASSERT_TRUE(steady.send(QByteArray(1000, 'x')));
        std::this_thread::sleep_for(5ms);
    }
    ASSERT_TRUE(steady.send(QByteArray(1'000'000 - sent, 'x')));
    EXPECT_EQ(steady.answer().body, "fine");
}

TEST_F(Door, AClientThatDoesNotReadItsAnswerIsCut) {
    echo.body = QByteArray(16 << 20, 'x');
    open({.allBodies = plenty, .bodyTime = 300ms, .slowest = 1 << 30});
    HTTPConnection connection = connect();
    ASSERT_TRUE(connection.get("/"));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return echo.unanswered == 1; }));
    const Answer answer = connection.answer();
    EXPECT_LT(answer.body.size(), echo.body.size());
}

TEST_F(Door, AnswersThatAreNotTakenLeaveLessRoomForBodies) {
    echo.body = QByteArray(4 << 20, 'x');
    open({.allBodies = (4 << 20) + (1 << 19)});
    HTTPConnection slow = connect(), other = connect();
    ASSERT_TRUE(slow.post("/", "x"));
    ASSERT_TRUE(ProcessTree::waitUntil([&] {
        int there = 0;
        return ::ioctl(slow.descriptor(), FIONREAD, &there) == 0 && there > 0;
    }));
    const QByteArray body(1 << 20, 'y');
    ASSERT_TRUE(other.post("/", body));
    EXPECT_EQ(other.answer().status, 503);
    EXPECT_EQ(slow.answer().body.size(), echo.body.size());
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return echo.answered == 2; }));
    ASSERT_TRUE(other.post("/", body));
    EXPECT_EQ(other.answer().status, 200);
}

TEST_F(Door, AllBodiesTogetherHaveALimit) {
    open({.allBodies = 100'000});
    HTTPConnection first = connect(), second = connect(), asking = connect();
    const QByteArray head = "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 80000\r\n\r\n";
    ASSERT_TRUE(first.send(head + QByteArray(79'999, 'x')));
    ASSERT_TRUE(isTaken(first));
    ASSERT_TRUE(second.send(head + QByteArray(80'000, 'x')));
    EXPECT_EQ(second.answer().status, 503);
    ASSERT_TRUE(asking.post("/", "small enough"));
    EXPECT_EQ(asking.answer().status, 200);
    // What the first one held is given back with its answer, and by one that leaves in the middle.
    ASSERT_TRUE(first.send("x"));
    EXPECT_EQ(first.answer().status, 200);
    HTTPConnection leaving = connect();
    ASSERT_TRUE(leaving.send(head + QByteArray(79'999, 'x')));
    ASSERT_TRUE(isTaken(leaving));
    leaving.close();
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return echo.unanswered == 1; }));
    ASSERT_TRUE(second.post("/", QByteArray(80'000, 'x')));
    EXPECT_EQ(second.answer().status, 200);
}

} // namespace
