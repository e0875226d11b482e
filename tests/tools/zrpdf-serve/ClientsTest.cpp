// SPDX-License-Identifier: MIT
#include "tests/support/ListenOnLoopback.h"
#include "tests/support/ProcessTree.h"
#include "tests/support/ServerProcess.h"
#include "tests/tools/zrpdf-serve/ServeTest.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

class Clients : public ServeTest {
protected:
    /// Runs a program in the test's folder.
    Result runProgram(const QList<QByteArray> &command) {
        Child::Setup wanted = setup({});
        wanted.command = QList<QByteArray>{"/usr/bin/env"} + command;
        Child child(wanted);
        return finish(child);
    }

    /// Starts it on a port; the address.
    QByteArray startOnPort(const QList<QByteArray> &arguments = {}) {
        const QByteArray address = "127.0.0.1:" + QByteArray::number(freePort());
        start(QList<QByteArray>{"--listen", address} + arguments);
        return "http://" + address;
    }

    void putPage() {
        put("index.html", "<!DOCTYPE html><link rel=stylesheet href=style.css><body><img src=red.svg>");
        put("style.css", "body{margin:0} img{display:block}");
        put("red.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='1640'/>");
    }
};

} // namespace

TEST_F(Clients, Curl) {
    const QByteArray url = startOnPort();
    putPage();
    const QList<QByteArray> curl{"curl", "-sS", "--fail-with-body", "-m", "30"};
    put("page.html", html(1300));
    Result result =
        runProgram(curl + QList<QByteArray>{"--data-binary", "@page.html", "-H", "Content-Type: text/html",
                                            "-o", "a.pdf", url + "/v1/pdf?title=A"});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("a.pdf"), 1300);
    result = runProgram(curl + QList<QByteArray>{"-F", "index.html=@index.html", "-F", "style.css=@style.css",
                                                 "-F", "red.svg=@red.svg", "-F", "title=B", "-o", "b.pdf",
                                                 url + "/v1/pdf"});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("b.pdf"), 1640);
    result = runProgram(curl + QList<QByteArray>{"-F", "f=@style.css", "-F", "f=@red.svg", "-F",
                                                 "f=@index.html", "-o", "c.pdf", url + "/v1/pdf"});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("c.pdf"), 1640);
    result = runProgram(curl + QList<QByteArray>{"--data-urlencode", "url=" + url + "/metrics", "-o", "d.pdf",
                                                 url + "/v1/pdf"});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_GT(pageHeight("d.pdf"), 100);
    // Bodies of a megabyte and more are announced first.
    put("large.html", html(1200) + QByteArray(3'000'000, ' '));
    result = runProgram(curl + QList<QByteArray>{"--data-binary", "@large.html", "-H",
                                                 "Content-Type: text/html", "-o", "e.pdf", url + "/v1/pdf"});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("e.pdf"), 1200);
    result = runProgram(
        curl + QList<QByteArray>{"--data-binary", "x", "-H", "Content-Type: text/html", url + "/v1/pdf?x=y"});
    EXPECT_EQ(result.code, 22);
    EXPECT_TRUE(result.output.contains("\"code\":\"unknown-option\""));
}

TEST_F(Clients, CurlOnTheUsersSocket) {
    start();
    put("page.html", html(1300));
    const Result result =
        runProgram({"curl", "-sS", "--fail", "--unix-socket", socketPath(), "--data-binary", "@page.html",
                    "-H", "Content-Type: text/html", "-o", "a.pdf", "http://zrpdf/v1/pdf"});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("a.pdf"), 1300);
}

TEST_F(Clients, PythonsRequests) {
    const QByteArray url = startOnPort({"--max-body", "2M"});
    putPage();
    const Result result = runProgram({"python3", ZR_SERVE_TESTS "/clients/client.py", url});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("body.pdf"), 1300);
    EXPECT_EQ(pageHeight("form.pdf"), 1640);
}

TEST_F(Clients, NodesFetch) {
    const QByteArray url = startOnPort({"--max-body", "2M"});
    putPage();
    const Result result = runProgram({"node", ZR_SERVE_TESTS "/clients/client.mjs", url});
    EXPECT_EQ(result.code, 0) << result.error.toStdString();
    EXPECT_EQ(pageHeight("body.pdf"), 1300);
    EXPECT_EQ(pageHeight("form.pdf"), 1640);
}

TEST_F(Clients, AValidatorFindsNothingWrongWithTheDescription) {
    start();
    const Answer answer = get("/openapi.json");
    EXPECT_EQ(answer.header.value("content-type"), "application/json");
    put("openapi.json", answer.body);
    const QByteArray script = "my $s = JSON::Validator->new->schema($ARGV[0])->schema; print ref $s, "
                              "qq(\\n), map { qq($_\\n) } @{$s->errors}";
    Result result = runProgram({"perl", "-MJSON::Validator", "-e", script, "file://" + path("openapi.json")});
    EXPECT_EQ(result.output.toStdString(), "JSON::Validator::Schema::OpenAPIv3\n")
        << result.error.toStdString();
    // The validator does look.
    put("openapi.json", QByteArray(answer.body).replace("\"responses\":", "\"respones\":"));
    result = runProgram({"perl", "-MJSON::Validator", "-e", script, "file://" + path("openapi.json")});
    EXPECT_NE(result.output.count('\n'), 1);
}

