// SPDX-License-Identifier: MIT
#include "tests/support/ProcessTree.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 60'000;

/// The program itself, in a process of its own.
class ProgramTest : public testing::Test {
protected:
    void start(const QStringList &arguments) {
        // Whatever outlives it becomes this process's child.
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString &name :
             {u"XDG_DATA_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_CONFIG_HOME"_s, u"TMPDIR"_s}) {
            QDir().mkpath(folder.filePath(name));
            environment.insert(name, folder.filePath(name));
        }
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf-desktop"), arguments);
        ASSERT_TRUE(program.waitForStarted(patience));
    }
    int code() { return program.waitForFinished(patience) ? program.exitCode() : -1; }
    QStringList pdfs() const {
        const QDir cache(folder.filePath(u"XDG_CACHE_HOME"_s));
        QStringList found;
        for (const QString &outer : cache.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            found << QDir(cache.filePath(outer + u'/' + outer)).entryList({u"*.pdf"_s}, QDir::Files);
        return found;
    }
    /// Whether nothing is left of it, neither process nor temporary file.
    bool isGone(const std::vector<ProcessTree::Process> &processes) const {
        return ProcessTree::waitUntil([&] { return ProcessTree::alive(processes).empty(); }) &&
               QDir(folder.filePath(u"TMPDIR"_s)).isEmpty();
    }

    QTemporaryDir folder;
    QProcess program;
};

TEST_F(ProgramTest, QuestionsAreAnsweredWithoutAWindow) {
    start({u"--version"_s});
    EXPECT_EQ(code(), 0);
    EXPECT_TRUE(program.readAllStandardOutput().startsWith("zrpdf-desktop "));
    start({u"-h"_s});
    EXPECT_EQ(code(), 0);
    EXPECT_TRUE(program.readAllStandardOutput().startsWith("usage: zrpdf-desktop "));
    start({u"--colour"_s});
    EXPECT_EQ(code(), 2);
    EXPECT_EQ(program.readAllStandardError(),
              "zrpdf-desktop: unknown option --colour (see zrpdf-desktop --help)\n");
}

TEST_F(ProgramTest, ArgumentsAreConvertedAndTheEndLeavesNothing) {
    QFile file(folder.filePath(u"page.html"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<h1>Page");
    file.close();
    start({u"--"_s, file.fileName()});
    ASSERT_TRUE(QTest::qWaitFor([this] { return pdfs().size() == 1; }, patience));
    const auto processes = ProcessTree::below(pid_t(program.processId()));
    EXPECT_FALSE(processes.empty());
    program.terminate();
    EXPECT_EQ(code(), 128 + SIGTERM);
    EXPECT_TRUE(isGone(processes));
}

TEST_F(ProgramTest, AKillWhileConvertingLeavesNoProcess) {
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    start({u"http://127.0.0.1:%1/"_s.arg(silent.serverPort())});
    ASSERT_TRUE(QTest::qWaitFor([&] { return silent.hasPendingConnections(); }, patience));
    const auto processes = ProcessTree::below(pid_t(program.processId()));
    program.kill();
    ASSERT_TRUE(program.waitForFinished(patience));
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return ProcessTree::alive(processes).empty(); }));
}

} // namespace
