// SPDX-License-Identifier: MIT
// The service with documents that may reach public addresses only, in a network where a test can be one.
#include "ZRKit/Service/ZRXPC.h"
#include "platform/base/NSURLErrorCode.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tests/platform/xpc/Support.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/PDFReader.h"
#include "tests/support/ProcessTree.h"

#include <QUrl>
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

struct Reply {
    QByteArray pdf;
    NSError error;
};

/// A server at port 8080 of every address that hears requests and says nothing.
class SilentServer {
public:
    SilentServer() : m_listener(OwnNetwork::listenEverywhere(8080)) {}
    static QUrl url() { return QUrl(QStringLiteral("http://93.184.216.34:8080/")); }
    /// Waits for a request.
    bool isAsked() {
        if (!isReady(m_listener.get()))
            return false;
        m_visitor.reset(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        std::array<char, 4096> request{};
        return isReady(m_visitor.get()) && ::recv(m_visitor.get(), request.data(), request.size(), 0) > 0;
    }
    /// Waits until the visitor has hung up.
    bool isLeft() const {
        std::array<char, 4096> more{};
        return isReady(m_visitor.get()) && ::recv(m_visitor.get(), more.data(), more.size(), 0) <= 0;
    }

private:
    static bool isReady(int socket) {
        pollfd wait{.fd = socket, .events = POLLIN, .revents = 0};
        return ::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) == 1;
    }
    zr::FileDescriptor m_listener;
    zr::FileDescriptor m_visitor;
};

class ServiceNetwork : public ::testing::Test {
protected:
    void SetUp() override {
        static const bool isIn = OwnNetwork::enter();
        ASSERT_TRUE(isIn) << OwnNetwork::needs;
        runtime.emplace();
        client = std::make_unique<ZRXPC>(name);
    }
    std::shared_ptr<Inbox<Reply>> send(const QVariant &data, const char *network,
                                       const std::stop_token &abandoned = {}) {
        const auto replies = std::make_shared<Inbox<Reply>>();
        client->performXPCAsyncWithObject(
            QVariantMap{{QStringLiteral("data"), data},
                        {QStringLiteral("network"), QLatin1StringView(network)}},
            [replies](const QVariant &result, const NSError &error) {
                replies->put({result.toMap().value(QStringLiteral("data")).toByteArray(), error});
            },
            abandoned);
        return replies;
    }
    QString textOf(const QVariant &data, const char *network) {
        const std::optional<Reply> reply = send(data, network)->take();
        return reply ? PDFReader(reply->pdf).text() : QStringLiteral("no reply");
    }

    const QString name = QStringLiteral("com.velmora.zrpdf@network-%1").arg(::getpid());
    std::optional<RuntimeFolder> runtime;
    std::unique_ptr<ZRXPC> client;
};

} // namespace

TEST_F(ServiceNetwork, EachTaskHasItsOwnMode) {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>there"}; },
                      OwnNetwork::listenEverywhere(80), 80);
    const QString page = QStringLiteral("<p>page<p><iframe src='http://%1/'></iframe>");
    const QString open = page.arg(QStringLiteral("93.184.216.34")),
                  hidden = page.arg(QStringLiteral("10.1.2.3"));
    // The modes one after the other, and back: none is left over from the task before.
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(textOf(open, "all"), QStringLiteral("page there"));
        EXPECT_EQ(textOf(open, "public"), QStringLiteral("page there"));
        EXPECT_EQ(textOf(hidden, "public"), QStringLiteral("page"));
        EXPECT_EQ(textOf(open, "none"), QStringLiteral("page"));
        EXPECT_EQ(textOf(open, "public"), QStringLiteral("page there"));
    }
    EXPECT_EQ(textOf(QUrl(QStringLiteral("http://93.184.216.34/")), "public"), QStringLiteral("there"));
}

TEST_F(ServiceNetwork, AClientThatLeavesLeavesNoTransferRunning) {
    for (const QVariant &data :
         {QVariant(SilentServer::url()),
          QVariant(QStringLiteral("<img src='%1'>").arg(SilentServer::url().toString()))}) {
        SilentServer server;
        std::stop_source leave;
        const auto replies = send(data, "public", leave.get_token());
        ASSERT_TRUE(server.isAsked());
        leave.request_stop();
        EXPECT_TRUE(server.isLeft());
        EXPECT_EQ(replies->count(), 0U);
        EXPECT_EQ(textOf(QStringLiteral("<p>next"), "public"), QStringLiteral("next"));
    }
}

TEST_F(ServiceNetwork, AServiceThatIsKilledInTheMiddleLeavesNothing) {
    SilentServer server;
    Inbox<NSXPCServiceMonitor::Exit> exits;
    const NSXPCServiceMonitor monitor(name, [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    send(SilentServer::url(), "public");
    ASSERT_TRUE(server.isAsked());
    const pid_t service = monitor.processIdentifier();
    ASSERT_GT(service, 0);
    const std::vector<ProcessTree::Process> family = ProcessTree::below(service);
    // Both browsers, with their keepers.
    EXPECT_EQ(std::count_if(family.begin(), family.end(),
                            [](const auto &process) {
                                return process.command.find("zrkit-keeper") != std::string::npos;
                            }),
              2);
    ::kill(service, SIGKILL);
    EXPECT_TRUE(exits.take());
    EXPECT_TRUE(server.isLeft());
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return ProcessTree::alive(family).empty(); }));
}

TEST_F(ServiceNetwork, AServiceThatIsToEndFinishesWhatItFetches) {
    Gate gate;
    HTTPServer server(
        [&](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>there", .gate = &gate}; },
        OwnNetwork::listenEverywhere(80), 80);
    Inbox<NSXPCServiceMonitor::Exit> exits;
    const NSXPCServiceMonitor monitor(name, [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    const auto replies = send(QUrl(QStringLiteral("http://93.184.216.34/")), "public");
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return server.count("/") == 1; }));
    ::kill(monitor.processIdentifier(), SIGTERM);
    gate.open();
    const std::optional<Reply> reply = replies->take();
    ASSERT_TRUE(reply);
    EXPECT_EQ(PDFReader(reply->pdf).text(), QStringLiteral("there"));
    const std::optional<NSXPCServiceMonitor::Exit> exit = exits.take();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->status, 0);
}
