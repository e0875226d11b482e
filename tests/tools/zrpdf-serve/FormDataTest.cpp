// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/FormData.h"

#include "platform/documents/WebArchive.h"
#include "tools/zrpdf-serve/Problem.h"

#include <gtest/gtest.h>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *type = "multipart/form-data; boundary=XX";

QByteArray part(const QByteArray &disposition, const QByteArray &body, const QByteArray &contentType = {}) {
    return "--XX\r\nContent-Disposition: form-data; " + disposition + "\r\n" +
           (contentType.isNull() ? QByteArray() : "Content-Type: " + contentType + "\r\n") + "\r\n" + body +
           "\r\n";
}

FormData read(const QByteArray &parts) {
    return FormData::read(type, parts + "--XX--\r\n");
}

/// What is wrong with a form; empty if nothing is.
std::string problemOf(const QByteArray &contentType, const QByteArray &body) {
    try {
        FormData::read(contentType, body);
    } catch (const Problem &problem) {
        return (problem.code() + ": " + problem.detail.toUtf8()).toStdString();
    }
    return "";
}

std::string problemOfName(const QByteArray &name) {
    return problemOf(type, part("name=\"f\"; filename=\"" + name + '"', "x") + "--XX--\r\n");
}

} // namespace

TEST(FormData, APartIsAFileIfItHasAFileNameOrADotInItsName) {
    const FormData form = read(part(R"(name="title")", "A title") + part(R"(name="index.html")", "<p>") +
                               part(R"(name="logo.png"; filename="upload-17")", "png", "image/png") +
                               part(R"(name="files"; filename="a.css")", "p{}"));
    ASSERT_EQ(form.fields.size(), 1);
    EXPECT_EQ(form.fields[0], HTTPField("title", "A title"));
    ASSERT_EQ(form.files.size(), 3);
    EXPECT_EQ(form.files[0].name, u"index.html"_s);
    EXPECT_EQ(form.files[1].name, u"logo.png"_s);
    EXPECT_EQ(form.files[1].type.toStdString(), "image/png");
    EXPECT_EQ(form.files[2].name, u"a.css"_s);
}

TEST(FormData, ATypeThatTellsNothingFollowsFromTheName) {
    const FormData form =
        read(part(R"(name="a.css")", "") + part(R"(name="b.woff2")", "", "application/octet-stream") +
             part(R"(name="c.SVG")", "") + part(R"(name="d.xyzzy")", "") +
             part(R"(name="e.css")", "", "text/plain; charset=koi8-r"));
    EXPECT_EQ(form.files[0].type.toStdString(), "text/css");
    EXPECT_EQ(form.files[1].type.toStdString(), "font/woff2");
    EXPECT_EQ(form.files[2].type.toStdString(), "image/svg+xml");
    EXPECT_EQ(form.files[3].type.toStdString(), "");
    EXPECT_EQ(form.files[4].type.toStdString(), "text/plain");
    EXPECT_EQ(form.files[4].charset.toStdString(), "koi8-r");
}

TEST(FormData, ThePageIsIndexHtmlThenWhatIsCalledIndexThenTheFirst) {
    const QByteArray picture = part(R"(name="a.png")", "png");
    EXPECT_EQ(read(picture + part(R"(name="b.html")", "b")).page().name, u"a.png"_s);
    EXPECT_EQ(read(picture + part(R"(name="index"; filename="b.html")", "b")).page().name, u"b.html"_s);
    EXPECT_EQ(read(picture + part(R"(name="index.xhtml")", "b")).page().name, u"index.xhtml"_s);
    EXPECT_EQ(
        read(picture + part(R"(name="index"; filename="b.html")", "b") + part(R"(name="index.html")", "c"))
            .page()
            .name,
        u"index.html"_s);
}

TEST(FormData, StylesAndScriptsThatAreCalledLikeThePageAreNotThePage) {
    const QByteArray page = part(R"(name="f"; filename="main.html")", "page");
    for (const char *name : {"index.css", "index.js", "index.mjs"})
        EXPECT_EQ(read(page + part(("name=\"g\"; filename=\"" + QByteArray(name) + "\"").constData(), "part"))
                      .page()
                      .name,
                  u"main.html"_s)
            << name;
}

TEST(FormData, NamesArePathsBelowThePage) {
    const FormData form = read(part(R"(name="img/./a b.png")", "x") + part("name=\"\xC3\xA4.png\"", "y") +
                               part(R"(name="50%25.png")", "z") + part(R"(name="say %22hi%22.png")", "q") +
                               part(R"(name="f"; filename*=UTF-8''%c3%b6.png)", "o"));
    EXPECT_EQ(form.files[0].name, u"img/a b.png"_s);
    EXPECT_EQ(form.files[1].name, u"ä.png"_s);
    EXPECT_EQ(form.files[2].name, u"50%25.png"_s);
    EXPECT_EQ(form.files[3].name, u"say \"hi\".png"_s);
    EXPECT_EQ(form.files[4].name, u"ö.png"_s);
}

