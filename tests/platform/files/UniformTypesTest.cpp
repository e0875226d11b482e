// SPDX-License-Identifier: MIT
#include "platform/files/UniformTypes.h"

#include "platform/files/NSPathUtilities.h"
#include "platform/files/NSWorkspace.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zr;

namespace {

using namespace Qt::StringLiterals;

bool conforms(const QString &type, const QString &toType) {
    return NSWorkspace::sharedWorkspace()->typeConformsToType(type, toType);
}

QStringList words(const char *list) {
    return QString::fromLatin1(list).split(u' ', Qt::SkipEmptyParts);
}

class TypeIdentifier : public testing::Test {
protected:
    QString path(const QString &name) const { return folder.path() + u'/' + name; }
    QString typeOf(const QString &name, const QByteArray &content = {}) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        return NSTypeIdentifierOfItem(path(name));
    }

    QTemporaryDir folder;
};

} // namespace

TEST(UniformTypes, ThereAreManyAndEachConformsToWhatItBuildsOn) {
    EXPECT_GE(uniformTypes().size(), 150U);
    for (const UniformType &type : uniformTypes()) {
        const QString identifier = QString::fromLatin1(type.identifier);
        EXPECT_TRUE(conforms(identifier, identifier));
        for (const QString &parent : words(type.parents))
            EXPECT_TRUE(conforms(identifier, parent)) << type.identifier;
        for (const QString &mimeType : words(type.mimeTypes))
            EXPECT_TRUE(conforms(mimeType, identifier)) << type.identifier;
    }
}

TEST(UniformTypes, EveryExtensionHasOneTypeWithoutRegardToCase) {
    for (const UniformType &type : uniformTypes()) {
        for (const QString &extension : words(type.extensions)) {
            EXPECT_EQ(uniformTypeOfExtension(extension), QString::fromLatin1(type.identifier));
            EXPECT_EQ(uniformTypeOfExtension(extension.toUpper()), QString::fromLatin1(type.identifier));
        }
    }
    EXPECT_TRUE(uniformTypeOfExtension(u"zrkit-unknown"_s).isNull());
    EXPECT_TRUE(uniformTypeOfExtension(QString()).isNull());
}

TEST(UniformTypes, GroupsHoldWhatBelongsToThem) {
    struct Case {
        const char *extension, *group;
    };
    for (const Case &c : {Case{"png", "public.image"},
                          Case{"heic", "public.image"},
                          Case{"svg", "public.xml"},
                          Case{"docx", "public.composite-content"},
                          Case{"xlsx", "public.spreadsheet"},
                          Case{"odp", "public.presentation"},
                          Case{"mp3", "public.audio"},
                          Case{"m4a", "public.audio"},
                          Case{"mkv", "public.movie"},
                          Case{"ogv", "public.audiovisual-content"},
                          Case{"tgz", "public.archive"},
                          Case{"jar", "public.executable"},
                          Case{"py", "public.script"},
                          Case{"cpp", "public.source-code"},
                          Case{"rs", "public.text"},
                          Case{"ttf", "public.font"},
                          Case{"vcf", "public.contact"},
                          Case{"ics", "public.calendar-event"},
                          Case{"rss", "public.xml"},
                          Case{"eml", "public.message"},
                          Case{"dng", "public.camera-raw-image"},
                          Case{"iso", "public.disk-image"},
                          Case{"sqlite", "public.database"},
                          Case{"crt", "public.security.certificate"}})
        EXPECT_TRUE(
            conforms(uniformTypeOfExtension(QString::fromLatin1(c.extension)), QString::fromLatin1(c.group)))
            << c.extension;
}

TEST(UniformTypes, DynamicIdentifiersGiveTheirTagsBack) {
    for (const QString &tag : {u".x"_s, u".zrkit"_s, u".a1-b"_s, u".caf\u00e9"_s, u"application/x-thing"_s}) {
        const QString identifier = dynamicUniformType(tag);
        EXPECT_TRUE(identifier.startsWith(u"dyn.a"_s));
        EXPECT_EQ(tagOfDynamicUniformType(identifier), tag);
        EXPECT_EQ(tagOfDynamicUniformType(identifier.toUpper()), tag);
    }
    EXPECT_EQ(dynamicUniformType(u".ZRKit"_s), dynamicUniformType(u".zrkit"_s));
    EXPECT_NE(dynamicUniformType(u".x"_s), dynamicUniformType(u".y"_s));
    for (const QString &other : {u"public.png"_s, u"dyn.a"_s, u"dyn.a!"_s, u"dyn.aijlo"_s, QString()})
        EXPECT_TRUE(tagOfDynamicUniformType(other).isNull()) << qPrintable(other);
}

