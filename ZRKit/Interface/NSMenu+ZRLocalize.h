// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/NSString+ZRLocalize.h"

class QAction;
class QMenu;

/// Translating menus in place, by localizeWithPrefix() of each text. A text without a translation, such as one that
/// is translated already, stays. Nothing happens for nil. Main thread only.
///
/// A menu or item whose class declares `localizeWithPrefix` itself (Q_INVOKABLE, with the prefix as its argument) is
/// sent that instead. If it calls the function here for itself, it gets what is said here.
namespace ZRKit {

/// The menu's title, then each of its items, in their order, with their submenus: the whole tree, depth first.
void localizeWithPrefix(QMenu *menu, const AnyText &prefix);
/// The item's title, its own tool tip, status tip and help if it has any, then its submenu. An item and the submenu
/// that it opens share one title, which is translated once.
void localizeWithPrefix(QAction *item, const AnyText &prefix);

} // namespace ZRKit
