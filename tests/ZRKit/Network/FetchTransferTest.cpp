// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "platform/base/NSException.h"
#include "platform/files/NSFileHandle.h"
#include "platform/net/NSHTTPCookieStorage.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LoopbackServers.h"
#include "tests/support/ProcessTree.h"

#include <QFile>
#include <QTemporaryDir>
#include <set>
#include <unistd.h>
#include <utility>
#define ZLIB_CONST // input is only read
#include <zlib.h>

namespace {

using Operation = std::shared_ptr<ZRFetchOperation>;

Operation make(const QUrl &url) {
    return std::make_shared<ZRFetchOperation>(url);
}

QByteArray ok(const QByteArray &body, const QByteArray &more = {}) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + more + "\r\n" +
           body;
}

/// Field lines of a request's head, as they were sent.
QList<QByteArray> fieldLines(const QByteArray &request) {
    QList<QByteArray> lines = request.left(request.indexOf("\r\n\r\n")).split('\n');
    for (QByteArray &line : lines)
        line = line.trimmed();
    lines.removeFirst();
    std::sort(lines.begin(), lines.end());
    return lines;
}

QByteArray field(const QByteArray &request, const QByteArray &name) {
    const auto lines = fieldLines(request);
    for (const QByteArray &line : lines)
        if (line.toLower().startsWith(name.toLower() + ':'))
            return line.mid(name.size() + 1).trimmed();
    return {};
}

QByteArray bodyOf(const QByteArray &request) {
    return request.mid(request.indexOf("\r\n\r\n") + 4);
}

const NginxServer &nginx() {
    static const NginxServer server;
    return server;
}

const HttpbinServer &httpbin() {
    static const HttpbinServer server;
    return server;
}

/// A server that remembers; each answer once, the last for all that follow.
class Scripted {
public:
    explicit Scripted(const QList<QByteArray> &answers)
        : server([answers](int number, const QByteArray &) {
              return ScriptedServer::Answer{answers.value(number, answers.last())};
          }) {}
    ScriptedServer server;
};

// What is sent.

TEST(FetchRequests, ThreeFieldsAreAddedAndNoOther) {
    Scripted s({ok("x")});
    fetched(make(s.server.url(QStringLiteral("/path?q=a%20b#fragment"))));
    const QByteArray request = s.server.requests().value(0);
    EXPECT_TRUE(request.startsWith("GET /path?q=a%20b HTTP/1.1\r\n")) << request.toStdString();
    EXPECT_EQ(fieldLines(request),
              QList<QByteArray>({"Accept-Encoding: gzip,deflate", "Cache-Control: max-age=0",
                                 "Host: 127.0.0.1:" + QByteArray::number(s.server.url().port())}));
}

TEST(FetchRequests, FieldsOfTheCallerAreKept) {
    Scripted s({ok("x")});
    const auto operation = make(s.server.url());
    operation->request()->setValue(QStringLiteral("identity"), QStringLiteral("accept-encoding"));
    operation->request()->setValue(QStringLiteral("no-store"), QStringLiteral("CACHE-CONTROL"));
    operation->request()->setValue(QStringLiteral("me"), QStringLiteral("User-Agent"));
    operation->request()->setValue(QStringLiteral(""), QStringLiteral("X-Empty"));
    operation->request()->setValue(QStringLiteral("a\r\nX-Smuggled: 1"), QStringLiteral("X-Lines"));
    fetched(operation);
    const QByteArray request = s.server.requests().value(0);
    EXPECT_EQ(field(request, "Accept-Encoding"), "identity");
    EXPECT_EQ(field(request, "Cache-Control"), "no-store");
    EXPECT_EQ(field(request, "User-Agent"), "me");
    EXPECT_TRUE(request.contains("X-Empty:"));
    EXPECT_EQ(field(request, "X-Lines"), "a  X-Smuggled: 1");
    EXPECT_TRUE(field(request, "X-Smuggled").isNull());
}

TEST(FetchRequests, ABodysLengthReplacesTheCallers) {
    Scripted s({ok("x")});
    const auto operation = make(s.server.url());
    operation->request()->setHTTPMethod(QStringLiteral("POST"));
    operation->request()->setHTTPBody("twelve bytes");
    operation->request()->setValue(QStringLiteral("99"), QStringLiteral("content-length"));
    const Fetched result = fetched(operation);
    const QByteArray request = s.server.requests().value(0);
    EXPECT_EQ(field(request, "Content-Length"), "12");
    EXPECT_EQ(bodyOf(request), "twelve bytes");
    EXPECT_TRUE(field(request, "Content-Type").isNull());
    EXPECT_TRUE(field(request, "Expect").isNull());
    EXPECT_TRUE(result.requestLog.contains(QStringLiteral("Content-Length: 12")));
}

