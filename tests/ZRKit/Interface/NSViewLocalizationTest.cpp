// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSView+ZRLocalize.h"

#include "ZRKit/Interface/ZRLabel.h"
#include "platform/interface/NSTextField.h"
#include "tests/ZRKit/Interface/Translated.h"

#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QToolBox>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ZRKit::localizeWithPrefix;

namespace {

class OwnView : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;
    Q_INVOKABLE void localizeWithPrefix(const QString &prefix) {
        prefixes += prefix;
        setToolTip(u"own"_s);
        if (goesOn)
            ZRKit::localizeWithPrefix(this, prefix);
    }

    QStringList prefixes;
    bool goesOn = false;
};

} // namespace

TEST(NSViewLocalization, TitlesLabelsAndToolTipsOfAllSubviews) {
    const Translated german;
    QWidget view;
    view.setWindowTitle(u"Preferences"_s);
    auto *const group = new QGroupBox(u"Font"_s, &view);
    auto *const label = new QLabel(u"Size"_s, group);
    label->setToolTip(u"Choose a font"_s);
    auto *const button = new QPushButton(u"Close"_s, group);
    button->setAccessibleName(u"Name of the person"_s);
    localizeWithPrefix(&view, "Prefs");
    EXPECT_EQ(view.windowTitle(), u"Einstellungen"_s);
    EXPECT_EQ(group->title(), u"Schrift"_s);
    EXPECT_EQ(label->text(), u"Größe"_s);
    EXPECT_EQ(label->toolTip(), u"Eine Schrift wählen"_s);
    EXPECT_EQ(button->text(), u"Schließen"_s);
    EXPECT_EQ(button->accessibleName(), u"Name der Person"_s);
}

TEST(NSViewLocalization, EntriesTabsAndActions) {
    const Translated german;
    QWidget view;
    auto *const choices = new QComboBox(&view);
    choices->addItems({u"Large"_s, u"Tiny"_s});
    auto *const tabs = new QTabWidget(&view);
    auto *const page = new QWidget;
    auto *const inner = new QLabel(u"Size"_s, page);
    tabs->addTab(page, u"General"_s);
    tabs->setTabToolTip(0, u"Choose a font"_s);
    auto *const box = new QToolBox(&view);
    box->addItem(new QWidget, u"General"_s);
    auto *const action = new QAction(u"Close"_s, &view);
    view.addAction(action);
    localizeWithPrefix(&view, "Prefs");
    EXPECT_EQ(choices->itemText(0), u"Groß"_s);
    EXPECT_EQ(choices->itemText(1), u"Tiny"_s);
    EXPECT_EQ(tabs->tabText(0), u"Allgemein"_s);
    EXPECT_EQ(tabs->tabToolTip(0), u"Eine Schrift wählen"_s);
    EXPECT_EQ(inner->text(), u"Größe"_s);
    EXPECT_EQ(box->itemText(0), u"Allgemein"_s);
    EXPECT_EQ(action->text(), u"Schließen"_s);
}

TEST(NSViewLocalization, WhatTheUserEditsStaysAndItsPlaceholderIsTranslated) {
    const Translated german;
    QWidget view;
    auto *const line = new QLineEdit(u"Close"_s, &view);
    line->setPlaceholderText(u"Your name"_s);
    auto *const field = new NSTextField(&view);
    field->setStringValue(u"Close"_s);
    field->setPlaceholderString(u"Your name"_s);
    field->setAccessibleName(u"Name of the person"_s);
    auto *const label = new ZRLabel(&view);
    label->setStringValue(u"Close"_s);
    localizeWithPrefix(&view, "Prefs");
    EXPECT_EQ(line->text(), u"Close"_s);
    EXPECT_EQ(line->placeholderText(), u"Ihr Name"_s);
    EXPECT_EQ(field->stringValue(), u"Close"_s);
    EXPECT_EQ(field->placeholderString(), u"Ihr Name"_s);
    EXPECT_EQ(label->stringValue(), u"Schließen"_s);
    // The editor is what screen readers ask.
    EXPECT_EQ(field->focusProxy()->accessibleName(), u"Name der Person"_s);
}

TEST(NSViewLocalization, WhatIsTypedIntoAComboBoxStays) {
    const Translated german;
    QComboBox choices;
    choices.setEditable(true);
    choices.addItems({u"Tiny"_s, u"Large"_s});
    choices.setEditText(u"Close"_s);
    localizeWithPrefix(&choices, "Prefs");
    EXPECT_EQ(choices.currentText(), u"Close"_s);
    EXPECT_EQ(choices.itemText(1), u"Groß"_s);
}

TEST(NSViewLocalization, AViewsOwnOperationWins) {
    const Translated german;
    QWidget view;
    auto *const own = new OwnView(&view);
    auto *const inside = new QLabel(u"Close"_s, own);
    localizeWithPrefix(&view, "Prefs");
    EXPECT_EQ(own->prefixes, QStringList{u"Prefs"_s});
    EXPECT_EQ(own->toolTip(), u"own"_s);
    EXPECT_EQ(inside->text(), u"Close"_s);
}

TEST(NSViewLocalization, AnOwnOperationCanGoOnWithTheUsualOne) {
    const Translated german;
    OwnView view;
    view.goesOn = true;
    const auto *const inside = new QLabel(u"Close"_s, &view);
    localizeWithPrefix(&view, QString());
    EXPECT_EQ(inside->text(), u"Close"_s);
    EXPECT_TRUE(view.prefixes.first().isNull());
    localizeWithPrefix(&view, "Prefs");
    EXPECT_EQ(inside->text(), u"Schließen"_s);
    EXPECT_EQ(view.prefixes.size(), 2);
}

TEST(NSViewLocalization, WindowsAmongTheChildrenAreLeftAlone) {
    const Translated german;
    QWidget view;
    QDialog dialog(&view);
    dialog.setWindowTitle(u"Preferences"_s);
    localizeWithPrefix(&view, "Prefs");
    EXPECT_EQ(dialog.windowTitle(), u"Preferences"_s);
}

TEST(NSViewLocalization, AMenuAsAViewIsAMenu) {
    const Translated german;
    QMenu menu(u"Preferences"_s);
    localizeWithPrefix(static_cast<QWidget *>(&menu), "Prefs");
    EXPECT_EQ(menu.title(), u"Einstellungen"_s);
    localizeWithPrefix(static_cast<QWidget *>(nullptr), "Prefs");
}

#include "NSViewLocalizationTest.moc"
