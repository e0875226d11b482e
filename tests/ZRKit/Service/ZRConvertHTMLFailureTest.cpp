// SPDX-License-Identifier: MIT
#include "platform/base/NSURLErrorCode.h"
#include "platform/values/NSNull.h"
#include "platform/web/WebEngine.h"
#include "tests/ZRKit/Service/Conversion.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessTree.h"

#include <QElapsedTimer>
#include <QFile>
#include <QScopeGuard>
#include <arpa/inet.h>
#include <csignal>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace zr;

namespace {

/// Fails, says so once with this text, and leaves the next conversion unharmed.
void expectFailure(const QVariant &data, const char *line, const char *text) {
    {
        const LogCapture log;
        const ConversionLimit limit;
        const ZRConvertHTML converter(data, {}, false, limit.token());
        EXPECT_TRUE(converter.pdfData().isNull());
        EXPECT_EQ(converter.error().domain(), NSURLErrorDomain);
        EXPECT_TRUE(converter.error().localizedDescription().contains(QString::fromLatin1(text)));
        EXPECT_EQ(log.count(QString::fromLatin1(line) + QStringLiteral(" Error Domain=")), 1)
            << log.lines().join(u'\n').toStdString();
        EXPECT_TRUE(log.lines().join(u'\n').contains(QString::fromLatin1(text)))
            << log.lines().join(u'\n').toStdString();
        EXPECT_EQ(log.count(QStringLiteral("didFinishLoadForFrame")), 0);
    }
    EXPECT_EQ(Conversion(html(QStringLiteral("<p>next"))).reader.text(), QStringLiteral("next"));
}

constexpr char provisional[] = "didFailProvisionalLoadWithError";
constexpr char committed[] = "didFailLoadWithError";

/// A port of loopback that nothing listens on.
int deadPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&address), size), 0);
    EXPECT_EQ(::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size), 0);
    ::close(fd);
    return ntohs(address.sin_port);
}

/// Kills a process when the server has been asked for a path, while a conversion waits for it.
void expectDeathToFail(const std::function<pid_t()> &victim, const char *line) {
    ASSERT_FALSE(Conversion(html(QStringLiteral("<p>before"))).failed());
    Gate never;
    HTTPServer server([&](const HTTPServer::Request &request) {
        if (request.path == "/never.png")
            return HTTPServer::Response{.contentType = "image/png", .body = "x", .gate = &never};
        return HTTPServer::Response{.body = "<!doctype html><p>page<img src=/never.png>"};
    });
    QElapsedTimer sinceDeath;
    pid_t killed = -1;
    std::thread killer([&] {
        if (!ProcessTree::waitUntil([&] { return server.count("/never.png") > 0; }))
            never.open();
        killed = victim();
        sinceDeath.start();
        if (killed > 1)
            ::kill(killed, SIGKILL);
    });
    const LogCapture log;
    const ConversionLimit limit;
    const ZRConvertHTML converter(server.url(QStringLiteral("/")), {}, false, limit.token());
    killer.join();
    EXPECT_GT(killed, 1);
    EXPECT_LT(sinceDeath.elapsed(), 1000);
    EXPECT_TRUE(converter.pdfData().isNull());
    EXPECT_EQ(log.count(QString::fromLatin1(line)), 1) << log.lines().join(u'\n').toStdString();
    never.open();
    EXPECT_EQ(Conversion(html(QStringLiteral("<p>next"))).reader.text(), QStringLiteral("next"));
}

/// The process id of the browser's one process of a kind, by its parent and its command line.
pid_t processBelow(pid_t root, const QByteArray &argument) {
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(root));
    if (!children.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &word : children.readAll().split(' ')) {
        const pid_t child = word.toInt();
        QFile command(QStringLiteral("/proc/%1/cmdline").arg(child));
        if (child <= 0 || !command.open(QIODevice::ReadOnly))
            continue;
        if (command.readAll().contains(argument))
            return child;
        const pid_t found = processBelow(child, argument);
        if (found > 0)
            return found;
    }
    return -1;
}

} // namespace