TEST(FetchRequests, MethodsAreSentAsTheyAre) {
    for (const char *method : {"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "PROPFIND"}) {
        Scripted s({QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n")});
        const auto operation = make(s.server.url());
        operation->request()->setHTTPMethod(QString::fromLatin1(method));
        EXPECT_EQ(fetched(operation).statusCode, 200) << method;
        EXPECT_TRUE(s.server.requests().value(0).startsWith(QByteArray(method) + " / HTTP/1.1\r\n"))
            << method;
    }
}

TEST(FetchRequests, ABodyOfMegabytesArrivesWhole) {
    const QByteArray body(3 << 20, 'b');
    Scripted s({ok("x")});
    const auto operation = make(s.server.url());
    operation->request()->setHTTPMethod(QStringLiteral("PUT"));
    operation->request()->setHTTPBody(body);
    EXPECT_EQ(fetched(operation).statusCode, 200);
    EXPECT_TRUE(bodyOf(s.server.requests().value(0)) == body);
}

// Redirects.

TEST(FetchRedirects, AMovedPOSTStaysAPOSTWithItsBodyAndFields) {
    for (const QByteArray status : {"301", "302", "303", "307"}) {
        Scripted s({"HTTP/1.1 " + status + " Moved\r\nLocation: /new?x=1\r\nContent-Length: 3\r\n\r\nold",
                    ok("new")});
        const auto operation = make(s.server.url());
        operation->request()->setHTTPMethod(QStringLiteral("POST"));
        operation->request()->setHTTPBody("the body");
        operation->request()->setValue(QStringLiteral("1"), QStringLiteral("X-Own"));
        operation->request()->setValue(QStringLiteral("k=v"), QStringLiteral("Cookie"));
        const Fetched result = fetched(operation);
        EXPECT_EQ(result.statusCode, 200);
        EXPECT_EQ(result.string, QStringLiteral("new"));
        EXPECT_EQ(result.url, s.server.url(QStringLiteral("/new?x=1")));
        EXPECT_EQ(result.method, QStringLiteral("POST"));
        const QByteArray second = s.server.requests().value(1);
        EXPECT_TRUE(second.startsWith("POST /new?x=1 HTTP/1.1\r\n")) << second.toStdString();
        EXPECT_EQ(bodyOf(second), "the body");
        EXPECT_EQ(field(second, "X-Own"), "1");
        EXPECT_EQ(field(second, "Cookie"), "k=v");
    }
}

TEST(FetchRedirects, WithoutALocationTheSameRequestIsSentAgain) {
    for (const QByteArray status : {"301", "302", "303", "307"}) {
        const QByteArray nowhere = "HTTP/1.1 " + status + " Where\r\nContent-Length: 0\r\n\r\n";
        Scripted s({nowhere, nowhere, nowhere, ok("at last")});
        const auto operation = make(s.server.url());
        operation->request()->setHTTPMethod(QStringLiteral("PUT"));
        operation->request()->setHTTPBody("body");
        const Fetched result = fetched(operation);
        EXPECT_EQ(result.calls, 1);
        EXPECT_EQ(result.string, QStringLiteral("at last"));
        ASSERT_EQ(s.server.requests().size(), 4);
        EXPECT_TRUE(s.server.requests().last().startsWith("PUT / "));
        EXPECT_EQ(bodyOf(s.server.requests().last()), "body");
    }
}

TEST(FetchRedirects, ALocationThatCannotBeLoadedIsAnError) {
    for (const QByteArray location : {"", " ", "http://[broken/", "http://host:port/", "http:///path",
                                      "unknown:x", "file:///etc/hostname"}) {
        Scripted s({"HTTP/1.1 302 Found\r\nLocation: " + location + "\r\nContent-Length: 0\r\n\r\n"});
        const Fetched result = fetched(make(s.server.url()));
        EXPECT_EQ(result.error.code(), NSURLErrorRedirectToNonExistentLocation) << location.toStdString();
        EXPECT_EQ(result.calls, 1);
        EXPECT_EQ(s.server.requests().size(), 1) << location.toStdString();
    }
}

TEST(FetchRedirects, NotForcedTheyAreResponsesLikeAny) {
    Scripted s({"HTTP/1.1 302 Where\r\nContent-Length: 4\r\n\r\nbody"});
    const auto operation = make(s.server.url());
    operation->setForcedRedirect(false);
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.statusCode, 302);
    EXPECT_EQ(result.string, QStringLiteral("body"));
    EXPECT_EQ(s.server.requests().size(), 1);
}

TEST(FetchRedirects, OtherStatusesOfTheClassFinish) {
    for (const int status : {300, 304, 305, 308}) {
        Scripted s({"HTTP/1.1 " + QByteArray::number(status) +
                    " Other\r\nLocation: /new\r\nContent-Length: 0\r\n\r\n"});
        EXPECT_EQ(fetched(make(s.server.url())).statusCode, status);
        EXPECT_EQ(s.server.requests().size(), 1);
    }
}

TEST(FetchRedirects, OfARealServerThroughSeveralPlaces) {
    EXPECT_EQ(fetched(make(httpbin().url(QStringLiteral("/redirect/5")))).statusCode, 200);
    for (const int status : {301, 302, 303, 307}) {
        const auto operation =
            make(httpbin().url(QStringLiteral("/redirect-to?url=/anything&status_code=%1").arg(status)));
        operation->request()->setHTTPMethod(QStringLiteral("POST"));
        operation->request()->setHTTPBody("sent twice");
        const QVariantMap echoed = fetched(operation).jsonOK.toMap();
        EXPECT_EQ(echoed.value(QStringLiteral("method")), QVariant(QStringLiteral("POST"))) << status;
        EXPECT_EQ(echoed.value(QStringLiteral("data")), QVariant(QStringLiteral("sent twice"))) << status;
    }
    EXPECT_EQ(
        fetched(make(httpbin().url(QStringLiteral("/redirect-to?url=/anything&status_code=308")))).statusCode,
        308);
    EXPECT_EQ(fetched(make(nginx().url(QStringLiteral("/moved")))).string, QStringLiteral("plain"));
}

TEST(FetchRedirects, InACircleTheyFail) {
    Scripted s({"HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n"});
    const Fetched result = fetched(make(s.server.url()));
    EXPECT_EQ(result.error.code(), NSURLErrorHTTPTooManyRedirects);
    EXPECT_EQ(s.server.requests().size(), 21);
}

// Authentication.

TEST(FetchAuthentication, BasicAtARealServer) {
    const auto operation = make(nginx().url(QStringLiteral("/basic/small")));
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("secret"));
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.statusCode, 200);
    EXPECT_EQ(result.string, QStringLiteral("small"));
    EXPECT_TRUE(result.error.isNil());
}

TEST(FetchAuthentication, AWrongPasswordEndsTheFetchWithItsError) {
    const LogCapture log;
    for (const QUrl &url : {nginx().url(QStringLiteral("/basic/small")),
                            httpbin().url(QStringLiteral("/digest-auth/auth/user/secret"))}) {
        const auto operation = make(url);
        operation->setUsername(QStringLiteral("user"));
        operation->setPassword(QStringLiteral("wrong"));
        const Fetched result = fetched(operation);
        EXPECT_EQ(result.calls, 1);
        EXPECT_FALSE(result.OK);
        EXPECT_EQ(result.error.domain(), QStringLiteral("com.velmora.error"));
        EXPECT_EQ(result.error.code(), 1);
        EXPECT_EQ(result.errorText, QStringLiteral("Credentials for user 'user' were not valid!"));
        EXPECT_TRUE(result.data.isNull());
    }
}

