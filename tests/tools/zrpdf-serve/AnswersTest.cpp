// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf-serve/ServeTest.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/support/ListenOnLoopback.h"
#include "tests/support/LoopbackServers.h"

#include <QJsonDocument>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

class Answers : public ServeTest {
protected:
    /// Says nothing to whoever asks.
    static ScriptedServer::Answer silence(int, const QByteArray &) { return {.bytes = "", .closes = false}; }
};

} // namespace

TEST_F(Answers, ADocumentBecomesAPDFWithItsTitleAndCreator) {
    start();
    const Answer answer = post(html(1700), "/v1/pdf?title=%C3%84%20b&creator=C");
    ASSERT_TRUE(answer.isPDF()) << answer.body.left(500).toStdString();
    EXPECT_EQ(answer.header.value("content-type"), "application/pdf");
    EXPECT_EQ(answer.header.value("cache-control"), "no-store");
    EXPECT_EQ(pageHeightOf(answer.body), 1700);
    const QVariantMap attributes = PDFDocument(answer.body).documentAttributes();
    EXPECT_EQ(attributes.value(PDFDocumentTitleAttribute).toString(), u"Ä b"_s);
    EXPECT_EQ(attributes.value(PDFDocumentCreatorAttribute).toString(), u"C"_s);
}

TEST_F(Answers, ATaggedPDFHasStructure) {
    start();
    EXPECT_FALSE(post("<h1>x", "/v1/pdf?tagged=false").body.contains("/StructTreeRoot"));
    const Answer answer = post("<h1>x", "/v1/pdf?tagged=true");
    ASSERT_TRUE(answer.isPDF());
    EXPECT_TRUE(answer.body.contains("/StructTreeRoot") || answer.body.contains("/MarkInfo"));
}

TEST_F(Answers, ProblemsAreDocumentsWithACodeAndTheRequestsId) {
    start();
    const Answer answer = get("/nothing", "X-Request-Id: my-id.7\r\n");
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.header.value("content-type"), "application/problem+json");
    EXPECT_EQ(answer.header.value("x-request-id"), "my-id.7");
    const QJsonObject problem = answer.problem();
    EXPECT_EQ(problem.value(u"status"_s).toInt(), 404);
    EXPECT_EQ(problem.value(u"title"_s).toString(), u"Not Found"_s);
    EXPECT_EQ(problem.value(u"code"_s).toString(), u"not-found"_s);
    EXPECT_EQ(problem.value(u"request_id"_s).toString(), u"my-id.7"_s);
    EXPECT_FALSE(problem.value(u"detail"_s).toString().isEmpty());
}

TEST_F(Answers, AnIdThatIsNotWellFormedIsNotUsed) {
    start();
    QByteArray last;
    for (const QByteArray &wrong :
         {QByteArray("a b"), QByteArray("<x>"), QByteArray(129, 'a'), QByteArray("\xC3\xA4")}) {
        const QByteArray id = get("/nothing", "X-Request-Id: " + wrong + "\r\n").header.value("x-request-id");
        EXPECT_EQ(id.size(), 32) << id.toStdString();
        EXPECT_NE(id, last);
        last = id;
    }
    EXPECT_EQ(get("/nothing", "X-Request-Id: " + QByteArray(128, 'a') + "\r\n").header.value("x-request-id"),
              QByteArray(128, 'a'));
}