TEST_F(Clients, TheDescriptionNamesEveryCodeAndOption) {
    start();
    const QJsonObject description = QJsonDocument::fromJson(get("/openapi.json").body).object();
    const QJsonArray codes =
        description[u"components"_s][u"schemas"_s][u"Problem"_s][u"properties"_s][u"code"_s][u"enum"_s]
            .toArray();
    QByteArrayList described;
    for (const QJsonValue &code : codes)
        described.append(code.toString().toLatin1());
    QByteArrayList counted;
    for (const QByteArray &line : get("/metrics").body.split('\n'))
        if (line.startsWith("zrpdf_failures_total{code=\"") && !line.contains("abandoned"))
            counted.append(line.split('"').value(1));
    EXPECT_EQ(described, counted);
    EXPECT_GE(counted.size(), 25);
}

TEST_F(Clients, PrometheusScrapesTheMetrics) {
    put("token", "0123456789abcdef");
    const QByteArray url = startOnPort({"--token-file", path("token")});
    const QByteArray port = QByteArray::number(freePort());
    put("prometheus.yml", "global:\n  scrape_interval: 1s\nscrape_configs:\n  - job_name: zrpdf\n    "
                          "authorization:\n      credentials_file: " +
                              path("token") + "\n    static_configs:\n      - targets: ['" + url.mid(7) +
                              "']\n");
    ServerProcess prometheus;
    prometheus.start(QStringLiteral("prometheus"),
                     {QStringLiteral("--config.file=") + QString::fromUtf8(path("prometheus.yml")),
                      QStringLiteral("--storage.tsdb.path=") + QString::fromUtf8(path("data")),
                      QStringLiteral("--web.listen-address=127.0.0.1:") + QString::fromLatin1(port)},
                     QString::fromUtf8(path("prometheus.log")));
    HTTPConnection connection = HTTPConnection(url.mid(url.lastIndexOf(':') + 1).toInt());
    connection.post("/v1/pdf", "<p>x",
                    "Content-Type: text/html\r\nAuthorization: Bearer 0123456789abcdef\r\n");
    ASSERT_TRUE(connection.answer().isPDF());
    const auto value = [&](const QByteArray &query) {
        const Result result =
            runProgram({"curl", "-sS", "-m", "5", "http://127.0.0.1:" + port + "/api/v1/query",
                        "--data-urlencode", "query=" + query});
        const QJsonArray found = QJsonDocument::fromJson(result.output)[u"data"_s][u"result"_s].toArray();
        return found.isEmpty() ? QString() : found.first()[u"value"_s][1].toString();
    };
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return value("zrpdf_conversions_total") == u"1"_s; },
                                       std::chrono::seconds(40)))
        << prometheus.said().toStdString();
    EXPECT_EQ(value("up{job=\"zrpdf\"}"), u"1"_s);
    EXPECT_EQ(value("zrpdf_conversion_seconds_count"), u"1"_s);
    EXPECT_EQ(value("zrpdf_conversion_seconds_bucket{le=\"+Inf\"}"), u"1"_s);
    EXPECT_EQ(value("count(zrpdf_failures_total)"), u"26"_s);
    EXPECT_EQ(value("zrpdf_instances"), u"1"_s);
    prometheus.end(SIGTERM);
}

TEST_F(Clients, NginxPassesRequestsOnToTheSocket) {
    start();
    const QByteArray port = QByteArray::number(freePort());
    put("nginx.conf",
        "daemon off; master_process off; pid nginx.pid; error_log nginx.error;\nevents {}\nhttp {\n  "
        "access_log off;\n"
        "  client_body_temp_path t1; proxy_temp_path t2; fastcgi_temp_path t3; uwsgi_temp_path t4; "
        "scgi_temp_path t5;\n"
        "  server {\n    listen 127.0.0.1:" +
            port +
            ";\n    client_max_body_size 64m;\n"
            "    location / {\n      proxy_pass http://unix:" +
            socketPath() +
            ";\n"
            "      proxy_http_version 1.1; proxy_set_header Connection \"\"; proxy_set_header Host $host;\n"
            "      proxy_set_header X-Request-Id $request_id;\n    }\n  }\n}\n");
    ServerProcess nginx;
    nginx.start(QStringLiteral("/usr/sbin/nginx"),
                {QStringLiteral("-p"), QString::fromUtf8(path("")), QStringLiteral("-c"),
                 QString::fromUtf8(path("nginx.conf"))},
                QString::fromUtf8(path("nginx.log")));
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return HTTPConnection(port.toInt()).isConnected(); }))
        << nginx.said().toStdString();
    HTTPConnection connection(port.toInt());
    connection.send("POST /v1/pdf HTTP/1.1\r\nHost: pdf.example.org\r\nOrigin: "
                    "https://app.example.org\r\nContent-Type: text/html\r\n"
                    "Content-Length: 4\r\n\r\n<p>x");
    const Answer answer = connection.answer();
    EXPECT_TRUE(answer.isPDF()) << answer.body.toStdString();
    EXPECT_EQ(answer.header.value("x-request-id").size(), 32);
    nginx.end(SIGTERM);
}
