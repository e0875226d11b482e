// SPDX-License-Identifier: MIT
#include "platform/browser/DevToolsSession.h"

#include "platform/browser/BrowserProcess.h"

#include <QElapsedTimer>
#include <QStringList>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace zr;

namespace {

/// A pipe whose browser is the test itself.
struct FakeBrowser {
    FakeBrowser() {
        EXPECT_EQ(::pipe(commands), 0);
        EXPECT_EQ(::pipe(replies), 0);
        pipe = std::make_unique<DevToolsPipe>(commands[1], replies[0]);
    }
    ~FakeBrowser() {
        pipe.reset();
        for (const int fd : {commands[0], commands[1], replies[0], replies[1]})
            ::close(fd);
    }
    void say(const QByteArray &bytes) {
        ASSERT_EQ(::write(replies[1], bytes.constData(), size_t(bytes.size())), bytes.size());
    }
    void hangUp() {
        ::close(replies[1]);
        replies[1] = ::dup(0);
    }
    int commands[2], replies[2];
    std::unique_ptr<DevToolsPipe> pipe;
};

QByteArray reply(int id, const QByteArray &result = "{}") {
    return "{\"id\":" + QByteArray::number(id) + ",\"result\":" + result + "}" + '\0';
}

} // namespace

TEST(DevToolsSession, RepliesReachTheirCallsInAnyOrderAndInAnyPieces) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe);
    QStringList seen;
    for (const char *name : {"A", "B", "C"}) {
        session.call(name, {}, [&seen, name](const DevToolsMessage &message) {
            seen << QString::fromLatin1(name) + message.object()[u"n"].toString();
        });
    }
    const QByteArray all = reply(3, "{\"n\":\"3\"}") + reply(1, "{\"n\":\"1\"}") + reply(2, "{\"n\":\"2\"}");
    for (const char c : all) {
        browser.say(QByteArray(1, c));
        DevToolsPipe::waitForEvents();
    }
    EXPECT_EQ(seen, (QStringList{QStringLiteral("C3"), QStringLiteral("A1"), QStringLiteral("B2")}));
}

TEST(DevToolsSession, CallsAreWrittenWithSessionAndParameters) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe, "S1");
    session.call("Page.navigate", DevToolsParams().add("url", "about:blank"));
    char text[256];
    const ssize_t n = ::read(browser.commands[0], text, sizeof text);
    ASSERT_GT(n, 0);
    EXPECT_EQ(QByteArray(text, n),
              QByteArray("{\"id\":1,\"method\":\"Page.navigate\",\"params\":{\"url\":\"about:blank\"},"
                         "\"sessionId\":\"S1\"}") +
                  '\0');
}

TEST(DevToolsSession, EventsReachTheHandlerOfTheirSessionOnly) {
    FakeBrowser browser;
    DevToolsSession root(*browser.pipe), page(*browser.pipe, "P");
    QStringList seen;
    root.on("X.y", [&](const DevToolsMessage &) { seen << QStringLiteral("root"); });
    page.on("X.y", [&](const DevToolsMessage &event) {
        seen << QStringLiteral("page") + event.object()[u"a"].toString();
    });
    browser.say(QByteArray("{\"method\":\"X.y\",\"params\":{\"a\":\"1\"},\"sessionId\":\"P\"}") + '\0' +
                "{\"method\":\"X.y\",\"params\":{}}" + '\0' +
                "{\"method\":\"X.y\",\"params\":{},\"sessionId\":\"Q\"}" + '\0' +
                "{\"method\":\"X.z\",\"params\":{}}" + '\0');
    DevToolsPipe::waitForEvents();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("page1"), QStringLiteral("root")}));
}

TEST(DevToolsSession, AWaitInsideAHandlerSeesLaterMessages) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe);
    bool done = false;
    session.on("Go", [&](const DevToolsMessage &) {
        browser.say(reply(1, "{\"v\":true}"));
        done = session.callAndWait("Ask").object()[u"v"].toBool();
    });
    browser.say(QByteArray("{\"method\":\"Go\",\"params\":{}}") + '\0');
    while (!done)
        DevToolsPipe::waitForEvents();
    EXPECT_TRUE(done);
}

TEST(DevToolsSession, AWaitInsideAHandlerSeesWhatArrivedTogetherWithItsMessage) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe);
    int done = 0;
    const auto ask = [&](const DevToolsMessage &) { done += !session.callAndWait("Ask").isError(); };
    session.on("Go", ask);
    const QByteArray event = QByteArray("{\"method\":\"Go\",\"params\":{}}") + '\0';
    browser.say(event + event + reply(2) + reply(1));
    while (done < 2)
        DevToolsPipe::waitForEvents();
    EXPECT_EQ(done, 2);
}

TEST(DevToolsSession, AClosedPipeFailsPendingAndLaterCalls) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe);
    QStringList errors;
    bool closed = false;
    browser.pipe->setClosedHandler([&] {
        EXPECT_EQ(errors.size(), 2);
        closed = true;
    });
    const auto note = [&](const DevToolsMessage &message) { errors << message.error(); };
    session.call("A", {}, note);
    session.call("B", {}, note);
    browser.hangUp();
    while (!closed)
        DevToolsPipe::waitForEvents();
    EXPECT_FALSE(session.isOpen());
    EXPECT_TRUE(session.callAndWait("C").isError());
    EXPECT_EQ(errors, QStringList(2, QStringLiteral("The browser has gone")));
}