TEST_F(Answers, OptionsThatAreWrongAreNotIgnored) {
    start();
    const auto codeOf = [&](const QByteArray &query, const QByteArray &header = {}) {
        const Answer answer = post("<p>x", "/v1/pdf?" + query, "Content-Type: text/html\r\n" + header);
        return QByteArray::number(answer.status) + ' ' + answer.code();
    };
    EXPECT_EQ(codeOf("titel=x"), "400 unknown-option");
    EXPECT_EQ(codeOf("title=%FF"), "400 bad-option");
    EXPECT_EQ(codeOf("title=a%00b"), "400 bad-option");
    EXPECT_EQ(codeOf("title=a&title=b"), "400 repeated-option");
    EXPECT_EQ(codeOf("tagged"), "400 bad-option");
    EXPECT_EQ(codeOf("timeout=1e1"), "400 bad-option");
    EXPECT_EQ(codeOf("title=a", "Zrpdf-Title: b\r\n"), "400 repeated-option");
    EXPECT_EQ(codeOf("", "Zrpdf-Colour: b\r\n"), "400 unknown-option");
    EXPECT_EQ(codeOf("url=http://example.org/"), "400 bad-request");
    EXPECT_EQ(codeOf("url=file:///etc/passwd"), "400 bad-url");
}

TEST_F(Answers, MoreThanTheServerAllowsIsForbidden) {
    start({"--network", "public", "--timeout", "30"});
    EXPECT_EQ(post("<p>x", "/v1/pdf?network=all").code(), "network-not-allowed");
    EXPECT_EQ(post("<p>x", "/v1/pdf?network=all").status, 403);
    EXPECT_EQ(post("<p>x", "/v1/pdf?timeout=31").code(), "timeout-not-allowed");
    EXPECT_EQ(post("<p>x", "/v1/pdf?timeout=31").status, 403);
    EXPECT_TRUE(post("<p>x", "/v1/pdf?timeout=30&network=none").isPDF());
}

TEST_F(Answers, ABodyThatIsTooLargeIsRefusedBeforeItIsSent) {
    start({"--max-body", "1K"});
    HTTPConnection connection = connect();
    ASSERT_TRUE(connection.send(
        "POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nContent-Length: 1025\r\n"
        "Expect: 100-continue\r\n\r\n"));
    const Answer answer = connection.answer();
    EXPECT_EQ(answer.status, 413);
    EXPECT_EQ(answer.code(), "too-large");
}

TEST_F(Answers, ABodyThatTurnsOutTooLargeIsRefusedAndTheConnectionGoesOn) {
    start({"--max-body", "1K"});
    HTTPConnection connection = connect();
    ASSERT_TRUE(connection.post("/v1/pdf", QByteArray(1025, 'x')));
    EXPECT_EQ(connection.answer().code(), "too-large");
    ASSERT_TRUE(connection.send(
        "POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nTransfer-Encoding: chunked\r\n\r\n"
        "401\r\n" +
        QByteArray(0x401, 'x') + "\r\n0\r\n\r\n"));
    EXPECT_EQ(connection.answer().code(), "too-large");
    ASSERT_TRUE(connection.post("/v1/pdf", QByteArray(1024, 'x')));
    EXPECT_TRUE(connection.answer().isPDF());
}

TEST_F(Answers, ABodyMuchTooLargeEndsTheConnection) {
    start({"--max-body", "1K"});
    HTTPConnection connection = connect();
    ASSERT_TRUE(connection.send(
        "POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nTransfer-Encoding: chunked\r\n\r\n"
        "10000\r\n"));
    connection.send(QByteArray(0x10000, 'x'));
    EXPECT_TRUE(connection.isClosed());
    HTTPConnection other = connect();
    ASSERT_TRUE(other.send("POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nContent-Length: "
                           "99999999999\r\n\r\n"));
    EXPECT_EQ(other.answer().code(), "too-large");
    EXPECT_TRUE(other.isClosed());
}

TEST_F(Answers, TypesThatCannotBeConvertedAreRefused) {
    start();
    const Answer answer = post("PK", "/v1/pdf", "Content-Type: application/zip\r\n");
    EXPECT_EQ(answer.status, 415);
    EXPECT_EQ(answer.code(), "unsupported-type");
    EXPECT_TRUE(answer.header.value("accept").contains("text/html"));
    const Answer packed = post("x", "/v1/pdf", "Content-Type: text/html\r\nContent-Encoding: gzip\r\n");
    EXPECT_EQ(packed.status, 415);
    EXPECT_EQ(packed.code(), "unsupported-coding");
}

