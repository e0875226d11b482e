// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LoopbackServers.h"

#include <QCoreApplication>
#include <QTranslator>

namespace {

const QString noAnswer =
    QStringLiteral("No valid response from server, check your internet connection or retry later.");

/// An operation as its connection leaves it.
class Results : public testing::Test {
protected:
    void respond(qint64 status, const QByteArray &body) {
        operation->connectionDidReceiveResponse(
            nullptr,
            std::make_shared<NSHTTPURLResponse>(QUrl(QStringLiteral("http://host/")), status, QVariantMap()));
        operation->connectionDidReceiveData(nullptr, body);
    }
    void fail(const QString &message) {
        const LogCapture unused;
        operation->connectionDidFailWithError(
            nullptr, NSError(NSURLErrorDomain, -1004, {{NSLocalizedDescriptionKey, message}}));
    }
    std::shared_ptr<ZRFetchOperation> operation =
        std::make_shared<ZRFetchOperation>(QVariant(QStringLiteral("http://host/path?a=b%20c")));
};

TEST_F(Results, OnlyA200IsOK) {
    for (const int status : {0, 100, 199, 201, 202, 204, 206, 299, 300, 404, 500}) {
        respond(status, "{\"a\": 1}");
        EXPECT_FALSE(operation->OK()) << status;
        EXPECT_TRUE(operation->dataOK().isNull()) << status;
        EXPECT_TRUE(operation->stringOK().isNull()) << status;
        EXPECT_FALSE(operation->jsonOK().isValid()) << status;
        EXPECT_EQ(operation->data(), "{\"a\": 1}") << status;
        EXPECT_TRUE(operation->json().isValid()) << status;
    }
    respond(200, "{\"a\": 1}");
    EXPECT_TRUE(operation->OK());
    EXPECT_EQ(operation->dataOK(), "{\"a\": 1}");
    EXPECT_EQ(operation->stringOK(), QStringLiteral("{\"a\": 1}"));
    EXPECT_EQ(operation->jsonOK(), QVariant(QVariantMap{{QStringLiteral("a"), 1LL}}));
}

TEST_F(Results, TheStringIsUTF8OrNil) {
    EXPECT_EQ(operation->string(), QStringLiteral(""));
    EXPECT_FALSE(operation->string().isNull());
    respond(200, "");
    EXPECT_EQ(operation->string(), QStringLiteral(""));
    EXPECT_FALSE(operation->stringOK().isNull());
    respond(200, "caf\xc3\xa9");
    EXPECT_EQ(operation->string(), QString::fromUtf8("caf\xc3\xa9"));
    respond(200, "caf\xe9");
    EXPECT_TRUE(operation->string().isNull());
    EXPECT_TRUE(operation->stringOK().isNull());
}

TEST_F(Results, WhatIsNoJSONIsNil) {
    EXPECT_FALSE(operation->json().isValid());
    for (const char *body : {"", "no", "[1,", "\"text\"", "{\"a\": 1} more"}) {
        respond(200, body);
        EXPECT_FALSE(operation->json().isValid()) << body;
    }
    respond(200, "[1, \"two\"]");
    EXPECT_EQ(operation->json(), QVariant(QVariantList{1LL, QStringLiteral("two")}));
}

TEST_F(Results, TheTreeOfAnXMLDocumentOrNil) {
    EXPECT_FALSE(operation->xml().isValid());
    for (const char *body : {"", "no", "<a><b></a>"}) {
        respond(200, body);
        EXPECT_FALSE(operation->xml().isValid()) << body;
        EXPECT_FALSE(operation->xmlOK().isValid()) << body;
    }
    respond(200, "<a id='1'>text</a>");
    const QVariantMap tree{{QStringLiteral("id"), QStringLiteral("1")},
                           {QStringLiteral("_content"), QStringLiteral("text")}};
    EXPECT_EQ(operation->xml(), QVariant(tree));
    EXPECT_EQ(operation->xmlOK(), QVariant(tree));
    respond(206, "<a id='1'>text</a>");
    EXPECT_EQ(operation->xml(), QVariant(tree));
    EXPECT_FALSE(operation->xmlOK().isValid());
}

TEST_F(Results, TheErrorTextOfAFailureIsTheErrors) {
    fail(QStringLiteral("Could not connect."));
    EXPECT_EQ(operation->localizedErrorString(), QStringLiteral("Could not connect."));
    respond(200, "body");
    EXPECT_EQ(operation->localizedErrorString(), QStringLiteral("Could not connect."));
}

TEST_F(Results, ABodyIsNothingToReport) {
    respond(200, "body");
    EXPECT_EQ(operation->localizedErrorString(), QStringLiteral(""));
    EXPECT_FALSE(operation->localizedErrorString().isNull());
}

TEST_F(Results, WithoutABodyTheServerGaveNoValidResponse) {
    EXPECT_EQ(operation->localizedErrorString(), noAnswer);
    respond(200, "");
    EXPECT_EQ(operation->localizedErrorString(), noAnswer);
}

class German : public QTranslator {
public:
    QString translate(const char *, const char *text, const char *, int) const override {
        return QString::fromLatin1(text).startsWith(QStringLiteral("No valid response"))
                   ? QStringLiteral("Keine gültige Antwort.")
                   : QString();
    }
    bool isEmpty() const override { return false; }
};

TEST_F(Results, ItsTextsAreTranslated) {
    German german;
    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    EXPECT_EQ(operation->localizedErrorString(), QStringLiteral("Keine gültige Antwort."));
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(operation->localizedErrorString(), noAnswer);
}

TEST_F(Results, OtherStatusesGiveTheirPhraseInCapitals) {
    const std::pair<int, const char *> phrases[] = {
        {100, "Continue"},
        {201, "Created"},
        {203, "Non-Authoritative Information"},
        {204, "No Content"},
        {206, "Partial Content"},
        {299, "Success"},
        {301, "Moved Permanently"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {414, "Requested URL Too Long"},
        {499, "Client Error"},
        {500, "Internal Server Error"},
        {503, "Service Unavailable"},
        {599, "Server Error"},
    };
    for (const auto &[status, phrase] : phrases) {
        respond(status, "body");
        EXPECT_EQ(operation->localizedErrorString(), QString::fromLatin1(phrase));
    }
    fail(QStringLiteral("an error"));
    EXPECT_EQ(operation->localizedErrorString(), QStringLiteral("Server Error"));
}

TEST_F(Results, TheLogLineHasStatusURLErrorAndBody) {
    const QString url = QStringLiteral("http://host/path?a=b%20c");
    EXPECT_EQ(operation->log(), QStringLiteral("000 ") + url + QStringLiteral("  "));
    respond(200, "the body");
    EXPECT_EQ(operation->log(), QStringLiteral("200 ") + url + QStringLiteral("  the body"));
    respond(200, "100% of %@");
    EXPECT_EQ(operation->log(), QStringLiteral("200 ") + url + QStringLiteral("  100% of %@"));
    respond(42, "caf\xe9");
    EXPECT_EQ(operation->log(), QStringLiteral("042 ") + url + QStringLiteral("  (null)"));
    fail(QStringLiteral("No network."));
    EXPECT_EQ(operation->log(),
              QStringLiteral("042 ") + url + QStringLiteral(" (ERROR No network.)  (null)"));
}

TEST_F(Results, TheRequestIsLoggedFieldByField) {
    operation->request()->setHTTPMethod(QStringLiteral("POST"));
    operation->request()->setValue(QStringLiteral("text/plain"), QStringLiteral("Content-Type"));
    operation->request()->setValue(QStringLiteral("x y"), QStringLiteral("X-Own"));
    EXPECT_EQ(operation->logRequest(QVariant(1)),
              QStringLiteral("POST http://host/path?a=b%20c\nContent-Type: text/plain\nX-Own: x y"));
    operation->request()->setAllHTTPHeaderFields({});
    EXPECT_EQ(operation->logRequest(), QStringLiteral("POST http://host/path?a=b%20c\n"));
}

TEST(FetchResults, AFailureBeforeAnyResponse) {
    int port = 0;
    {
        const ScriptedServer gone([](int, const QByteArray &) { return ScriptedServer::Answer{}; });
        port = gone.url().port();
    }
    const QString url = QStringLiteral("http://127.0.0.1:%1/").arg(port);
    const Fetched result = fetched(QVariant(url));
    EXPECT_EQ(result.statusCode, 0);
    EXPECT_EQ(result.error.domain(), NSURLErrorDomain);
    EXPECT_EQ(result.error.code(), NSURLErrorCannotConnectToHost);
    EXPECT_EQ(result.errorText, result.error.localizedDescription());
    EXPECT_EQ(result.errorText, QStringLiteral("Could not connect to the server."));
    EXPECT_EQ(result.log, QStringLiteral("000 ") + url +
                              QStringLiteral(" (ERROR Could not connect to the server.) "
                                             " "));
}

TEST(FetchResults, ResultsOfRealResponses) {
    const NginxServer nginx;
    const Fetched json = fetched(QVariant(nginx.url(QStringLiteral("/page.json"))));
    EXPECT_EQ(json.jsonOK.toMap().value(QStringLiteral("word")), QVariant(QString::fromUtf8("caf\xc3\xa9")));
    EXPECT_EQ(json.errorText, QStringLiteral(""));
    const Fetched feed = fetched(QVariant(nginx.url(QStringLiteral("/feed.xml"))));
    EXPECT_EQ(ZRKit::path(feed.xmlOK, QStringLiteral("$entry/0/_content")), QVariant(QStringLiteral("one")));
    const Fetched latin1 = fetched(QVariant(nginx.url(QStringLiteral("/latin1.txt"))));
    EXPECT_TRUE(latin1.OK);
    EXPECT_TRUE(latin1.string.isNull());
    EXPECT_TRUE(latin1.log.endsWith(QStringLiteral("/latin1.txt  (null)")));
    const Fetched empty = fetched(QVariant(nginx.url(QStringLiteral("/empty"))));
    EXPECT_TRUE(empty.OK);
    EXPECT_EQ(empty.errorText, noAnswer);
    const Fetched missing = fetched(QVariant(nginx.url(QStringLiteral("/missing"))));
    EXPECT_EQ(missing.statusCode, 404);
    EXPECT_EQ(missing.errorText, QStringLiteral("Not Found"));
    EXPECT_TRUE(missing.dataOK.isNull());
    EXPECT_FALSE(missing.data.isEmpty());
    for (const Fetched &each : {empty, missing, latin1}) {
        EXPECT_FALSE(each.jsonOK.isValid());
        EXPECT_FALSE(each.xmlOK.isValid());
    }
    const Fetched none = fetched(QVariant(nginx.url(QStringLiteral("/no-content"))));
    EXPECT_EQ(none.statusCode, 204);
    EXPECT_FALSE(none.OK);
    EXPECT_TRUE(none.stringOK.isNull());
}

TEST(FetchResults, StatusesAndDelaysOfARealServer) {
    const HttpbinServer httpbin;
    const auto at = [&](const char *path) {
        return fetched(QVariant(httpbin.url(QString::fromLatin1(path))));
    };
    const std::pair<int, const char *> statuses[] = {{201, "Created"},
                                                     {204, "No Content"},
                                                     {206, "Partial Content"},
                                                     {304, "Not Modified"},
                                                     {403, "Forbidden"},
                                                     {429, "Too Many Requests"},
                                                     {500, "Internal Server Error"},
                                                     {503, "Service Unavailable"}};
    for (const auto &[status, phrase] : statuses) {
        const Fetched result = at(("/status/" + QByteArray::number(status)).constData());
        EXPECT_EQ(result.statusCode, status);
        EXPECT_TRUE(result.error.isNil()) << status;
        EXPECT_EQ(result.errorText, QString::fromLatin1(phrase));
        EXPECT_TRUE(result.dataOK.isNull()) << status;
    }
    EXPECT_TRUE(at("/delay/1").jsonOK.isValid());
    EXPECT_TRUE(at("/drip?duration=1&numbytes=5&code=200").string == QStringLiteral("*****"));
}

} // namespace
