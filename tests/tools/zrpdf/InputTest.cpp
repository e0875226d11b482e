// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Input.h"

#include <QDir>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encodedUrl(const QByteArray &argument) {
    return Input(argument).url().toEncoded();
}

QByteArray here() {
    return QDir::currentPath().toUtf8();
}

TEST(ZrpdfInput, FilesBecomeFileUrlsByteForByte) {
    EXPECT_EQ(encodedUrl("/a/b.html"), "file:///a/b.html");
    EXPECT_EQ(encodedUrl("/a b/100%41#x?y;z.html"), "file:///a%20b/100%2541%23x%3Fy%3Bz.html");
    EXPECT_EQ(encodedUrl("/new\nline\ttab.html"), "file:///new%0Aline%09tab.html");
    EXPECT_EQ(encodedUrl("/gr\xc3\xbc\xc3\x9f"
                         "e.html"),
              "file:///gr%C3%BC%C3%9Fe.html");
    EXPECT_EQ(encodedUrl("/\xff\xfe.html"), "file:///%FF%FE.html");
    EXPECT_EQ(encodedUrl("/back\\slash.html"), "file:///back%5Cslash.html");
}

TEST(ZrpdfInput, RelativeFilesStartInTheCurrentFolder) {
    EXPECT_EQ(Input("x.html").url(),
              QUrl::fromLocalFile(QString::fromUtf8(here()) + QStringLiteral("/x.html")));
    EXPECT_EQ(Input("-x.html").url().fileName(), QStringLiteral("-x.html"));
    EXPECT_EQ(Input("./data:x").kind(), Input::Kind::File);
}

TEST(ZrpdfInput, ParentFoldersAreThoseOfTheFileSystemNotOfTheText) {
    QTemporaryDir folder;
    const QByteArray top = QDir(folder.path()).canonicalPath().toUtf8();
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("real/inner")));
    ASSERT_EQ(::symlink("real/inner", (top + "/link").constData()), 0);
    EXPECT_EQ(Input(top + "/link/../x.html").url().path().toUtf8(), top + "/real/x.html");
}

TEST(ZrpdfInput, UrlsOfFourSchemesAreAddresses) {
    for (const char *const address :
         {"http://a/", "https://a/b?c#d", "HTTPS://a/", "file:///x", "data:text/html,x"}) {
        EXPECT_EQ(Input(address).kind(), Input::Kind::Address) << address;
        EXPECT_TRUE(Input(address).url().isValid()) << address;
    }
    for (const char *const file : {"http:x", "c:x", "a.html", "/data:x", "datax"})
        EXPECT_EQ(Input(file).kind(), Input::Kind::File) << file;
    EXPECT_EQ(Input("-").kind(), Input::Kind::Stream);
    EXPECT_EQ(Input("/dev/null").kind(), Input::Kind::Stream);
}

TEST(ZrpdfInput, OtherSchemesAreForeign) {
    EXPECT_TRUE(Input::hasForeignScheme("ftp://a/b"));
    EXPECT_TRUE(Input::hasForeignScheme("chrome://version"));
    EXPECT_FALSE(Input::hasForeignScheme("https://a/b"));
    EXPECT_FALSE(Input::hasForeignScheme("c:/a"));
    EXPECT_FALSE(Input::hasForeignScheme("a b://c"));
}

TEST(ZrpdfInput, ProblemsAreThoseOfTheFile) {
    QTemporaryDir folder;
    const QByteArray top = folder.path().toUtf8();
    EXPECT_EQ(Input(top + "/none.html").problem(), "No such file or directory");
    EXPECT_EQ(Input("file://" + top + "/none.html").problem(), "No such file or directory");
    EXPECT_EQ(Input(top).problem(), "is a folder");
    EXPECT_EQ(Input("file:").problem(), "names no file");
    EXPECT_EQ(Input("http://[bad/").problem(), "is not a valid URL");
    EXPECT_EQ(Input("/dev/null").problem(), "");
    EXPECT_EQ(Input("-").problem(), "");
    EXPECT_EQ(Input("https://unknown.invalid/").problem(), "");
    ::close(::open((top + "/a%20b.html").constData(), O_CREAT | O_WRONLY, 0600));
    EXPECT_EQ(Input(top + "/a%20b.html").problem(), "");
    EXPECT_EQ(Input("file://" + top + "/a%2520b.html").problem(), "");
}

