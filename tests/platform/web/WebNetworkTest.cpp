// SPDX-License-Identifier: MIT
#include "platform/web/WebNetwork.h"

#include "tests/platform/web/OwnNetworkTest.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"

#include <QScopeGuard>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

namespace {

QByteArray packed(const QByteArray &bytes) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    QByteArray result(qsizetype(deflateBound(&stream, uLong(bytes.size()))) + 64, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(result.data());
    stream.avail_out = uInt(result.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    result.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return result;
}

class LimitedNetwork : public OwnNetworkTest {
protected:
    HTTPServer::Response answer(const HTTPServer::Request &request) override {
        const auto at = answers.constFind(request.path.split('?').front());
        return at == answers.cend() ? OwnNetworkTest::answer(request) : *at;
    }
    /// Loads a text with public access.
    void load(zr::WebNetworkPolicy policy, const QString &markup) {
        policy.access = Access::Public;
        reachedBy(policy, [&](WebFrame &frame) { frame.loadHTMLString(markup); });
    }
    void load(zr::WebNetworkPolicy policy, const QUrl &url) {
        policy.access = Access::Public;
        reachedBy(policy, [&](WebFrame &frame) { frame.loadRequest(url); });
    }
    /// Converts, and leaves the browser as it is.
    static void convert(Access access) {
        Loader loader;
        WebPreferences preferences;
        preferences.setNetworkPolicy({.access = access});
        loader.view->setPreferences(preferences);
        loader.frame()->loadHTMLString(QStringLiteral("<p>page"));
        EXPECT_TRUE(loader.delegate.wait());
        EXPECT_EQ(loader.pdf().text(), QStringLiteral("page"));
    }
    static QString picture(int number) {
        return QStringLiteral("<img src='http://93.184.216.34/%1.png'>").arg(number);
    }

    QMap<QByteArray, HTTPServer::Response> answers;
};

const QString frame = QStringLiteral("<p>page<iframe src='http://93.184.216.34/%1'></iframe>");

} // namespace

TEST_F(LimitedNetwork, TooManyResourcesFailTheDocument) {
    QString three = QStringLiteral("<p>page");
    for (int i = 0; i < 3; ++i)
        three += picture(i);
    load({.mostRequests = 3}, three);
    EXPECT_EQ(text, QStringLiteral("page"));
    EXPECT_FALSE(error);
    load({.mostRequests = 2}, three);
    EXPECT_EQ(error.localizedDescription(), QStringLiteral("The document refers to more than 2 resources"));
    EXPECT_EQ(error.domain(), NSURLErrorDomain);
}

TEST_F(LimitedNetwork, TooManyBytesFailTheDocument) {
    const QByteArray body(100'000, 'x');
    answers["/body"] = {.body = body};
    load({.mostBytes = 100'000}, frame.arg(QStringLiteral("body")));
    EXPECT_TRUE(text.contains(u"xxx") && text.contains(u"page")) << text.left(50).toStdString();
    const QString why = QStringLiteral("What the document refers to has more than 99999 bytes");
    load({.mostBytes = 99'999}, frame.arg(QStringLiteral("body")));
    EXPECT_EQ(error.localizedDescription(), why);
    // All resources count together.
    load({.mostBytes = 150'000}, frame.arg(QStringLiteral("body?1")) + frame.arg(QStringLiteral("body?2")));
    EXPECT_EQ(error.localizedDescription(),
              QStringLiteral("What the document refers to has more than 150000 bytes"));
    // The document itself, too.
    load({.mostBytes = 99'999}, publicUrl(QStringLiteral("/body")));
    EXPECT_EQ(error.localizedDescription(), why);
}

TEST_F(LimitedNetwork, AnAnswerThatTheBrowserCannotBeHandedFailsTheDocument) {
    answers["/picture"] = {.contentType = "image/png",
                           .body = packed(QByteArray((64 << 20) + 1, 'x')),
                           .headers = {"Content-Encoding: gzip"}};
    load({}, QStringLiteral("<p>page<img src='http://93.184.216.34/picture'>"));
    EXPECT_EQ(error.localizedDescription(),
              QStringLiteral("A part of the document has more than 67108864 bytes"));
    // The largest one leaves the browser alive.
    answers["/picture"].body = packed(QByteArray(64 << 20, 'x'));
    load({}, QStringLiteral("<p>page<img src='http://93.184.216.34/picture'>"));
    EXPECT_FALSE(error) << error.localizedDescription().toStdString();
    EXPECT_EQ(text, QStringLiteral("page"));
}

TEST_F(LimitedNetwork, StatusesThatNobodyKnowsAreAnswersLikeAny) {
    for (const int status : {299, 420, 499, 520, 530, 599, 799, 999}) {
        answers["/odd"] = {.status = status, .body = "odd"};
        answers["/odd.png"] = {.status = status, .contentType = "image/png", .body = "x"};
        load({}, publicUrl(QStringLiteral("/odd")));
        EXPECT_EQ(text, QStringLiteral("odd")) << status << ' ' << error.localizedDescription().toStdString();
        load({}, QStringLiteral("<p>page<img src='http://93.184.216.34/odd.png'>"));
        EXPECT_EQ(text, QStringLiteral("page")) << status;
    }
    // With any network, too, if the answer's header is changed.
    answers["/odd"] = {.status = 520, .body = "odd", .headers = {"Speculation-Rules: \"/rules.json\""}};
    reachedBy(Access::All, publicUrl(QStringLiteral("/odd")));
    EXPECT_EQ(text, QStringLiteral("odd")) << error.localizedDescription().toStdString();
}

TEST_F(LimitedNetwork, BytesCountUnpacked) {
    answers["/bomb"] = {.body = packed(QByteArray(50'000'000, ' ')), .headers = {"Content-Encoding: gzip"}};
    load({.mostBytes = 10'000'000}, frame.arg(QStringLiteral("bomb")));
    EXPECT_EQ(error.localizedDescription(),
              QStringLiteral("What the document refers to has more than 10000000 bytes"));
}

TEST_F(LimitedNetwork, WhatTakesTooLongFailsTheDocument) {
    Gate never;
    // The server's threads wait at it.
    const auto opened = qScopeGuard([&] {
        never.open();
        server.reset();
    });
    answers["/silent"] = {.body = "x", .gate = &never};
    const QString why = QStringLiteral("What the document refers to takes longer than 0.3 s to come");
    load({.longest = std::chrono::milliseconds(300)}, frame.arg(QStringLiteral("silent")));
    EXPECT_EQ(error.localizedDescription(), why);
    load({.longest = std::chrono::milliseconds(300)}, publicUrl(QStringLiteral("/silent")));
    EXPECT_EQ(error.localizedDescription(), why);
}

TEST_F(LimitedNetwork, AnEndlessRedirectEnds) {
    answers["/loop"] = {.status = 302, .headers = {"Location: /loop?x"}};
    load({}, publicUrl(QStringLiteral("/loop")));
    EXPECT_TRUE(error);
    EXPECT_LE(server->requests().size(), 25);
    load({}, frame.arg(QStringLiteral("loop")));
    EXPECT_EQ(text, QStringLiteral("page"));
}

TEST_F(LimitedNetwork, MorePicturesThanTheBrowserHoldsAtOnceAllCome) {
    constexpr int count = 1200;
    QString markup = QStringLiteral("<p>page");
    for (int i = 0; i < count; ++i)
        markup += picture(i);
    load({.mostRequests = count}, markup);
    EXPECT_EQ(text, QStringLiteral("page"));
    EXPECT_EQ(server->requests().size(), count);
}

TEST_F(LimitedNetwork, AServerThatFailsLeavesItsPartOut) {
    answers["/none.png"] = {.fault = HTTPServer::Fault::CloseUnanswered};
    answers["/half.png"] = {
        .contentType = "image/png", .body = QByteArray(1000, 'x'), .fault = HTTPServer::Fault::CutBody};
    answers["/gone.png"] = {.status = 404, .body = "gone"};
    load({}, QStringLiteral(
                 "<p>page<img src='http://93.184.216.34/none.png'><img src='http://93.184.216.34/half.png'>"
                 "<img src='http://93.184.216.34/gone.png'><img src='http://93.184.216.34:81/closed.png'>"
                 "<img src='https://93.184.216.34/secure.png'>") +
                 picture(1));
    EXPECT_EQ(text, QStringLiteral("page"));
    EXPECT_EQ(server->count("/1.png"), 1);
}

TEST_F(LimitedNetwork, ADocumentsOwnServerMayAnswerAnything) {
    answers["/missing"] = {.status = 404, .body = "<p>not here"};
    answers["/empty"] = {.status = 500, .contentType = ""};
    answers["/closed"] = {.fault = HTTPServer::Fault::CloseUnanswered};
    answers["/text"] = {.contentType = "text/plain", .body = "plain"};
    answers["/latin"] = {.contentType = "text/html; charset=iso-8859-1", .body = "<p>gr\xfc\xdf"};
    answers["/packed"] = {.body = packed("<p>packed"), .headers = {"Content-Encoding: gzip"}};
    answers["/moved"] = {.status = 307, .headers = {"Location: /text"}};
    answers["/video"] = {.contentType = "video/mp4", .body = "x"};
    answers["/load"] = {.contentType = "application/octet-stream", .body = "x"};
    for (const auto &[path, content] :
         QList<QPair<QString, QString>>{{QStringLiteral("/missing"), QStringLiteral("not here")},
                                        {QStringLiteral("/text"), QStringLiteral("plain")},
                                        {QStringLiteral("/latin"), QStringLiteral("gr\u00fc\u00df")},
                                        {QStringLiteral("/packed"), QStringLiteral("packed")},
                                        {QStringLiteral("/moved"), QStringLiteral("plain")}}) {
        load({}, publicUrl(path));
        EXPECT_EQ(text, content) << path.toStdString();
    }
    load({}, publicUrl(QStringLiteral("/1.png")));
    EXPECT_FALSE(error);
    for (const char *const path : {"/closed", "/video", "/load"}) {
        load({}, publicUrl(QLatin1StringView(path)));
        EXPECT_TRUE(error) << path;
        EXPECT_FALSE(error.localizedDescription().isEmpty());
    }
}

TEST_F(LimitedNetwork, CookiesOfADocumentStayWithIt) {
    answers["/set"] = {
        .body = "<p>set<img src=/first.png><iframe src=/frame></iframe>",
        .headers = {"Set-Cookie: a=1; Path=/", "Set-Cookie: b=2, 3; Expires=Wed, 09 Jun 2100 10:18:14 GMT"}};
    load({}, publicUrl(QStringLiteral("/set")));
    load({}, publicUrl(QStringLiteral("/later")));
    for (const HTTPServer::Request &request : server->requests()) {
        const QByteArray cookies = request.headers.value("cookie");
        if (request.path == "/first.png" || request.path == "/frame")
            EXPECT_EQ(cookies, "a=1; b=2, 3") << request.path.constData();
        else
            EXPECT_EQ(cookies, "") << request.path.constData();
    }
    EXPECT_EQ(server->count("/frame"), 1);
}

TEST_F(LimitedNetwork, ServersSeeABrowsersRequest) {
    answers["/page"] = {.body = "<p>page<img src=/1.png>"};
    load({}, publicUrl(QStringLiteral("/page?a=b%20c&d=\u00e9#fragment")));
    const QList<HTTPServer::Request> requests = server->requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[0].path, "/page?a=b%20c&d=%C3%A9");
    EXPECT_EQ(requests[0].headers.value("host"), "93.184.216.34");
    EXPECT_TRUE(requests[0].headers.value("user-agent").contains("Chrome"));
    EXPECT_TRUE(requests[0].headers.value("accept").startsWith("text/html"));
    EXPECT_EQ(requests[1].headers.value("referer"), "http://93.184.216.34/page?a=b%20c&d=%C3%A9");
    EXPECT_EQ(requests[1].headers.value("accept-encoding"), "gzip, deflate, br, zstd");
}

TEST_F(LimitedNetwork, AStoppedLoadLeavesNoTransferRunning) {
    const int listener = OwnNetwork::listenEverywhere(8080);
    const auto closed = qScopeGuard([&] { ::close(listener); });
    Loader loader;
    WebPreferences preferences;
    preferences.setNetworkPolicy({.access = Access::Public});
    loader.view->setPreferences(preferences);
    loader.frame()->loadRequest(QUrl(QStringLiteral("http://93.184.216.34:8080/")));
    const auto isReady = [](int socket) {
        pollfd ready{.fd = socket, .events = POLLIN, .revents = 0};
        return ::poll(&ready, 1, 0) == 1;
    };
    ASSERT_TRUE(runUntil([&] { return isReady(listener); }));
    const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const auto ended = qScopeGuard([&] { ::close(connection); });
    ASSERT_TRUE(runUntil([&] { return isReady(connection); }));
    char request[4096];
    EXPECT_GT(::recv(connection, request, sizeof request, 0), 0);
    loader.view->stopLoading();
    ASSERT_TRUE(runUntil([&] { return isReady(connection); }));
    EXPECT_LE(::recv(connection, request, sizeof request, 0), 0);
    EXPECT_EQ(loader.delegate.mainEnds, 0);
}

TEST_F(LimitedNetwork, TheLogTellsWhatIsMissingButNotForEver) {
    QString markup = QStringLiteral("<p>page");
    for (int i = 0; i < 50; ++i)
        markup += QStringLiteral("<img src='http://10.1.2.3/%1.png'>").arg(i);
    const LogCapture log;
    load({}, markup);
    EXPECT_EQ(log.count(QStringLiteral("Not fetched for the document: http://10.1.2.3/")), 20);
    EXPECT_EQ(log.count(QStringLiteral(
                  "Not fetched for the document: http://10.1.2.3/0.png: 10.1.2.3 is not a public address")),
              1);
}

TEST_F(LimitedNetwork, TheTwoBrowsersDontShareTheirPages) {
    const auto pids = [&](Access access) {
        convert(access);
        const auto pid = [](zr::WebEngine &engine) {
            return engine.process() ? engine.process()->browserPid() : -1;
        };
        return std::pair(pid(zr::WebEngine::shared()), pid(zr::WebEngine::withoutNetwork()));
    };
    const auto [open, none] = pids(Access::All);
    EXPECT_GT(open, 0);
    EXPECT_EQ(none, -1);
    const auto [sameOpen, closed] = pids(Access::Public);
    EXPECT_EQ(sameOpen, open);
    EXPECT_GT(closed, 0);
    EXPECT_NE(closed, open);
    EXPECT_EQ(pids(Access::None), std::pair(open, closed));
    EXPECT_EQ(pids(Access::All), std::pair(open, closed));
}

TEST_F(LimitedNetwork, ABrowserThatNobodyUsesGoesWhileTheOtherIsUsed) {
    zr::WebEngine::setIdlePatience(std::chrono::milliseconds(1));
    const auto restored = qScopeGuard([] { zr::WebEngine::setIdlePatience(std::chrono::minutes(1)); });
    zr::WebEngine &open = zr::WebEngine::shared(), &closed = zr::WebEngine::withoutNetwork();
    convert(Access::All);
    EXPECT_TRUE(open.process());
    convert(Access::None);
    EXPECT_TRUE(runUntil([&] { return !open.process(); }));
    EXPECT_TRUE(closed.process());
    convert(Access::All);
    EXPECT_TRUE(runUntil([&] { return !closed.process(); }));
    EXPECT_TRUE(open.process());
}

TEST_F(LimitedNetwork, ABrowserThatWorksStaysWhileTheOtherIsUsed) {
    zr::WebEngine::setIdlePatience(std::chrono::milliseconds(1));
    const auto restored = qScopeGuard([] { zr::WebEngine::setIdlePatience(std::chrono::minutes(1)); });
    Gate gate;
    answers["/slow"] = {.body = "<p>slow", .gate = &gate};
    Loader slow;
    slow.frame()->loadRequest(publicUrl(QStringLiteral("/slow")));
    for (int i = 0; i < 3; ++i)
        convert(Access::None);
    gate.open();
    EXPECT_TRUE(slow.delegate.wait());
    EXPECT_EQ(slow.pdf().text(), QStringLiteral("slow"));
}
