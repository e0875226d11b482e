// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Plan.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

class ZrpdfPlan : public testing::Test {
protected:
    Plan make(const QList<QByteArray> &arguments) {
        QByteArray problem;
        options = Options::parse(arguments, &problem);
        EXPECT_EQ(problem, "");
        return Plan::make(options);
    }
    QByteArray path(const QByteArray &name) const { return folder.path().toUtf8() + '/' + name; }
    void put(const QByteArray &name) {
        QFile file(QString::fromUtf8(path(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    Options options;
    QTemporaryDir folder;
};

TEST_F(ZrpdfPlan, EachInputHasItsOutput) {
    const Plan plan = make({path("a.html"), path("b.html"), "https://example.org/c"});
    ASSERT_EQ(plan.problem, "");
    ASSERT_EQ(plan.entries.size(), 3u);
    EXPECT_EQ(plan.entries[0].output, path("a.pdf"));
    EXPECT_EQ(plan.entries[1].output, path("b.pdf"));
    EXPECT_EQ(plan.entries[2].output, "c.pdf");
}

TEST_F(ZrpdfPlan, InputsThatWouldShareAnOutputAreRefused) {
    const Plan plan = make({path("a.html"), path("b.html"), path("a.svg")});
    EXPECT_EQ(plan.problemCode, ExitCode::BadUsage);
    EXPECT_EQ(plan.problem,
              path("a.html") + " and " + path("a.svg") + " would share the output " + path("a.pdf"));
    EXPECT_NE(make({"-d", path("out"), path("x/a.html"), path("y/a.html")}).problem, "");
    EXPECT_NE(make({path("a.html"), path("a.html")}).problem, "");
}

TEST_F(ZrpdfPlan, OutputsAreTheSameWhateverTheirFoldersAreCalled) {
    ASSERT_EQ(::symlink(".", path("link").constData()), 0);
    EXPECT_NE(make({path("a.html"), path("link/a.svg")}).problem, "");
    EXPECT_NE(make({path("a.html"), path("./a.svg")}).problem, "");
}

TEST_F(ZrpdfPlan, AnInputIsNeverReplaced) {
    put("a.pdf");
    for (const QByteArray &input : {path("a.pdf"), "file://" + path("a.pdf")}) {
        const Plan plan = make({"--force", "-o", path("a.pdf"), input});
        EXPECT_EQ(plan.problemCode, ExitCode::BadUsage);
        EXPECT_EQ(plan.problem, "the output " + path("a.pdf") + " is an input");
    }
    put("b.html");
    EXPECT_NE(make({"--force", "-d", path(""), path("b.html"), path("a.pdf")}).problem, "");
    EXPECT_EQ(make({"--force", "-o", path("c.pdf"), path("a.pdf")}).problem, "");
}

TEST_F(ZrpdfPlan, ForeignSchemesAreRefusedUnlessThereIsSuchAFile) {
    EXPECT_EQ(make({"ftp://a/b"}).problem,
              "ftp://a/b: only http, https, file and data URLs can be converted");
    EXPECT_EQ(make({"ftp://a/b"}).problemCode, ExitCode::BadUsage);
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("ftp:/a")));
    ASSERT_TRUE(QDir::setCurrent(folder.path()));
    put("ftp:/a/b");
    EXPECT_EQ(make({"ftp://a/b"}).problem, "");
    ASSERT_TRUE(QDir::setCurrent(before));
}

TEST_F(ZrpdfPlan, OutputFoldersAreMade) {
    EXPECT_EQ(make({"-d", path("x/y//z/"), "a.html"}).problem, "");
    EXPECT_TRUE(QDir(QString::fromUtf8(path("x/y/z"))).exists());
    EXPECT_EQ(make({"-d", path("x/y"), "a.html"}).problem, "");
}

TEST_F(ZrpdfPlan, AnOutputFolderThatCannotBeIsAnUnwritableOutput) {
    put("file");
    for (const char *const name : {"file", "file/x"}) {
        const Plan plan = make({"-d", path(name), "a.html"});
        EXPECT_EQ(plan.problemCode, ExitCode::UnwritableOutput);
        EXPECT_EQ(plan.problem, path(name) + ": Not a directory");
    }
}

} // namespace
