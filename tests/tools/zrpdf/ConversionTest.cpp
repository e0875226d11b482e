// SPDX-License-Identifier: MIT
#include "platform/base/FileDescriptor.h"
#include "platform/base/WriteAll.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf/LoopbackServer.h"
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using ZrpdfConversion = ZrpdfTest;

/// A page is as high as its document where that is higher than this, in points; so heights tell documents
/// apart.
constexpr int tall = 1300;

TEST_F(ZrpdfConversion, AFilesPdfLiesBesideItAndNothingElseIsWritten) {
    put("page.html", html(tall));
    const Result result = run({"page.html"});
    EXPECT_EQ(result.code, 0) << result.error.constData();
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(names(), (QStringList{QStringLiteral("page.html"), QStringLiteral("page.pdf")}));
    EXPECT_NEAR(pageHeight("page.pdf"), tall, 0.01);
}

TEST_F(ZrpdfConversion, APipeHearsNothingButThatRootsBrowserHasNoSandbox) {
    put("page.html", html(tall));
    const Result result = run({"page.html"});
    ASSERT_EQ(result.code, 0);
    if (::geteuid() == 0) {
        EXPECT_TRUE(result.error.contains("sandbox")) << result.error.constData();
        EXPECT_EQ(result.error.count('\n'), 1) << result.error.constData();
    } else {
        EXPECT_EQ(result.error, "");
    }
    EXPECT_EQ(run({"-qf", "page.html"}).error, "");
}

TEST_F(ZrpdfConversion, TitleCreatorAndDateAreStamped) {
    put("page.html", html(tall));
    ASSERT_EQ(run({"--title", "Grüße 漢字", "--creator", "Billing", "page.html"}).code, 0);
    const QVariantMap attributes = PDFDocument(read("page.pdf")).documentAttributes();
    EXPECT_EQ(attributes.value(PDFDocumentTitleAttribute), QStringLiteral("Grüße 漢字"));
    EXPECT_EQ(attributes.value(PDFDocumentCreatorAttribute), QStringLiteral("Billing"));
    const QDateTime made = attributes.value(PDFDocumentCreationDateAttribute).toDateTime();
    EXPECT_LT(qAbs(made.secsTo(QDateTime::currentDateTimeUtc())), 60);

    ASSERT_EQ(run({"-f", "page.html"}).code, 0);
    const QVariantMap plain = PDFDocument(read("page.pdf")).documentAttributes();
    EXPECT_FALSE(plain.contains(PDFDocumentTitleAttribute));
    EXPECT_FALSE(plain.contains(PDFDocumentCreatorAttribute));
    EXPECT_TRUE(plain.contains(PDFDocumentCreationDateAttribute));
}

TEST_F(ZrpdfConversion, TaggedDocumentsAreLargerThanPlainOnes) {
    put("page.html", "<h1>One</h1><p>Two</p><table><tr><td>Three</table>");
    ASSERT_EQ(run({"-o", "plain.pdf", "page.html"}).code, 0);
    ASSERT_EQ(run({"--tagged", "-o", "tagged.pdf", "page.html"}).code, 0);
    EXPECT_GT(read("tagged.pdf").size(), read("plain.pdf").size() + 200);
}

TEST_F(ZrpdfConversion, AFilesPicturesAndStylesAreLoadedFromBesideIt) {
    put("high.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='1500'/>");
    put("style.css", "body { margin: 0 } img { display: block; margin-bottom: 70px }");
    put("page.html", "<!DOCTYPE html><link rel=stylesheet href=style.css><img src=high.svg>");
    ASSERT_EQ(run({"page.html"}).code, 0);
    EXPECT_NEAR(pageHeight("page.pdf"), 1570, 0.01);
}

TEST_F(ZrpdfConversion, OddFileNamesWork) {
    const QList<QByteArray> odd{"with space.html",
                                "new\nline.html",
                                "100% #1?a=b&c.html",
                                "%41.html",
                                "quote\"'`$x.html",
                                "back\\slash.html",
                                "gr\xc3\xbc\xc3\x9f"
                                "e.html",
                                "\xff\xfe.html",
                                QByteArray(250, 'n') + ".html",
                                "-dash.html",
                                "semi;colon.html"};
    for (const QByteArray &name : odd)
        put(name, html(tall));
    const Result result = run(QList<QByteArray>{"--"} + odd);
    EXPECT_EQ(result.code, 0) << result.error.constData();
    for (QByteArray name : odd) {
        name.chop(5);
        EXPECT_NEAR(pageHeight(name + ".pdf"), tall, 0.01) << name.constData();
        ::unlink(path(name + ".pdf").constData());
        ::unlink(path(name + ".html").constData());
    }
}

