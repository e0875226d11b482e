// SPDX-License-Identifier: MIT
#include "platform/net/ContentsOfURL.h"

#include "tests/support/HTTPServer.h"
#include "tests/support/ProcessTree.h"
#include "tests/support/ServerProcess.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QUrl u(const QByteArray &url) {
    return QUrl(QString::fromUtf8(url), QUrl::StrictMode);
}

QStringList words(const char *text) {
    return QString::fromLatin1(text).split(u' ');
}

HTTPServer::Response answer(const HTTPServer::Request &request) {
    HTTPServer::Response response;
    if (request.path.startsWith("/status/")) {
        response.status = request.path.mid(8).toInt();
        response.body = "an error page";
    } else if (request.path.startsWith("/hop/")) {
        const int left = request.path.mid(5).toInt();
        response.status = 302;
        response.headers = {left > 0 ? "Location: /hop/" + QByteArray::number(left - 1)
                                     : QByteArray("Location: /page")};
    } else if (request.path == "/to-file") {
        response.status = 302;
        response.headers = {"Location: file:///etc/hostname"};
    } else if (request.path.startsWith("/permanent/")) {
        response.status = 308;
        response.headers = {"Location: " + request.path.mid(11)};
    } else if (request.path == "/packed") {
        // Qt puts four bytes of its own before the zlib stream.
        response.body = qCompress(QByteArray(100'000, 'z')).mid(4);
        response.headers = {"Content-Encoding: deflate"};
    } else if (request.path == "/cut") {
        response.body = QByteArray(10'000, 'x');
        response.fault = HTTPServer::Fault::CutBody;
    } else if (request.path == "/silent") {
        response.fault = HTTPServer::Fault::CloseUnanswered;
    } else if (request.path == "/page") {
        response.body = "page \xc3\xa9";
    } else if (request.path == "/a%20b?q=1") {
        response.body = "escaped as it came";
    }
    return response;
}

class ContentsOfURL : public testing::Test {
protected:
    QByteArray contents(const char *path) const {
        return NSDataWithContentsOfURL(
            QUrl(server.url(QStringLiteral("/")).toString().chopped(1) + QString::fromLatin1(path)));
    }
    HTTPServer server{answer};
};

TEST_F(ContentsOfURL, HTTPGivesTheBody) {
    EXPECT_EQ(contents("/page"), "page \xc3\xa9");
    EXPECT_EQ(contents("/a%20b?q=1#fragment"), "escaped as it came");
    EXPECT_EQ(server.requests().last().path, "/a%20b?q=1");
}

TEST_F(ContentsOfURL, AnEmptyBodyIsNotNil) {
    EXPECT_TRUE(contents("/empty").isEmpty());
    EXPECT_FALSE(contents("/empty").isNull());
}

TEST_F(ContentsOfURL, ContentEncodingsAreDecoded) {
    EXPECT_EQ(contents("/packed"), QByteArray(100'000, 'z'));
}

TEST_F(ContentsOfURL, StatusesFrom400OnAreFailures) {
    for (const char *path : {"/status/400", "/status/404", "/status/500", "/status/503"})
        EXPECT_TRUE(contents(path).isNull()) << path;
    EXPECT_EQ(contents("/status/203"), "an error page");
}

TEST_F(ContentsOfURL, RedirectsAreFollowedUpTo20) {
    EXPECT_EQ(contents("/hop/0"), "page \xc3\xa9");
    EXPECT_EQ(contents("/hop/19"), "page \xc3\xa9");
    EXPECT_TRUE(contents("/hop/20").isNull());
}

TEST_F(ContentsOfURL, PermanentOnesAreFollowedToo) {
    EXPECT_EQ(contents("/permanent//page"), "page \xc3\xa9");
    EXPECT_EQ(contents("/permanent//permanent//page"), "page \xc3\xa9");
}

TEST_F(ContentsOfURL, NoRedirectLeavesTheWeb) {
    EXPECT_TRUE(contents("/to-file").isNull());
    EXPECT_TRUE(contents("/permanent/file:///etc/hostname").isNull());
    EXPECT_TRUE(contents("/permanent/data:,x").isNull());
}

TEST_F(ContentsOfURL, ConnectionsThatBreakAreFailures) {
    EXPECT_TRUE(contents("/cut").isNull());
    EXPECT_TRUE(contents("/silent").isNull());
}

TEST(ContentsOfURLs, AServerWithACertificateOfItsOwnIsRefused) {
    const QTemporaryDir folder;
    const QString key = folder.filePath(QStringLiteral("key.pem"));
    const QString certificate = folder.filePath(QStringLiteral("certificate.pem"));
    const QString openssl = QStringLiteral("openssl"), output = folder.filePath(QStringLiteral("output"));
    ServerProcess server;
    server.start(openssl,
                 words("req -x509 -newkey rsa:2048 -nodes -batch -subj /CN=127.0.0.1 -keyout") +
                     QStringList{key, QStringLiteral("-out"), certificate},
                 output);
    ASSERT_EQ(server.waitUntilItEnds(), 0) << server.said().toStdString();
    server.start(openssl,
                 words("s_server -accept 127.0.0.1:0 -www -key") +
                     QStringList{key, QStringLiteral("-cert"), certificate},
                 output);
    const auto hears = [&](const char *words) {
        return ProcessTree::waitUntil([&] { return server.said().contains(words); });
    };
    const auto line = [&] { return server.said().mid(server.said().indexOf("ACCEPT 127.0.0.1:") + 17); };
    ASSERT_TRUE(hears("ACCEPT 127.0.0.1:") && ProcessTree::waitUntil([&] { return line().contains('\n'); }))
        << server.said().toStdString();
    const QByteArray port = line().split('\n').first().trimmed();
    EXPECT_TRUE(NSDataWithContentsOfURL(u("https://127.0.0.1:" + port + "/")).isNull());
    EXPECT_TRUE(hears("unknown ca")) << server.said().toStdString();
}

TEST(ContentsOfURLs, ServersThatAreNotThereAreFailures) {
    int port = 0;
    {
        const HTTPServer gone(answer);
        port = gone.port();
    }
    EXPECT_TRUE(NSDataWithContentsOfURL(QUrl(QStringLiteral("http://127.0.0.1:%1/page").arg(port))).isNull());
    EXPECT_TRUE(NSDataWithContentsOfURL(u("http://nowhere.invalid/")).isNull());
}

TEST(ContentsOfURLs, FileURLsNameFilesOfThisHost) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a é %41#?.txt"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("content") == 7);
    file.close();
    QUrl url = QUrl::fromLocalFile(path);
    EXPECT_EQ(NSDataWithContentsOfURL(url), "content");
    url.setHost(QStringLiteral("localhost"));
    EXPECT_EQ(NSDataWithContentsOfURL(url), "content");
    url.setHost(QStringLiteral("example.com"));
    EXPECT_TRUE(NSDataWithContentsOfURL(url).isNull());
    EXPECT_TRUE(
        NSDataWithContentsOfURL(QUrl::fromLocalFile(folder.filePath(QStringLiteral("missing")))).isNull());
    EXPECT_TRUE(NSDataWithContentsOfURL(QUrl::fromLocalFile(folder.path())).isNull());
}

TEST(ContentsOfURLs, AnEmptyFileIsNotNil) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("empty")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const QByteArray content = NSDataWithContentsOfURL(QUrl::fromLocalFile(file.fileName()));
    EXPECT_TRUE(content.isEmpty());
    EXPECT_FALSE(content.isNull());
}

TEST(ContentsOfURLs, DataURLsHoldTheirContent) {
    EXPECT_EQ(NSDataWithContentsOfURL(u("data:text/plain;base64,TWFu")), "Man");
    EXPECT_EQ(NSDataWithContentsOfURL(u("data:,a%20b")), "a b");
    EXPECT_FALSE(NSDataWithContentsOfURL(u("data:,")).isNull());
}

TEST(ContentsOfURLs, OtherSchemesAreFailures) {
    for (const char *url :
         {"ftp://127.0.0.1/x", "gopher://127.0.0.1/", "mailto:a@b", "relative/path", "/etc/hostname"})
        EXPECT_TRUE(NSDataWithContentsOfURL(u(url)).isNull()) << url;
    EXPECT_TRUE(NSDataWithContentsOfURL(QUrl()).isNull());
}

} // namespace
