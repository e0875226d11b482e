// SPDX-License-Identifier: MIT
#include "tests/support/ListenOnLoopback.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-serve/ServeTest.h"

#include <QFile>
#include <array>
#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

class Listening : public ServeTest {
protected:
    /// What a run that can't start says.
    std::string refusal(const QList<QByteArray> &arguments, int code) {
        const Result result = runServe(arguments);
        EXPECT_EQ(result.code, code) << result.error.toStdString();
        EXPECT_EQ(result.output.toStdString(), "");
        EXPECT_TRUE(result.error.startsWith("zrpdf serve: "));
        return result.error.mid(13).trimmed().toStdString();
    }

    /// curl's answer: the status and the body.
    Result curl(const QList<QByteArray> &arguments) {
        Child::Setup wanted = setup({});
        wanted.command =
            QList<QByteArray>{"/usr/bin/curl", "-sS", "-m", "30", "-w", " %{http_code}"} + arguments;
        Child child(wanted);
        return finish(child);
    }
};

} // namespace

TEST_F(Listening, TheUsualSocketIsForItsUserOnlyAndGoesWithTheServer) {
    start();
    struct stat status {};
    ASSERT_EQ(::stat(socketPath().constData(), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(stop(), 0);
    EXPECT_NE(::stat(socketPath().constData(), &status), 0);
}

TEST_F(Listening, TheSocketOfADeadServerIsUsedAgain) {
    start();
    server().kill(SIGKILL);
    EXPECT_EQ(server().wait(), -SIGKILL);
    struct stat status {};
    ASSERT_EQ(::stat(socketPath().constData(), &status), 0);
    ASSERT_TRUE(allGone());
    start();
    EXPECT_TRUE(post("<p>x").isPDF());
}

TEST_F(Listening, TheSocketOfALivingServerIsNot) {
    start();
    EXPECT_EQ(refusal({}, 1),
              "can't listen on " + socketPath().toStdString() + ": another server listens there");
    EXPECT_EQ(get("/none").status, 404);
}

TEST_F(Listening, WhatIsNoSocketStays) {
    put("file", "content");
    EXPECT_EQ(refusal({"--listen", path("file")}, 1),
              "can't listen on " + path("file").toStdString() + ": there is something that is no socket");
    EXPECT_EQ(read("file"), "content");
    EXPECT_NE(refusal({"--listen", path("nowhere/x.sock")}, 1).find("No such file"), std::string::npos);
    EXPECT_EQ(refusal({"--listen", path("x/")}, 2).find("the value of option --listen names a folder"), 0U);
}

TEST_F(Listening, ASocketThatAnotherServerPutThereSinceStays) {
    start();
    ASSERT_EQ(::unlink(socketPath().constData()), 0);
    Child second(serveSetup({"--instances", "1"}));
    ASSERT_TRUE(second.readUntil([&] { return second.standardError().contains("listening"); }));
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(get("/none").status, 404);
    second.kill(SIGTERM);
    EXPECT_EQ(second.wait(), 0);
}

TEST_F(Listening, SeveralAddressesAreServedAtOnce) {
    const int port = freePort();
    start({"--listen", "127.0.0.1:" + QByteArray::number(port), "--listen", path("a.sock")});
    HTTPConnection tcp(port);
    tcp.get("/none");
    EXPECT_EQ(tcp.answer().status, 404);
    HTTPConnection local(path("a.sock"));
    local.get("/none");
    EXPECT_EQ(local.answer().status, 404);
    EXPECT_EQ(names().contains(QStringLiteral("a.sock")), true);
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(names().contains(QStringLiteral("a.sock")), false);
}

TEST_F(Listening, APortThatIsTakenIsNamed) {
    int port = 0;
    const zr::FileDescriptor taken(listenOnLoopback(&port));
    const QByteArray address = "127.0.0.1:" + QByteArray::number(port);
    EXPECT_EQ(refusal({"--listen", address}, 1),
              "can't listen on " + address.toStdString() + ": Address already in use");
}

TEST_F(Listening, IPv6IsServed) {
    // Some machines have no IPv6 loopback.
    ASSERT_TRUE(OwnNetwork::enter()) << OwnNetwork::needs;
    const QByteArray address = "[::1]:" + QByteArray::number(freePort());
    start({"--listen", address});
    const Result result = curl({"-g", "--data-binary", "<p>x", "-H", "Content-Type: text/html", "-o", "a.pdf",
                                "http://" + address + "/v1/pdf"});
    EXPECT_EQ(result.output, " 200") << result.error.toStdString();
    EXPECT_TRUE(read("a.pdf").startsWith("%PDF-"));
}

TEST_F(Listening, WithoutARuntimeFolderAnAddressIsNeeded) {
    Child::Setup wanted = serveSetup({});
    wanted.environment.append("XDG_RUNTIME_DIR=");
    Child child(wanted);
    const Result result = finish(child);
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(result.error.contains("XDG_RUNTIME_DIR is not set to an absolute path; say --listen"))
        << result.error.toStdString();
}

TEST_F(Listening, OtherMachinesNeedAToken) {
    const QByteArray address = "0.0.0.0:" + QByteArray::number(freePort());
    EXPECT_NE(refusal({"--listen", address}, 2).find("--allow-remote"), std::string::npos);
    EXPECT_EQ(refusal({"--listen", address, "--allow-remote"}, 2),
              "option --allow-remote needs a token: --token-file");
    put("token", "short");
    EXPECT_NE(
        refusal({"--listen", address, "--allow-remote", "--token-file", "token"}, 2).find("holds no token"),
        std::string::npos);
    EXPECT_NE(refusal({"--token-file", "nowhere"}, 2).find("No such file"), std::string::npos);
    put("token", "0123456789abcdef\n");
    start({"--listen", address, "--allow-remote", "--token-file", "token"});
    const QByteArray url = "http://127.0.0.1:" + address.mid(8);
    EXPECT_TRUE(curl({url + "/metrics"}).output.endsWith(" 401"));
    EXPECT_TRUE(
        curl({"-H", "Authorization: Bearer 0123456789abcdef", url + "/metrics"}).output.endsWith(" 200"));
    // A name or a page is no matter if the token is right.
    EXPECT_TRUE(curl({"-H", "Authorization: Bearer 0123456789abcdef", "-H", "Host: pdf.example.org", "-H",
                      "Origin: https://x", url + "/metrics"})
                    .output.endsWith(" 200"));
}

TEST_F(Listening, ATokenIsAskedForOnAnySocketButForHealth) {
    put("token", "0123456789abcdef");
    start({"--token-file", path("token")});
    const Answer missing = post("<p>x");
    EXPECT_EQ(missing.status, 401);
    EXPECT_EQ(missing.code(), "unauthorized");
    EXPECT_EQ(missing.header.value("www-authenticate"), "Bearer realm=\"zrpdf\"");
    const Answer wrong =
        post("<p>x", "/v1/pdf", "Content-Type: text/html\r\nAuthorization: Bearer 0123456789abcdeg\r\n");
    EXPECT_EQ(wrong.status, 401);
    EXPECT_TRUE(wrong.header.value("www-authenticate").contains("invalid_token"));
    EXPECT_TRUE(
        post("<p>x", "/v1/pdf", "Content-Type: text/html\r\nAuthorization: bearer 0123456789abcdef\r\n")
            .isPDF());
    EXPECT_EQ(get("/openapi.json").status, 401);
    EXPECT_EQ(get("/none").status, 401);
    EXPECT_EQ(get("/health").status, 200);
}

TEST_F(Listening, SystemdsCredentialIsTheToken) {
    put("zrpdf-serve.token", "0123456789abcdef");
    Child::Setup wanted = serveSetup({"--instances", "1"});
    wanted.environment.append("CREDENTIALS_DIRECTORY=" + wanted.folder);
    start(wanted);
    EXPECT_EQ(get("/metrics").status, 401);
    EXPECT_EQ(get("/metrics", "Authorization: Bearer 0123456789abcdef\r\n").status, 200);
}

TEST_F(Listening, SystemdsSocketIsServed) {
    const int port = freePort();
    Child::Setup wanted = serveSetup({"--instances", "1"});
    wanted.command =
        QList<QByteArray>{
            "/usr/bin/systemd-socket-activate",     "-E", "TSAN_OPTIONS", "-l", path("s.sock"), "-l",
            "127.0.0.1:" + QByteArray::number(port)} +
        wanted.command;
    Child activator(wanted);
    ASSERT_TRUE(activator.readUntil([&] { return activator.standardError().count("Listening on") == 2; }));
    HTTPConnection local(path("s.sock"));
    local.post("/v1/pdf", "<p>x");
    EXPECT_TRUE(local.answer().isPDF()) << activator.standardError().toStdString();
    HTTPConnection tcp(port);
    tcp.post("/v1/pdf", "<p>x");
    EXPECT_TRUE(tcp.answer().isPDF());
    activator.kill(SIGTERM);
    EXPECT_EQ(activator.wait(), 0);
    // The socket is its maker's.
    EXPECT_TRUE(names().contains(QStringLiteral("s.sock")));
}

TEST_F(Listening, ASocketThatOtherMachinesReachIsNotServedWithoutAToken) {
    Child::Setup wanted = serveSetup({});
    const int port = freePort();
    wanted.command = QList<QByteArray>{"/usr/bin/systemd-socket-activate", "-E", "TSAN_OPTIONS", "-l",
                                       "0.0.0.0:" + QByteArray::number(port)} +
                     wanted.command;
    Child activator(wanted);
    ASSERT_TRUE(activator.readUntil([&] { return activator.standardError().contains("Listening on"); }));
    const HTTPConnection knock(port);
    const Result result = finish(activator);
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(result.error.contains("--allow-remote")) << result.error.toStdString();
}

TEST_F(Listening, WhoStoppedLeavesNewConnectionsOnSystemdsSocketToTheNext) {
    Child::Setup wanted = serveSetup({"--instances", "1"});
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray place = path("kept.sock");
    std::copy(place.begin(), place.end(), address.sun_path);
    const zr::FileDescriptor kept(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(::bind(kept.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(kept.get(), 16), 0);
    wanted.prepare = [descriptor = kept.get()] {
        static std::array<char, 32> number{};
        std::snprintf(number.data(), number.size(), "%d", int(::getpid()));
        return ::dup2(descriptor, 3) == 3 && ::setenv("LISTEN_PID", number.data(), 1) == 0 &&
               ::setenv("LISTEN_FDS", "1", 1) == 0;
    };
    start(wanted);
    EXPECT_EQ(stop(), 0);
    HTTPConnection early(place);
    ASSERT_TRUE(early.isConnected());
    early.post("/v1/pdf", "<p>x");
    start(wanted);
    EXPECT_TRUE(early.answer().isPDF());
}

TEST_F(Listening, SystemdIsToldOfReadinessAndOfTheEnd) {
    const zr::FileDescriptor manager(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray place = path("notify");
    std::copy(place.begin(), place.end(), address.sun_path);
    ASSERT_EQ(::bind(manager.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    const timeval patience{20, 0};
    ::setsockopt(manager.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    Child::Setup wanted = serveSetup({"--instances", "1"});
    wanted.environment.append("NOTIFY_SOCKET=" + place);
    start(wanted);
    std::array<char, 100> told{};
    ASSERT_EQ(::recv(manager.get(), told.data(), told.size(), 0), 7);
    EXPECT_STREQ(told.data(), "READY=1");
    EXPECT_EQ(get("/none").status, 404);
    EXPECT_EQ(stop(), 0);
    told = {};
    ASSERT_EQ(::recv(manager.get(), told.data(), told.size(), 0), 10);
    EXPECT_STREQ(told.data(), "STOPPING=1");
}

TEST_F(Listening, TheUnitsAreSound) {
    for (const char *manager : {"user", "system"}) {
        QFile unit(QStringLiteral(ZR_BINARY_DIR "/tools/zrpdf-serve/%1/zrpdf-serve.service")
                       .arg(QLatin1String(manager)));
        ASSERT_TRUE(unit.open(QIODevice::ReadOnly));
        // What is installed isn't there yet.
        const QByteArray text = unit.readAll();
        const qsizetype start = text.indexOf("ExecStart=") + 10;
        put("zrpdf-serve.service", text.left(start) + ZR_BINARY_DIR "/libexec/zrkit/zrpdf-serve" +
                                       text.mid(text.indexOf(' ', start)));
        QFile socket(QStringLiteral(ZR_SOURCE_DIR "/packaging/systemd/zrpdf-serve.socket"));
        ASSERT_TRUE(socket.open(QIODevice::ReadOnly));
        put("zrpdf-serve.socket", socket.readAll());
        Child::Setup wanted = setup({});
        wanted.command = {"/usr/bin/systemd-analyze",  "--man=no",
                          QByteArray("--") + manager,  "verify",
                          path("zrpdf-serve.service"), path("zrpdf-serve.socket")};
        wanted.environment.append("XDG_RUNTIME_DIR=" + wanted.folder);
        Child verify(wanted);
        const Result verified = finish(verify);
        EXPECT_EQ(verified.code, 0) << verified.error.toStdString();
        EXPECT_EQ(verified.error.toStdString(), "");
        if (QByteArray(manager) == "user")
            continue;
        wanted.command = {
            "/usr/bin/systemd-analyze", "security", "--offline=yes", "--no-pager", "--threshold=45",
            path("zrpdf-serve.service")};
        Child judge(wanted);
        EXPECT_EQ(finish(judge).code, 0) << judge.standardOutput().right(500).toStdString();
    }
}

TEST_F(Listening, HelpAndVersionAreForPeople) {
    const Result help = runServe({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.output.startsWith("usage: zrpdf serve"));
    const Result version = runServe({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_TRUE(version.output.startsWith("zrpdf-serve "));
    EXPECT_NE(refusal({"--queue", "many"}, 2).find("(see zrpdf serve --help)"), std::string::npos);
}
