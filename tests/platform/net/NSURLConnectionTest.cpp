// SPDX-License-Identifier: MIT
#include "platform/net/NSURLConnection.h"

#include "platform/base/NSException.h"
#include "platform/net/TransferLoop.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LoopbackServers.h"

#include <functional>
#include <gtest/gtest.h>

using namespace zr;

namespace {

using Sender = NSURLAuthenticationChallengeSender;

/// Remembers what it is told, and answers servers' certificates if it has an answer.
class Delegate : public NSURLConnectionDelegate {
public:
    bool connectionCanAuthenticateAgainstProtectionSpace(const Connection &,
                                                         const NSURLProtectionSpace &space) override {
        return answer && space.authenticationMethod() == NSURLAuthenticationMethodServerTrust;
    }
    void connectionDidReceiveAuthenticationChallenge(const Connection &,
                                                     const NSURLAuthenticationChallenge &challenge) override {
        certificates = challenge.protectionSpace().serverTrust().certificates;
        answer(*challenge.sender(), challenge);
    }
    void connectionDidReceiveData(const Connection &connection, QByteArrayView data) override {
        body.append(data.data(), data.size());
        if (cancelsAtData) {
            connection->cancel();
            ended.open();
        }
    }
    void connectionDidFinishLoading(const Connection &) override { end(); }
    void connectionDidFailWithError(const Connection &, const NSError &failure) override {
        error = failure;
        end();
    }

    std::function<void(Sender &, const NSURLAuthenticationChallenge &)> answer;
    bool cancelsAtData = false;
    QList<QByteArray> certificates;
    QByteArray body;
    NSError error;
    int ends = 0;
    Gate ended;

private:
    void end() {
        ++ends;
        ended.open();
    }
};

class URLConnection : public testing::Test {
protected:
    void load(const QUrl &url) {
        const auto connection =
            std::make_shared<NSURLConnection>(std::make_shared<NSURLRequest>(url), delegate);
        connection->scheduleInRunLoop(loop);
        connection->start();
        ASSERT_TRUE(delegate->ended.pass());
    }
    static const NginxServer &nginx() {
        static const NginxServer server;
        return server;
    }
    const std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    TransferLoop loop{QStringLiteral("loop")};
};

TEST_F(URLConnection, ADelegateThatTakesTheCertificateGetsTheBody) {
    delegate->answer = [](Sender &sender, const NSURLAuthenticationChallenge &challenge) {
        sender.useCredential(NSURLCredential::credentialForTrust({}), challenge);
        sender.cancelAuthenticationChallenge(challenge); // too late
    };
    load(nginx().secureUrl(QStringLiteral("/small")));
    EXPECT_EQ(delegate->body, "small");
    EXPECT_EQ(delegate->certificates.size(), 1);
}

TEST_F(URLConnection, WithoutAnAnswerTheCertificateIsEvaluated) {
    delegate->answer = [](Sender &, const NSURLAuthenticationChallenge &) {};
    load(nginx().secureUrl(QStringLiteral("/small")));
    EXPECT_EQ(delegate->error.code(), NSURLErrorServerCertificateUntrusted);
}

TEST_F(URLConnection, TheEvaluationKnowsTheSystemsAuthoritiesAndTheName) {
    qputenv("SSL_CERT_FILE", nginx().authority().toUtf8());
    delegate->answer = [](Sender &sender, const NSURLAuthenticationChallenge &challenge) {
        sender.continueWithoutCredentialForAuthenticationChallenge(challenge);
    };
    load(nginx().secureUrl(QStringLiteral("/small")));
    EXPECT_EQ(delegate->body, "small");
    const auto other = std::make_shared<Delegate>();
    other->answer = delegate->answer;
    const auto connection =
        std::make_shared<NSURLConnection>(std::make_shared<NSURLRequest>(nginx().secureUrl(
                                              QStringLiteral("/small"), QStringLiteral("127.0.0.2"))),
                                          other);
    connection->scheduleInRunLoop(loop);
    connection->start();
    ASSERT_TRUE(other->ended.pass());
    EXPECT_FALSE(other->error.isNil());
    EXPECT_TRUE(other->body.isNull());
    qunsetenv("SSL_CERT_FILE");
}

TEST_F(URLConnection, ACancelledCertificateEndsItAsCancelled) {
    delegate->answer = [](Sender &sender, const NSURLAuthenticationChallenge &challenge) {
        sender.cancelAuthenticationChallenge(challenge);
    };
    load(nginx().secureUrl(QStringLiteral("/small")));
    EXPECT_EQ(delegate->error.code(), NSURLErrorUserCancelledAuthentication);
}

TEST_F(URLConnection, ADelegateThatRaisesIsLogged) {
    const LogCapture log;
    delegate->answer = [](Sender &, const NSURLAuthenticationChallenge &) {
        throw NSException(NSGenericException, QStringLiteral("of the delegate"));
    };
    load(nginx().secureUrl(QStringLiteral("/small")));
    EXPECT_EQ(delegate->error.code(), NSURLErrorServerCertificateUntrusted);
    EXPECT_EQ(log.count(QStringLiteral("Exception in a connection's delegate: of the delegate")), 1);
}

TEST_F(URLConnection, OnceCancelledItsDelegateHearsNothingMore) {
    delegate->cancelsAtData = true;
    load(nginx().url(QStringLiteral("/large")));
    Gate later;
    loop.perform([&] { later.open(); });
    ASSERT_TRUE(later.pass());
    EXPECT_LT(delegate->body.size(), nginx().large().size());
    EXPECT_EQ(delegate->ends, 0);
}

TEST_F(URLConnection, ItNeedsARequestAndALoop) {
    const auto loopless = std::make_shared<NSURLConnection>(
        std::make_shared<NSURLRequest>(QUrl(QStringLiteral("http://host/"))), delegate);
    EXPECT_THROW(loopless->start(), NSException);
    const auto requestless = std::make_shared<NSURLConnection>(nullptr, delegate);
    requestless->scheduleInRunLoop(loop);
    EXPECT_THROW(requestless->start(), NSException);
}

TEST(TransferLoop, ItsEndCancelsWhatRunsAndDropsWhatWaits) {
    const auto delegate = std::make_shared<Delegate>();
    Gate arrived;
    ScriptedServer server([&](int, const QByteArray &) {
        arrived.open();
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n", false};
    });
    std::shared_ptr<NSURLConnection> connection;
    {
        TransferLoop loop(QStringLiteral("loop"));
        connection =
            std::make_shared<NSURLConnection>(std::make_shared<NSURLRequest>(server.url()), delegate);
        connection->scheduleInRunLoop(loop);
        connection->start();
        ASSERT_TRUE(arrived.pass());
    }
    EXPECT_EQ(delegate.use_count(), 1);
    EXPECT_EQ(delegate->ends, 0);
}

} // namespace
