// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/NSString+ZRLocalize.h"

class QWidget;

namespace ZRKit {

/// Translates a view and its subviews in place, by localizeWithPrefix() of each text: window titles, titles and
/// labels, tool tips, status tips, help, placeholder texts, what is said to screen readers, the entries of combo
/// boxes, tabs and tool boxes, and the view's actions with their menus. What the user can edit stays, and so does a
/// text without a translation, such as one that is translated already. Nothing happens for nil; windows among the
/// children are left alone. Main thread only.
///
/// A view, action or menu whose class declares `localizeWithPrefix` itself (Q_INVOKABLE, with the prefix as its
/// argument) is sent that instead. If it calls this function for itself, it gets what is said here.
void localizeWithPrefix(QWidget *view, const AnyText &prefix);

} // namespace ZRKit