TEST_F(Answers, ADocumentThatCannotBeConvertedTellsTheCause) {
    start();
    const int port = freePort();
    const Answer answer = post("", "/v1/pdf?url=http://127.0.0.1:" + QByteArray::number(port) + "/", "");
    EXPECT_EQ(answer.status, 422);
    EXPECT_EQ(answer.code(), "not-convertible");
    EXPECT_EQ(answer.problem().value(u"cause"_s).toString(), u"net::ERR_CONNECTION_REFUSED"_s);
    EXPECT_EQ(answer.problem().value(u"detail"_s).toString(),
              u"HTML to PDF converter did fail: net::ERR_CONNECTION_REFUSED."_s);
    EXPECT_EQ(post("\x01\x02\x03", "/v1/pdf", "").status, 422);
}

TEST_F(Answers, AnEmptyBodyIsNoDocument) {
    start();
    EXPECT_EQ(post("").code(), "no-document");
    EXPECT_EQ(post("title=x", "/v1/pdf", "Content-Type: application/x-www-form-urlencoded\r\n").code(),
              "no-document");
    const Answer answer = post("<p>x</p>", "/v1/pdf", "Content-Type: application/x-www-form-urlencoded\r\n");
    EXPECT_EQ(answer.code(), "unknown-option");
    EXPECT_TRUE(answer.problem().value(u"detail"_s).toString().contains(u"Content-Type"_s));
}

TEST_F(Answers, ADocumentThatTakesTooLongIsGivenUp) {
    ScriptedServer slow(&silence);
    start();
    const Answer answer = post("<img src='" + slow.url().toEncoded() + "'>", "/v1/pdf?timeout=1");
    EXPECT_EQ(answer.status, 504);
    EXPECT_EQ(answer.code(), "timeout");
    EXPECT_EQ(answer.problem().value(u"detail"_s).toString(), u"The document took longer than 1 s."_s);
    EXPECT_TRUE(post("<p>next").isPDF());
}

TEST_F(Answers, WhatTheQueueHasNoRoomForIsTurnedAwayAtOnce) {
    ScriptedServer slow(&silence);
    start({"--queue", "1"});
    const QByteArray document = "<img src='" + slow.url().toEncoded() + "'>";
    HTTPConnection first = connect();
    HTTPConnection second = connect();
    first.post("/v1/pdf", document);
    second.post("/v1/pdf", document);
    ASSERT_TRUE(waitForMetric("zrpdf_requests_in_flight", 2));
    ASSERT_TRUE(waitForMetric("zrpdf_instances_working", 1));
    ASSERT_TRUE(waitForMetric("zrpdf_queue_length", 1));
    const Answer answer = post("<p>x");
    EXPECT_EQ(answer.status, 429);
    EXPECT_EQ(answer.code(), "queue-full");
    EXPECT_GE(answer.header.value("retry-after").toInt(), 1);
    // Before the body is sent, too.
    HTTPConnection asking = connect();
    asking.send("POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nContent-Length: 5\r\nExpect: "
                "100-continue\r\n\r\n");
    EXPECT_EQ(asking.answer().status, 429);
    EXPECT_EQ(metric("zrpdf_failures_total{code=\"queue-full\"}"), 2);
    first.close();
    second.close();
    EXPECT_TRUE(waitForMetric("zrpdf_requests_in_flight", 0));
    EXPECT_TRUE(post("<p>x").isPDF());
}

TEST_F(Answers, WithoutAQueueOnlyWhatIsWorkedOnHasRoom) {
    ScriptedServer slow(&silence);
    start({"--queue", "0"});
    HTTPConnection first = connect();
    first.post("/v1/pdf", "<img src='" + slow.url().toEncoded() + "'>");
    ASSERT_TRUE(waitForMetric("zrpdf_requests_in_flight", 1));
    EXPECT_EQ(post("<p>x").code(), "queue-full");
}