TEST_F(ZrpdfConversion, ANameOfFullLengthWithoutSuffixGetsAShorterOne) {
    put(QByteArray(255, 'n'), "plain text");
    ASSERT_EQ(run({QByteArray(255, 'n')}).code, 0);
    EXPECT_GT(pageHeight(QByteArray(251, 'n') + ".pdf"), 0);
}

TEST_F(ZrpdfConversion, AbsoluteFilesWorkFromAnyFolderAndParentsOfLinkedFoldersToo) {
    ASSERT_TRUE(QDir(QString::fromUtf8(path(""))).mkpath(QStringLiteral("real/inner")));
    ASSERT_EQ(::symlink("real/inner", path("link").constData()), 0);
    put("real/page.html", html(tall));
    ASSERT_EQ(run({"-d", "out", "link/../page.html"}).code, 0);
    EXPECT_NEAR(pageHeight("out/page.pdf"), tall, 0.01);
    ASSERT_EQ(run({path("real/page.html")}).code, 0);
    EXPECT_NEAR(pageHeight("real/page.pdf"), tall, 0.01);
}

TEST_F(ZrpdfConversion, StandardInputIsBytes) {
    const Result result = run({"-"}, html(tall));
    EXPECT_EQ(result.code, 0) << result.error.constData();
    EXPECT_EQ(names(), QStringList{QStringLiteral("document.pdf")});
    EXPECT_NEAR(pageHeight("document.pdf"), tall, 0.01);
}

TEST_F(ZrpdfConversion, StandardOutputHoldsThePdfOnly) {
    put("page.html", html(tall));
    const Result file = run({"page.html", "-o", "-"});
    EXPECT_EQ(file.code, 0);
    EXPECT_NEAR(pageHeightOf(file.output), tall, 0.01);
    const Result bytes = run({"-o-", "-"}, html(tall + 50));
    EXPECT_EQ(bytes.code, 0);
    EXPECT_NEAR(pageHeightOf(bytes.output), tall + 50, 0.01);
    EXPECT_EQ(names(), QStringList{QStringLiteral("page.html")});
}

