// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"
#include "tests/tools/zrpdf/LoopbackServer.h"
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QDir>
#include <QFile>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using ZrpdfTrouble = ZrpdfTest;
using std::chrono::milliseconds;
using std::chrono::seconds;

TEST_F(ZrpdfTrouble, ADocumentThatTakesTooLongIsGivenUpAndTheNextOneConverted) {
    const LoopbackServer server;
    put("good.html", html(1300));
    // Long enough for a service to come up twice beside whatever else the machine does.
    const Result result = run({"--timeout", "5", server.url("/silent"), "good.html"});
    EXPECT_EQ(result.code, 5);
    EXPECT_TRUE(result.error.contains("zrpdf: " + server.url("/silent") + ": took longer than 5 s\n"))
        << result.error.constData();
    EXPECT_EQ(server.waiting(), 1);
    EXPECT_NEAR(pageHeight("good.pdf"), 1300, 0.01);
    EXPECT_EQ(names(), (QStringList{QStringLiteral("good.html"), QStringLiteral("good.pdf")}));
}

TEST_F(ZrpdfTrouble, TheLastDocumentsTimeoutEndsTheRunAtOnce) {
    const LoopbackServer server;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run({"-t", "0.5", server.url("/silent")}).code, 5);
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(5));
}

TEST_F(ZrpdfTrouble, ALostServiceFailsItsDocumentAndTheNextOneGetsANewService) {
    const LoopbackServer server;
    put("good.html", html(1300));
    Child child(setup({server.url("/silent"), "good.html"}));
    ASSERT_TRUE(child.readUntil([&] { return server.waiting() == 1; }));
    const QList<pid_t> services = child.children();
    ASSERT_EQ(services.size(), 1);
    ASSERT_EQ(::kill(services.first(), SIGKILL), 0);
    EXPECT_EQ(child.wait(), 6);
    EXPECT_TRUE(child.standardError().contains("zrpdf: " + server.url("/silent") +
                                               ": the conversion service was lost (killed by signal 9)"))
        << child.standardError().constData();
    EXPECT_NEAR(pageHeight("good.pdf"), 1300, 0.01);
}

TEST_F(ZrpdfTrouble, OfTwoInstancesOneCanBeLostAlone) {
    const LoopbackServer server;
    QList<QByteArray> arguments{"-q", "-j2", server.url("/silent")};
    for (int index = 0; index < 6; ++index) {
        const QByteArray name = "n" + QByteArray::number(index) + ".html";
        put(name, html(1300 + index));
        arguments.append(name);
    }
    Child child(setup(arguments));
    // The other instance has done all there is to do.
    ASSERT_TRUE(child.readUntil([&] { return server.waiting() == 1 && pageHeight("n5.pdf") > 0; }));
    const QList<pid_t> services = child.children();
    ASSERT_EQ(services.size(), 2);
    for (const pid_t service : services)
        ASSERT_EQ(::kill(service, SIGKILL), 0);
    EXPECT_EQ(child.wait(), 6);
    EXPECT_EQ(child.standardError().count('\n'), 1) << child.standardError().constData();
    for (int index = 0; index < 6; ++index)
        EXPECT_NEAR(pageHeight("n" + QByteArray::number(index) + ".pdf"), 1300 + index, 0.01);
}