TEST(FormData, NamesThatLeadElsewhereAreRefused) {
    EXPECT_EQ(problemOfName("../x"), "bad-form: The file name \"../x\" leads out of the form.");
    EXPECT_EQ(problemOfName("a/../../x"), "bad-form: The file name \"a/../../x\" leads out of the form.");
    EXPECT_EQ(problemOfName(".."), "bad-form: The file name \"..\" leads out of the form.");
    EXPECT_EQ(problemOfName("/etc/passwd"), "bad-form: The file name \"/etc/passwd\" is no relative path.");
    EXPECT_EQ(problemOfName("a\\\\b.png"), "bad-form: The file name \"a\\b.png\" is no relative path.");
    EXPECT_EQ(problemOfName(""), "bad-form: The file name \"\" names nothing.");
    EXPECT_EQ(problemOfName("."), "bad-form: The file name \".\" names nothing.");
    EXPECT_EQ(problemOfName("a//b.png"), "bad-form: The file name \"a//b.png\" names nothing.");
    EXPECT_EQ(problemOfName("a/"), "bad-form: The file name \"a/\" names nothing.");
    EXPECT_NE(problemOfName("a%0D%0Ab"), "");
    EXPECT_NE(problemOfName("a\x01"), "");
    EXPECT_NE(problemOfName("\xFF.png"), "");
    EXPECT_NE(problemOfName(QByteArray(1025, 'a')), "");
    EXPECT_EQ(problemOfName(QByteArray(1024, 'a')), "");
}

TEST(FormData, TwoFilesOfOneNameAreRefused) {
    EXPECT_EQ(problemOf(type, part(R"(name="a.png")", "1") + part(R"(name="f"; filename="./a.png")", "2") +
                                  "--XX--"),
              "bad-form: Two files of the form are called \"a.png\".");
}

TEST(FormData, BrokenFormsAreRefused) {
    const QByteArray good = part(R"(name="a.png")", "1");
    EXPECT_EQ(problemOf(type, good + "--XX--"), "");
    EXPECT_EQ(problemOf("multipart/form-data; boundary=\"XX\"; charset=utf-8", good + "--XX--"), "");
    EXPECT_EQ(problemOf(type, good), "bad-form: The form's last boundary is missing.");
    EXPECT_NE(problemOf("multipart/form-data", good + "--XX--"), "");
    EXPECT_NE(problemOf("multipart/form-data; boundary=\"\"", good + "--XX--"), "");
    EXPECT_NE(problemOf("multipart/form-data; boundary=" + QByteArray(71, 'X'),
                        good + "--" + QByteArray(71, 'X') + "--"),
              "");
    EXPECT_EQ(problemOf(type, part("", "1") + "--XX--"), "bad-form: A part of the form has no name.");
    EXPECT_EQ(problemOf(type, part("name=\"\"", "1") + "--XX--"),
              "bad-form: A part of the form has no name.");
    EXPECT_EQ(
        problemOf(type,
                  part("name=\"a.b\"", "--YY\r\n\r\nx\r\n--YY--", "multipart/mixed; boundary=YY") + "--XX--"),
        "bad-form: A part of the form has parts.");
    QByteArray many;
    for (int count = 0; count < 20001; ++count)
        many += "--XX\r\n\r\n\r\n";
    EXPECT_NE(problemOf(type, many + "--XX--"), "");
}

TEST(FormData, FieldsOfAnAddressedFormAreDecoded) {
    const FormData form = FormData::read("application/x-www-form-urlencoded",
                                         "url=http%3A%2F%2Fa%2F%3Fb%3Dc&title=a+b%2B&tagged&=x&");
    EXPECT_TRUE(form.files.isEmpty());
    const HTTPFields wanted{{"url", "http://a/?b=c"}, {"title", "a b+"}, {"tagged", QByteArray()}, {"", "x"}};
    EXPECT_EQ(form.fields, wanted);
}

TEST(FormData, AnAddressedFormHasSoManyFieldsAndNoMore) {
    const QByteArray type = "application/x-www-form-urlencoded";
    EXPECT_EQ(FormData::read(type, QByteArray("a=b&").repeated(64)).fields.size(), 64);
    EXPECT_EQ(FormData::read(type, QByteArray(1 << 20, '&')).fields.size(), 0);
    EXPECT_THROW(FormData::read(type, QByteArray("a=b&").repeated(65)), Problem);
    EXPECT_THROW(FormData::read(type, QByteArray("a&").repeated(1 << 20)), Problem);
}

TEST(FormData, TheArchiveHasEveryFileUnderItsName) {
    const QByteArray bytes = QByteArray::fromHex("89504e470d0a1a0a00ff2d2d5858");
    const FormData form = read(part(R"(name="img/a b.png")", bytes) + part(R"(name="index.html")", "<p>") +
                               part("name=\"\xC3\xA4.css\"", "p{}") + part(R"(name="50%25.txt")", "t") +
                               part(R"(name="empty.js")", ""));
    const auto archive = WebArchive::archiveWithData(form.archive());
    ASSERT_TRUE(archive);
    EXPECT_FALSE(archive->isWhole());
    EXPECT_EQ(archive->mainResource().data.toStdString(), "<p>");
    EXPECT_EQ(archive->mainResource().url.toStdString(), "http://archive.invalid/index.html");
    const auto dataAt = [&](const QByteArray &path) {
        const WebResource *const resource = archive->resourceForURL(WebArchive::madeUpOrigin + path);
        return resource ? resource->data : QByteArray("none");
    };
    EXPECT_EQ(dataAt("img/a%20b.png"), bytes);
    EXPECT_EQ(dataAt("img/a b.png"), bytes);
    EXPECT_EQ(dataAt("%C3%A4.css").toStdString(), "p{}");
    EXPECT_EQ(dataAt("50%2525.txt").toStdString(), "t");
    EXPECT_EQ(dataAt("empty.js").toStdString(), "");
    EXPECT_EQ(dataAt("other.js").toStdString(), "none");
}