TEST(FetchAuthentication, WithoutAPasswordA401IsAResponse) {
    const Fetched result = fetched(make(nginx().url(QStringLiteral("/basic/small"))));
    EXPECT_EQ(result.statusCode, 401);
    EXPECT_TRUE(result.error.isNil());
    EXPECT_EQ(result.errorText, QStringLiteral("Unauthorized"));
    EXPECT_FALSE(result.data.isEmpty());
}

TEST(FetchAuthentication, TheURLsOwnNameAndPasswordAreUsed) {
    QUrl url = nginx().url(QStringLiteral("/basic/small"));
    url.setUserName(QStringLiteral("user"));
    url.setPassword(QStringLiteral("secret"));
    EXPECT_EQ(fetched(make(url)).string, QStringLiteral("small"));
    url.setPassword(QStringLiteral("wrong"));
    EXPECT_EQ(fetched(make(url)).statusCode, 401);
}

TEST(FetchAuthentication, DigestAtARealServer) {
    for (const char *algorithm : {"", "/MD5", "/SHA-256"}) {
        const auto operation = make(
            httpbin().url(QStringLiteral("/digest-auth/auth/user/secret") + QString::fromLatin1(algorithm)));
        operation->setUsername(QStringLiteral("user"));
        operation->setPassword(QStringLiteral("secret"));
        const Fetched result = fetched(operation);
        EXPECT_EQ(result.statusCode, 200) << algorithm;
        EXPECT_EQ(result.json.toMap().value(QStringLiteral("authenticated")), QVariant(true)) << algorithm;
    }
}

TEST(FetchAuthentication, ABodyAndARedirectInBetween) {
    for (const char *path : {"/basic-auth/user/secret", "/digest-auth/auth/user/secret"}) {
        const auto operation =
            make(httpbin().url(QStringLiteral("/redirect-to?url=") + QString::fromLatin1(path)));
        operation->setUsername(QStringLiteral("user"));
        operation->setPassword(QStringLiteral("secret"));
        EXPECT_EQ(fetched(operation).statusCode, 200) << path;
    }
    Scripted s(
        {"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\nContent-Length: 3\r\n\r\nwho",
         "HTTP/1.1 307 There\r\nLocation: /there\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 401 No\r\nWWW-Authenticate: Bearer, Digest realm=\"r, s\", nonce=\"n\", qop=\"auth\"\r\n"
         "Content-Length: 0\r\n\r\n",
         ok("in")});
    const auto operation = make(s.server.url());
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("secret"));
    operation->request()->setHTTPMethod(QStringLiteral("POST"));
    operation->request()->setHTTPBody("the body");
    EXPECT_EQ(fetched(operation).string, QStringLiteral("in"));
    const auto requests = s.server.requests();
    ASSERT_EQ(requests.size(), 4);
    for (const QByteArray &request : requests)
        EXPECT_EQ(bodyOf(request), "the body");
    EXPECT_TRUE(field(requests[0], "Authorization").isNull());
    EXPECT_EQ(field(requests[1], "Authorization"), "Basic dXNlcjpzZWNyZXQ=");
    EXPECT_TRUE(field(requests[2], "Authorization").isNull());
    EXPECT_TRUE(field(requests[3], "Authorization").startsWith("Digest "));
    EXPECT_TRUE(field(requests[3], "Authorization").contains("realm=\"r, s\""));
}

TEST(FetchAuthentication, ABodyReachesARealServerThatAsksAndMoves) {
    const auto put = [](const char *path, const QByteArray &body) {
        const auto operation = make(nginx().url(QString::fromLatin1(path)));
        operation->setUsername(QStringLiteral("user"));
        operation->setPassword(QStringLiteral("secret"));
        operation->request()->setHTTPMethod(QStringLiteral("PUT"));
        operation->request()->setHTTPBody(body);
        return fetched(operation).statusCode;
    };
    const QByteArray large(3 << 20, 'l');
    EXPECT_EQ(put("/basic/upload/new", "the body"), 201);
    EXPECT_EQ(put("/basic/upload/new-large", large), 201);
    EXPECT_EQ(put("/moved-upload", "through a redirect"), 201);
    EXPECT_EQ(fetched(make(nginx().url(QStringLiteral("/new")))).string, QStringLiteral("the body"));
    EXPECT_TRUE(fetched(make(nginx().url(QStringLiteral("/new-large")))).data == large);
    EXPECT_EQ(fetched(make(nginx().url(QStringLiteral("/uploaded")))).string,
              QStringLiteral("through a redirect"));
}

TEST(FetchAuthentication, AStaleNonceIsNoWrongPassword) {
    const QByteArray first = "HTTP/1.1 401 No\r\nWWW-Authenticate: Digest realm=\"r\", nonce=\"1\", "
                             "qop=\"auth\"\r\nContent-Length: 0\r\n\r\n";
    QByteArray second = first;
    second.replace("nonce=\"1\"", "nonce=\"2\", stale=TRUE");
    Scripted s({first, second, ok("in")});
    const auto operation = make(s.server.url());
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("secret"));
    EXPECT_EQ(fetched(operation).string, QStringLiteral("in"));
    EXPECT_TRUE(field(s.server.requests().value(2), "Authorization").contains("nonce=\"2\""))
        << s.server.requests().join("\n").toStdString();
}

QByteArray challenge(const QByteArray &field) {
    return "HTTP/1.1 401 No\r\nWWW-Authenticate: " + field + "\r\nContent-Length: 0\r\n\r\n";
}

Operation makeForUser(const QUrl &url) {
    const auto operation = make(url);
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("secret"));
    return operation;
}

TEST(FetchAuthentication, ADigestIsAnsweredWithTheSecondRequest) {
    for (const QByteArray more :
         {"", ", qop=\"auth\"", ", qop=\"auth-int\"", ", qop=\"auth-int,auth\", algorithm=MD5-sess",
          ", qop=auth, algorithm=SHA-256, userhash=true"}) {
        Scripted s({challenge("Digest realm=\"r\", nonce=\"n\", opaque=\"o\"" + more), ok("in")});
        EXPECT_EQ(fetched(makeForUser(s.server.url(QStringLiteral("/a?b=c")))).string, QStringLiteral("in"));
        ASSERT_EQ(s.server.requests().size(), 2) << more.toStdString();
        const QByteArray answer = field(s.server.requests().value(1), "Authorization");
        for (const char *part : {"Digest username=\"", "realm=\"r\"", "nonce=\"n\"", "uri=\"/a?b=c\"",
                                 "opaque=\"o\"", "response=\""})
            EXPECT_TRUE(answer.contains(part)) << answer.toStdString();
        EXPECT_EQ(answer.contains("username=\"user\""), !more.contains("userhash")) << answer.toStdString();
    }
}