TEST_F(Answers, PathsKnowTheirMethods) {
    start();
    const auto ask = [&](const QByteArray &request, bool hasBody = true) {
        HTTPConnection connection = connect();
        connection.send(request + " HTTP/1.1\r\nHost: x\r\n\r\n");
        return connection.answer(hasBody);
    };
    EXPECT_EQ(ask("GET /v1/pdf").status, 405);
    EXPECT_EQ(ask("GET /v1/pdf").header.value("allow"), "POST, OPTIONS");
    EXPECT_EQ(ask("PUT /v1/pdf").code(), "method-not-allowed");
    for (const char *method : {"OST", "O", "OPTION", "OPTIONS,", "post", "POST,"})
        EXPECT_EQ(ask(QByteArray(method) + " /v1/pdf").code(), "method-not-allowed") << method;
    EXPECT_EQ(ask("HEA /health").code(), "method-not-allowed");
    EXPECT_EQ(ask("POST /health").header.value("allow"), "GET, HEAD, OPTIONS");
    EXPECT_EQ(ask("OPTIONS /v1/pdf").status, 204);
    EXPECT_EQ(ask("OPTIONS /v1/pdf").header.value("allow"), "POST, OPTIONS");
    EXPECT_EQ(ask("HEAD /openapi.json", false).status, 200);
    for (const char *path : {"/", "/v1", "/v1/pdf/", "/v1/PDF", "//v1/pdf", "/v1/../v1/pdf", "*"})
        EXPECT_EQ(ask(QByteArray("GET ") + path).code(), "not-found") << path;
}

TEST_F(Answers, WhatAHeadLeavesOutIsNotCounted) {
    start();
    HTTPConnection connection = connect();
    connection.send("HEAD /openapi.json HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(connection.answer(false).status, 200);
    connection.get("/metrics");
    EXPECT_TRUE(connection.answer().body.contains("\nzrpdf_http_response_bytes_total 0\n"));
}

TEST_F(Answers, ABodyWhereNoneIsTakenIsNotKept) {
    start();
    for (const char *request : {"GET /health", "GET /metrics", "GET /openapi.json", "OPTIONS /v1/pdf"}) {
        HTTPConnection connection = connect();
        connection.send(QByteArray(request) + " HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\n12345");
        EXPECT_EQ(connection.answer().code(), "bad-request") << request;
        connection.send(QByteArray(request) +
                        " HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n");
        EXPECT_EQ(connection.answer().code(), "bad-request") << request;
    }
    HTTPConnection connection = connect();
    connection.send("GET /openapi.json HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(connection.answer().status, 200);
}

TEST_F(Answers, RetryingIsForWhenThereIsRoomAgain) {
    ScriptedServer slow(&silence);
    start({"--queue", "20"});
    // What a conversion takes is known then.
    ASSERT_TRUE(post("<p>x").isPDF());
    std::vector<HTTPConnection> all;
    for (int i = 0; i < 21; ++i)
        all.push_back(connect());
    for (HTTPConnection &each : all)
        each.post("/v1/pdf", "<img src='" + slow.url().toEncoded() + "'>");
    ASSERT_TRUE(waitForMetric("zrpdf_queue_length", 20));
    const double usual = metric("zrpdf_conversion_seconds_sum");
    EXPECT_LE(post("<p>x").header.value("retry-after").toInt(), int(std::ceil(usual)));
}

TEST_F(Answers, HealthIsAConversionThatWorks) {
    start();
    const Answer answer = get("/health");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "{\"status\":\"ok\"}\n");
    // It is no request for a PDF.
    EXPECT_EQ(metric("zrpdf_conversions_total"), 0);
}

TEST_F(Answers, HealthTellsWhyNoConversionWorks) {
    // A program that is alone in its folder finds no service.
    hideInstallation();
    put("zrpdf-serve", "");
    ASSERT_EQ(::unlink(path("zrpdf-serve").constData()), 0);
    ASSERT_EQ(
        ::system(
            ("cp " ZR_BINARY_DIR "/libexec/zrkit/zrpdf-serve '" + path("zrpdf-serve") + "'").constData()),
        0);
    Child::Setup alone = serveSetup({"--instances", "1"});
    alone.command[0] = path("zrpdf-serve");
    start(alone);
    const Answer answer = get("/health");
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.code(), "unhealthy");
    EXPECT_TRUE(answer.problem().value(u"detail"_s).toString().contains(u"is not installed"_s));
    EXPECT_EQ(post("<p>x").code(), "unavailable");
    EXPECT_EQ(post("<p>x").status, 503);
}

