// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QDir>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ZrpdfFailure = ZrpdfTest;

TEST_F(ZrpdfFailure, InputsThatCannotBeReadAreOneLineAndCodeThree) {
    ASSERT_TRUE(QDir(QString::fromUtf8(path(""))).mkdir(QStringLiteral("folder")));
    put("closed.html", html(100));
    ASSERT_EQ(::chmod(path("closed.html").constData(), 0), 0);
    const QList<QPair<QByteArray, QByteArray>> cases{
        {"missing.html", "No such file or directory"},
        {"missing/page.html", "No such file or directory"},
        {"closed.html/page.html", "Not a directory"},
        {"folder", "is a folder"},
        {"closed.html", "Permission denied"},
        {"file://" + path("missing.html"), "No such file or directory"},
        {"http://[bad/", "is not a valid URL"},
    };
    for (const auto &[input, message] : cases) {
        Child::Setup wanted = setup({input, "-o", "x.pdf"});
        wanted.prepare = obeyPermissions;
        Child child(wanted);
        EXPECT_EQ(child.wait(), 3) << input.constData();
        EXPECT_EQ(child.standardError(), "zrpdf: " + input + ": " + message + '\n');
        EXPECT_EQ(child.standardOutput(), "");
    }
    EXPECT_FALSE(names().contains(QStringLiteral("x.pdf")));
}

TEST_F(ZrpdfFailure, EmptyOrClosedStandardInputIsUnreadable) {
    const Result empty = run({"-q", "-"});
    EXPECT_EQ(empty.code, 3);
    EXPECT_EQ(empty.error, "zrpdf: standard input: is empty\n");
    Child::Setup wanted = setup({"-q", "-"});
    wanted.prepare = [] { return ::close(0) == 0; };
    Child child(wanted);
    EXPECT_EQ(child.wait(), 3);
    EXPECT_EQ(child.standardError(), "zrpdf: standard input: Bad file descriptor\n");
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ZrpdfFailure, DocumentsThatCannotBeConvertedAreOneLineAndCodeOne) {
    put("noise.bin", QByteArray("\x7f"
                                "ELF\0\1\2\3",
                                8)
                         .repeated(100));
    // The last one is a download, which must leave nothing, whenever its browser ends.
    for (const QByteArray &input :
         {QByteArray("http://127.0.0.1:1/"), QByteArray("http://unknown.invalid/"), QByteArray("noise.bin"),
          QByteArray("noise.bin"), QByteArray("noise.bin"), QByteArray("noise.bin")}) {
        const Result result = run({"-q", input});
        EXPECT_EQ(result.code, 1) << input.constData();
        EXPECT_TRUE(result.error.startsWith("zrpdf: " + input + ": HTML to PDF converter did fail"))
            << result.error.constData();
        EXPECT_EQ(result.error.count('\n'), 1);
    }
    EXPECT_EQ(names(), QStringList{QStringLiteral("noise.bin")});
}

TEST_F(ZrpdfFailure, EachFailureTellsItsOwnCauseHoweverManyInstancesWork) {
    put("a.html", html(100));
    const QByteArray closed = "http://127.0.0.1:1/";
    const QByteArray unknown = "http://unknown.invalid/";
    const Result one = run({"-q", closed, unknown});
    const Result two = run({"-q", "-j2", closed, unknown, closed + "b", "a.html", unknown + "c"});
    for (const Result &result : {one, two}) {
        EXPECT_EQ(result.code, 1);
        for (const QByteArray &line : result.error.trimmed().split('\n')) {
            const bool isClosed = line.startsWith("zrpdf: " + closed);
            const bool isUnknown = line.startsWith("zrpdf: " + unknown);
            EXPECT_TRUE(isClosed || isUnknown) << line.constData();
            EXPECT_TRUE(line.contains(": HTML to PDF converter did fail: net::ERR_")) << line.constData();
            EXPECT_EQ(line.contains("PORT"), isClosed) << line.constData();
            EXPECT_EQ(line.contains("NAME"), isUnknown) << line.constData();
        }
    }
    EXPECT_EQ(one.error.count('\n'), 2);
    EXPECT_EQ(two.error.count('\n'), 4);
}