TEST(DevToolsSession, DestroyingASessionFailsItsCallsOnly) {
    FakeBrowser browser;
    DevToolsSession other(*browser.pipe, "O");
    auto session = std::make_unique<DevToolsSession>(*browser.pipe, "S");
    QStringList seen;
    session->call("A", {}, [&](const DevToolsMessage &message) { seen << message.error(); });
    other.call("B", {}, [&](const DevToolsMessage &message) { seen << message.error(); });
    session.reset();
    EXPECT_EQ(seen, QStringList{QStringLiteral("The page has gone")});
    browser.say(reply(1) + reply(2));
    DevToolsPipe::waitForEvents();
    EXPECT_EQ(seen.size(), 2);
    EXPECT_TRUE(seen.back().isNull());
}

TEST(DevToolsSession, MoreThanThePipeHoldsIsSentWhenTheBrowserReads) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe);
    const QByteArray large(3 << 20, 'x');
    session.call("Big", DevToolsParams().add("t", large));
    QByteArray received;
    QByteArray chunk(1 << 16, Qt::Uninitialized);
    while (!received.endsWith('\0')) {
        const ssize_t n = ::read(browser.commands[0], chunk.data(), size_t(chunk.size()));
        ASSERT_GT(n, 0);
        received.append(chunk.constData(), n);
        if (!received.endsWith('\0'))
            DevToolsPipe::waitForEvents();
    }
    EXPECT_TRUE(received.contains(large));
}

TEST(DevToolsSession, ReadsThatEndInsideAMessageDoNotAddUp) {
    FakeBrowser browser;
    DevToolsSession session(*browser.pipe);
    int events = 0;
    session.on("E", [&](const DevToolsMessage &) { ++events; });
    const QByteArray event = QByteArray("{\"method\":\"E\"}") + '\0';
    constexpr int rounds = 200;
    browser.say(event.left(5));
    for (int i = 0; i < rounds; ++i) {
        browser.say(event.mid(5) + event + event.left(5));
        while (events < 2 * (i + 1))
            DevToolsPipe::waitForEvents();
    }
    EXPECT_EQ(events, 2 * rounds);
}

TEST(DevToolsSession, LargeMessagesArriveWhole) {
    const std::unique_ptr<BrowserProcess> process = BrowserProcess::start();
    ASSERT_TRUE(process);
    DevToolsPipe pipe(process->commandFd(), process->replyFd());
    DevToolsSession browser(pipe);
    const DevToolsMessage version = browser.callAndWait("Browser.getVersion");
    EXPECT_FALSE(version.object()[u"product"].toString().isEmpty());

    const QString target =
        browser.callAndWait("Target.createTarget", DevToolsParams().add("url", "about:blank"))
            .object()[u"targetId"]
            .toString();
    const QString id = browser
                           .callAndWait("Target.attachToTarget",
                                        DevToolsParams().add("targetId", target).add("flatten", true))
                           .object()[u"sessionId"]
                           .toString();
    DevToolsSession page(pipe, id.toLatin1());
    const QString text = QStringLiteral("\u00e9<>&\"\\").repeated(500000);
    EXPECT_FALSE(page.callAndWait("Page.setDocumentContent",
                                  DevToolsParams()
                                      .add("frameId", target)
                                      .add("html", QStringLiteral("<!doctype html><title>") + text))
                     .isError());
    const QString read =
        page.callAndWait("Runtime.evaluate", DevToolsParams().add("expression", "document.title"))
            .object()[u"result"][u"value"]
            .toString();
    EXPECT_EQ(read, text);
}

TEST(DevToolsSession, ACallWithMoreThanTheBrowserTakesFailsAlone) {
    const std::unique_ptr<BrowserProcess> process = BrowserProcess::start();
    ASSERT_TRUE(process);
    DevToolsPipe pipe(process->commandFd(), process->replyFd());
    DevToolsSession browser(pipe);
    // The rest of the message is shorter than a KiB.
    const auto asked = [&](qsizetype size) {
        return browser.callAndWait("Browser.getVersion",
                                   DevToolsParams().add("unknown", QString(size, u'x')));
    };
    constexpr qsizetype limit = qsizetype(100) << 20;
    const DevToolsMessage refused = asked(limit);
    EXPECT_TRUE(refused.isError());
    EXPECT_EQ(refused.error(), QStringLiteral("The document is too large for the browser"));
    EXPECT_FALSE(asked(limit - 1024).isError());
    EXPECT_TRUE(asked(limit - 1).isError());
    EXPECT_FALSE(browser.callAndWait("Browser.getVersion").isError());
}

TEST(DevToolsSession, AKilledBrowserFailsTheCallInHandAtOnce) {
    const std::unique_ptr<BrowserProcess> process = BrowserProcess::start();
    ASSERT_TRUE(process);
    DevToolsPipe pipe(process->commandFd(), process->replyFd());
    DevToolsSession browser(pipe);
    ASSERT_FALSE(browser.callAndWait("Browser.getVersion").isError());
    ::kill(process->browserPid(), SIGKILL);
    QElapsedTimer timer;
    timer.start();
    DevToolsMessage reply = browser.callAndWait("Browser.getVersion");
    EXPECT_TRUE(reply.isError());
    EXPECT_LT(timer.elapsed(), 1000);
}
