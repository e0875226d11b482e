// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSRange.h"

#include <QObject>
#include <QString>

class QWidget;

/// The editor of a text field: what the user types into. It is Qt's own, with its undo, selection, clipboard and
/// input methods. Main thread only.
class NSTextView : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString string READ string WRITE setString)

public:
    /// The widget that has the keyboard focus while the user types.
    virtual QWidget *view() const = 0;

    /// Lines are separated by line feeds.
    virtual QString string() const = 0;
    virtual void setString(const QString &string) = 0;

    /// In UTF-16 units.
    virtual NSRange selectedRange() const = 0;
    /// Raises NSRangeException for a range that isn't within the text.
    virtual void setSelectedRange(NSRange range) = 0;
    /// Types the text in place of what is selected, as one step to undo.
    virtual void insertText(const QString &text) = 0;

    /// Selects all of it.
    Q_INVOKABLE virtual void selectAll(QObject *sender) = 0;
    /// Types a line break, whatever Return means in the field.
    Q_INVOKABLE void insertNewlineIgnoringFieldEditor(QObject *sender);

protected:
    using QObject::QObject;
};