TEST_F(Answers, MetricsCountWhatWasDone) {
    start();
    ASSERT_TRUE(post("<p>x").isPDF());
    ASSERT_TRUE(post("<p>x").isPDF());
    post("", "/v1/pdf?titel=x");
    EXPECT_EQ(metric("zrpdf_conversions_total"), 2);
    EXPECT_EQ(metric("zrpdf_conversion_seconds_count"), 2);
    EXPECT_GT(metric("zrpdf_conversion_seconds_sum"), 0);
    EXPECT_EQ(metric("zrpdf_conversion_seconds_bucket{le=\"+Inf\"}"), 2);
    EXPECT_EQ(metric("zrpdf_failures_total{code=\"unknown-option\"}"), 1);
    EXPECT_EQ(metric("zrpdf_failures_total{code=\"timeout\"}"), 0);
    EXPECT_EQ(metric("zrpdf_instances"), 1);
    EXPECT_EQ(metric("zrpdf_queue_limit"), 64);
    EXPECT_EQ(metric("zrpdf_http_request_bytes_total"), 8);
    EXPECT_EQ(metric("zrpdf_http_responses_total{status=\"400\"}"), 1);
}

TEST_F(Answers, EachRequestIsALineInTheLog) {
    start();
    ASSERT_TRUE(
        post("<p>x", "/v1/pdf?title=secret", "Content-Type: text/html\r\nX-Request-Id: one\r\n").isPDF());
    get("/a%20%22b\"=\xFF", "X-Request-Id: two\r\n");
    ASSERT_EQ(server().readUntil([&] { return server().standardError().contains("id=two"); }), true);
    const QByteArray lines = log();
    EXPECT_TRUE(lines.contains(" request id=one method=POST path=/v1/pdf status=200 received=4 sent="))
        << lines.toStdString();
    EXPECT_TRUE(lines.contains(" request id=two method=GET path=\"/a \\\"b\\\"=")) << lines.toStdString();
    EXPECT_TRUE(lines.contains(" status=404 code=not-found ")) << lines.toStdString();
    EXPECT_FALSE(lines.contains("secret"));
}

TEST_F(Answers, TheLogCanBeJSON) {
    start({"--log", "json"});
    ASSERT_TRUE(post("<p>x", "/v1/pdf", "Content-Type: text/html\r\nX-Request-Id: one\r\n").isPDF());
    ASSERT_TRUE(server().readUntil([&] { return server().standardError().contains("\"one\""); }));
    for (const QByteArray &line : log().trimmed().split('\n')) {
        const QJsonObject event = QJsonDocument::fromJson(line).object();
        EXPECT_TRUE(event.contains(u"time"_s)) << line.toStdString();
        EXPECT_TRUE(event.contains(u"event"_s));
        if (event.value(u"id"_s) == u"one"_s) {
            EXPECT_EQ(event.value(u"status"_s).toInt(), 200);
            EXPECT_GT(event.value(u"seconds"_s).toDouble(), 0);
        }
    }
}
