// SPDX-License-Identifier: MIT
#include "platform/base/FileDescriptor.h"
#include "platform/net/ContentsOfURL.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/InChild.h"
#include "tests/support/LoopbackServers.h"
#include "tests/support/OwnNetwork.h"

#include <future>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

using namespace zr;

namespace {

/// A name server that hears questions and never answers, in a network of this process's own.
class SilentNameServer {
public:
    /// False if the system doesn't allow it.
    bool begin() {
        if (!OwnNetwork::enter())
            return false;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(53);
        m_socket.reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        EXPECT_EQ(::bind(m_socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        return true;
    }
    /// Waits for a question.
    bool isAsked() {
        pollfd ready{.fd = m_socket.get(), .events = POLLIN, .revents = 0};
        return ::poll(&ready, 1, 60'000) == 1;
    }
    /// Whether a question has come a second time, as it does after 30 s: look-ups have been waited for.
    bool isAskedAgain() {
        QList<QByteArray> questions;
        char bytes[512];
        for (ssize_t count = 0; (count = ::recv(m_socket.get(), bytes, sizeof bytes, 0)) > 0;) {
            const QByteArray question(bytes, count);
            if (questions.contains(question))
                return true;
            questions.append(question);
        }
        return questions.isEmpty();
    }

private:
    FileDescriptor m_socket;
};

template <typename Checks>
void checkWithSilentNameServer(Checks checks) {
    ASSERT_TRUE(OwnNetwork::mayEnter()) << OwnNetwork::needs;
    checkInChild([&] {
        SilentNameServer server;
        ASSERT_TRUE(server.begin());
        checks(server);
    });
}

const QUrl stalled(QStringLiteral("http://stalled.example/"));

ScriptedServer::Answer answer(int, const QByteArray &) {
    return {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"};
}

TEST(FetchLookUp, ACancelledOneHoldsUpNoOtherFetch) {
    checkWithSilentNameServer([](SilentNameServer &names) {
        const auto operation = std::make_shared<ZRFetchOperation>(stalled);
        operation->fetchWithBlock([](const auto &) { ADD_FAILURE() << "completed"; });
        ASSERT_TRUE(names.isAsked());
        operation->cancel();
        operation->waitUntilFinished();
        ScriptedServer server(answer);
        EXPECT_EQ(fetched(QVariant(server.url())).string, QStringLiteral("body"));
        EXPECT_FALSE(names.isAskedAgain());
    });
}

TEST(FetchLookUp, ItEndsWithTheTimeOut) {
    checkWithSilentNameServer([](SilentNameServer &names) {
        const auto operation = std::make_shared<ZRFetchOperation>(stalled);
        operation->request()->setTimeoutInterval(0.3);
        EXPECT_EQ(fetched(operation).error.code(), NSURLErrorTimedOut);
        EXPECT_FALSE(names.isAskedAgain());
    });
}

TEST(FetchLookUp, OneThatStallsHoldsUpNoOtherThreadsReading) {
    checkWithSilentNameServer([](SilentNameServer &names) {
        // Never destroyed, as the thread runs on when the process ends.
        static auto reading = std::async(std::launch::async, [] { return NSDataWithContentsOfURL(stalled); });
        ASSERT_TRUE(names.isAsked());
        ScriptedServer server(answer);
        EXPECT_EQ(NSDataWithContentsOfURL(server.url()), "body");
        EXPECT_FALSE(names.isAskedAgain());
    });
}

} // namespace