/// A service that somebody else has started for this user's socket, as a systemd unit does.
class ZrpdfUnit : public ZrpdfTest {
protected:
    void SetUp() override {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(std::size_t(name.size()), sizeof address.sun_path);
        std::memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
        m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_EQ(::bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        ASSERT_EQ(::listen(m_socket, 16), 0);
    }
    void TearDown() override {
        ::close(m_socket);
        ::unlink(name.constData());
        ZrpdfTest::TearDown();
    }
    Child::Setup service() const {
        Child::Setup wanted = setup({});
        wanted.command = {ZR_BINARY_DIR "/libexec/zrkit/com.velmora.zrpdf"};
        wanted.environment.append("LISTEN_FDS=1");
        wanted.prepare = [socket = m_socket] {
            return ::dup2(socket, 3) == 3 &&
                   ::setenv("LISTEN_PID", std::to_string(::getpid()).c_str(), 1) == 0;
        };
        return wanted;
    }
    const QByteArray name = runtimeFolder() + "/com.velmora.zrpdf.sock";

private:
    int m_socket = -1;
};

TEST_F(ZrpdfUnit, ItsServiceConvertsAndOutlivesTheProgram) {
    Child unit(service());
    put("page.html", html(1300));
    for (const char *const output : {"x.pdf", "y.pdf"}) {
        Child child(setup({"-q", "page.html", "-o", output}));
        EXPECT_TRUE(child.readUntil([&] { return pageHeight(output) > 0; }));
        EXPECT_EQ(child.wait(), 0) << child.standardError().constData();
        EXPECT_NEAR(pageHeight(output), 1300, 0.01);
    }
    unit.kill(SIGTERM);
    EXPECT_EQ(unit.wait(), 0);
    // It did the work: the program's own instance would have logged elsewhere.
    EXPECT_GE(unit.standardError().count("==> XPC work on task "), 2) << unit.standardError().constData();
}

TEST_F(ZrpdfUnit, ItsServicesLossIsSeen) {
    const LoopbackServer server;
    Child unit(service());
    Child child(setup({"-q", server.url("/silent")}));
    ASSERT_TRUE(child.readUntil([&] { return server.waiting() == 1; }));
    unit.kill(SIGKILL);
    unit.wait();
    EXPECT_EQ(child.wait(seconds(10)), 6) << child.standardError().constData();
    EXPECT_EQ(child.standardError(),
              "zrpdf: " + server.url("/silent") + ": the conversion service was lost or can't be started\n");
}

TEST_F(ZrpdfUnit, ATimeoutGivesTheDocumentUpAndLeavesTheServiceAlone) {
    const LoopbackServer server;
    Child unit(service());
    EXPECT_EQ(run({"-q", "-t", "1", server.url("/silent")}).code, 5);
    put("page.html", html(1300));
    EXPECT_EQ(run({"-q", "page.html"}).code, 0);
    unit.kill(SIGKILL);
}

/// A socket at which systemd's own tool listens, as the unit does; it becomes the service when the first client comes.
class ZrpdfSocketActivation : public ZrpdfTest {
protected:
    ZrpdfSocketActivation() : unit(activator()) {}
    void SetUp() override {
        ASSERT_TRUE(unit.readUntil([&] { return unit.standardError().contains("Listening on "); }))
            << unit.standardError().constData();
    }
    void TearDown() override {
        unit.kill(SIGTERM);
        EXPECT_EQ(unit.wait(), 0);
        EXPECT_EQ(unit.standardError().count("Started Worker"), 1) << unit.standardError().constData();
        ::unlink(name.constData());
        ZrpdfTest::TearDown();
    }
    Child::Setup activator() const {
        Child::Setup wanted = setup({});
        wanted.command = {"/usr/bin/systemd-socket-activate",
                          "-E",
                          "TMPDIR",
                          "-l",
                          name,
                          ZR_BINARY_DIR "/libexec/zrkit/com.velmora.zrpdf"};
        return wanted;
    }
    const QByteArray name = runtimeFolder() + "/com.velmora.zrpdf.sock";
    Child unit;
};

TEST_F(ZrpdfSocketActivation, TheFirstDocumentStartsTheServiceWhichConvertsAllThatFollow) {
    put("page.html", html(1300));
    for (const char *const output : {"x.pdf", "y.pdf", "z.pdf"}) {
        const Result result = run({"-q", "page.html", "-o", output});
        EXPECT_EQ(result.code, 0) << result.error.constData();
        EXPECT_NEAR(pageHeight(output), 1300, 0.01);
    }
    EXPECT_TRUE(unit.readUntil([&] { return unit.standardError().count("<== XPC finished") >= 3; }));
}

TEST_F(ZrpdfSocketActivation, AClientInPythonThatKnowsNothingButTheWireFormatConverts) {
    put("page.html", html(1300));
    put("empty.html", "");
    Child::Setup wanted = setup({});
    wanted.command = {"/usr/bin/python3", ZR_SOURCE_DIR "/examples/python_client.py", "page.html", "x.pdf"};
    Child child(wanted);
    EXPECT_EQ(child.wait(), 0) << child.standardError().constData();
    EXPECT_NEAR(pageHeight("x.pdf"), 1300, 0.01);
    EXPECT_EQ(PDFDocument(read("x.pdf")).documentAttributes().value(PDFDocumentTitleAttribute),
              QStringLiteral("From Python"));

    wanted.command[2] = "empty.html";
    Child failing(wanted);
    EXPECT_EQ(failing.wait(), 1);
    for (const char *const part :
         {"101", "com.velmora.error", "HTML to PDF converter did fail", "NSUnderlyingError"})
        EXPECT_TRUE(failing.standardError().contains(part)) << failing.standardError().constData();
}

/// Runs a copy of the program that has this in the place where its service is looked for first.
class ZrpdfOddService : public ZrpdfTest {
protected:
    Result runBeside(const QByteArray &service, int permissions, const QList<QByteArray> &arguments) {
        EXPECT_TRUE(QDir(QString::fromUtf8(path(""))).mkpath(QStringLiteral("bin/XPCServices")));
        QFile::copy(QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf"), QString::fromUtf8(path("bin/zrpdf")));
        put("bin/XPCServices/com.velmora.zrpdf", service);
        EXPECT_EQ(::chmod(path("bin/XPCServices/com.velmora.zrpdf").constData(), mode_t(permissions)), 0);
        put("page.html", html(100));
        Child::Setup wanted = setup(arguments);
        wanted.command.first() = path("bin/zrpdf");
        Child child(wanted);
        return finish(child);
    }
};

TEST_F(ZrpdfOddService, OneThatEndsAtOnceIsLost) {
    const Result result = runBeside("#!/bin/sh\nexit 7\n", 0755, {"page.html"});
    EXPECT_EQ(result.code, 6);
    // Whether its end or the refused connection is seen first is open.
    EXPECT_TRUE(result.error.startsWith("zrpdf: page.html: the conversion service was lost "))
        << result.error.constData();
    EXPECT_EQ(result.error.count('\n'), 1);
    const Result boot = runBeside("#!/bin/sh\nexit 7\n", 0755, {"--boot"});
    EXPECT_EQ(boot.code, 6);
    EXPECT_EQ(boot.output, "");
    EXPECT_TRUE(boot.error.startsWith("zrpdf: the conversion service was lost ")) << boot.error.constData();
}

TEST_F(ZrpdfOddService, OneThatIsNoProgramCannotBeStarted) {
    const Result result = runBeside("neither fish nor fowl", 0755, {"page.html", "-o", "x.pdf"});
    EXPECT_EQ(result.code, 6);
    EXPECT_TRUE(
        result.error.startsWith("zrpdf: page.html: the conversion service was lost or can't be started"))
        << result.error.constData();
}

TEST_F(ZrpdfOddService, OneThatNeverAnswersIsATimeout) {
    const auto start = std::chrono::steady_clock::now();
    const Result result = runBeside("#!/bin/sh\nread line\n", 0755, {"-t", "0.3", "--boot"});
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(result.error, "zrpdf: took longer than 0.3 s\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(5));
}

TEST_F(ZrpdfTrouble, AnInterruptEndsAllAtOnceWithItsCode) {
    const LoopbackServer server;
    for (const auto &[signal, code] :
         {std::pair(SIGINT, 130), std::pair(SIGTERM, 143), std::pair(SIGHUP, 129)}) {
        const int before = server.waiting();
        Child child(setup({server.url("/silent")}));
        ASSERT_TRUE(child.readUntil([&] { return server.waiting() > before; }));
        const auto start = std::chrono::steady_clock::now();
        child.kill(signal);
        EXPECT_EQ(child.wait(), code);
        EXPECT_TRUE(allGone());
        EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(3));
        EXPECT_TRUE(child.standardError().contains("zrpdf: interrupted\n"));
    }
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ZrpdfTrouble, AnInterruptWhileStandardInputIsWaitedForEndsItToo) {
    Child::Setup wanted = setup({"-"});
    wanted.keepsInput = true;
    Child child(wanted);
    child.write("<p>begun");
    ASSERT_TRUE(child.readUntil([&] { return !child.children().isEmpty(); }));
    child.kill(SIGINT);
    EXPECT_EQ(child.wait(seconds(5)), 130);
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ZrpdfTrouble, AnInterruptWhileStandardOutputIsStuckEndsItToo) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_GT(::fcntl(ends[1], F_SETPIPE_SZ, 4096), 0);
    put("page.html", html(100));
    Child::Setup wanted = setup({"page.html", "-o", "-"});
    wanted.prepare = [&] { return ::dup2(ends[1], 1) == 1; };
    Child child(wanted);
    ::close(ends[1]);
    char start[5] = {};
    ASSERT_EQ(::read(ends[0], start, sizeof start), 5);
    EXPECT_EQ(QByteArray(start, 5), "%PDF-");
    child.kill(SIGINT);
    EXPECT_EQ(child.wait(seconds(5)), 130);
    ::close(ends[0]);
}

TEST_F(ZrpdfTrouble, IgnoredSignalsStayIgnored) {
    put("page.html", html(1300));
    Child::Setup wanted = setup({"-q", "-", "-o", "x.pdf"});
    wanted.keepsInput = true;
    wanted.prepare = [] { return std::signal(SIGHUP, SIG_IGN) != SIG_ERR; };
    Child child(wanted);
    ASSERT_TRUE(child.readUntil([&] { return !child.children().isEmpty(); }));
    child.kill(SIGHUP);
    child.write(html(1300));
    child.closeInput();
    EXPECT_EQ(child.wait(), 0);
    EXPECT_NEAR(pageHeight("x.pdf"), 1300, 0.01);
}

TEST_F(ZrpdfTrouble, AKillAtAnyMomentLeavesNoProcessAndNoHalfFile) {
    put("page.html", html(1300));
    for (int round = 0; round < 16; ++round) {
        {
            Child child(setup({"-f", "page.html"}));
            child.readUntil([] { return false; }, milliseconds(30 * round));
            child.kill(SIGKILL);
            child.wait();
        }
        ASSERT_TRUE(allGone()) << round;
        const QByteArray pdf = read("page.pdf");
        ASSERT_TRUE(pdf.isEmpty() || qAbs(pageHeightOf(pdf) - 1300) < 0.01) << round;
        ASSERT_LE(names().size(), 2) << names().join(u' ').toStdString();
    }
}

} // namespace
