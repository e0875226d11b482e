// SPDX-License-Identifier: MIT
// Transfers of a loop that reaches public addresses only, in a network where a test can be one.
#include "platform/net/NSURLConnection.h"
#include "platform/net/PublicFetcher.h"
#include "platform/net/TransferLoop.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/OwnNetwork.h"

#include <QScopeGuard>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <optional>

using namespace zr;

namespace {

/// How a connection ended.
struct End {
    QByteArray body;
    NSError error;
    QString reason() const { return error.userInfo().value(NSLocalizedFailureReasonErrorKey).toString(); }
};

class Delegate : public NSURLConnectionDelegate {
public:
    void connectionDidReceiveData(const Connection &, QByteArrayView data) override {
        m_end.body.append(data);
    }
    void connectionDidFinishLoading(const Connection &) override { promise.set_value(m_end); }
    void connectionDidFailWithError(const Connection &, const NSError &error) override {
        m_end.error = error;
        promise.set_value(m_end);
    }
    std::promise<End> promise;

private:
    End m_end;
};

End loaded(TransferLoop &loop, const char *url) {
    const auto delegate = std::make_shared<Delegate>();
    auto end = delegate->promise.get_future();
    const auto connection = std::make_shared<NSURLConnection>(
        std::make_shared<NSURLRequest>(QUrl(QLatin1StringView(url))), delegate);
    connection->scheduleInRunLoop(loop);
    connection->start();
    if (end.wait_for(std::chrono::seconds(60)) == std::future_status::ready)
        return end.get();
    ADD_FAILURE() << url << " never ends";
    return {};
}

class PublicTransfer : public ::testing::Test {
protected:
    void SetUp() override {
        static const bool isIn = OwnNetwork::enter();
        ASSERT_TRUE(isIn) << OwnNetwork::needs;
        server.emplace(
            [this](const HTTPServer::Request &request) {
                HTTPServer::Response response{.body = request.headers.value("host"), .keepsConnection = true};
                if (request.path == "/coded")
                    response = {.body = "coded", .headers = headers};
                if (request.path.startsWith("/to?"))
                    response = {.status = 302, .headers = {"Location: " + request.path.mid(4)}};
                return response;
            },
            OwnNetwork::listenEverywhere(80), 80);
        names.emplace([](const QByteArray &name, int) {
            return QList<QByteArray>{name == "private.test" ? "10.1.2.3" : "93.184.216.34"};
        });
    }
    QList<QByteArray> headers; ///< of "/coded"; not changed while it is asked for
    std::optional<HTTPServer> server;
    std::optional<NameServer> names;
    static std::unique_ptr<TransferLoop> makeLoop() {
        return std::make_unique<TransferLoop>(QStringLiteral("public"), TransferLoop::Reach::PublicAddresses);
    }
};

} // namespace

TEST_F(PublicTransfer, PublicAddressesAreReachedAndOthersAreRefusedBeforeAnythingIsSent) {
    const auto loop = makeLoop();
    PacketLog log;
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/").body, "93.184.216.34");
    EXPECT_EQ(loaded(*loop, "http://public.test/").body, "public.test");
    for (const auto &[url, reason] : QList<QPair<const char *, const char *>>{
             {"http://10.1.2.3/", "10.1.2.3 is not a public address"},
             {"http://private.test/", "10.1.2.3 is not a public address"},
             {"http://[::1]/", "::1 is not a public address"},
             {"http://localhost/", "localhost is not a public name"},
             {"http://93.184.216.34:22/", "Port 22 is not for documents"},
             {"http://93.184.216.34/to?http://10.1.2.3/", "10.1.2.3 is not a public address"},
             {"http://93.184.216.34/to?http://a.localhost/", "a.localhost is not a public name"}}) {
        const End end = loaded(*loop, url);
        EXPECT_EQ(end.error.code(), NSURLErrorCannotConnectToHost) << url;
        EXPECT_EQ(end.reason(), QLatin1StringView(reason)) << url;
    }
    EXPECT_EQ(log.destinations(), (QSet<QByteArray>{"93.184.216.34:80", "127.0.0.1:53"}));
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/to?ftp://93.184.216.34/").error.code(),
              NSURLErrorRedirectToNonExistentLocation);
}

TEST_F(PublicTransfer, ThisMachineAndItsNetworksAreNotPublicWhateverTheirAddresses) {
    OwnNetwork::addAddress("198.41.0.4", 24);
    OwnNetwork::addAddress("2a02:26f0:4::1", 64);
    const auto loop = makeLoop();
    PacketLog log;
    for (const char *const host : {"198.41.0.4", "198.41.0.9", "2a02:26f0:4::1", "2a02:26f0:4::9"}) {
        const bool isIPv6 = std::strchr(host, ':');
        const QByteArray url = QByteArray("http://") + (isIPv6 ? "[" : "") + host + (isIPv6 ? "]/" : "/");
        EXPECT_EQ(loaded(*loop, url.constData()).reason(),
                  QLatin1StringView(host) + QStringLiteral(" is not a public address"));
    }
    EXPECT_EQ(log.destinations(), QSet<QByteArray>());
    EXPECT_EQ(loaded(*loop, "http://198.41.1.4/").body, "198.41.1.4");
    EXPECT_EQ(loaded(*loop, "http://[2a02:26f0:4:1::1]/").body, "[2a02:26f0:4:1::1]");
}