TEST_F(ZrpdfConversion, PipesGivenAsFilesAreReadAndWritten) {
    ASSERT_EQ(::mkfifo(path("in").constData(), 0600), 0);
    ASSERT_EQ(::mkfifo(path("out").constData(), 0600), 0);
    // Neither open() waits for a zrpdf that may have failed.
    const zr::FileDescriptor out(::open(path("out").constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_TRUE(out);
    Child child(setup({"in", "-o", "out"}));
    zr::FileDescriptor in;
    ASSERT_TRUE(ProcessTree::waitUntil([&] {
        in.reset(::open(path("in").constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        return bool(in);
    })) << child.standardError().constData();
    ASSERT_FALSE(zr::writeAll(in.get(), html(tall)));
    in.reset();
    QByteArray pdf;
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        std::array<char, 65536> part{};
        const ssize_t count = ::read(out.get(), part.data(), part.size());
        pdf.append(part.data(), std::max<ssize_t>(count, 0));
        return pdf.trimmed().endsWith("%%EOF");
    }));
    EXPECT_EQ(child.wait(), 0) << child.standardError().constData();
    EXPECT_NEAR(pageHeightOf(pdf), tall, 0.01);
    struct stat status {};
    ASSERT_EQ(::stat(path("out").constData(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
}

TEST_F(ZrpdfConversion, UrlsOfAllFourKindsWork) {
    put("page.html", html(tall));
    const LoopbackServer server([](const QByteArray &path) { return path == "/" ? "" : html(tall + 10); });
    EXPECT_EQ(run({"file://" + path("page.html")}).code, 0);
    EXPECT_NEAR(pageHeight("page.pdf"), tall, 0.01);
    EXPECT_EQ(run({server.url("/served.html?x=1")}).code, 0);
    EXPECT_NEAR(pageHeight("served.pdf"), tall + 10, 0.01);
    EXPECT_EQ(run({"data:text/html;base64," + html(tall + 20).toBase64()}).code, 0);
    EXPECT_NEAR(pageHeight("document.pdf"), tall + 20, 0.01);
}

TEST_F(ZrpdfConversion, ExistingFilesAreKeptUnlessForced) {
    put("page.html", html(tall));
    put("page.pdf", "precious");
    const Result kept = run({"page.html"});
    EXPECT_EQ(kept.code, 4);
    EXPECT_EQ(kept.error, "zrpdf: page.html: page.pdf: exists already; --force replaces it\n");
    EXPECT_EQ(read("page.pdf"), "precious");
    EXPECT_EQ(run({"--force", "page.html"}).code, 0);
    EXPECT_NEAR(pageHeight("page.pdf"), tall, 0.01);
    EXPECT_EQ(names().size(), 2);
}

TEST_F(ZrpdfConversion, AFailedConversionLeavesTheForcedFileAsItWas) {
    put("page.pdf", "precious");
    const Result result = run({"--force", "-o", "page.pdf", "http://127.0.0.1:1/"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(read("page.pdf"), "precious");
    EXPECT_EQ(names().size(), 1);
}

TEST_F(ZrpdfConversion, ManyInputsGoOnAfterAFailedOneAndTheFirstFailureIsTheExitStatus) {
    put("a.html", html(tall));
    put("c.html", html(tall + 20));
    put("c.pdf", "precious");
    put("e.html", html(tall + 40));
    const Result result = run({"a.html", "missing.html", "c.html", "http://127.0.0.1:1/d", "e.html"});
    EXPECT_EQ(result.code, 3);
    EXPECT_NEAR(pageHeight("a.pdf"), tall, 0.01);
    EXPECT_NEAR(pageHeight("e.pdf"), tall + 40, 0.01);
    EXPECT_EQ(read("c.pdf"), "precious");
    EXPECT_TRUE(result.error.contains("zrpdf: missing.html: No such file or directory\n"));
    EXPECT_TRUE(result.error.contains("zrpdf: c.html: c.pdf: exists already; --force replaces it\n"));
    EXPECT_TRUE(result.error.contains("zrpdf: http://127.0.0.1:1/d: HTML to PDF converter did fail"));
}

TEST_F(ZrpdfConversion, SeveralJobsMixNothingUp) {
    QList<QByteArray> arguments{"-q", "--jobs", "2", "-d", "out"};
    for (int index = 0; index < 24; ++index) {
        put("n" + QByteArray::number(index) + ".html", html(tall + 10 * index));
        arguments.append("n" + QByteArray::number(index) + ".html");
    }
    Child child(setup(arguments));
    int most = 0;
    while (!child.readUntil([&] { return false; }, std::chrono::milliseconds(20)) && most < 2) {
        most = std::max(most, int(child.children().size()));
        if (child.children().isEmpty() && most > 0)
            break;
    }
    EXPECT_EQ(child.wait(), 0) << child.standardError().constData();
    EXPECT_EQ(most, 2);
    for (int index = 0; index < 24; ++index)
        EXPECT_NEAR(pageHeight("out/n" + QByteArray::number(index) + ".pdf"), tall + 10 * index, 0.01);
}

TEST_F(ZrpdfConversion, JsonHasOneObjectForEachInput) {
    put("a.html", html(tall));
    put("\xff.html", html(tall));
    const Result result = run({"--json", "-d", "out", "a.html", "missing.html", "\xff.html"});
    EXPECT_EQ(result.code, 3);
    const QList<QByteArray> lines = result.output.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 3) << result.output.constData();
    QMap<QString, QJsonObject> objects;
    for (const QByteArray &line : lines) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        QStringList keys = object.keys();
        keys.sort();
        EXPECT_EQ(keys, QStringLiteral("bytes error input ok output seconds").split(u' '))
            << line.constData();
        objects.insert(object.value(u"input").toString(), object);
    }
    const QJsonObject good = objects.value(QStringLiteral("a.html"));
    EXPECT_EQ(good.value(u"output"), QStringLiteral("out/a.pdf"));
    EXPECT_EQ(good.value(u"ok"), true);
    EXPECT_TRUE(good.value(u"error").isNull());
    EXPECT_EQ(good.value(u"bytes").toInt(), read("out/a.pdf").size());
    EXPECT_GT(good.value(u"seconds").toDouble(), 0);
    const QJsonObject bad = objects.value(QStringLiteral("missing.html"));
    EXPECT_TRUE(bad.value(u"output").isNull());
    EXPECT_EQ(bad.value(u"ok"), false);
    EXPECT_EQ(bad.value(u"error"), QStringLiteral("No such file or directory"));
    EXPECT_TRUE(bad.value(u"bytes").isNull());
    EXPECT_TRUE(objects.contains(QStringLiteral("\uFFFD.html")));
    ::unlink(path("\xff.html").constData());
    ::unlink(path("out/\xff.pdf").constData());
}

TEST_F(ZrpdfConversion, BootPrintsTheServicesAnswer) {
    const Result result = run({"--boot"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "{\"boot\":\"success\"}\n");
}

TEST_F(ZrpdfConversion, VerboseShowsTheServicesLogAndTheClients) {
    put("a.html", html(tall));
    const Result result = run({"-v", "a.html"});
    EXPECT_EQ(result.code, 0);
    for (const char *const line : {"Started Worker\n", "==> XPC work on task ", "zrpdf: a.html -> a.pdf, "})
        EXPECT_TRUE(result.error.contains(line)) << line << result.error.constData();
}

} // namespace
