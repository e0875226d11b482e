// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSView+ZRLocalize.h"

#include "ZRKit/Interface/NSMenu+ZRLocalize.h"
#include "ZRKit/Interface/OwnLocalization.h"
#include "platform/interface/NSTextField.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QTabBar>

using namespace zr;

namespace {

/// Localises what an accessor gives; the same text isn't set again, which would take back what the user chose or typed.
template <typename View>
void localizeEntry(View *view, int index, QString (View::*text)(int) const,
                   void (View::*setText)(int, const QString &), const QString &prefix) {
    const QString present = (view->*text)(index);
    if (const QString localized = ZRKit::localizeWithPrefix(present, prefix); localized != present)
        (view->*setText)(index, localized);
}

void localizeEntries(QWidget *view, const QString &prefix) {
    if (auto *const choices = qobject_cast<QComboBox *>(view)) {
        for (int i = 0; i < choices->count(); ++i)
            localizeEntry(choices, i, &QComboBox::itemText, &QComboBox::setItemText, prefix);
    } else if (auto *const tabs = qobject_cast<QTabBar *>(view)) {
        for (int i = 0; i < tabs->count(); ++i) {
            localizeEntry(tabs, i, &QTabBar::tabText, &QTabBar::setTabText, prefix);
            localizeEntry(tabs, i, &QTabBar::tabToolTip, &QTabBar::setTabToolTip, prefix);
        }
    }
}

} // namespace

void ZRKit::localizeWithPrefix(QWidget *view, const AnyText &prefix) {
    if (auto *const menu = qobject_cast<QMenu *>(view))
        return localizeWithPrefix(menu, prefix);
    if (!view || localizesItself(view, prefix))
        return;
    for (const char *name : {"windowTitle", "title", "toolTip", "statusTip", "whatsThis", "accessibleName",
                             "accessibleDescription", "placeholderText", "placeholderString"})
        localizeProperty(view, name, prefix);
    if (qobject_cast<QLabel *>(view) || qobject_cast<QAbstractButton *>(view))
        localizeProperty(view, "text", prefix);
    localizeEntries(view, prefix);
    const QList<QAction *> actions = view->actions();
    for (const QPointer<QAction> &action : QList<QPointer<QAction>>(actions.begin(), actions.end()))
        localizeWithPrefix(action, prefix);
    if (auto *const field = qobject_cast<NSTextField *>(view)) {
        if (!field->isEditable())
            localizeProperty(field, "stringValue", prefix);
        return;
    }
    const QList<QWidget *> subviews = NSViewSubviews(view);
    for (const QPointer<QWidget> &subview : QList<QPointer<QWidget>>(subviews.begin(), subviews.end()))
        localizeWithPrefix(subview, prefix);
}
