// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSMenu+ZRLocalize.h"

#include "ZRKit/Interface/NSView+ZRLocalize.h"
#include "platform/interface/NSMenu.h"
#include "tests/ZRKit/Interface/Translated.h"

#include <QMenuBar>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ZRKit::localizeWithPrefix;

namespace {

QStringList titles(const QMenu &menu) {
    QStringList all{menu.title()};
    for (const QAction *item : menu.actions()) {
        if (const QMenu *const submenu = item->menu())
            all += u"("_s + titles(*submenu).join(u", "_s) + u")"_s;
        else
            all += item->text();
    }
    return all;
}

/// A menu that remembers in which order things are localised.
class Recording : public NSMenu {
    Q_OBJECT

public:
    Recording(const QString &title, QStringList &calls) : NSMenu(title), m_calls(calls) {}
    Q_INVOKABLE void localizeWithPrefix(const QString &prefix) {
        m_calls += title() + u"/"_s + prefix;
        ZRKit::localizeWithPrefix(this, prefix);
    }

private:
    QStringList &m_calls;
};

class RecordingItem : public NSMenuItem {
    Q_OBJECT

public:
    RecordingItem(const QString &title, QStringList &calls) : NSMenuItem(title), m_calls(calls) {}
    Q_INVOKABLE void localizeWithPrefix(const QString &prefix) {
        m_calls += text() + u"/"_s + prefix;
        ZRKit::localizeWithPrefix(this, prefix);
    }

private:
    QStringList &m_calls;
};

} // namespace

TEST(NSMenuLocalization, TitleItemsAndSubmenusGetThePrefix) {
    const Translated german;
    NSMenu menu(u"Preferences"_s);
    menu.addItemWithTitle(u"&Open…"_s);
    menu.addItem(NSMenuItem::separatorItem());
    auto *const recent = menu.addItemWithTitle(u"Recent"_s);
    auto *const submenu = new NSMenu(u"Recent"_s, &menu);
    recent->setSubmenu(submenu);
    submenu->addItemWithTitle(u"Clear"_s);
    submenu->addItemWithTitle(u"My own file"_s);
    menu.addItemWithTitle(u"Close"_s);

    localizeWithPrefix(&menu, "Prefs");
    EXPECT_EQ(titles(menu), (QStringList{u"Einstellungen"_s, u"Ö&ffnen …"_s, u""_s,
                                         u"(Zuletzt benutzt, Leeren, My own file)"_s, u"Schließen"_s}));
    EXPECT_EQ(recent->title(), u"Zuletzt benutzt"_s);
}

TEST(NSMenuLocalization, QtsOwnMenusAreLocalisedToo) {
    const Translated german;
    QMenu menu(u"Preferences"_s);
    menu.addMenu(u"Recent"_s)->addAction(u"Clear"_s);
    menu.addAction(u"Close"_s);
    localizeWithPrefix(&menu, "Prefs");
    EXPECT_EQ(titles(menu),
              (QStringList{u"Einstellungen"_s, u"(Zuletzt benutzt, Leeren)"_s, u"Schließen"_s}));
}

TEST(NSMenuLocalization, TheTreeIsWalkedDepthFirstInItemOrderWithOnePrefix) {
    QStringList calls;
    Recording menu(u"menu"_s, calls);
    auto *const one = new RecordingItem(u"one"_s, calls);
    auto *const two = new RecordingItem(u"two"_s, calls);
    menu.addItem(one);
    menu.addItem(two);
    menu.addItem(new RecordingItem(u"three"_s, calls));
    Recording inner(u"inner"_s, calls);
    two->setSubmenu(&inner);
    inner.addItem(new RecordingItem(u"deep"_s, calls));
    localizeWithPrefix(&menu, "P");
    // The submenu's title is that of its item.
    EXPECT_EQ(calls,
              (QStringList{u"menu/P"_s, u"one/P"_s, u"two/P"_s, u"two/P"_s, u"deep/P"_s, u"three/P"_s}));
}

TEST(NSMenuLocalization, ATitleThatItemAndSubmenuShareIsTranslatedOnce) {
    const Translated german;
    NSMenu menu;
    auto *const item = menu.addItemWithTitle(u"Close"_s);
    item->setSubmenu(new NSMenu(&menu));
    localizeWithPrefix(&menu, "Prefs");
    EXPECT_EQ(item->title(), u"Schließen"_s);
}

TEST(NSMenuLocalization, AMenuLocalisedTwiceKeepsItsSense) {
    const Translated german;
    NSMenu menu(u"Preferences"_s);
    menu.addItemWithTitle(u"&Open…"_s);
    localizeWithPrefix(&menu, "Prefs");
    localizeWithPrefix(&menu, "Prefs");
    EXPECT_EQ(titles(menu), (QStringList{u"Einstellungen"_s, u"Ö&ffnen …"_s}));
}

TEST(NSMenuLocalization, APrefixWithoutTranslationsChangesNothing) {
    const Translated german;
    NSMenu menu(u"Preferences"_s);
    menu.addItemWithTitle(u"Close"_s);
    localizeWithPrefix(&menu, "Unknown");
    localizeWithPrefix(&menu, QString());
    EXPECT_EQ(titles(menu), (QStringList{u"Preferences"_s, u"Close"_s}));
}

TEST(NSMenuLocalization, AnItemsOwnToolTipIsTranslatedAndNoneIsMade) {
    const Translated german;
    NSMenuItem item(u"Font"_s), plain(u"Size"_s);
    item.setToolTip(u"Choose a font"_s);
    localizeWithPrefix(&item, "Prefs");
    localizeWithPrefix(&plain, "Prefs");
    EXPECT_EQ(item.toolTip(), u"Eine Schrift wählen"_s);
    plain.setTitle(u"Other"_s);
    EXPECT_EQ(plain.toolTip(), u"Other"_s);
}

TEST(NSMenuLocalization, AMenuBarIsWalkedAsAView) {
    const Translated german;
    QMenuBar bar;
    bar.addMenu(u"Preferences"_s)->addAction(u"Close"_s);
    localizeWithPrefix(&bar, "Prefs");
    EXPECT_EQ(titles(*bar.actions().first()->menu()), (QStringList{u"Einstellungen"_s, u"Schließen"_s}));
}

TEST(NSMenuLocalization, NilIsNothing) {
    localizeWithPrefix(static_cast<QMenu *>(nullptr), "Prefs");
    localizeWithPrefix(static_cast<QAction *>(nullptr), "Prefs");
}

#include "NSMenuLocalizationTest.moc"
