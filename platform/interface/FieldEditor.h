// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSTextView.h"
#include "platform/text/NSTextAlignment.h"

class QKeyEvent;

namespace zr {

/// Who has an editor. The calls may delete it, except where it says so.
class FieldEditorClient {
public:
    virtual ~FieldEditorClient() = default;
    /// \return whether the key has been dealt with
    virtual bool keyWasPressed(QKeyEvent &event) = 0;
    virtual void focusArrived(Qt::FocusReason reason) = 0;
    virtual void focusLeft(Qt::FocusReason reason) = 0;
    /// The text may have been changed by the user. Comes from amidst the editor, which must live on.
    virtual void textIsBeingTyped() = 0;
    /// A key, or what an input method composed, has done its work.
    virtual void textWasTyped() = 0;
};

/// The editor of a text field, over one of Qt's.
class FieldEditor : public NSTextView {
public:
    /// An editor inside a widget: of one line, or of many, of which the client has to make Return do something else.
    /// It lives as long as its view.
    static FieldEditor *make(bool isSingleLine, QWidget *parent, FieldEditorClient *client);

    virtual void setPlaceholder(const QString &text) = 0;
    virtual void setAlignment(NSTextAlignment alignment) = 0;
    virtual void setReadOnly(bool flag) = 0;
    virtual void setFrame(bool flag) = 0;
    /// Goes with its view, and tells the client nothing more. A view that is in the middle of an event, after which
    /// Qt still needs it, goes later.
    void retire();

protected:
    FieldEditor(QObject *parent, FieldEditorClient *client) : NSTextView(parent), m_client(client) {}

    FieldEditorClient *m_client;
    /// How many of the view's events are being handled.
    int m_depth = 0;
};

/// The horizontal alignment that Qt knows; the text decides if it is natural.
Qt::Alignment qtAlignment(NSTextAlignment alignment, const QString &text);

} // namespace zr
