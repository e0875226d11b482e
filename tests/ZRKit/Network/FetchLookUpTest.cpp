// SPDX-License-Identifier: MIT
#include "platform/base/FileDescriptor.h"
#include "platform/net/ContentsOfURL.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/InChild.h"
#include "tests/support/LoopbackServers.h"

#include <QFile>
#include <QTemporaryDir>
#include <arpa/inet.h>
#include <future>
#include <net/if.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>

using namespace zr;

namespace {

/// A name server that hears questions and never answers, in a network of this process's own.
class SilentNameServer {
public:
    /// False if the system doesn't allow it.
    bool begin() {
        if (::unshare(CLONE_NEWNET | CLONE_NEWNS) != 0 &&
            ::unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) != 0)
            return false;
        const FileDescriptor any(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        ifreq loopback{};
        loopback.ifr_name[0] = 'l';
        loopback.ifr_name[1] = 'o';
        loopback.ifr_flags = IFF_UP;
        EXPECT_EQ(::ioctl(any.get(), SIOCSIFFLAGS, &loopback), 0);
        EXPECT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        replace("/etc/resolv.conf", "nameserver 127.0.0.1\noptions timeout:30 attempts:3\n");
        replace("/etc/nsswitch.conf", "hosts: files dns\n");
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
    void replace(const char *path, const QByteArray &content) {
        QFile file(m_folder.filePath(QString::number(++m_files)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.close();
        EXPECT_EQ(::mount(QFile::encodeName(file.fileName()).constData(), path, nullptr, MS_BIND, nullptr),
                  0);
    }
    QTemporaryDir m_folder;
    int m_files = 0;
    FileDescriptor m_socket;
};

template <typename Checks>
void checkWithSilentNameServer(Checks checks) {
    const pid_t trial = ::fork();
    if (trial == 0) {
        std::optional<SilentNameServer> server(std::in_place);
        const bool begins = server->begin();
        server.reset(); // with its folder
        ::_exit(begins ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(trial, &status, 0), trial);
    if (status != 0)
        GTEST_SKIP() << "this user may not make a network";
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
