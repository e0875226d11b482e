// SPDX-License-Identifier: MIT
#include "platform/interface/NSMenu.h"

#include "platform/base/NSException.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMenuBar>
#include <QPointer>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Target : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void open(QObject *sender) { senders += sender; }
    Q_INVOKABLE void plain() { senders += nullptr; }
    Q_INVOKABLE void raise(QObject *) { throw NSException(NSGenericException, u"out of order"_s); }

    QObjectList senders;
};

class Responder : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;
    Q_INVOKABLE void open(QObject *sender) { senders += sender; }

    QObjectList senders;
};

QStringList titles(const QWidget &widget) {
    QStringList all;
    for (const QAction *item : widget.actions())
        all += item->text();
    return all;
}

} // namespace

TEST(NSMenu, ItemsStandInTheirOrder) {
    NSMenu menu(u"File"_s);
    EXPECT_EQ(menu.title(), u"File"_s);
    NSMenuItem *const open = menu.addItemWithTitle(u"Open"_s);
    QAction *const line = NSMenuItem::separatorItem();
    menu.addItem(line);
    auto *const first = new NSMenuItem(u"New"_s);
    menu.insertItem(first, 0);
    EXPECT_EQ(menu.itemArray(), (QList<QAction *>{first, open, line}));
    EXPECT_EQ(menu.numberOfItems(), 3);
    EXPECT_EQ(menu.itemAtIndex(1), open);
    EXPECT_EQ(menu.indexOfItem(line), 2);
    EXPECT_EQ(menu.itemWithTitle(u"Open"_s), open);
    EXPECT_EQ(menu.itemWithTitle(u"open"_s), nullptr);
    EXPECT_TRUE(line->isSeparator());
    EXPECT_THROW(menu.itemAtIndex(3), NSException);
    EXPECT_THROW(menu.itemAtIndex(-1), NSException);
    EXPECT_THROW(menu.insertItem(new NSMenuItem(&menu), 4), NSException);
    EXPECT_THROW(menu.addItem(nullptr), NSException);
}

TEST(NSMenu, ItemsWithoutAnotherOwnerBelongToIt) {
    QPointer<NSMenuItem> own = new NSMenuItem(u"own"_s);
    NSMenuItem lent(u"lent"_s, NSSelector(), qApp);
    {
        NSMenu menu;
        menu.addItem(own);
        menu.addItem(&lent);
        menu.removeItem(&lent);
        EXPECT_EQ(menu.indexOfItem(&lent), -1);
        menu.addItem(&lent);
    }
    EXPECT_FALSE(own);
    lent.setParent(nullptr);
}

TEST(NSMenu, RemovedItemsGo) {
    NSMenu menu;
    QPointer<NSMenuItem> one = menu.addItemWithTitle(u"one"_s), two = menu.addItemWithTitle(u"two"_s);
    menu.removeItem(one);
    EXPECT_EQ(titles(menu), QStringList{u"two"_s});
    menu.removeAllItems();
    menu.removeItem(nullptr);
    EXPECT_EQ(menu.numberOfItems(), 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(one || two);
}

TEST(NSMenu, AChosenItemSendsItsActionToItsTarget) {
    Target target;
    NSMenu menu;
    NSMenuItem *const open = menu.addItemWithTitle(u"Open"_s, NSSelector("open:"));
    NSMenuItem *const plain = menu.addItemWithTitle(u"Plain"_s, NSSelector("plain"));
    open->setTarget(&target);
    plain->setTarget(&target);
    open->trigger();
    plain->trigger();
    EXPECT_EQ(target.senders, (QObjectList{open, nullptr}));
}

TEST(NSMenu, WithoutATargetTheRespondersAreAsked) {
    Responder window;
    QWidget child(&window);
    NSMenu menu(&child);
    NSMenuItem *const open = menu.addItemWithTitle(u"Open"_s, NSSelector("open:"));
    NSMenuItem *const unknown = menu.addItemWithTitle(u"Unknown"_s, NSSelector("unknown:"));
    open->trigger();
    unknown->trigger();
    EXPECT_EQ(window.senders, QObjectList{open});

    // Whoever has the keyboard focus comes before those around the menu.
    Responder front;
    front.setFocusPolicy(Qt::StrongFocus);
    front.setFocus();
    front.show();
    front.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&front));
    open->trigger();
    EXPECT_EQ(front.senders, QObjectList{open});
    EXPECT_EQ(window.senders.size(), 1);
}