TEST(FetchAuthentication, ADigestThatNobodyCanAnswerIsAResponse) {
    for (const QByteArray more :
         {", algorithm=SHA-512-256", ", algorithm=SHA-1", ", qop=\"none\"", ", qop=auth-int"}) {
        Scripted s({challenge("Digest realm=\"r\", nonce=\"n\"" + more)});
        const auto operation = makeForUser(s.server.url());
        // Of "auth-int", an answer would have to cover the body.
        operation->request()->setHTTPMethod(QStringLiteral("POST"));
        operation->request()->setHTTPBody("body");
        const Fetched result = fetched(operation);
        EXPECT_EQ(result.statusCode, 401) << more.toStdString();
        EXPECT_TRUE(result.error.isNil()) << more.toStdString();
        EXPECT_EQ(s.server.requests().size(), 1) << more.toStdString();
    }
    Scripted s(
        {challenge("Digest realm=\"r\", nonce=\"n\", algorithm=SHA-512-256, Basic realm=\"r\""), ok("in")});
    EXPECT_EQ(fetched(makeForUser(s.server.url())).string, QStringLiteral("in"));
}

TEST(FetchAuthentication, ARefusedPasswordIsSentOnce) {
    for (const QByteArray scheme : {"Digest realm=\"r\", nonce=\"n\", qop=auth", "Basic realm=\"r\""}) {
        Scripted s({challenge(scheme)});
        EXPECT_EQ(fetched(makeForUser(s.server.url())).error.domain(), QStringLiteral("com.velmora.error"));
        EXPECT_EQ(s.server.requests().size(), 2) << scheme.toStdString();
    }
}

TEST(FetchAuthentication, NoncesThatAreAlwaysStaleEndTheFetch) {
    Scripted s({challenge("Digest realm=\"r\", nonce=\"n\", qop=auth, stale=true")});
    const Fetched result = fetched(makeForUser(s.server.url()));
    EXPECT_EQ(result.error.code(), NSURLErrorUserCancelledAuthentication);
    EXPECT_EQ(result.calls, 1);
    EXPECT_LT(s.server.requests().size(), 10);
}

TEST(FetchAuthentication, TheCallersOwnFieldIsSentUntilACredentialIs) {
    Scripted s({challenge("Basic realm=\"r\""), ok("in")});
    const auto operation = makeForUser(s.server.url());
    operation->request()->setValue(QStringLiteral("Bearer token"), QStringLiteral("authorization"));
    EXPECT_EQ(fetched(operation).string, QStringLiteral("in"));
    EXPECT_EQ(field(s.server.requests().value(0), "Authorization"), "Bearer token");
    EXPECT_EQ(field(s.server.requests().value(1), "Authorization"), "Basic dXNlcjpzZWNyZXQ=");
}

// Proxies.

/// Sets a proxy while it lives.
class ProxySetting {
public:
    explicit ProxySetting(const QUrl &url) { NSURLConnection::setProxyURL(url); }
    ~ProxySetting() { NSURLConnection::setProxyURL(QUrl()); }
    ProxySetting(const ProxySetting &) = delete;
    ProxySetting &operator=(const ProxySetting &) = delete;
};

TEST(FetchProxies, NoneIsTakenFromTheEnvironment) {
    Scripted s({ok("direct")});
    const QByteArrayList names{"http_proxy", "https_proxy", "all_proxy",
                               "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"};
    for (const QByteArray &name : names)
        qputenv(name.constData(), "http://127.0.0.1:1");
    EXPECT_EQ(fetched(make(s.server.url())).string, QStringLiteral("direct"));
    EXPECT_EQ(fetched(make(nginx().secureUrl(QStringLiteral("/small")))).string, QStringLiteral("small"));
    for (const QByteArray &name : names)
        qunsetenv(name.constData());
}

TEST(FetchProxies, OneThatIsSetCarriesEverything) {
    Scripted proxy({ok("through the proxy")});
    QUrl url = proxy.server.url();
    url.setUserName(QStringLiteral("user"));
    url.setPassword(QStringLiteral("secret"));
    const ProxySetting setting(url);
    EXPECT_EQ(NSURLConnection::proxyURL(), url);
    qputenv("no_proxy", "*");
    for (const char *text : {"http://nowhere.invalid/page", "http://127.0.0.1:1/"}) {
        EXPECT_EQ(fetched(make(QUrl(QString::fromLatin1(text)))).string, QStringLiteral("through the proxy"));
        const QByteArray request = proxy.server.requests().last();
        EXPECT_TRUE(request.startsWith(QByteArray("GET ") + text + " HTTP/1.1\r\n")) << request.toStdString();
        EXPECT_EQ(field(request, "Proxy-Authorization"), "Basic dXNlcjpzZWNyZXQ=");
    }
    qunsetenv("no_proxy");
    // A secure server is reached through a tunnel, which this one doesn't dig.
    EXPECT_FALSE(fetched(make(QUrl(QStringLiteral("https://nowhere.invalid/")))).error.isNil());
    EXPECT_TRUE(proxy.server.requests().last().startsWith("CONNECT nowhere.invalid:443 HTTP/1.1\r\n"));
}

TEST(FetchProxies, OneThatIsNotThereIsAnError) {
    const ProxySetting setting(QUrl(QStringLiteral("http://127.0.0.1:1")));
    EXPECT_EQ(fetched(make(nginx().url(QStringLiteral("/small")))).error.code(),
              NSURLErrorCannotConnectToHost);
}

