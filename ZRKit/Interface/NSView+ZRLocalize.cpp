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

QString localized(const QString &text, const QString &prefix) {
    return ZRKit::localizeWithPrefix(text, prefix);
}

void localizeEntries(QWidget *view, const QString &prefix) {
    if (auto *const choices = qobject_cast<QComboBox *>(view)) {
        for (int i = 0; i < choices->count(); ++i)
            choices->setItemText(i, localized(choices->itemText(i), prefix));
    } else if (auto *const tabs = qobject_cast<QTabBar *>(view)) {
        for (int i = 0; i < tabs->count(); ++i) {
            tabs->setTabText(i, localized(tabs->tabText(i), prefix));
            tabs->setTabToolTip(i, localized(tabs->tabToolTip(i), prefix));
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
