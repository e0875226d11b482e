// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSMenu+ZRLocalize.h"

#include "ZRKit/Interface/OwnLocalization.h"

#include <QMenu>
#include <QPointer>

using namespace zr;

namespace {

void localizeItems(const QMenu *menu, const QString &prefix) {
    const QList<QAction *> actions = menu->actions();
    // A menu or item that localises itself may change what is there.
    const QList<QPointer<QAction>> items(actions.begin(), actions.end());
    for (const QPointer<QAction> &item : items)
        ZRKit::localizeWithPrefix(item, prefix);
}

} // namespace

void ZRKit::localizeWithPrefix(QMenu *menu, const AnyText &prefix) {
    if (!menu || localizesItself(menu, prefix))
        return;
    localizeProperty(menu, "title", prefix);
    localizeItems(menu, prefix);
}

void ZRKit::localizeWithPrefix(QAction *item, const AnyText &prefix) {
    if (!item || localizesItself(item, prefix))
        return;
    for (const char *name : {"text", "toolTip", "statusTip", "whatsThis"})
        localizeProperty(item, name, prefix);
    QMenu *const submenu = item->menu();
    if (!submenu || localizesItself(submenu, prefix))
        return;
    localizeItems(submenu, prefix);
}