TEST_F(ZrpdfFailure, OutputsThatCannotBeWrittenAreOneLineAndCodeFour) {
    put("a.html", html(100));
    QDir(QString::fromUtf8(path(""))).mkdir(QStringLiteral("folder"));
    QDir(QString::fromUtf8(path(""))).mkdir(QStringLiteral("closed"));
    ASSERT_EQ(::chmod(path("closed").constData(), 0555), 0);
    const QList<QPair<QByteArray, QByteArray>> cases{
        {"folder", "is a folder"},
        {"x.pdf/", "is a folder"},
        {"missing/x.pdf", "No such file or directory"},
        {"a.html/x.pdf", "Not a directory"},
        {"closed/x.pdf", "Permission denied"},
        {"a.html", "exists already; --force replaces it"},
        {QByteArray(300, 'n'), "File name too long"},
    };
    for (const auto &[output, message] : cases) {
        Child::Setup wanted = setup({"a.html", "-o", output});
        wanted.prepare = obeyPermissions;
        Child child(wanted);
        EXPECT_EQ(child.wait(), 4) << output.constData();
        const QByteArray shown = output.size() > 200 ? output.left(200) + "..." : output;
        EXPECT_EQ(child.standardError(), "zrpdf: a.html: " + shown + ": " + message + '\n');
    }
    Child::Setup wanted = setup({"-d", "closed/new", "a.html"});
    wanted.prepare = obeyPermissions;
    Child child(wanted);
    EXPECT_EQ(child.wait(), 4);
    EXPECT_EQ(child.standardError(), "zrpdf: closed/new: Permission denied\n");
    EXPECT_EQ(names().size(), 3);
}

TEST_F(ZrpdfFailure, AFullDeviceIsAnUnwritableOutput) {
    put("a.html", html(100));
    const Result device = run({"-q", "a.html", "-o", "/dev/full"});
    EXPECT_EQ(device.code, 4);
    EXPECT_EQ(device.error, "zrpdf: a.html: /dev/full: No space left on device\n");
    Child::Setup wanted = setup({"-q", "a.html", "-o", "-"});
    wanted.output = "/dev/full";
    Child child(wanted);
    EXPECT_EQ(child.wait(), 4);
    EXPECT_EQ(child.standardError(), "zrpdf: a.html: standard output: No space left on device\n");
    Child::Setup json = setup({"-q", "a.html", "--json"});
    json.output = "/dev/full";
    Child objects(json);
    EXPECT_EQ(objects.wait(), 4);
    EXPECT_EQ(objects.standardError(), "zrpdf: standard output: No space left on device\n");
}

TEST_F(ZrpdfFailure, ADiskThatFillsUpLeavesNoFile) {
    Child::Setup wanted = setup({"-q", "-", "-o", "x.pdf"});
    wanted.keepsInput = true;
    Child child(wanted);
    ASSERT_TRUE(child.readUntil([&] { return !child.children().isEmpty(); }));
    // Only zrpdf may write no more: its service and browser run already.
    const rlimit limit{100, 100};
    ASSERT_EQ(::prlimit(child.pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
    child.write(html(100));
    child.closeInput();
    EXPECT_EQ(child.wait(), 4);
    EXPECT_EQ(child.standardError(), "zrpdf: standard input: x.pdf: File too large\n");
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ZrpdfFailure, AReaderThatGoesAwayIsAnUnwritableOutput) {
    put("a.html", html(100));
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    Child::Setup wanted = setup({"-q", "a.html", "-o", "-"});
    wanted.prepare = [&] { return ::dup2(ends[1], 1) == 1 && ::signal(SIGPIPE, SIG_DFL) != SIG_ERR; };
    Child child(wanted);
    ::close(ends[1]);
    EXPECT_EQ(child.wait(), 4);
    EXPECT_EQ(child.standardError(), "zrpdf: a.html: standard output: Broken pipe\n");
}

TEST_F(ZrpdfFailure, PdfsGoToATerminalOnlyWhenForced) {
    put("a.html", html(100));
    Child::Setup wanted = setup({"a.html", "-o", "-"});
    wanted.terminal = true;
    wanted.prepare = [] { return ::dup2(2, 1) == 1; };
    Child child(wanted);
    EXPECT_EQ(child.wait(), 2);
    EXPECT_EQ(child.standardError(),
              "zrpdf: standard output is a terminal; --force writes the PDF to it\r\n");
}

} // namespace
