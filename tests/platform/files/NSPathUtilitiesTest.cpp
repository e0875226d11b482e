// SPDX-License-Identifier: MIT
#include "platform/files/NSPathUtilities.h"

#include "platform/files/FileContents.h"
#include "tests/support/InChild.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace Qt::StringLiterals;

/// An environment variable for the length of a test; nullptr for none.
class Variable {
public:
    Variable(const char *name, const char *value) : m_name(name), m_before(qgetenv(name)) {
        value ? qputenv(name, value) : qunsetenv(name);
    }
    ~Variable() { m_before.isNull() ? qunsetenv(m_name) : qputenv(m_name, m_before); }

private:
    const char *m_name;
    QByteArray m_before;
};

} // namespace

TEST(NSPathUtilities, AnyBytesBecomeAStringAndTheSameBytesAgain) {
    for (int first = 1; first < 256; ++first) {
        for (int second = 1; second < 256; ++second) {
            const QByteArray bytes = QByteArray(1, char(first)) + char(second) + 'x';
            ASSERT_EQ(NSFileSystemRepresentation(NSStringWithFileSystemRepresentation(bytes)), bytes)
                << first << ' ' << second;
        }
    }
    for (const QByteArray &bytes :
         {QByteArray("\xF0\x9F\x98\x80"), QByteArray("\xF0\x9F\x98"), QByteArray("a\xE2\x82"),
          QByteArray("\xED\xB2\x80"), QByteArray("\xF0\x9F\xE9\xFF")})
        EXPECT_EQ(NSFileSystemRepresentation(NSStringWithFileSystemRepresentation(bytes)), bytes);
}

TEST(NSPathUtilities, WhatIsUTF8StaysAsItIs) {
    EXPECT_EQ(NSStringWithFileSystemRepresentation("/tmp/\xC3\xA9\xF0\x9F\x98\x80"),
              u"/tmp/\u00e9\U0001F600"_s);
    EXPECT_EQ(NSFileSystemRepresentation(u"/tmp/\u00e9\U0001F600"_s), "/tmp/\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(NSStringWithFileSystemRepresentation("a\xE9z"), QString(u"a\xdce9z"_s));
}

TEST(NSPathUtilities, NilNothingAndZerosNameNothing) {
    EXPECT_TRUE(NSFileSystemRepresentation(QString()).isNull());
    EXPECT_TRUE(NSFileSystemRepresentation(u""_s).isNull());
    EXPECT_TRUE(NSFileSystemRepresentation(QString(u"a"_s) + QChar(0) + u'b').isNull());
}

TEST(NSPathUtilities, FileURLsOfThisHostHavePaths) {
    EXPECT_EQ(NSPathOfFileURL(QUrl(u"file:///a%20b/%C3%A9%23"_s)), u"/a b/\u00e9#"_s);
    EXPECT_EQ(NSPathOfFileURL(QUrl(u"file://localhost/a"_s)), u"/a"_s);
    EXPECT_TRUE(NSPathOfFileURL(QUrl(u"file://other.host/a"_s)).isNull());
    EXPECT_TRUE(NSPathOfFileURL(QUrl(u"http://localhost/a"_s)).isNull());
    EXPECT_TRUE(NSPathOfFileURL(QUrl(u"/a"_s)).isNull());
    EXPECT_TRUE(NSPathOfFileURL(QUrl()).isNull());
}

TEST(NSPathUtilities, APathsURLHasThatPath) {
    for (const QByteArray &bytes :
         {QByteArray("/a b/#?%41;\xC3\xA9"), QByteArray("/\xE9\xFF"), QByteArray("/")}) {
        const QString path = NSStringWithFileSystemRepresentation(bytes);
        EXPECT_EQ(NSPathOfFileURL(NSFileURLWithPath(path)), path);
    }
    EXPECT_EQ(NSPathOfFileURL(NSFileURLWithPath(u"a"_s)), QDir::currentPath() + u"/a"_s);
    EXPECT_TRUE(NSFileURLWithPath(QString()).isEmpty());
    EXPECT_TRUE(NSFileURLWithPath(u""_s).isEmpty());
}

TEST(NSPathUtilities, FilesOfNamesThatAreNotUTF8AreRead) {
    const QTemporaryDir folder;
    const QByteArray name = folder.path().toUtf8() + "/\xFF";
    FILE *const file = std::fopen(name.constData(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("x", file);
    std::fclose(file);
    EXPECT_EQ(NSDataWithContentsOfFile(NSStringWithFileSystemRepresentation(name)), "x");
    EXPECT_EQ(::unlink(name.constData()), 0);
}

TEST(NSPathUtilities, FoldersFollowTheirVariables) {
    const Variable home("HOME", "/h"), cache("XDG_CACHE_HOME", "/c"), data("XDG_DATA_HOME", "/d"),
        config("XDG_CONFIG_HOME", "/k");
    using enum NSSearchPathDirectory;
    EXPECT_EQ(NSHomeDirectory(), u"/h"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(Caches), u"/c"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(ApplicationSupport), u"/d"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(Library), u"/k"_s);
}

TEST(NSPathUtilities, FoldersHaveTheirPlacesAtHome) {
    const Variable home("HOME", "/h"), cache("XDG_CACHE_HOME", nullptr), data("XDG_DATA_HOME", nullptr),
        config("XDG_CONFIG_HOME", nullptr);
    using enum NSSearchPathDirectory;
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(Caches), u"/h/.cache"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(ApplicationSupport), u"/h/.local/share"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(Library), u"/h/.config"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(Documents), u"/h/Documents"_s);
}

TEST(NSPathUtilities, RelativeVariablesDoNotCount) {
    const Variable home("HOME", "/h"), cache("XDG_CACHE_HOME", "c"), data("XDG_DATA_HOME", "./d");
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::Caches), u"/h/.cache"_s);
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::ApplicationSupport),
              u"/h/.local/share"_s);
}