TEST(FetchProxies, OtherKindsAreRefused) {
    for (const char *text :
         {"ftp://host:80", "http://host", "http://:80", "host:80", "https://host:80", "socks4://host:80"})
        EXPECT_THROW(NSURLConnection::setProxyURL(QUrl(QString::fromLatin1(text))), NSException) << text;
    EXPECT_TRUE(NSURLConnection::proxyURL().isEmpty());
    for (const char *text : {"http://host:80", "socks5://host:1080", "socks5h://[::1]:1080"})
        EXPECT_NO_THROW(const ProxySetting setting(QUrl(QString::fromLatin1(text)))) << text;
}

// Cookies.

TEST(FetchCookies, APrivateStoreIsAskedAndFilled) {
    NSHTTPCookieStorage &shared = NSHTTPCookieStorage::sharedHTTPCookieStorage();
    shared.removeAllCookies();
    Scripted s(
        {ok("x", "Set-Cookie: a=1; Path=/\r\nSet-Cookie: b=2; Expires=Wed, 09 Jun 2100 10:18:14 GMT\r\n"),
         ok("y")});
    const auto store = std::make_shared<NSHTTPCookieStorage>();
    const auto first = make(s.server.url());
    first->setCookieStorage(store);
    // The platform's own handling stays off all the same.
    first->setCookiesAllowed(true);
    fetched(first);
    EXPECT_TRUE(field(s.server.requests().value(0), "Cookie").isNull());
    EXPECT_EQ(store->cookies().size(), 2);
    EXPECT_TRUE(shared.cookies().isEmpty());
    const auto second = make(s.server.url());
    second->setCookieStorage(store);
    fetched(second);
    EXPECT_EQ(field(s.server.requests().value(1), "Cookie"), "a=1; b=2");
}

TEST(FetchCookies, APrivateStoreKeepsThoseOfRedirectsAndChallengesToo) {
    const auto store = std::make_shared<NSHTTPCookieStorage>();
    Scripted s({"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\nSet-Cookie: asked=1; Path=/\r\n"
                "Content-Length: 0\r\n\r\n",
                "HTTP/1.1 302 Found\r\nLocation: /home\r\nSet-Cookie: session=2; Path=/\r\nContent-Length: "
                "0\r\n\r\n",
                "HTTP/1.1 303 Again\r\nSet-Cookie: again=3; Path=/\r\nContent-Length: 0\r\n\r\n",
                ok("home", "Set-Cookie: home=4; Path=/\r\n")});
    const auto login = makeForUser(s.server.url(QStringLiteral("/login")));
    login->setCookieStorage(store);
    EXPECT_EQ(fetched(login).string, QStringLiteral("home"));
    QStringList kept;
    const auto cookies = store->cookies();
    for (const NSHTTPCookie &cookie : cookies)
        kept.append(cookie.name() + cookie.value());
    EXPECT_EQ(kept.join(u' '), QStringLiteral("asked1 session2 again3 home4"));
}

TEST(FetchCookies, TheSharedStoreIsUsedWhereAllowed) {
    NSHTTPCookieStorage &shared = NSHTTPCookieStorage::sharedHTTPCookieStorage();
    shared.removeAllCookies();
    const QUrl set = httpbin().url(QStringLiteral("/cookies/set?sugar=1"));
    fetched(make(set));
    EXPECT_TRUE(shared.cookies().isEmpty());
    const auto allowed = make(set);
    allowed->setCookiesAllowed(true);
    // The redirect that sets the cookie leads to a page that shows what it got.
    const QVariantMap shown = fetched(allowed).jsonOK.toMap();
    EXPECT_EQ(shown.value(QStringLiteral("cookies")).toMap().value(QStringLiteral("sugar")),
              QVariant(QStringLiteral("1")));
    EXPECT_EQ(shared.cookies().size(), 1);
    shared.removeAllCookies();
}

class Broken : public QObject {
    Q_OBJECT
};

TEST(FetchCookies, AStoreThatAnswersNothingEndsNothing) {
    Scripted s({ok("x")});
    const LogCapture log;
    const auto operation = make(s.server.url());
    operation->setCookieStorage(std::make_shared<Broken>());
    EXPECT_EQ(fetched(operation).string, QStringLiteral("x"));
    EXPECT_EQ(log.count(QStringLiteral("Exception in the cookie store of ")), 1);
}

// Bodies.

TEST(FetchBodies, PackedOnesArriveUnpackedAndTheFieldsStay) {
    const Fetched result = fetched(make(nginx().url(QStringLiteral("/text.txt"))));
    EXPECT_EQ(result.headers.value(QStringLiteral("Content-Encoding")), QVariant(QStringLiteral("gzip")));
    EXPECT_EQ(result.data, nginx().text());
    for (const char *path : {"/gzip", "/deflate"})
        EXPECT_TRUE(fetched(make(httpbin().url(QString::fromLatin1(path)))).jsonOK.isValid()) << path;
}

