// SPDX-License-Identifier: MIT
#include "platform/files/NSBundle.h"

#include "platform/values/NSNull.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

class NSBundleTest : public testing::Test {
protected:
    NSBundleTest()
        : name(QCoreApplication::applicationName()), domain(QCoreApplication::organizationDomain()) {}
    ~NSBundleTest() override {
        QCoreApplication::setApplicationName(name);
        QCoreApplication::setOrganizationDomain(domain);
        bundle.setInfoDictionary({});
        bundle.setResourcePath({});
    }

    NSBundle &bundle = NSBundle::mainBundle();
    const QString name, domain;
};

} // namespace

TEST_F(NSBundleTest, TheApplicationsOwnNamesStandWhereNothingWasGiven) {
    QCoreApplication::setApplicationName(u"editor"_s);
    QCoreApplication::setOrganizationDomain(u"tools.example.com"_s);
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(u"CFBundleName"_s), QVariant(u"editor"_s));
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(u"CFBundleIdentifier"_s),
              QVariant(u"com.example.tools.editor"_s));
}

TEST_F(NSBundleTest, WithoutADomainThereIsNoIdentifier) {
    QCoreApplication::setOrganizationDomain(QString());
    EXPECT_FALSE(bundle.infoDictionary().contains(u"CFBundleIdentifier"_s));
}

TEST_F(NSBundleTest, WhatWasGivenStandsOverThem) {
    QCoreApplication::setApplicationName(u"editor"_s);
    bundle.setInfoDictionary({{u"CFBundleIdentifier"_s, u"com.example.app"_s}, {u"Other"_s, 1}});
    EXPECT_EQ(bundle.infoDictionary(), (QVariantMap{{u"CFBundleName"_s, u"editor"_s},
                                                    {u"CFBundleIdentifier"_s, u"com.example.app"_s},
                                                    {u"Other"_s, 1}}));
    bundle.setInfoDictionary({{u"CFBundleName"_s, QVariant()}, {u"CFBundleIdentifier"_s, NSNull()}});
    EXPECT_TRUE(bundle.infoDictionary().isEmpty());
    EXPECT_FALSE(bundle.objectForInfoDictionaryKey(u"CFBundleName"_s).isValid());
}

TEST_F(NSBundleTest, ResourcesAreThoseCompiledIntoTheProgramUnlessAnotherFolderIsSet) {
    EXPECT_EQ(bundle.resourcePath(), u":/"_s);
    bundle.setResourcePath(u"/opt/app/resources"_s);
    EXPECT_EQ(bundle.resourcePath(), u"/opt/app/resources/"_s);
    bundle.setResourcePath(u"/opt/app/resources/"_s);
    EXPECT_EQ(bundle.resourcePath(), u"/opt/app/resources/"_s);
    bundle.setResourcePath(u""_s);
    EXPECT_EQ(bundle.resourcePath(), u":/"_s);
    bundle.setResourcePath(u":/pictures"_s);
    EXPECT_EQ(bundle.resourcePath(), u":/pictures/"_s);
}
