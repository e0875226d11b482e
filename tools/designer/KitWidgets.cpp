// SPDX-License-Identifier: MIT
#include "tools/designer/KitWidgets.h"

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRSplitView.h"
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "ZRKit/Interface/ZRTextField.h"
#include "ZRKit/Interface/ZRView.h"
#include "ZRKit/Interface/ZRWindow.h"

using namespace zr;

namespace {

template <typename Class>
QWidget *make(QWidget *parent) {
    return new Class(parent);
}

const QList<KitWidget::Description> &descriptions() {
    static const QList<KitWidget::Description> all{
        {.className = "ZRView",
         .toolTip = "A view with a background, lines and rounded corners.",
         .isContainer = true,
         .size = {160, 100},
         .attributes = {{"bgcolor", ""},
                        {"border", ""},
                        {"cornerradius", 0.0},
                        {"opaque", false},
                        {"alpha", 1.0},
                        {"prefix", ""}},
         .maker = make<ZRView>},
        {.className = "ZRSplitView",
         .toolTip =
             "Two panes side by side, with a divider that can be dragged. It has exactly two views inside.",
         .isContainer = true,
         .size = {320, 200},
         .attributes =
             {{"minleft", 0.0}, {"maxleft", 0.0}, {"minright", 0.0}, {"maxright", 0.0}, {"fixRight", false}},
         .inside = R"(<widget class="ZRView" name="left"><property name="geometry"><rect>)"
                   R"(<x>0</x><y>0</y><width>159</width><height>200</height></rect></property></widget>)"
                   R"(<widget class="ZRView" name="right"><property name="geometry"><rect>)"
                   R"(<x>160</x><y>0</y><width>160</width><height>200</height></rect></property></widget>)",
         .maker = make<ZRSplitView>},
        {.className = "ZRTextField",
         .toolTip = "A field for one line of text, whose editing is told to a delegate.",
         .isContainer = false,
         .size = {160, 24},
         .attributes = {},
         .maker = make<ZRTextField>},
        {.className = "ZRTextEditorField",
         .toolTip = "A field for many lines of text, in which Return begins a new line.",
         .isContainer = false,
         .size = {160, 80},
         .attributes = {},
         .maker = make<ZRTextEditorField>},
        {.className = "ZRLabel",
         .toolTip = "A text that can't be edited.",
         .isContainer = false,
         .size = {120, 20},
         .attributes = {{"shadow", false}},
         .inside = R"(<property name="stringValue"><string>Label</string></property>)",
         .maker = make<ZRLabel>},
        {.className = "ZRWindow",
         .toolTip = "A window, for a form of its own.",
         .isContainer = true,
         .size = {480, 320},
         .attributes = {},
         .inside = R"(<widget class="QWidget" name="content"/>)",
         .maker = make<ZRWindow>},
    };
    return all;
}

} // namespace

KitWidgets::KitWidgets(QObject *parent) : QObject(parent) {
    for (const KitWidget::Description &description : descriptions())
        m_widgets.push_back(std::make_unique<KitWidget>(description));
}

QList<QDesignerCustomWidgetInterface *> KitWidgets::customWidgets() const {
    QList<QDesignerCustomWidgetInterface *> widgets;
    for (const std::unique_ptr<KitWidget> &widget : m_widgets)
        widgets.append(widget.get());
    return widgets;
}

#include "moc_KitWidgets.cpp"
