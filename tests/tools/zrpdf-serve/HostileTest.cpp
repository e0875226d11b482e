// SPDX-License-Identifier: MIT
#include "tests/support/ListenOnLoopback.h"
#include "tests/tools/zrpdf-serve/ServeTest.h"

#include <poll.h>
#include <vector>

namespace {

class Hostile : public ServeTest {
protected:
    /// What is answered to bytes; 0 if the connection is closed without an answer.
    int statusOf(const QByteArray &bytes) {
        HTTPConnection connection = connect();
        connection.send(bytes);
        return connection.answer(true, std::chrono::seconds(10)).status;
    }
};

} // namespace

TEST_F(Hostile, LengthsThatContradictOneAnotherAreRefused) {
    start();
    const QByteArray head = "POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\n";
    for (const char *lengths :
         {"Content-Length: 5\r\nContent-Length: 5\r\n", "Content-Length: 5\r\nContent-Length: 6\r\n",
          "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
          "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n"}) {
        HTTPConnection connection = connect();
        connection.send(head + lengths + "\r\n5\r\n<p>ab\r\n0\r\n\r\n");
        EXPECT_EQ(connection.answer().status, 400) << lengths;
    }
    for (const char *length : {"-1", "+5", "5x", "0x5", ""})
        EXPECT_EQ(statusOf(head + "Content-Length: " + length + "\r\n\r\n<p>ab"), 400) << length;
}

TEST_F(Hostile, WhatIsNoHTTPIsAnsweredWith400OrNotAtAll) {
    start();
    for (const QByteArray &bytes :
         {QByteArray("\r\n\r\n\r\n\r\n"), QByteArray("GET\r\n\r\n"),
          QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11) + "\r\n\r\n",
          QByteArray("GET /health HTTP/9.9\r\n\r\n"), QByteArray("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"),
          QByteArray("GET /health HTTP/1.1\r\nno colon\r\n\r\n"), QByteArray(100, '\0') + "\r\n\r\n"}) {
        HTTPConnection connection = connect();
        connection.send(bytes);
        connection.send("GET /none HTTP/1.0\r\nHost: x\r\n\r\n");
        const Answer answer = connection.answer(true, std::chrono::seconds(10));
        EXPECT_TRUE(answer.status == 0 || answer.status == 400 || answer.status == 404 ||
                    answer.status == 505)
            << answer.status << ' ' << bytes.toPercentEncoding().toStdString();
    }
    EXPECT_TRUE(post("<p>still here").isPDF());
}

TEST_F(Hostile, AHeadThatIsTooLargeIsRefused) {
    start();
    const int status =
        statusOf("GET /health HTTP/1.1\r\nHost: x\r\nX: " + QByteArray(40'000, 'a') + "\r\n\r\n");
    EXPECT_TRUE(status == 431 || status == 400) << status;
    const int longTarget = statusOf("GET /" + QByteArray(40'000, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_TRUE(longTarget == 414 || longTarget == 431 || longTarget == 400) << longTarget;
    EXPECT_EQ(get("/none").status, 404);
}

TEST_F(Hostile, ManyConnectionsThatSayNothingLeaveRoomForOthers) {
    start();
    std::vector<HTTPConnection> silent;
    for (int count = 0; count < 200; ++count) {
        silent.push_back(connect());
        ASSERT_TRUE(silent.back().isConnected());
        silent.back().send(count % 2 ? "POST /v1/pdf HTTP/1.1\r\n" : "");
    }
    EXPECT_TRUE(post("<p>x").isPDF());
}

TEST_F(Hostile, AnUploadThatIsNotFinishedHoldsNobodyUp) {
    start({"--queue", "0"});
    HTTPConnection slow = connect();
    slow.send("POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nContent-Length: 8\r\n\r\n<p>s");
    ASSERT_EQ(get("/none").status, 404);
    EXPECT_TRUE(post("<p>quick").isPDF());
    slow.send("low!");
    EXPECT_TRUE(slow.answer().isPDF());
}

TEST_F(Hostile, AnUploadThatEndsEarlyIsNoRequest) {
    start();
    {
        HTTPConnection connection = connect();
        connection.send(
            "POST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\nContent-Length: 9999\r\n"
            "Expect: 100-continue\r\n\r\n");
        pollfd poll{connection.descriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&poll, 1, 30'000), 1);
        connection.send("<p>x");
    }
    ASSERT_TRUE(
        server().readUntil([&] { return server().standardError().contains("request without an answer"); }));
    EXPECT_EQ(metric("zrpdf_conversions_total"), 0);
}

TEST_F(Hostile, RequestsInARowAreAnsweredInTheirOrder) {
    start();
    HTTPConnection connection = connect();
    connection.send(
        "GET /none HTTP/1.1\r\nHost: x\r\n\r\nPOST /v1/pdf HTTP/1.1\r\nHost: x\r\nContent-Type: text/html\r\n"
        "Content-Length: 4\r\n\r\n<p>xGET /health HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(connection.answer().status, 404);
    EXPECT_TRUE(connection.answer().isPDF());
    EXPECT_EQ(connection.answer().status, 200);
}

TEST_F(Hostile, AnOldClientGetsItsPDFToo) {
    start();
    HTTPConnection connection = connect();
    connection.send("POST /v1/pdf HTTP/1.0\r\nContent-Type: text/html\r\nContent-Length: 4\r\n\r\n<p>x");
    EXPECT_TRUE(connection.answer().isPDF());
    EXPECT_TRUE(connection.isClosed());
}

TEST_F(Hostile, WebPagesCannotUseAPort) {
    const int port = freePort();
    start({"--listen", "127.0.0.1:" + QByteArray::number(port)});
    const auto ask = [&](const QByteArray &header) {
        HTTPConnection connection(port);
        connection.send("GET /openapi.json HTTP/1.1\r\n" + header + "\r\n");
        return QByteArray::number(connection.answer().status);
    };
    const QByteArray own = "127.0.0.1:" + QByteArray::number(port);
    for (const QByteArray &host : {own, QByteArray("localhost"), QByteArray("LOCALHOST:99"),
                                   QByteArray("[::1]:80"), QByteArray("127.1.2.3")})
        EXPECT_EQ(ask("Host: " + host + "\r\n"), "200") << host.toStdString();
    for (const char *host : {"example.org", "127.0.0.1.example.org", "localhost.example.org", "10.0.0.1",
                             "[::2]", "a/b", "x@localhost:1"})
        EXPECT_EQ(ask(QByteArray("Host: ") + host + "\r\n"), "403") << host;
    EXPECT_EQ(ask("Host: " + own + "\r\nOrigin: http://" + own + "\r\n"), "200");
    for (const char *origin : {"null", "https://example.org", "http://localhost:1", ""})
        EXPECT_EQ(ask("Host: " + own + "\r\nOrigin: " + origin + "\r\n"), "403") << origin;
}
