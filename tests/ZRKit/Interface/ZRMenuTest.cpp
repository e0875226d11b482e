// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRMenu.h"

#include "tests/ZRKit/Interface/Forms.h"
#include "tests/ZRKit/Interface/Translated.h"

#include <QMenuBar>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Answering : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE bool booleanValue() const { return true; }
};

const char *const form = R"(
  <class>Form</class>
  <widget class="QWidget" name="Form">
   <widget class="QMenuBar" name="bar">
    <widget class="ZRMenu" name="menu">
     <property name="title"><string>Preferences</string></property>
     <property name="prefix" stdset="0"><string>Prefs</string></property>
     <widget class="QMenu" name="recent">
      <property name="title"><string>Recent</string></property>
      <addaction name="clear"/>
     </widget>
     <addaction name="open"/>
     <addaction name="separator"/>
     <addaction name="recent"/>
    </widget>
    <addaction name="menu"/>
   </widget>
   <action name="open"><property name="text"><string>&amp;Open…</string></property></action>
   <action name="clear"><property name="text"><string>Clear</string></property></action>
  </widget>)";

} // namespace

TEST(ZRMenu, ThePrefixOfAnInterfaceFileLocalisesTheWholeTreeOnLoading) {
    const Translated german;
    const auto view = loadForm(form);
    ASSERT_TRUE(view);
    auto *const menu = view->findChild<ZRMenu *>();
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->localize());
    EXPECT_EQ(menu->localizePrefix(), u"Prefs"_s);
    EXPECT_EQ(menu->title(), u"Einstellungen"_s);
    EXPECT_EQ(menu->itemAtIndex(0)->text(), u"Ö&ffnen …"_s);
    EXPECT_TRUE(menu->itemAtIndex(1)->isSeparator());
    const auto *const recent = view->findChild<QMenu *>(u"recent"_s);
    ASSERT_TRUE(recent);
    EXPECT_EQ(recent->title(), u"Zuletzt benutzt"_s);
    EXPECT_EQ(recent->actions().value(0)->text(), u"Leeren"_s);
}

TEST(ZRMenu, LocalizeIsTheValuesBoolean) {
    const std::pair<QVariant, bool> cases[] = {{true, true},
                                               {false, false},
                                               {u"yes"_s, true},
                                               {u"no"_s, false},
                                               {u"1"_s, true},
                                               {u"0"_s, false},
                                               {u""_s, false},
                                               {2, true},
                                               {0, false},
                                               {0.5, true},
                                               {u"nö"_s, false},
                                               {QSize(), false},
                                               {QVariantList{1}, false}};
    for (const auto &[value, expected] : cases) {
        ZRMenu menu;
        menu.setLocalize(!expected);
        menu.setValue(value, u"localize"_s);
        EXPECT_EQ(menu.localize(), expected) << value.toString().toStdString();
        EXPECT_TRUE(menu.localizePrefix().isNull());
    }
}

TEST(ZRMenu, AnObjectsOwnBooleanValueIsAsked) {
    Answering object;
    ZRMenu menu;
    menu.setValue(QVariant::fromValue<QObject *>(&object), u"localize"_s);
    EXPECT_TRUE(menu.localize());
    QObject silent;
    menu.setValue(QVariant::fromValue(&silent), u"localize"_s);
    EXPECT_FALSE(menu.localize());
}

TEST(ZRMenu, APrefixTurnsLocalisationOn) {
    for (const char *key :
         {"localizeprefix", "localizePrefix", "prefix", "Prefix", "IBprefix", "IB$Prefix", "$prefix"}) {
        ZRMenu menu;
        menu.setValue(u"Prefs"_s, QString::fromLatin1(key));
        EXPECT_TRUE(menu.localize()) << key;
        EXPECT_EQ(menu.localizePrefix(), u"Prefs"_s) << key;
    }
}

TEST(ZRMenu, AttributesArriveAsDynamicProperties) {
    ZRMenu menu;
    menu.setProperty("IBlocalize", u"no"_s);
    EXPECT_FALSE(menu.localize());
    menu.setProperty("IBlocalize", u"YES"_s);
    EXPECT_TRUE(menu.localize());
}

TEST(ZRMenu, UnknownAttributesDoNothing) {
    ZRMenu menu(u"Preferences"_s);
    menu.setValue(u"Prefs"_s, u"prefixes"_s);
    menu.setValue(u"Prefs"_s, u""_s);
    menu.setValue(QVariant(), QString());
    EXPECT_FALSE(menu.localize());
    EXPECT_TRUE(menu.localizePrefix().isNull());
}

TEST(ZRMenu, WithoutLocalizeItStaysAsItIs) {
    const Translated german;
    ZRMenu menu(u"Preferences"_s);
    menu.setLocalizePrefix(u"Prefs"_s);
    menu.awakeFromNib();
    EXPECT_EQ(menu.title(), u"Preferences"_s);
    menu.setLocalize(true);
    menu.awakeFromNib();
    EXPECT_EQ(menu.title(), u"Einstellungen"_s);
}

TEST(ZRMenu, LocalizeAloneUsesNoPrefix) {
    const Translated german;
    ZRMenu menu(u"Untitled"_s);
    menu.addItemWithTitle(u"Close"_s);
    menu.setValue(true, u"localize"_s);
    menu.awakeFromNib();
    EXPECT_EQ(menu.title(), u"Unbenannt"_s);
    EXPECT_EQ(menu.itemAtIndex(0)->text(), u"Close"_s);
}

#include "ZRMenuTest.moc"
