// SPDX-License-Identifier: MIT
// Only files name the kit's classes here.
#include "platform/interface/NSNib.h"

#include <QCoreApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTranslator>
#include <gtest/gtest.h>

namespace {

/// Translates what it knows in one context.
struct Translator : QTranslator {
    QString translate(const char *context, const char *text, const char *, int) const override {
        return qstrcmp(context, "Prefs") == 0 ? QStringLiteral("T:") + QString::fromUtf8(text) : QString();
    }
    bool isEmpty() const override { return false; }
};

std::unique_ptr<QWidget> loaded(const QByteArray &inside, const QByteArray &actions = {}) {
    NSError error;
    auto root =
        NSNib("<ui version=\"4.0\"><widget class=\"ZRWindow\" name=\"window\"><widget class=\"QWidget\" "
              "name=\"content\">" +
              inside + "</widget>" + actions + "</widget></ui>")
            .instantiateWithOwner(nullptr, &error);
    EXPECT_TRUE(root) << error.localizedDescription().toStdString();
    return root;
}

} // namespace

TEST(KitClasses, AllOfThemAreKnownToFiles) {
    for (const QByteArray name : {"ZRLabel", "ZRMenu", "ZRSplitView", "ZRTextEditorField", "ZRTextField",
                                  "ZRView", "NSMenu", "NSSplitView", "NSTextField", "NSView"}) {
        const auto root = loaded("<widget class=\"" + name + "\" name=\"it\"/>");
        ASSERT_TRUE(root);
        const auto *const made = root->findChild<QWidget *>(QStringLiteral("it"));
        ASSERT_TRUE(made) << name.constData();
        EXPECT_EQ(made->metaObject()->className(), name);
    }
}

TEST(KitClasses, AMenuOfAFileIsTranslatedWithThePrefixOfItsAttribute) {
    const Translator translator;
    QCoreApplication::installTranslator(const_cast<Translator *>(&translator));
    const auto root = loaded({}, R"(<widget class="QMenuBar" name="bar">
        <widget class="ZRMenu" name="file"><property name="title"><string>File</string></property>
        <property name="IBprefix" stdset="0"><string>Prefs</string></property>
        <widget class="ZRMenu" name="recent"><property name="title"><string>Recent</string></property>
        <addaction name="open"/></widget>
        <addaction name="open"/><addaction name="recent"/></widget><addaction name="file"/></widget>
        <action name="open"><property name="text"><string>Open</string></property></action>)");
    QCoreApplication::removeTranslator(const_cast<Translator *>(&translator));
    ASSERT_TRUE(root);
    const auto *const bar = qobject_cast<QMainWindow *>(root.get())->menuBar();
    ASSERT_EQ(bar->actions().size(), 1);
    const QMenu *const file = bar->actions().first()->menu();
    ASSERT_TRUE(file && file->actions().size() == 2);
    EXPECT_EQ(file->title(), QStringLiteral("T:File"));
    EXPECT_TRUE(file->actions().at(0)->text().endsWith(QStringLiteral("T:Open")));
    EXPECT_EQ(file->actions().at(1)->menu()->title(), QStringLiteral("T:Recent"));
}

TEST(KitClasses, AttributesOfAFileAreReadByTheKitsRules) {
    const auto root = loaded(R"(<widget class="ZRView" name="it">
        <property name="IBalpha" stdset="0"><string>0.5 or so</string></property>
        <property name="corner" stdset="0"><string>8.5pt</string></property>
        <property name="Opaque" stdset="0"><string>no</string></property>
        <property name="localize" stdset="0"><string>yes</string></property></widget>)");
    ASSERT_TRUE(root);
    QObject *const view = root->findChild<QWidget *>(QStringLiteral("it"));
    double number = 0;
    bool flag = true;
    QMetaObject::invokeMethod(view, "alphaValue", Q_RETURN_ARG(double, number));
    EXPECT_EQ(number, 0.5);
    QMetaObject::invokeMethod(view, "cornerRadius", Q_RETURN_ARG(double, number));
    EXPECT_EQ(number, 8.5);
    QMetaObject::invokeMethod(view, "opaque", Q_RETURN_ARG(bool, flag));
    EXPECT_FALSE(flag);
    QMetaObject::invokeMethod(view, "localize", Q_RETURN_ARG(bool, flag));
    EXPECT_TRUE(flag);
}