/// The bytes packed by zlib, in gzip's frame or its own, or bare.
QByteArray packed(const QByteArray &bytes, int windowBits) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    QByteArray result(qsizetype(deflateBound(&stream, uLong(bytes.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<const Bytef *>(bytes.constData());
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(result.data());
    stream.avail_out = uInt(result.size());
    const bool isWhole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    result.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return isWhole ? result : QByteArray();
}
constexpr int gzip = 15 + 16;

Fetched fetchedWithCoding(const QByteArray &coding, const QByteArray &body) {
    Scripted s({ok(body, "Content-Encoding: " + coding + "\r\n")});
    return fetched(make(s.server.url()));
}

TEST(FetchBodies, SeveralGzipMembersAreOneBody) {
    const QByteArray members = packed("one ", gzip) + packed("", gzip) + packed("two", gzip);
    EXPECT_EQ(fetchedWithCoding("gzip", members).string, QStringLiteral("one two"));
    EXPECT_EQ(fetchedWithCoding("X-GZIP", members + QByteArray(7, '\0')).string, QStringLiteral("one two"));
    const QByteArray large(300'000, 'l');
    EXPECT_EQ(fetchedWithCoding("gzip", packed(large, gzip) + packed("end", gzip)).data, large + "end");
    // In pieces of one byte, so that every place is the end of a piece.
    QByteArray chunks = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nContent-Encoding: gzip\r\n\r\n";
    for (const char byte : members)
        chunks += "1\r\n" + QByteArray(1, byte) + "\r\n";
    Scripted s({chunks + "0\r\n\r\n"});
    EXPECT_EQ(fetched(make(s.server.url())).string, QStringLiteral("one two"));
}

TEST(FetchBodies, DeflateHasZlibsFrameOrNone) {
    EXPECT_EQ(fetchedWithCoding("deflate", packed("framed", 15)).string, QStringLiteral("framed"));
    EXPECT_EQ(fetchedWithCoding("deflate", packed("bare", -15)).string, QStringLiteral("bare"));
}

TEST(FetchBodies, APackedOneThatIsCutShortOrSpoiltIsAnError) {
    const QByteArray text = nginx().text();
    for (const auto &[coding, bits] :
         {std::pair("gzip", gzip), std::pair("deflate", 15), std::pair("deflate", -15)}) {
        const QByteArray whole = packed(text, bits);
        ASSERT_EQ(fetchedWithCoding(coding, whole).data, text) << coding << bits;
        for (const qsizetype left : {qsizetype(1), whole.size() / 2, whole.size() - 1}) {
            const Fetched cut = fetchedWithCoding(coding, whole.left(left));
            EXPECT_EQ(cut.error.code(), NSURLErrorCannotDecodeContentData) << coding << bits << ' ' << left;
        }
    }
    const QByteArray member = packed(text, gzip);
    EXPECT_EQ(fetchedWithCoding("gzip", member + member.chopped(1)).error.code(),
              NSURLErrorCannotDecodeContentData);
    EXPECT_EQ(fetchedWithCoding("gzip", "no gzip at all").error.code(), NSURLErrorCannotDecodeContentData);
    QByteArray spoilt = member;
    spoilt[spoilt.size() - 6] = char(spoilt[spoilt.size() - 6] ^ 1);
    EXPECT_EQ(fetchedWithCoding("gzip", spoilt).error.code(), NSURLErrorCannotDecodeContentData);
}

TEST(FetchBodies, AnEmptyOneNeedNotBePacked) {
    const Fetched result = fetchedWithCoding("gzip", "");
    EXPECT_TRUE(result.error.isNil());
    EXPECT_EQ(result.string, QStringLiteral(""));
    Scripted s({"HTTP/1.1 200 OK\r\nContent-Length: 100\r\nContent-Encoding: gzip\r\n\r\n"});
    const auto head = make(s.server.url());
    head->request()->setHTTPMethod(QStringLiteral("HEAD"));
    EXPECT_TRUE(fetched(head).error.isNil());
}

TEST(FetchBodies, AnUnknownCodingLeavesThemAsTheyCame) {
    for (const char *coding : {"aws-chunked", "utf-8", "gzip, sdch", "", "none"}) {
        const Fetched result = fetchedWithCoding(coding, "as it came");
        EXPECT_EQ(result.string, QStringLiteral("as it came")) << coding;
        EXPECT_TRUE(result.error.isNil()) << coding;
    }
    EXPECT_EQ(fetchedWithCoding("identity", "as it is").string, QStringLiteral("as it is"));
    EXPECT_EQ(fetchedWithCoding("gzip, gzip", packed(packed("twice", gzip), gzip)).string,
              QStringLiteral("twice"));
    // What makes nothing of one coding must not stick to the next attempt of the same transfer.
    Scripted s({"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\nContent-Encoding: "
                "odd\r\nContent-Length: 1\r\n\r\nx",
                ok(packed(packed("twice", gzip), gzip), "Content-Encoding: gzip, gzip\r\n")});
    EXPECT_EQ(fetched(makeForUser(s.server.url())).string, QStringLiteral("twice"));
}

TEST(FetchBodies, BrotliIsUnpacked) {
    // "brotli" as the brotli program packs it.
    const QByteArray body = QByteArray::fromHex("8b028062726f746c6903");
    EXPECT_EQ(fetchedWithCoding("br", body).string, QStringLiteral("brotli"));
}

TEST(FetchBodies, ChunkedOnesHaveNoKnownLength) {
    const auto operation = make(httpbin().url(QStringLiteral("/stream/20")));
    QList<double> fractions;
    qint64 expected = 0;
    operation->setProgressBlock([&](const auto &running) {
        fractions.append(running->progress());
        expected = running->expectedBytes();
    });
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.data.count('\n'), 20);
    EXPECT_EQ(expected, -1);
    EXPECT_GE(fractions.size(), 2);
    EXPECT_EQ(fractions.count(0.0), fractions.size());
}

TEST(FetchBodies, ProgressGrowsToOne) {
    const auto operation = make(nginx().url(QStringLiteral("/large")));
    QList<double> fractions;
    operation->setProgressBlock([&](const auto &running) { fractions.append(running->progress()); });
    EXPECT_TRUE(fetched(operation).data == nginx().large());
    ASSERT_GE(fractions.size(), 3);
    EXPECT_EQ(fractions.first(), 0.0);
    EXPECT_EQ(fractions.last(), 1.0);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
}

TEST(FetchBodies, AFileTakesTheBodyAndIsClosedBeforeTheBlock) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("download")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const auto handle = NSFileHandle::fileHandleForWritingAtPath(file.fileName());
    const auto operation = make(nginx().url(QStringLiteral("/large")));
    operation->setDownloadFileHandle(handle);
    int descriptor = 0;
    Gate gate;
    QByteArray data("x");
    operation->fetchWithBlock([&](const auto &done) {
        descriptor = handle->fileDescriptor();
        data = done->data();
        EXPECT_FALSE(done->downloadFileHandle());
        gate.open();
    });
    ASSERT_TRUE(gate.pass());
    EXPECT_EQ(descriptor, -1);
    EXPECT_TRUE(data.isEmpty());
    EXPECT_FALSE(data.isNull());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll() == nginx().large());
    waitForNetworkThread();
}

TEST(FetchBodies, AFullDiskEndsTheFetchWithAnError) {
    const auto operation = make(nginx().url(QStringLiteral("/large")));
    operation->setDownloadFileHandle(NSFileHandle::fileHandleForWritingAtPath(QStringLiteral("/dev/full")));
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(result.error.localizedDescription(), QStringLiteral("write: No space left on device"));
}

TEST(FetchBodies, APipeThatNobodyReadsEndsTheFetchWithAnError) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    const auto operation = make(nginx().url(QStringLiteral("/large")));
    operation->setDownloadFileHandle(std::make_shared<NSFileHandle>(ends[1]));
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.error.localizedDescription(), QStringLiteral("write: Broken pipe"));
}