TEST(UniformTypes, DynamicIdentifiersConformToDataAndToWhatTheMIMEDatabaseKnows) {
    EXPECT_TRUE(conforms(dynamicUniformType(u".zrkit"_s), u"public.data"_s));
    EXPECT_TRUE(conforms(dynamicUniformType(u".zrkit"_s), u"public.item"_s));
    EXPECT_FALSE(conforms(dynamicUniformType(u".zrkit"_s), u"public.text"_s));
    // Vala's sources are text to the MIME database, and nothing to the table.
    EXPECT_TRUE(conforms(dynamicUniformType(u".vala"_s), u"public.text"_s));
    EXPECT_FALSE(conforms(u"public.data"_s, dynamicUniformType(u".zrkit"_s)));
}

TEST_F(TypeIdentifier, ComesFromTheNameNotFromTheContent) {
    EXPECT_EQ(typeOf(u"x.png"_s, "text"), u"public.png"_s);
    EXPECT_EQ(typeOf(u"X.PNG"_s), u"public.png"_s);
    EXPECT_EQ(typeOf(u"x.txt"_s, "\x89PNG\r\n\x1a\n"), u"public.plain-text"_s);
    EXPECT_EQ(typeOf(u"a.tar.gz"_s), u"org.gnu.gnu-zip-archive"_s);
    EXPECT_EQ(typeOf(u"noextension"_s, "%PDF-1.4"), u"public.data"_s);
}

TEST_F(TypeIdentifier, NamesThatOnlyTheMIMEDatabaseKnowsAreFoundThere) {
    EXPECT_EQ(typeOf(u"Makefile"_s), u"public.make-source"_s);
    EXPECT_TRUE(conforms(typeOf(u"x.vala"_s), u"public.plain-text"_s));
}

TEST_F(TypeIdentifier, OtherNamesHaveDynamicOnes) {
    EXPECT_EQ(typeOf(u"x.zrkit-unknown"_s), dynamicUniformType(u".zrkit-unknown"_s));
}

TEST_F(TypeIdentifier, TellsFoldersLinksProgramsAndPipesByWhatTheyAre) {
    EXPECT_EQ(NSTypeIdentifierOfItem(folder.path()), u"public.folder"_s);
    ASSERT_EQ(::mkdir(path(u"f.png"_s).toUtf8().constData(), 0700), 0);
    EXPECT_EQ(NSTypeIdentifierOfItem(path(u"f.png"_s)), u"public.folder"_s);
    ASSERT_EQ(::mkdir(path(u"f.rtfd"_s).toUtf8().constData(), 0700), 0);
    EXPECT_EQ(NSTypeIdentifierOfItem(path(u"f.rtfd"_s)), u"com.apple.rtfd"_s);
    ASSERT_EQ(::symlink("x.png", path(u"l.png"_s).toUtf8().constData()), 0);
    EXPECT_EQ(NSTypeIdentifierOfItem(path(u"l.png"_s)), u"public.symlink"_s);
    ASSERT_EQ(::mkfifo(path(u"p.png"_s).toUtf8().constData(), 0600), 0);
    EXPECT_EQ(NSTypeIdentifierOfItem(path(u"p.png"_s)), u"public.item"_s);
    typeOf(u"program"_s);
    ASSERT_EQ(::chmod(path(u"program"_s).toUtf8().constData(), 0755), 0);
    EXPECT_EQ(NSTypeIdentifierOfItem(path(u"program"_s)), u"public.unix-executable"_s);
}

TEST_F(TypeIdentifier, IsNilWhereNothingIs) {
    EXPECT_TRUE(NSTypeIdentifierOfItem(path(u"missing.png"_s)).isNull());
    EXPECT_TRUE(NSTypeIdentifierOfItem(QString()).isNull());
    EXPECT_TRUE(NSTypeIdentifierOfItem(u""_s).isNull());
}
