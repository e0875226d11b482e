// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRMenu.h"

#include "ZRKit/Interface/NSView+ZRLocalize.h"
#include "examples/kit/Example.h"

#include <QApplication>
#include <QLabel>
#include <QLocale>
#include <QMenuBar>
#include <QTranslator>

using namespace Qt::StringLiterals;
using ZRKit::localizeWithPrefix;

class Library : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void open(QAction *item) { opened += item->text(); }

    QStringList opened;
};

EXAMPLE(ZRMenu) {
    // A menu and its actions
    Library library;
    ZRMenu menu(u"Library"_s);
    NSMenuItem *const open = menu.addItemWithTitle(u"&Open…"_s, NSSelector("open:"));
    open->setTarget(&library);
    menu.addItem(NSMenuItem::separatorItem());
    auto *const recent = new NSMenu(&menu);
    menu.addItemWithTitle(u"Recent"_s)->setSubmenu(recent);
    recent->addItemWithTitle(u"Clear"_s);
    open->trigger();
    expect(library.opened == QStringList{u"&Open…"_s});

    // The user's language. An application says QLocale() here.
    QTranslator translator;
    expect(translator.load(QLocale(QLocale::German), u"interface"_s, u"_"_s, u":/translations"_s));
    QCoreApplication::installTranslator(&translator);

    // Attributes as an interface file has them, and what the loader does at the end
    menu.setValue(u"LibraryMenu"_s, u"prefix"_s);
    menu.awakeFromNib();
    expect(menu.title() == u"Bibliothek"_s);
    expect(open->title() == u"Ö&ffnen …"_s);
    expect(recent->title() == u"Zuletzt benutzt"_s && recent->itemAtIndex(0)->text() == u"Leeren"_s);

    // Texts, menus and views by hand
    expect(localizeWithPrefix("Clear", "LibraryMenu") == u"Leeren"_s);
    expect(localizeWithPrefix("Clear", "OtherMenu") == u"Clear"_s);
    QWidget view;
    auto *const label = new QLabel(u"Clear"_s, &view);
    label->setToolTip(u"Recent"_s);
    localizeWithPrefix(&view, "LibraryMenu");
    expect(label->text() == u"Leeren"_s && label->toolTip() == u"Zuletzt benutzt"_s);

    // A menu bar shows a menu's items and follows them.
    QMenuBar bar;
    NSMenu mainMenu;
    mainMenu.setMenuBar(&bar);
    mainMenu.addItemWithTitle(u"Library"_s)->setSubmenu(&menu);
    expect(bar.actions().size() == 1);
    QCoreApplication::removeTranslator(&translator);
}

#include "ZRMenu.moc"
