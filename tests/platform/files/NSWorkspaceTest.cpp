// SPDX-License-Identifier: MIT
#include "platform/files/NSWorkspace.h"

#include "platform/files/UniformTypes.h"

#include <QSet>
#include <gtest/gtest.h>

namespace {

bool conforms(const char *type, const char *toType) {
    return NSWorkspace::sharedWorkspace()->typeConformsToType(QString::fromLatin1(type),
                                                              QString::fromLatin1(toType));
}

} // namespace

TEST(NSWorkspace, TypesConformToThemselvesAndToWhatTheyBuildOn) {
    EXPECT_TRUE(conforms("public.jpeg", "public.jpeg"));
    EXPECT_TRUE(conforms("public.jpeg", "public.image"));
    EXPECT_TRUE(conforms("public.jpeg", "public.data"));
    EXPECT_TRUE(conforms("public.jpeg", "public.item"));
    EXPECT_TRUE(conforms("public.html", "public.text"));
    EXPECT_TRUE(conforms("public.xhtml", "public.xml"));
    EXPECT_TRUE(conforms("public.svg-image", "public.image"));
    EXPECT_TRUE(conforms("public.svg-image", "public.text"));
    EXPECT_TRUE(conforms("com.adobe.pdf", "public.content"));
    EXPECT_TRUE(conforms("public.file-url", "public.url"));
}

TEST(NSWorkspace, NothingConformsDownwardsOrSideways) {
    EXPECT_FALSE(conforms("public.image", "public.jpeg"));
    EXPECT_FALSE(conforms("public.png", "public.jpeg"));
    EXPECT_FALSE(conforms("public.png", "public.text"));
    EXPECT_FALSE(conforms("public.html", "public.plain-text"));
    EXPECT_FALSE(conforms("public.folder", "public.data"));
}

TEST(NSWorkspace, CaseDoesNotCount) {
    EXPECT_TRUE(conforms("Public.PNG", "public.IMAGE"));
}

TEST(NSWorkspace, UnknownTypesConformToThemselvesOnly) {
    EXPECT_TRUE(conforms("com.example.thing", "com.example.thing"));
    EXPECT_FALSE(conforms("com.example.thing", "public.item"));
    EXPECT_FALSE(conforms("public.png", "com.example.thing"));
}

TEST(NSWorkspace, NilAndEmptyTypesConformToNothing) {
    const NSWorkspace *workspace = NSWorkspace::sharedWorkspace();
    EXPECT_FALSE(workspace->typeConformsToType(QString(), QStringLiteral("public.item")));
    EXPECT_FALSE(workspace->typeConformsToType(QStringLiteral("public.item"), QString()));
    EXPECT_FALSE(workspace->typeConformsToType(QString(), QString()));
    EXPECT_FALSE(workspace->typeConformsToType(QStringLiteral(""), QStringLiteral("")));
}

TEST(NSWorkspace, MIMETypesStandForIdentifiersAndInheritAsTheMIMEDatabaseSays) {
    EXPECT_TRUE(conforms("image/png", "public.image"));
    EXPECT_TRUE(conforms("text/html", "public.html"));
    EXPECT_TRUE(conforms("text/x-python", "public.plain-text"));
    EXPECT_TRUE(conforms("image/svg+xml", "public.xml"));
    EXPECT_FALSE(conforms("image/png", "public.text"));
    EXPECT_FALSE(conforms("no/such-type", "public.data"));
}

TEST(NSWorkspace, TheTableIsConsistent) {
    QSet<QString> identifiers;
    for (const zr::UniformType &type : zr::uniformTypes()) {
        EXPECT_FALSE(identifiers.contains(QString::fromLatin1(type.identifier))) << type.identifier;
        identifiers.insert(QString::fromLatin1(type.identifier));
    }
    for (const zr::UniformType &type : zr::uniformTypes()) {
        for (const QString &parent : QString::fromLatin1(type.parents).split(u' ', Qt::SkipEmptyParts))
            EXPECT_TRUE(identifiers.contains(parent)) << type.identifier;
    }
}