TEST(FetchBodies, PartsOfAFile) {
    const auto operation = make(nginx().url(QStringLiteral("/large")));
    operation->request()->setValue(QStringLiteral("bytes=10-19"), QStringLiteral("Range"));
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.statusCode, 206);
    EXPECT_FALSE(result.OK);
    EXPECT_TRUE(result.dataOK.isNull());
    EXPECT_TRUE(result.stringOK.isNull());
    EXPECT_FALSE(result.jsonOK.isValid());
    EXPECT_EQ(result.data, nginx().large().mid(10, 10));
}

TEST(FetchBodies, ConnectionsAreUsedAgain) {
    const qsizetype before = nginx().accesses().size();
    for (int i = 0; i < 10; ++i)
        fetched(make(nginx().url(QStringLiteral("/small"))));
    // The log's line comes after the answer.
    QList<QByteArray> lines;
    ASSERT_TRUE(
        ProcessTree::waitUntil([&] { return (lines = nginx().accesses().mid(before)).size() >= 10; }));
    std::set<QByteArray> connections;
    for (const QByteArray &line : std::as_const(lines))
        connections.insert(line.split(' ').last());
    EXPECT_EQ(connections.size(), 1U);
}

TEST(FetchBodies, FilesAndDataURLsAreNoHTTP) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("a file.txt")));
    const QByteArray content(1'000'000, 'f');
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    const LogCapture log;
    const Fetched read = fetched(make(QUrl::fromLocalFile(file.fileName())));
    EXPECT_TRUE(read.data == content);
    EXPECT_EQ(read.statusCode, 0);
    EXPECT_FALSE(read.OK);
    EXPECT_TRUE(read.error.isNil());
    EXPECT_EQ(read.errorText, QStringLiteral(""));
    EXPECT_EQ(fetched(make(QUrl(QStringLiteral("data:text/plain;base64,TWFu")))).string,
              QStringLiteral("Man"));
    EXPECT_EQ(log.lines().size(), 2);
    EXPECT_EQ(fetched(make(QUrl::fromLocalFile(folder.filePath(QStringLiteral("none"))))).error.code(),
              NSURLErrorFileDoesNotExist);
    EXPECT_EQ(fetched(make(QUrl::fromLocalFile(folder.path()))).error.code(), NSURLErrorFileIsDirectory);
    EXPECT_EQ(fetched(make(QUrl(QStringLiteral("data:nothing")))).error.code(), NSURLErrorBadURL);
    EXPECT_EQ(fetched(make(QUrl(QStringLiteral("ftp://127.0.0.1/x")))).error.code(),
              NSURLErrorUnsupportedURL);
}

// TLS.

TEST(FetchTLS, AnyCertificateIsAcceptedByDefaultOverHTTP2) {
    const qsizetype before = nginx().accesses().size();
    const Fetched result = fetched(make(nginx().secureUrl(QStringLiteral("/small"))));
    EXPECT_EQ(result.string, QStringLiteral("small"));
    EXPECT_TRUE(result.error.isNil());
    QList<QByteArray> lines;
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return !(lines = nginx().accesses().mid(before)).isEmpty(); }));
    EXPECT_TRUE(lines.last().startsWith("GET /small HTTP/2.0 200")) << lines.last().toStdString();
    EXPECT_TRUE(fetched(make(nginx().secureUrl(QStringLiteral("/large")))).data == nginx().large());
}

TEST(FetchTLS, VerifyingRefusesACertificateOfTheServersOwn) {
    // First one that doesn't verify: its connection must not serve the other.
    EXPECT_TRUE(fetched(make(nginx().secureUrl(QStringLiteral("/small")))).OK);
    const auto operation = make(nginx().secureUrl(QStringLiteral("/small")));
    operation->setVerifiesServerTrust(true);
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.statusCode, 0);
    EXPECT_EQ(result.error.code(), NSURLErrorServerCertificateUntrusted);
    EXPECT_EQ(result.errorText, QStringLiteral("The certificate of this server is not trusted."));
}

TEST(FetchTLS, VerifyingAcceptsAnAuthorityOfTheSystemAndChecksTheName) {
    qputenv("SSL_CERT_FILE", nginx().authority().toUtf8());
    const auto operation = make(nginx().secureUrl(QStringLiteral("/small")));
    operation->setVerifiesServerTrust(true);
    EXPECT_EQ(fetched(operation).string, QStringLiteral("small"));
    const auto other = make(nginx().secureUrl(QStringLiteral("/small"), QStringLiteral("127.0.0.2")));
    other->setVerifiesServerTrust(true);
    EXPECT_FALSE(fetched(other).error.isNil());
    qunsetenv("SSL_CERT_FILE");
}

TEST(FetchTLS, WhatSpeaksNoTLSFails) {
    QUrl url = nginx().url(QStringLiteral("/small"));
    url.setScheme(QStringLiteral("https"));
    EXPECT_EQ(fetched(make(url)).error.code(), NSURLErrorSecureConnectionFailed);
}

// Trouble.

TEST(FetchTrouble, AServerThatDiesInTheMiddle) {
    auto server = std::make_unique<NginxServer>();
    const auto operation = make(server->url(QStringLiteral("/slow")));
    Gate began;
    Gate ended;
    Fetched result;
    operation->setProgressBlock([&](const auto &running) {
        if (running->receivedBytes() > 0)
            began.open();
    });
    operation->fetchWithBlock([&](const auto &done) {
        read(result, *done);
        ended.open();
    });
    ASSERT_TRUE(began.pass());
    server.reset();
    ASSERT_TRUE(ended.pass());
    waitForNetworkThread();
    EXPECT_EQ(result.statusCode, 200);
    EXPECT_EQ(result.error.code(), NSURLErrorNetworkConnectionLost);
    EXPECT_FALSE(result.data.isEmpty());
}

