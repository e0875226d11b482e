// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRView.h"
#include "platform/interface/NSNib.h"

#include <QFile>
#include <QIcon>
#include <QPluginLoader>
#include <QWidget>
#include <QtUiPlugin/QDesignerCustomWidgetCollectionInterface>
#include <gtest/gtest.h>

namespace {

/// The plugin as Designer loads it: a file, whose code is not this program's.
class DesignerPluginTest : public testing::Test {
protected:
    DesignerPluginTest() {
        QPluginLoader loader(QStringLiteral(ZR_DESIGNER_PLUGIN));
        const auto *const collection =
            qobject_cast<QDesignerCustomWidgetCollectionInterface *>(loader.instance());
        EXPECT_TRUE(collection) << loader.errorString().toStdString();
        if (collection)
            for (QDesignerCustomWidgetInterface *const widget : collection->customWidgets())
                widgets.insert(widget->name(), widget);
    }

    /// A form that holds a new widget, as Designer saves it: with the class as its outermost one.
    static std::unique_ptr<QWidget> loaded(const QDesignerCustomWidgetInterface &widget) {
        QString form = widget.domXml();
        form.replace(QStringLiteral("<ui language=\"c++\">"),
                     QStringLiteral("<ui version=\"4.0\"><class>Form</class>"));
        NSError error;
        std::unique_ptr<QWidget> root = NSNib(form.toUtf8()).instantiateWithOwner(nullptr, &error);
        EXPECT_TRUE(root) << error.localizedDescription().toStdString() << '\n' << form.toStdString();
        return root;
    }

    QMap<QString, QDesignerCustomWidgetInterface *> widgets;
};

} // namespace

TEST_F(DesignerPluginTest, TheKitsViewsAreInTheWidgetBox) {
    EXPECT_EQ(widgets.keys(), (QStringList{QStringLiteral("ZRLabel"), QStringLiteral("ZRSplitView"),
                                           QStringLiteral("ZRTextEditorField"), QStringLiteral("ZRTextField"),
                                           QStringLiteral("ZRView"), QStringLiteral("ZRWindow")}));
    for (const QDesignerCustomWidgetInterface *const widget : std::as_const(widgets)) {
        EXPECT_EQ(widget->group(), QStringLiteral("ZRKit"));
        EXPECT_FALSE(widget->toolTip().isEmpty());
        EXPECT_FALSE(widget->icon().isNull()) << widget->name().toStdString();
    }
}

TEST_F(DesignerPluginTest, TheHeadersThatItNamesExist) {
    for (const QDesignerCustomWidgetInterface *const widget : std::as_const(widgets))
        EXPECT_TRUE(QFile::exists(QStringLiteral(ZR_SOURCE_DIR "/") + widget->includeFile()))
            << widget->includeFile().toStdString();
}

TEST_F(DesignerPluginTest, ViewsAndWindowsTakeOthersInside) {
    for (const QDesignerCustomWidgetInterface *const widget : std::as_const(widgets))
        EXPECT_EQ(widget->isContainer(), !widget->name().contains(QStringLiteral("Field")) &&
                                             widget->name() != QStringLiteral("ZRLabel"))
            << widget->name().toStdString();
}

TEST_F(DesignerPluginTest, WidgetsAreOfTheClassesThatTheyAreCalled) {
    QWidget form;
    for (QDesignerCustomWidgetInterface *const widget : std::as_const(widgets)) {
        const std::unique_ptr<QWidget> made(widget->createWidget(&form));
        EXPECT_EQ(widget->name(), QString::fromUtf8(made->metaObject()->className()));
        EXPECT_EQ(made->parent(), &form);
    }
}

TEST_F(DesignerPluginTest, AFormOfAnyOfThemLoads) {
    for (const QDesignerCustomWidgetInterface *const widget : std::as_const(widgets)) {
        const auto root = loaded(*widget);
        ASSERT_TRUE(root);
        EXPECT_EQ(QString::fromUtf8(root->metaObject()->className()), widget->name());
    }
}

TEST_F(DesignerPluginTest, AttributesAreDynamicPropertiesOfTheForm) {
    const QMap<QString, QSet<QByteArray>> attributes{
        {QStringLiteral("ZRView"), {"bgcolor", "border", "cornerradius", "opaque", "alpha", "prefix"}},
        {QStringLiteral("ZRSplitView"), {"minleft", "maxleft", "minright", "maxright", "fixRight"}},
        {QStringLiteral("ZRLabel"), {"shadow"}},
    };
    for (const QDesignerCustomWidgetInterface *const widget : std::as_const(widgets)) {
        const auto root = loaded(*widget);
        ASSERT_TRUE(root);
        const QList<QByteArray> names = root->dynamicPropertyNames();
        EXPECT_EQ(QSet(names.begin(), names.end()), attributes.value(widget->name()))
            << widget->name().toStdString();
    }
}

TEST_F(DesignerPluginTest, ANewViewsAttributesChangeNothing) {
    const auto root = loaded(*widgets.value(QStringLiteral("ZRView")));
    const auto *const view = qobject_cast<ZRView *>(root.get());
    ASSERT_TRUE(view);
    EXPECT_FALSE(view->backgroundColor().isValid());
    EXPECT_FALSE(view->borderTop() || view->borderBottom() || view->borderLeft() || view->borderRight());
    EXPECT_EQ(view->cornerRadius(), 0);
    EXPECT_EQ(view->alphaValue(), 1);
    EXPECT_FALSE(view->opaque());
    EXPECT_EQ(view->size(), QSize(160, 100));
}
