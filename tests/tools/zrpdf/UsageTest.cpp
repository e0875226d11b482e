// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QDir>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ZrpdfUsage = ZrpdfTest;

TEST_F(ZrpdfUsage, WrongUseIsOneLineAndCodeTwoAndStartsNothing) {
    put("a.html", html(100));
    const QList<QList<QByteArray>> uses{
        {},
        {"--nonsense", "a.html"},
        {"-j", "0", "a.html"},
        {"--network", "some", "a.html"},
        {"-o"},
        {"-o", "x.pdf", "a.html", "b.html"},
        {"ftp://a/b"},
        {"a.html", "a.html"},
        {"--boot", "a.html"},
    };
    for (const QList<QByteArray> &arguments : uses) {
        Child child(setup(arguments));
        const Result result = finish(child);
        EXPECT_EQ(result.code, 2) << arguments.join(' ').constData();
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(result.error.startsWith("zrpdf: ")) << result.error.constData();
        EXPECT_EQ(result.error.count('\n'), 1) << result.error.constData();
    }
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.html")});
}

TEST_F(ZrpdfUsage, VerbsAndBrokersAreForProgramsOfTheirOwn) {
    hideInstallation();
    ASSERT_TRUE(QDir(QString::fromUtf8(path(""))).mkpath(QStringLiteral("bin/XPCServices")));
    ASSERT_TRUE(
        QFile::copy(QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf"), QString::fromUtf8(path("bin/zrpdf"))));
    const QList<std::pair<QList<QByteArray>, QByteArray>> cases{
        {{"serve", "--listen", "x"}, "zrpdf-serve"},
        {{"worker", "a"}, "zrpdf-worker"},
        {{"a.html", "--broker", "amqp://b"}, "zrpdf-broker"},
        {{"--broker=amqp://b", "a.html"}, "zrpdf-broker"},
    };
    const auto runWith = [&](const QList<QByteArray> &arguments) {
        Child::Setup wanted = setup(arguments);
        wanted.command.first() = path("bin/zrpdf");
        Child child(wanted);
        return finish(child);
    };
    for (const auto &[arguments, program] : cases) {
        const QByteArray file = "bin/XPCServices/" + program;
        const Result missing = runWith(arguments);
        EXPECT_EQ(missing.code, 6);
        EXPECT_EQ(missing.error, "zrpdf: " + program + " is not installed\n");
        put(file, "#!/bin/sh\necho \"${0##*/}\" \"$@\"\nexit 9\n");
        ASSERT_EQ(::chmod(path(file).constData(), 0755), 0);
        const Result result = runWith(arguments);
        EXPECT_EQ(result.code, 9);
        QList<QByteArray> expected = arguments;
        if (program != "zrpdf-broker")
            expected.removeFirst();
        EXPECT_EQ(result.output, program + ' ' + expected.join(' ') + '\n');
        put(file, "neither fish nor fowl");
        const Result broken = runWith(arguments);
        EXPECT_EQ(broken.code, 6);
        EXPECT_TRUE(broken.error.endsWith(": Exec format error\n")) << broken.error.constData();
        ASSERT_EQ(::unlink(path(file).constData()), 0);
    }
    // Behind the mark everything is an input.
    EXPECT_EQ(run({"--", "serve"}).code, 3);
}

TEST_F(ZrpdfUsage, HelpNamesEveryOptionAndEveryExitStatus) {
    for (const char *const option : {"-h", "--help"}) {
        const Result result = run({option});
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.error, "");
        for (const char *const name : {"-o, --output FILE",
                                       "-d, --directory FOLDER",
                                       "-f, --force",
                                       "--title TEXT",
                                       "--creator TEXT",
                                       "--tagged",
                                       "--type IDENTIFIER",
                                       "--network MODE",
                                       "-j, --jobs N",
                                       "-t, --timeout SECONDS",
                                       "--json",
                                       "--boot",
                                       "-q, --quiet",
                                       "-v, --verbose",
                                       "-h, --help",
                                       "-V, --version",
                                       "NO_COLOR",
                                       "\n  0 ",
                                       "\n  1 ",
                                       "\n  2 ",
                                       "\n  3 ",
                                       "\n  4 ",
                                       "\n  5 ",
                                       "\n  6 ",
                                       "\n  130 "})
            EXPECT_TRUE(result.output.contains(name)) << name;
        for (const QByteArray &line : result.output.split('\n'))
            EXPECT_LE(line.size(), 118) << line.constData();
    }
}

TEST_F(ZrpdfUsage, VersionIsOneLine) {
    const Result result = run({"-V"});
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.output.startsWith("zrpdf ") && result.output.count('\n') == 1)
        << result.output.constData();
    EXPECT_EQ(run({"--version"}).output, result.output);
}

TEST_F(ZrpdfUsage, AFullOrClosedStandardOutputIsAnUnwritableOutput) {
    Child::Setup full = setup({"--help"});
    full.output = "/dev/full";
    Child child(full);
    const Result result = finish(child);
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(result.error, "zrpdf: standard output: No space left on device\n");

    Child::Setup closed = setup({"--version"});
    closed.prepare = [] { return ::close(1) == 0; };
    Child other(closed);
    EXPECT_EQ(other.wait(), 4);
    EXPECT_EQ(other.standardError(), "zrpdf: standard output: Bad file descriptor\n");
}

TEST_F(ZrpdfUsage, ItLoadsNoLibraryOfTheServicesWork) {
    Child::Setup wanted = setup({});
    wanted.command = {"/usr/bin/readelf", "-d", ZR_BINARY_DIR "/bin/zrpdf"};
    Child child(wanted);
    ASSERT_EQ(child.wait(), 0) << child.standardError().constData();
    EXPECT_TRUE(child.standardOutput().contains("[libQt6Core"));
    for (const char *const library : {"[libqpdf", "[libicu", "[libcurl", "[libQt6Gui", "[libQt6Network"})
        EXPECT_FALSE(child.standardOutput().contains(library)) << child.standardOutput().constData();
}

TEST_F(ZrpdfUsage, NeitherItNorTheServiceLoadsGraphicsOrADatabase) {
    for (const char *const program : {"/bin/zrpdf", "/libexec/zrkit/com.velmora.zrpdf"}) {
        Child::Setup wanted = setup({});
        wanted.command = {"/usr/bin/ldd", QByteArray(ZR_BINARY_DIR) + program};
        Child child(wanted);
        ASSERT_EQ(child.wait(), 0) << child.standardError().constData();
        EXPECT_TRUE(child.standardOutput().contains("libQt6Core.so"));
        for (const char *const library :
             {"libQt6Gui", "libQt6Widgets", "libQt6Svg", "libzimg", "libsqlite3", "libGL", "libX11"})
            EXPECT_FALSE(child.standardOutput().contains(library)) << program << '\n'
                                                                   << child.standardOutput().constData();
    }
}

} // namespace