TEST(NSMenu, ATargetThatIsGoneOrRaisesDoesNoHarm) {
    auto target = std::make_unique<Target>();
    NSMenuItem item(u"Open"_s, NSSelector("raise:"));
    item.setTarget(target.get());
    LogCapture log;
    item.trigger();
    EXPECT_EQ(log.lines(), QStringList{u"Exception in an event: out of order"_s});
    target.reset();
    EXPECT_EQ(item.target(), nullptr);
    item.trigger();
}

TEST(NSMenu, ItemAndSubmenuShareOneTitle) {
    NSMenu menu;
    NSMenuItem *const item = menu.addItemWithTitle(u"Recent"_s);
    auto *const submenu = new NSMenu(u"Other"_s, &menu);
    item->setSubmenu(submenu);
    EXPECT_EQ(item->submenu(), submenu);
    EXPECT_EQ(submenu->title(), u"Recent"_s);
    item->setTitle(u"Latest"_s);
    EXPECT_EQ(submenu->title(), u"Latest"_s);
    NSMenuItem untitled;
    NSMenu titled(u"Named"_s);
    untitled.setSubmenu(&titled);
    EXPECT_EQ(untitled.title(), u"Named"_s);
    untitled.setSubmenu(nullptr);
    EXPECT_EQ(untitled.submenu(), nullptr);
}

TEST(NSMenu, SubmenusAreNotTheItems) {
    QWidget window;
    const QPointer<NSMenu> submenu = new NSMenu(u"Recent"_s, &window);
    NSMenu alone;
    {
        NSMenuItem item, other;
        item.setSubmenu(submenu);
        other.setSubmenu(&alone);
    }
    EXPECT_TRUE(submenu);
    NSMenuItem item;
    item.setSubmenu(submenu);
    delete submenu;
    EXPECT_EQ(item.submenu(), nullptr);
}

TEST(NSMenu, AMenuBarShowsItsItemsAndFollowsChanges) {
    QMenuBar bar, other;
    bar.addMenu(u"before"_s);
    NSMenu menu;
    menu.addItemWithTitle(u"File"_s)->setSubmenu(new NSMenu(&menu));
    menu.setMenuBar(&bar);
    EXPECT_EQ(titles(bar), QStringList{u"File"_s});
    NSMenuItem *const help = menu.addItemWithTitle(u"Help"_s);
    menu.insertItem(new NSMenuItem(u"Edit"_s), 1);
    EXPECT_EQ(titles(bar), (QStringList{u"File"_s, u"Edit"_s, u"Help"_s}));
    menu.removeItem(help);
    EXPECT_EQ(titles(bar), (QStringList{u"File"_s, u"Edit"_s}));
    menu.setMenuBar(&other);
    EXPECT_TRUE(titles(bar).isEmpty());
    EXPECT_EQ(titles(other), (QStringList{u"File"_s, u"Edit"_s}));
    menu.setMenuBar(nullptr);
    EXPECT_TRUE(titles(other).isEmpty());
}

TEST(NSMenu, AMenuBarSurvivesItsMenu) {
    QMenuBar bar;
    {
        NSMenu menu;
        menu.addItemWithTitle(u"File"_s);
        menu.setMenuBar(&bar);
    }
    EXPECT_TRUE(bar.actions().isEmpty());
}

TEST(NSMenu, ItemsCarryAnObject) {
    NSMenuItem item;
    item.setRepresentedObject(7);
    EXPECT_EQ(item.property("representedObject"), QVariant(7));
}

#include "NSMenuTest.moc"