TEST(ZRConvertHTMLFailure, NothingToLoad) {
    expectFailure(QVariant(), provisional, "There is no data");
    expectFailure(QByteArray(), provisional, "There is no data");
    expectFailure(QByteArray(""), provisional, "There is no data");
    expectFailure(QString(), provisional, "There is no data");
    expectFailure(NSNull(), provisional, "There is no data");
    expectFailure(42, provisional, "There is no data");
}

TEST(ZRConvertHTMLFailure, BytesOfUnknownKinds) {
    expectFailure(QByteArray::fromHex("504b03041400000008007a69707a69700001020300"), provisional,
                  "cannot be shown");
    expectFailure(QByteArray("%PDF-1.7\n%\xe2\xe3\xcf\xd3\n1 0 obj"), provisional, "cannot be shown");
}

TEST(ZRConvertHTMLFailure, NobodyListens) {
    expectFailure(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(deadPort())), provisional,
                  "net::ERR_CONNECTION_REFUSED");
}

TEST(ZRConvertHTMLFailure, UnknownHosts) {
    expectFailure(QUrl(QStringLiteral("http://no-such-host.invalid/")), provisional,
                  "net::ERR_NAME_NOT_RESOLVED");
}

TEST(ZRConvertHTMLFailure, MissingFiles) {
    for (const char *path : {"/no/such/file.html", "/no/such/file", "/no/such/file.png"})
        expectFailure(QUrl::fromLocalFile(QString::fromLatin1(path)), provisional, "net::ERR_FILE_NOT_FOUND");
}

TEST(ZRConvertHTMLFailure, ServersThatHangUp) {
    HTTPServer server([](const HTTPServer::Request &request) {
        return request.path == "/cut"
                   ? HTTPServer::Response{.body = QByteArray("<!doctype html><p>half of it") +
                                                  QByteArray(20000, ' '),
                                          .fault = HTTPServer::Fault::CutBody}
                   : HTTPServer::Response{.fault = HTTPServer::Fault::CloseUnanswered};
    });
    expectFailure(server.url(QStringLiteral("/nothing")), provisional, "net::ERR_EMPTY_RESPONSE");
    expectFailure(server.url(QStringLiteral("/cut")), committed, "net::ERR_CONTENT_LENGTH_MISMATCH");
}

TEST(ZRConvertHTMLFailure, AnswersThatAreNoPages) {
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/nothing-new")
            return HTTPServer::Response{.status = 204};
        if (request.path == "/download")
            return HTTPServer::Response{.body = "<p>page", .headers = {"Content-Disposition: attachment"}};
        if (request.path == "/zip")
            return HTTPServer::Response{.contentType = "application/zip", .body = "PK\3\4"};
        if (request.path == "/pdf")
            return HTTPServer::Response{.contentType = "application/pdf", .body = "%PDF-1.7"};
        return HTTPServer::Response{.status = 302, .headers = {"Location: /loop"}};
    });
    for (const char *path : {"/nothing-new", "/download", "/zip", "/pdf"})
        expectFailure(server.url(QString::fromLatin1(path)), provisional, "net::ERR_ABORTED");
    expectFailure(server.url(QStringLiteral("/loop")), provisional, "net::ERR_TOO_MANY_REDIRECTS");
}

TEST(ZRConvertHTMLFailure, AddressesThatLeadNowhere) {
    for (const char *address :
         {"javascript:document.write('ran')", "no-such-scheme:x", "mailto:a@example.org", "ftp://127.0.0.1/x",
          "http://", "chrome://hang", "chrome://crash", "CHROME://version/", "about:version", "about:crash",
          "view-source:file:///etc/passwd", "devtools://devtools/bundled/inspector.html", "blob:null/x",
          "filesystem:file:///temporary/", "about:srcdoc", "file.html"}) {
        const LogCapture log;
        EXPECT_TRUE(Conversion(QUrl(QString::fromLatin1(address))).failed()) << address;
        EXPECT_EQ(log.count(QString::fromLatin1(provisional)), 1) << address;
    }
    EXPECT_EQ(Conversion(html(QStringLiteral("<p>next"))).reader.text(), QStringLiteral("next"));
}

