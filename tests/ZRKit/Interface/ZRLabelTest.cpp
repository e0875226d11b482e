// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRLabel.h"

#include "tests/ZRKit/Interface/Forms.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(ZRLabel, ShadowAndRaisedRaiseTheText) {
    for (const char *key : {"shadow", "raised", "Shadow", "IBraised", "IB$shadow"})
        for (const QVariant &yes : {QVariant(true), QVariant(u"YES"_s), QVariant(u"true"_s), QVariant(1)}) {
            ZRLabel label;
            label.setValue(yes, QString::fromLatin1(key));
            EXPECT_EQ(label.cell()->backgroundStyle(), NSBackgroundStyleRaised) << key;
            EXPECT_EQ(int(label.cell()->backgroundStyle()), 2);
        }
}

TEST(ZRLabel, NoLeavesTheStyleAsItIs) {
    for (const QVariant &no : {QVariant(false), QVariant(u"no"_s), QVariant(u"0"_s), QVariant(0), QVariant(),
                               QVariant(QVariantList{1})}) {
        ZRLabel label;
        label.setValue(no, u"shadow"_s);
        EXPECT_EQ(label.cell()->backgroundStyle(), NSBackgroundStyleNormal);
        label.cell()->setBackgroundStyle(NSBackgroundStyleLowered);
        label.setValue(no, u"raised"_s);
        EXPECT_EQ(label.cell()->backgroundStyle(), NSBackgroundStyleLowered);
    }
}

TEST(ZRLabel, UnknownAttributesDoNothing) {
    ZRLabel label;
    label.setValue(true, u"shadows"_s);
    label.setValue(true, QString());
    EXPECT_EQ(label.cell()->backgroundStyle(), NSBackgroundStyleNormal);
}

TEST(ZRLabel, AttributesOfAnInterfaceFile) {
    const auto view = loadForm(R"(
      <class>Form</class>
      <widget class="QWidget" name="Form">
       <widget class="ZRLabel" name="raised">
        <property name="stringValue"><string>Title</string></property>
        <property name="IBshadow" stdset="0"><string>yes</string></property>
       </widget>
       <widget class="ZRLabel" name="flat">
        <property name="shadow" stdset="0"><string>no</string></property>
       </widget>
       <widget class="ZRLabel" name="checked">
        <property name="shadow" stdset="0"><bool>true</bool></property>
       </widget>
      </widget>)");
    ASSERT_TRUE(view);
    EXPECT_EQ(view->findChild<ZRLabel *>(u"raised"_s)->cell()->backgroundStyle(), NSBackgroundStyleRaised);
    EXPECT_EQ(view->findChild<ZRLabel *>(u"raised"_s)->stringValue(), u"Title"_s);
    EXPECT_EQ(view->findChild<ZRLabel *>(u"flat"_s)->cell()->backgroundStyle(), NSBackgroundStyleNormal);
    EXPECT_EQ(view->findChild<ZRLabel *>(u"checked"_s)->cell()->backgroundStyle(), NSBackgroundStyleRaised);
}

TEST(ZRLabel, IsALabel) {
    ZRLabel label;
    EXPECT_FALSE(label.isEditable());
    EXPECT_FALSE(label.acceptsFirstResponder());
    EXPECT_FALSE(label.becomeFirstResponder());
}
