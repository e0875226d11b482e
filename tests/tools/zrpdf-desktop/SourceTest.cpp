// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/Source.h"

#include <QFile>
#include <QMimeData>
#include <QTemporaryDir>
#include <QUrl>
#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Kind = Source::Kind;

namespace {

class SourceTest : public testing::Test {
protected:
    QByteArray put(const QByteArray &name, const QByteArray &content) {
        const QByteArray path = m_folder.path().toUtf8() + '/' + name;
        FILE *const file = std::fopen(path.constData(), "wb");
        EXPECT_TRUE(file);
        std::fwrite(content.constData(), 1, size_t(content.size()), file);
        std::fclose(file);
        return path;
    }

    QTemporaryDir m_folder;
};

TEST_F(SourceTest, ATextThatIsAnAddressIsAnAddress) {
    for (const QString &text : {u"http://example.com/a?b=c#d"_s, u"https://example.com"_s,
                                u"data:text/html,<p>x"_s, u"HTTP://EXAMPLE.COM/"_s}) {
        const QList<Source> found = Source::sourcesWithText(u"  "_s + text + u"\n"_s);
        ASSERT_EQ(found.size(), 1) << text.toStdString();
        EXPECT_EQ(found[0].kind(), Kind::Address);
        EXPECT_EQ(found[0].location(), text.toUtf8());
        EXPECT_EQ(found[0].taskData().toUrl(), QUrl::fromEncoded(text.toUtf8()));
        EXPECT_EQ(found[0].problem(), QString());
        EXPECT_TRUE(found[0].content().isEmpty());
    }
}

TEST_F(SourceTest, AnAddressMayLackItsScheme) {
    const QList<Source> found = Source::sourcesWithText(u"www.example.com/page"_s);
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].location(), "https://www.example.com/page");
    EXPECT_EQ(Source::sourcesWithText(u"www."_s).at(0).kind(), Kind::Bytes);
}

TEST_F(SourceTest, AForeignSchemeIsAnAddressWithAProblem) {
    const QList<Source> found = Source::sourcesWithText(u"ftp://example.com/file.html"_s);
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].kind(), Kind::Address);
    EXPECT_EQ(found[0].problem(), u"Only http, https, file and data URLs can be converted"_s);
}

TEST_F(SourceTest, AddressesAndPathsOneALineAreADocumentEach) {
    const QByteArray path = put("page.html", "<p>page");
    const QList<Source> found = Source::sourcesWithText(
        u"http://example.com/\r\n\r\n"_s + QString::fromUtf8(path) + u"\nfile:///nothing.html"_s);
    ASSERT_EQ(found.size(), 3);
    EXPECT_EQ(found[0].kind(), Kind::Address);
    EXPECT_EQ(found[0].location(), "http://example.com/");
    EXPECT_EQ(found[1].kind(), Kind::File);
    EXPECT_EQ(found[1].location(), path);
    EXPECT_EQ(found[1].name(), u"page.html"_s);
    EXPECT_EQ(found[2].kind(), Kind::File);
    EXPECT_EQ(found[2].problem(), u"No such file or directory"_s);
}

TEST_F(SourceTest, AnAddressAmongOtherLinesIsPartOfADocument) {
    const QString text = u"See http://example.com/\nhttp://example.com/"_s;
    const QList<Source> found = Source::sourcesWithText(text);
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].kind(), Kind::Bytes);
    EXPECT_EQ(found[0].taskData(), QVariant(text.toUtf8()));
    EXPECT_EQ(found[0].name(), u"See http://example.com/"_s);
}

TEST_F(SourceTest, MarkupIsATextAndAnythingElseIsBytes) {
    const QString html = u"<h1>Grüße</h1>"_s;
    const QList<Source> markup = Source::sourcesWithText(html);
    ASSERT_EQ(markup.size(), 1);
    EXPECT_EQ(markup[0].kind(), Kind::Markup);
    EXPECT_EQ(markup[0].taskData(), QVariant(html));
    EXPECT_EQ(markup[0].name(), u""_s);
    const QList<Source> words = Source::sourcesWithText(u"Only words"_s);
    ASSERT_EQ(words.size(), 1);
    EXPECT_EQ(words[0].kind(), Kind::Bytes);
    EXPECT_EQ(words[0].taskData(), QVariant(QByteArray("Only words")));
    EXPECT_EQ(words[0].name(), u"Only words"_s);
}