TEST(FetchTrouble, AResponseThatEndsAtAnyByte) {
    const QByteArray whole = ok("the body", "X-Field: value\r\n");
    const QByteArray pieces = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                              "4\r\nbody\r\na;name=value\r\ntenletters\r\n0\r\nX-Trailer: 1\r\n\r\n";
    // The last line feed after the pieces is taken for granted.
    for (const QByteArray &most : {whole.chopped(1), pieces.chopped(2)})
        for (qsizetype size = 0; size <= most.size(); ++size) {
            Scripted s({most.left(size)});
            const Fetched result = fetched(make(s.server.url()));
            EXPECT_EQ(result.calls, 1) << size;
            EXPECT_FALSE(result.error.isNil()) << size;
            EXPECT_EQ(result.error.domain(), NSURLErrorDomain) << size;
        }
    Scripted s({pieces});
    EXPECT_EQ(fetched(make(s.server.url())).string, QStringLiteral("bodytenletters"));
}

TEST(FetchTrouble, LengthsThatAreWrong) {
    Scripted longer({"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort"});
    const Fetched cut = fetched(make(longer.server.url()));
    EXPECT_EQ(cut.error.code(), NSURLErrorNetworkConnectionLost);
    EXPECT_EQ(cut.data, "short");
    Scripted shorter({"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nlonger than that"});
    EXPECT_EQ(fetched(make(shorter.server.url())).string, QStringLiteral("lo"));
    Scripted none({"HTTP/1.1 200 OK\r\n\r\nuntil the end"});
    EXPECT_EQ(fetched(make(none.server.url())).string, QStringLiteral("until the end"));
}

TEST(FetchTrouble, FieldsOfAMegabyte) {
    for (const qsizetype size : {50'000, 1'000'000, 3'000'000}) {
        Scripted line({ok("x", "X-Long: " + QByteArray(size, 'y') + "\r\n")});
        QByteArray fields;
        for (int i = 0; fields.size() < size; ++i)
            fields += "X-" + QByteArray::number(i) + ": " + QByteArray(1000, 'z') + "\r\n";
        Scripted lines({ok("x", fields)});
        for (Scripted *s : {&line, &lines}) {
            const Fetched result = fetched(make(s->server.url()));
            EXPECT_EQ(result.calls, 1);
            EXPECT_TRUE(result.OK || result.error.code() == NSURLErrorBadServerResponse)
                << size << ' ' << result.error.description().toStdString();
            EXPECT_EQ(size == 50'000, result.OK) << size;
        }
    }
}

TEST(FetchTrouble, WhatIsNoHTTP) {
    for (const QByteArray answer : {"SSH-2.0-OpenSSH\r\n", "\0\0\0", "HTTP/1.1 \r\n\r\n"}) {
        Scripted s({answer});
        const Fetched result = fetched(make(s.server.url()));
        EXPECT_FALSE(result.error.isNil()) << answer.toStdString();
        EXPECT_FALSE(result.OK);
    }
}

TEST(FetchTrouble, FieldsAreReadLeniently) {
    Scripted s({ok("x", "content-TYPE: text/html; charset=x\r\netag:\"1\"\r\nX-A: 1\r\nx-a:2\r\nX-Empty:\r\n"
                        "X-Folded: one\r\n two\r\n\t three\r\nSet-Cookie: a=1, b\r\nset-cookie: c=2\r\n"
                        "X-Utf8: caf\xc3\xa9\r\nX-Latin: caf\xe9\r\n")});
    const Fetched result = fetched(make(s.server.url()));
    EXPECT_EQ(result.string, QStringLiteral("x"));
    EXPECT_EQ(result.headers,
              QVariantMap({{QStringLiteral("Content-Length"), QStringLiteral("1")},
                           {QStringLiteral("Content-Type"), QStringLiteral("text/html; charset=x")},
                           {QStringLiteral("Etag"), QStringLiteral("\"1\"")},
                           {QStringLiteral("X-A"), QStringLiteral("1, 2")},
                           {QStringLiteral("X-Empty"), QStringLiteral("")},
                           {QStringLiteral("X-Folded"), QStringLiteral("one two three")},
                           {QStringLiteral("Set-Cookie"), QStringLiteral("a=1, b, c=2")},
                           {QStringLiteral("X-Utf8"), QString::fromUtf8("caf\xc3\xa9")},
                           {QStringLiteral("X-Latin"), QString::fromUtf8("caf\xc3\xa9")}}));
}

TEST(FetchTrouble, TrailersAreNoFields) {
    Scripted s({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\nX-Trailer: 1\r\n\r\n"});
    const Fetched result = fetched(make(s.server.url()));
    EXPECT_EQ(result.string, QStringLiteral("x"));
    EXPECT_EQ(result.headers.size(), 1);
}

TEST(FetchTrouble, InterimResponsesAreSkipped) {
    Scripted s({"HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\nHTTP/1.1 100 Continue\r\n\r\n" + ok("final")});
    const Fetched result = fetched(make(s.server.url()));
    EXPECT_EQ(result.string, QStringLiteral("final"));
    EXPECT_FALSE(result.headers.contains(QStringLiteral("Link")));
}

TEST(FetchTrouble, ASilentServerTimesOut) {
    ScriptedServer server([](int, const QByteArray &) {
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", false};
    });
    const auto operation = make(server.url());
    operation->request()->setTimeoutInterval(0.2);
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.error.code(), NSURLErrorTimedOut);
    EXPECT_EQ(result.errorText, QStringLiteral("The request timed out."));
    EXPECT_EQ(result.data, "half");
}

TEST(FetchTrouble, ASlowServerDoesNot) {
    const auto operation = make(nginx().url(QStringLiteral("/slow")));
    operation->request()->setTimeoutInterval(5);
    operation->request()->setValue(QStringLiteral("bytes=0-99999"), QStringLiteral("Range"));
    EXPECT_EQ(fetched(operation).data.size(), 100'000);
}

TEST(FetchTrouble, HostsThatAreNotThere) {
    EXPECT_EQ(fetched(make(QUrl(QStringLiteral("http://nowhere.invalid/")))).error.code(),
              NSURLErrorCannotFindHost);
    EXPECT_EQ(fetched(make(QUrl(QStringLiteral("http:///path")))).error.code(), NSURLErrorBadURL);
}

} // namespace

#include "FetchTransferTest.moc"