TEST(ZRConvertHTMLFailure, AKilledBrowserFailsTheTaskInHandOnly) {
    expectDeathToFail([] { return WebEngine::shared().process()->browserPid(); }, committed);
}

TEST(ZRConvertHTMLFailure, AKilledPageProcessFailsTheTaskInHandOnly) {
    expectDeathToFail(
        [] { return processBelow(WebEngine::shared().process()->keeperPid(), "--type=renderer"); },
        committed);
}

TEST(ZRConvertHTMLFailure, AKilledKeeperTakesTheBrowserAlong) {
    expectDeathToFail([] { return WebEngine::shared().process()->keeperPid(); }, committed);
}

TEST(ZRConvertHTMLFailure, WhoDiesBetweenTasksIsReplacedQuietly) {
    const std::function<pid_t()> victims[] = {
        [] { return processBelow(WebEngine::shared().process()->keeperPid(), "--type=renderer"); },
        [] { return WebEngine::shared().process()->browserPid(); },
        [] { return WebEngine::shared().process()->keeperPid(); },
    };
    for (const auto &victim : victims) {
        ASSERT_FALSE(Conversion(html(QStringLiteral("<p>before"))).failed());
        const pid_t old = victim();
        ASSERT_GT(old, 1);
        const LogCapture log;
        ::kill(old, SIGKILL);
        // Nobody has heard of its end by now: the event loop has not run.
        EXPECT_EQ(Conversion(html(QStringLiteral("<p>next"))).reader.text(), QStringLiteral("next"));
        EXPECT_EQ(log.lines(),
                  QStringList{QStringLiteral("didFinishLoadForFrame <WebFrame: main, about:blank>")});
        EXPECT_NE(victim(), old);
    }
}

TEST(ZRConvertHTMLFailure, ABrowserThatHasServedItsTimeIsReplacedQuietly) {
    // What is said once in a process is said then.
    ASSERT_FALSE(Conversion(html(QStringLiteral("<p>before"))).failed());
    WebEngine::shared().shutDown();
    WebEngine::setEndurance({.ofBrowser = 3});
    const auto restored = qScopeGuard([] { WebEngine::setEndurance({}); });
    const LogCapture log;
    QList<pid_t> browsers;
    for (int i = 1; i <= 8; ++i) {
        const QString text = QStringLiteral("document %1").arg(i);
        EXPECT_EQ(Conversion(html(QStringLiteral("<p>") + text)).reader.text(), text);
        BrowserProcess *const browser = WebEngine::shared().process();
        ASSERT_TRUE(browser);
        if (!browsers.contains(browser->browserPid()))
            browsers.append(browser->browserPid());
    }
    EXPECT_EQ(browsers.size(), 3);
    for (const QString &line : log.lines())
        EXPECT_EQ(line, QStringLiteral("didFinishLoadForFrame <WebFrame: main, about:blank>"));
}

TEST(ZRConvertHTMLFailure, AFailureToPrintHasItsErrorToo) {
    const ZRConvertHTML converter(html(QStringLiteral("<div style='height:40000000px'>x")));
    EXPECT_TRUE(converter.pdfData().isNull());
    EXPECT_EQ(converter.error().code(), NSURLErrorUnknown);
    EXPECT_EQ(converter.error().localizedDescription(),
              QStringLiteral("The document is larger than the engine can lay out (33,554,432 pixels)"));
    EXPECT_FALSE(ZRConvertHTML(html(QStringLiteral("x"))).error());
}
