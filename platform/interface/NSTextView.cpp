// SPDX-License-Identifier: MIT
#include "platform/interface/NSTextView.h"

void NSTextView::insertNewlineIgnoringFieldEditor(QObject *) {
    insertText(QStringLiteral("\n"));
}

#include "moc_NSTextView.cpp"