TEST_F(PublicTransfer, ARefusedAddressIsNoReasonOnceAnotherWasTried) {
    names.reset();
    names.emplace([](const QByteArray &, int) { return QList<QByteArray>{"10.1.2.3", "93.184.216.34"}; });
    const auto loop = makeLoop();
    const End end = loaded(*loop, "http://both.test:81/");
    EXPECT_EQ(end.error.code(), NSURLErrorCannotConnectToHost);
    EXPECT_FALSE(end.reason().contains(u"10.1.2.3")) << end.reason().toStdString();
}

TEST_F(PublicTransfer, CodingsInCodingsAreNotUnpacked) {
    const auto loop = makeLoop();
    for (const char *const codings : {"gzip,gzip", "zstd, br", "identity, gzip, deflate"}) {
        headers = {QByteArray("Content-Encoding: ") + codings};
        EXPECT_EQ(loaded(*loop, "http://93.184.216.34/coded").error.code(), NSURLErrorCannotDecodeContentData)
            << codings;
    }
    headers = {"Content-Encoding: gzip", "content-encoding : br"};
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/coded").error.code(), NSURLErrorCannotDecodeContentData);
    headers = {"Transfer-Encoding: gzip", "Content-Encoding: br"};
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/coded").error.code(), NSURLErrorCannotDecodeContentData);
    headers = {"Content-Encoding: identity, identity"};
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/coded").body, "coded");
}

TEST_F(PublicTransfer, VeryManyHeaderLinesEndTheTransfer) {
    const auto loop = makeLoop();
    headers = QList<QByteArray>(900, "a: b");
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/coded").body, "coded");
    headers = QList<QByteArray>(1100, "a: b");
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/coded").error.code(), NSURLErrorBadServerResponse);
}

TEST_F(PublicTransfer, AnotherLoopsConnectionIsNotUsed) {
    TransferLoop open(QStringLiteral("open"));
    EXPECT_EQ(loaded(open, "http://10.1.2.3/").body, "10.1.2.3");
    EXPECT_EQ(loaded(open, "http://10.1.2.3/").body, "10.1.2.3");
    EXPECT_EQ(server->connections(), 1);
    const auto loop = makeLoop();
    EXPECT_TRUE(loaded(*loop, "http://10.1.2.3/").error);
    EXPECT_EQ(server->connections(), 1);
}

TEST_F(PublicTransfer, AProxyIsNotUsed) {
    ::setenv("http_proxy", "http://10.1.2.3:80", 1);
    ::setenv("ALL_PROXY", "http://10.1.2.3:80", 1);
    NSURLConnection::setProxyURL(QUrl(QStringLiteral("http://10.1.2.3:80")));
    const auto restored = qScopeGuard([] {
        NSURLConnection::setProxyURL(QUrl());
        ::unsetenv("http_proxy");
        ::unsetenv("ALL_PROXY");
    });
    const auto loop = makeLoop();
    PacketLog log;
    EXPECT_EQ(loaded(*loop, "http://93.184.216.34/").body, "93.184.216.34");
    EXPECT_EQ(log.destinations(), QSet<QByteArray>{"93.184.216.34:80"});
    // Another loop uses it.
    TransferLoop open(QStringLiteral("open"));
    EXPECT_EQ(loaded(open, "http://93.184.216.34/").body, "93.184.216.34");
    EXPECT_TRUE(log.destinations().contains("10.1.2.3:80"));
}

TEST_F(PublicTransfer, AFetchThatEndsCallsNobody) {
    PublicFetcher *const fetcher = PublicFetcher::shared();
    ASSERT_TRUE(fetcher);
    const auto plenty = std::make_shared<std::atomic<qint64>>(1'000'000);
    std::atomic<bool> isCalled = false;
    for (int i = 0; i < 100; ++i) {
        const auto fetch = fetcher->fetch(QUrl(QStringLiteral("http://93.184.216.34/")), {}, plenty,
                                          [&](const PublicFetcher::Response &) { isCalled = true; });
        if (i % 2 == 0)
            std::this_thread::yield();
    }
    // What is fetched next ends after all of these.
    std::promise<PublicFetcher::Response> last;
    isCalled = false;
    const auto fetch =
        fetcher->fetch(QUrl(QStringLiteral("http://93.184.216.34/")), {}, plenty,
                       [&](const PublicFetcher::Response &response) { last.set_value(response); });
    const PublicFetcher::Response response = last.get_future().get();
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "93.184.216.34");
    EXPECT_FALSE(isCalled);
}

TEST_F(PublicTransfer, FetchesShareTheBytesThatTheyMayHave) {
    PublicFetcher *const fetcher = PublicFetcher::shared();
    ASSERT_TRUE(fetcher);
    const auto fetched = [&](const std::shared_ptr<std::atomic<qint64>> &bytesLeft) {
        std::promise<PublicFetcher::Response> end;
        const auto fetch =
            fetcher->fetch(QUrl(QStringLiteral("http://93.184.216.34/")), {}, bytesLeft,
                           [&](const PublicFetcher::Response &response) { end.set_value(response); });
        return end.get_future().get();
    };
    const auto enoughForTwo = std::make_shared<std::atomic<qint64>>(2 * 13);
    EXPECT_EQ(fetched(enoughForTwo).body.size(), 13);
    EXPECT_EQ(fetched(enoughForTwo).body.size(), 13);
    const PublicFetcher::Response third = fetched(enoughForTwo);
    EXPECT_TRUE(third.isTooMuch);
    EXPECT_EQ(third.status, 0);
}
