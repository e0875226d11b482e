// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/values/NSNull.h"
#include "tests/support/HTTPServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class NSStringFiles : public testing::Test {
protected:
    QString path(const char *name) const { return folder.filePath(QString::fromUtf8(name)); }
    QString put(const char *name, const QByteArray &content) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        return file.fileName();
    }
    static QByteArray read(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }

    const QTemporaryDir folder;
    const QString text = QStringLiteral("é𝄞\n");
};

TEST_F(NSStringFiles, DataIsUTF8) {
    EXPECT_EQ(ZRKit::data(QStringLiteral("é")), "\xc3\xa9");
    EXPECT_FALSE(ZRKit::data(QStringLiteral("")).isNull());
    EXPECT_TRUE(ZRKit::data(QString()).isNull());
    EXPECT_TRUE(ZRKit::data(QString(QChar(0xd834))).isNull());
}

TEST_F(NSStringFiles, StringsOfDataMustBeUTF8) {
    EXPECT_EQ(ZRKit::stringWithData("\xc3\xa9"), QStringLiteral("é"));
    EXPECT_TRUE(ZRKit::stringWithData("\xe9").isNull());
    EXPECT_FALSE(ZRKit::stringWithData("").isNull());
    EXPECT_TRUE(ZRKit::stringWithData(QByteArray()).isNull());
}

TEST_F(NSStringFiles, FilesAreLoadedAsUTF8) {
    EXPECT_EQ(ZRKit::loadFile(put("utf8", text.toUtf8())), text);
    EXPECT_FALSE(ZRKit::loadFile(put("empty", "")).isNull());
    EXPECT_TRUE(ZRKit::loadFile(put("latin1", "h\xe9")).isNull());
    EXPECT_TRUE(ZRKit::loadFile(path("missing")).isNull());
    EXPECT_TRUE(ZRKit::loadFile(folder.path()).isNull());
    EXPECT_TRUE(ZRKit::loadFile(QString()).isNull());
    EXPECT_TRUE(ZRKit::loadFile(QStringLiteral("")).isNull());
    EXPECT_TRUE(ZRKit::loadFile(path("utf8") + QChar(u'\0')).isNull());
}

TEST_F(NSStringFiles, LoadingAsStringFallsBackToLatin1) {
    EXPECT_EQ(ZRKit::loadAsString(put("utf8", text.toUtf8())), text);
    EXPECT_EQ(ZRKit::loadAsString(put("latin1", "h\xe9\x80")), QStringLiteral("hé\u0080"));
    EXPECT_FALSE(ZRKit::loadAsString(put("empty", "")).isNull());
    EXPECT_TRUE(ZRKit::loadAsString(path("missing")).isNull());
    EXPECT_TRUE(ZRKit::loadAsString(QString()).isNull());
}

TEST_F(NSStringFiles, TextsAreSavedToPathsAndFileURLs) {
    const QString file = path("a é %41.txt");
    EXPECT_TRUE(ZRKit::saveToFile(text, file));
    EXPECT_EQ(read(file), text.toUtf8());
    EXPECT_TRUE(ZRKit::saveToFile(QStringLiteral("new"), QUrl::fromLocalFile(file)));
    EXPECT_EQ(read(file), "new");
    EXPECT_TRUE(ZRKit::saveToFile(QStringLiteral(""), file));
    EXPECT_EQ(read(file), "");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST_F(NSStringFiles, APathIsNeverReadAsAURL) {
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("file:")));
    EXPECT_TRUE(ZRKit::saveToFile(text, path("file:/x%20y")));
    EXPECT_EQ(read(path("file:/x%20y")), text.toUtf8());
}

TEST_F(NSStringFiles, WhatCannotBeSavedIsTold) {
    const QString file = put("old", "old");
    EXPECT_FALSE(ZRKit::saveToFile(text, path("missing/a")));
    EXPECT_FALSE(ZRKit::saveToFile(text, folder.path()));
    EXPECT_FALSE(ZRKit::saveToFile(text, QUrl(QStringLiteral("http://h/x"))));
    EXPECT_FALSE(ZRKit::saveToFile(text, QUrl(QStringLiteral("file://elsewhere") + file)));
    EXPECT_FALSE(ZRKit::saveToFile(text, QUrl()));
    EXPECT_FALSE(ZRKit::saveToFile(text, 12));
    EXPECT_FALSE(ZRKit::saveToFile(text, NSNull()));
    EXPECT_FALSE(ZRKit::saveToFile(text, QVariant()));
    EXPECT_FALSE(ZRKit::saveToFile(text, QStringLiteral("")));
    EXPECT_FALSE(ZRKit::saveToFile(QString(), file));
    EXPECT_FALSE(ZRKit::saveToFile(QString(QChar(0xd834)), file));
    EXPECT_EQ(read(file), "old");
}

TEST_F(NSStringFiles, FetchingReadsUTF8FromAnyOfItsSchemes) {
    const HTTPServer server([](const HTTPServer::Request &request) {
        HTTPServer::Response response;
        response.body = request.path == "/utf8" ? "h\xc3\xa9" : "h\xe9";
        return response;
    });
    EXPECT_EQ(ZRKit::fetch(server.url(QStringLiteral("/utf8")).toString()), QStringLiteral("hé"));
    EXPECT_TRUE(ZRKit::fetch(server.url(QStringLiteral("/latin1")).toString()).isNull());
    EXPECT_EQ(ZRKit::fetch(QStringLiteral("file://") + put("a", text.toUtf8())), text);
    EXPECT_EQ(ZRKit::fetch(QStringLiteral("data:,h%C3%A9")), QStringLiteral("hé"));
    EXPECT_TRUE(ZRKit::fetch(QStringLiteral("file://") + path("missing")).isNull());
    EXPECT_TRUE(ZRKit::fetch(path("a")).isNull());
    EXPECT_TRUE(ZRKit::fetch(QStringLiteral("not a url")).isNull());
    EXPECT_TRUE(ZRKit::fetch(QString()).isNull());
}

TEST(NSStringPaths, ComponentsAreJoinedWithOneSlash) {
    const auto joined = [](const char *path, const char *component) {
        return ZRKit::joinPath(QString::fromUtf8(path), QString::fromUtf8(component)).toStdString();
    };
    EXPECT_EQ(joined("/tmp", "a.txt"), "/tmp/a.txt");
    EXPECT_EQ(joined("/tmp/", "a.txt"), "/tmp/a.txt");
    EXPECT_EQ(joined("/tmp//", "//b//c//"), "/tmp/b/c");
    EXPECT_EQ(joined("/", "a"), "/a");
    EXPECT_EQ(joined("", "a"), "a");
    EXPECT_EQ(joined("", "/a"), "/a");
    EXPECT_EQ(joined("/tmp", ""), "/tmp");
    EXPECT_EQ(joined("/", ""), "/");
    EXPECT_EQ(joined("", ""), "");
    EXPECT_EQ(joined("a", "../b"), "a/../b");
    EXPECT_TRUE(ZRKit::joinPath(QString(), QStringLiteral("a")).isNull());
    EXPECT_EQ(ZRKit::joinPath(QStringLiteral("/tmp"), QString()), QStringLiteral("/tmp"));
}

} // namespace