TEST(ZrpdfInput, OutputsOfFilesLieBesideThemUnderTheirBaseName) {
    EXPECT_EQ(Input("a.html").defaultOutput({}), "a.pdf");
    EXPECT_EQ(Input("x/a.b.html").defaultOutput({}), "x/a.b.pdf");
    EXPECT_EQ(Input("/x/README").defaultOutput({}), "/x/README.pdf");
    EXPECT_EQ(Input("x/.hidden").defaultOutput({}), "x/.hidden.pdf");
    EXPECT_EQ(Input("x.y/a").defaultOutput({}), "x.y/a.pdf");
    EXPECT_EQ(Input("x/a.html").defaultOutput("out"), "out/a.pdf");
    EXPECT_EQ(Input("x/a.html").defaultOutput("out/"), "out/a.pdf");
}

TEST(ZrpdfInput, OutputsOfUrlsAreNamedAfterTheirLastPartOrHost) {
    const QList<QPair<QByteArray, QByteArray>> cases{
        {"https://example.org/", "example.org.pdf"},
        {"https://example.org", "example.org.pdf"},
        {"http://example.org:8080/?q=1", "example.org.pdf"},
        {"https://example.org/a/page.html?x=1#y", "page.pdf"},
        {"https://example.org/a/b/", "b.pdf"},
        {"https://example.org/release/v1.2", "v1.2.pdf"},
        {"https://example.org/a%20b%2Fc.html", "a b_c.pdf"},
        {"https://example.org/a%0Ab", "a_b.pdf"},
        {"https://example.org/..%2F..%2Fetc", "_.._etc.pdf"},
        {"https://example.org/.hidden", "hidden.pdf"},
        {"https://example.org/-rf", "rf.pdf"},
        {"https://example.org/...", "document.pdf"},
        {"https://example.org/gr%C3%BC%C3%9Fe.html", "gr\xc3\xbc\xc3\x9f"
                                                     "e.pdf"},
        {"data:text/html,<p>x</p>", "document.pdf"},
        {"file:///x/y/z.html", "z.pdf"},
        {"-", "document.pdf"},
        {"/dev/null", "document.pdf"},
    };
    for (const auto &[argument, name] : cases) {
        EXPECT_EQ(Input(argument).defaultOutput({}), name) << argument.constData();
        EXPECT_EQ(Input(argument).defaultOutput("out"), "out/" + name) << argument.constData();
    }
}

TEST(ZrpdfInput, OutputNamesFitIntoTheFileSystem) {
    EXPECT_EQ(Input(QByteArray(250, 'n') + ".html").defaultOutput({}), QByteArray(250, 'n') + ".pdf");
    EXPECT_EQ(Input(QByteArray(255, 'n')).defaultOutput({}), QByteArray(251, 'n') + ".pdf");
    const QByteArray umlauts = QByteArray("\xc3\xbc").repeated(127);
    EXPECT_EQ(Input(umlauts).defaultOutput({}), QByteArray("\xc3\xbc").repeated(125) + ".pdf");
    EXPECT_EQ(Input("https://a/" + QByteArray(3000, 'n')).defaultOutput({}), QByteArray(251, 'n') + ".pdf");
}

TEST(ZrpdfInput, ShownInOneLineOfBoundedLength) {
    EXPECT_EQ(Input("a\nb\x1b[31m").shown(), "a\\nb\\x1b[31m");
    EXPECT_EQ(Input("-").shown(), "standard input");
    EXPECT_EQ(Input("data:text/html," + QByteArray(100'000, 'x')).shown().size(), 203);
    EXPECT_EQ(Input::shown(QByteArray("\xc3\xbc").repeated(200)).size(), 203);
}

} // namespace