TEST_F(SourceTest, BlanksAreNothing) {
    EXPECT_TRUE(Source::sourcesWithText(QString()).isEmpty());
    EXPECT_TRUE(Source::sourcesWithText(u" \n\t "_s).isEmpty());
    EXPECT_TRUE(Source::sourcesWithMimeData(QMimeData()).isEmpty());
    EXPECT_FALSE(Source::canRead(QMimeData()));
}

TEST_F(SourceTest, LongNamesAreCut) {
    const QList<Source> found = Source::sourcesWithText(QString(5000, u'x'));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].name().size(), 101);
    EXPECT_TRUE(found[0].name().endsWith(u'…'));
}

TEST_F(SourceTest, ALongDataURLIsAnAddressAndALongTextIsNot) {
    const QString data = u"data:text/html,"_s + QString(20000, u'x');
    EXPECT_EQ(Source::sourcesWithText(data).at(0).kind(), Kind::Address);
    EXPECT_EQ(Source::sourcesWithText(data).at(0).taskData().toUrl().toEncoded().size(), data.size());
    EXPECT_EQ(Source::sourcesWithText(QString(20000, u'x')).at(0).kind(), Kind::Bytes);
}

TEST_F(SourceTest, DroppedFilesAreFilesWhateverBytesTheirNamesAre) {
    const QByteArray odd = put("odd \xff name.html", "<p>odd");
    QMimeData data;
    data.setUrls(
        {QUrl::fromEncoded("file://" + odd.toPercentEncoding("/")), QUrl(u"https://example.com/"_s)});
    EXPECT_TRUE(Source::canRead(data));
    const QList<Source> found = Source::sourcesWithMimeData(data);
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0].kind(), Kind::File);
    EXPECT_EQ(found[0].location(), odd);
    EXPECT_EQ(found[0].problem(), QString());
    EXPECT_EQ(found[1].kind(), Kind::Address);
    // Qt can't.
    EXPECT_EQ(::unlink(odd.constData()), 0);
}

TEST_F(SourceTest, AFolderAndAPipeHaveAProblem) {
    EXPECT_EQ(Source::withArgument(m_folder.path().toUtf8()).problem(), u"It is a folder"_s);
    EXPECT_EQ(Source::withArgument("/dev/zero").problem(), u"It is a pipe or a device"_s);
}

TEST_F(SourceTest, APictureOnTheClipboardIsItsBytes) {
    QMimeData data;
    data.setData(u"image/png"_s, "\x89PNG\r\n\x1a\n...");
    EXPECT_TRUE(Source::canRead(data));
    const QList<Source> found = Source::sourcesWithMimeData(data);
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].kind(), Kind::Bytes);
    EXPECT_EQ(found[0].taskData().toByteArray(), data.data(u"image/png"_s));
    EXPECT_EQ(found[0].name(), u""_s);
}

TEST_F(SourceTest, HTMLCountsMoreThanItsPlainTextUnlessThatIsAnAddress) {
    QMimeData data;
    data.setHtml(u"<b>bold</b>"_s);
    data.setText(u"bold"_s);
    EXPECT_EQ(Source::sourcesWithMimeData(data).at(0).taskData(), QVariant(u"<b>bold</b>"_s));
    data.setText(u"https://example.com/"_s);
    EXPECT_EQ(Source::sourcesWithMimeData(data).at(0).kind(), Kind::Address);
}

TEST_F(SourceTest, StemsAreThoseOfTheCommandLine) {
    EXPECT_EQ(Source::withArgument("https://example.com/a/page.html").stem(), u"page"_s);
    EXPECT_EQ(Source::withArgument("https://example.com/").stem(), u"example.com"_s);
    EXPECT_EQ(Source::withArgument("/tmp/some report.xhtml").stem(), u"some report"_s);
    EXPECT_EQ(Source::withMarkup(u"<p>x"_s).stem(), u""_s);
    EXPECT_EQ(Source::withBytes("a/b").stem(), u"a_b"_s);
}

} // namespace
