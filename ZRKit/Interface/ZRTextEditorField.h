// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRTextField.h"

/// A text field of many lines, in which Return breaks the line and editing goes on. Tab leaves it. That is decided by
/// its delegate, which a field from an interface file is itself; call awakeFromNib() for one that the program made.
/// Main thread only.
class ZRTextEditorField : public ZRTextField {
    Q_OBJECT

public:
    explicit ZRTextEditorField(QWidget *parent = nullptr);

    /// Types a line break for `insertNewline:`.
    /// \return whether that was the command; all others are left to the editor
    Q_INVOKABLE virtual bool controlTextViewDoCommandBySelector(NSControl *control, NSTextView *textView,
                                                                const NSSelector &selector);
};
