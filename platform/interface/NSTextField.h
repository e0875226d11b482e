// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSControl.h"
#include "platform/interface/NSTextView.h"
#include "platform/text/NSTextAlignment.h"
#include "platform/values/NSNotificationCenter.h"

#include <memory>

// Notifications of text fields. The object is the field, the user info holds the editor under "NSFieldEditor".
inline const QString NSControlTextDidBeginEditingNotification =
    QStringLiteral("NSControlTextDidBeginEditingNotification");
inline const QString NSControlTextDidChangeNotification =
    QStringLiteral("NSControlTextDidChangeNotification");
/// Its user info also holds why editing ended, an NSTextMovement, under NSTextMovementKey.
inline const QString NSControlTextDidEndEditingNotification =
    QStringLiteral("NSControlTextDidEndEditingNotification");

/// The notification that a field gets when its editor is left. Its object is the editor.
inline const QString NSTextDidEndEditingNotification = QStringLiteral("NSTextDidEndEditingNotification");
inline const QString NSTextMovementKey = QStringLiteral("NSTextMovement");

/// What ended the editing of a field.
enum NSTextMovement : int {
    NSOtherTextMovement = 0, ///< the mouse, or the program
    NSReturnTextMovement = 16,
    NSTabTextMovement = 17,
    NSBacktabTextMovement = 18,
};

/// A field for a text: one line over Qt's line editor, or many over its text editor, or a label if it can't be
/// edited. Main thread only.
///
/// Editing begins when the field becomes its window's first responder, and ends with Return or when another view
/// takes the keyboard focus; it goes on while another window or a menu has the focus. After Return the field becomes
/// first responder anew.
///
/// The delegate, a weak reference, is told what it responds to (Q_INVOKABLE or slots):
///
/// - controlTextDidBeginEditing(NSNotification): before the first change is told;
/// - controlTextDidChange(NSNotification): the user changed the text;
/// - controlTextDidEndEditing(NSNotification): the value has been written to what it is bound to;
/// - bool controlTextViewDoCommandBySelector(NSControl *, NSTextView *, NSSelector): a key stands for a command such
///   as "insertNewline:"; true if that is dealt with.
///
/// The first three are posted to the default notification center too. Any of them may delete the field. What they
/// raise is logged.
///
/// The value can be bound ("value", see NSControl::bind()): the field shows it as objectValue() is set, and what the
/// user typed is written back when editing ends. A field that was left as it was writes nothing.
class NSTextField : public NSControl {
    Q_OBJECT
    Q_PROPERTY(QString stringValue READ stringValue WRITE setStringValue USER true)
    Q_PROPERTY(QVariant value READ objectValue WRITE setObjectValue DESIGNABLE false STORED false)
    Q_PROPERTY(QString placeholderString READ placeholderString WRITE setPlaceholderString)
    Q_PROPERTY(bool editable READ isEditable WRITE setEditable)
    Q_PROPERTY(bool selectable READ isSelectable WRITE setSelectable)
    Q_PROPERTY(bool bezeled READ isBezeled WRITE setBezeled)
    Q_PROPERTY(bool usesSingleLineMode READ usesSingleLineMode WRITE setUsesSingleLineMode)
    Q_PROPERTY(int alignment READ alignment WRITE setAlignmentNumber)
    // Screen readers ask the editor.
    Q_PROPERTY(QString accessibleName READ accessibleName WRITE setAccessibleName)
    Q_PROPERTY(QString accessibleDescription READ accessibleDescription WRITE setAccessibleDescription)

public:
    explicit NSTextField(QWidget *parent = nullptr);
    ~NSTextField() override;

    /// The text as it stands, while it is edited too; never null.
    QString stringValue() const;
    /// Sets the text. While it is edited, what the user typed so far still counts as typed.
    void setStringValue(const QString &text);
    /// The text.
    QVariant objectValue() const { return stringValue(); }
    /// Shows a value: strings as they are, numbers as NSObjectRuntime::stringValue(), the empty text for nil and the
    /// null marker, and the description of anything else. What the user typed so far is forgotten.
    void setObjectValue(const QVariant &value);

    /// What is shown while there is no text.
    QString placeholderString() const;
    void setPlaceholderString(const QString &text);

    /// Whether the user can change the text; true at first.
    bool isEditable() const;
    void setEditable(bool flag);
    /// Whether the user can select and copy a text that can't be edited; false at first.
    bool isSelectable() const;
    void setSelectable(bool flag);
    /// Whether there is a frame around an editor; true at first.
    bool isBezeled() const;
    void setBezeled(bool flag);
    /// Whether the text is one line; true at first. Otherwise it is broken into lines as wide as the field, though
    /// Return still ends editing.
    bool usesSingleLineMode() const;
    void setUsesSingleLineMode(bool flag);
    /// Natural at first.
    NSTextAlignment alignment() const;
    void setAlignment(NSTextAlignment alignment);

    /// What screen readers say of the field.
    void setAccessibleName(const QString &name);
    void setAccessibleDescription(const QString &description);

    /// The delegate isn't kept alive.
    QObject *delegate() const;
    Q_INVOKABLE void setDelegate(QObject *delegate);

    /// The editor while the field is edited, otherwise nullptr.
    NSTextView *currentEditor() const;
    /// Selects the text, for which the field becomes first responder.
    Q_INVOKABLE void selectText(QObject *sender);

    /// Labels don't.
    bool acceptsFirstResponder() const override;
    /// Begins editing, which happens whenever the field gets the keyboard focus. Selects the text, unless a click
    /// brought the focus.
    bool becomeFirstResponder() override;
    /// Editing has ended: writes what was typed to what the value is bound to, tells the delegate, and sends the
    /// action if it ended with Return.
    /// \param notification  with the editor as its object, and an NSTextMovement under NSTextMovementKey
    Q_INVOKABLE virtual void textDidEndEditing(const NSNotification &notification);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void setAlignmentNumber(int alignment) { setAlignment(NSTextAlignment(alignment)); }

    class Editing;
    const std::unique_ptr<Editing> m_editing;
};
