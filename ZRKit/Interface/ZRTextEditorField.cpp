// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRTextEditorField.h"

ZRTextEditorField::ZRTextEditorField(QWidget *parent) : ZRTextField(parent) {
    setUsesSingleLineMode(false);
}

bool ZRTextEditorField::controlTextViewDoCommandBySelector(NSControl *, NSTextView *textView,
                                                           const NSSelector &selector) {
    if (selector != NSSelector("insertNewline:"))
        return false;
    if (textView)
        textView->insertNewlineIgnoringFieldEditor(this);
    return true;
}

#include "moc_ZRTextEditorField.cpp"