TEST(NSPathUtilities, DocumentsAreWhereTheUserHasThem) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"user-dirs.dirs"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    file.close();
    const Variable home("HOME", "/h"), config("XDG_CONFIG_HOME", folder.path().toUtf8().constData());
    EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::Documents), u"/h/Dokumente"_s);
}

TEST(NSPathUtilities, TemporaryFilesAreWhereTheVariableSays) {
    const Variable folder("TMPDIR", "/var/tmp");
    EXPECT_EQ(NSTemporaryDirectory(), u"/var/tmp"_s);
}

TEST(NSPathUtilities, WithoutTheVariableTemporaryFilesAreOutOfOthersReach) {
    const Variable folder("TMPDIR", nullptr);
    const QString path = NSTemporaryDirectory();
    ASSERT_TRUE(path.startsWith(u"/tmp/"_s));
    struct stat status {};
    ASSERT_EQ(::lstat(path.toUtf8().constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    EXPECT_EQ(status.st_uid, ::geteuid());
    EXPECT_EQ(NSTemporaryDirectory(), path);
}

TEST(NSPathUtilities, AnExtensionIsBehindTheLastDotOfTheName) {
    struct Case {
        QString path, extension, base;
    };
    for (const Case &c : {Case{u"/x/a.txt"_s, u"txt"_s, u"/x/a"_s}, Case{u"a.tar.gz"_s, u"gz"_s, u"a.tar"_s},
                          Case{u"/x.y/a"_s, u""_s, u"/x.y/a"_s}, Case{u".profile"_s, u""_s, u".profile"_s},
                          Case{u"/x/.profile.bak"_s, u"bak"_s, u"/x/.profile"_s},
                          Case{u"a."_s, u""_s, u"a."_s}, Case{u""_s, u""_s, u""_s}}) {
        EXPECT_EQ(NSPathExtension(c.path), c.extension) << qPrintable(c.path);
        EXPECT_FALSE(NSPathExtension(c.path).isNull());
        EXPECT_EQ(NSPathByDeletingExtension(c.path), c.base);
    }
    EXPECT_EQ(NSPathByAppendingExtension(u"a"_s, u"txt"_s), u"a.txt"_s);
    EXPECT_EQ(NSPathByAppendingExtension(u"a"_s, u""_s), u"a"_s);
    EXPECT_EQ(NSPathByAppendingExtension(u"a"_s, QString()), u"a"_s);
}

TEST(NSPathUtilities, AHomeThatIsNotInTheEnvironmentComesFromTheUserDatabase) {
    const QString known = QString::fromLocal8Bit(::getpwuid(::geteuid())->pw_dir);
    const Variable data("XDG_DATA_HOME", nullptr), config("XDG_CONFIG_HOME", nullptr);
    for (const char *missing : {static_cast<const char *>(nullptr), "", "relative"}) {
        const Variable home("HOME", missing);
        EXPECT_EQ(NSHomeDirectory(), known);
        EXPECT_EQ(NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::ApplicationSupport),
                  known + u"/.local/share"_s);
        EXPECT_TRUE(
            NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::Documents).startsWith(known + u'/'));
    }
}

TEST(NSPathUtilities, APathWithALoneSurrogateNamesNothing) {
    for (const char16_t unit :
         {char16_t(0xD800), char16_t(0xDBFF), char16_t(0xDC00), char16_t(0xDC7F), char16_t(0xDFFF)})
        EXPECT_TRUE(NSFileSystemRepresentation(u"a"_s + QChar(unit) + u'b').isNull());
    EXPECT_EQ(NSFileSystemRepresentation(u"a\U0001F600"_s + QChar(0xDCFF)), "a\xF0\x9F\x98\x80\xFF");
}
