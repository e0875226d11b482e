// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSTextField.h"

#include <QPointer>

/// A text field that tells when it gains and loses the keyboard focus, and that shows what was typed as its value's
/// transformer writes it.
///
/// The responder delegate is sent what it responds to of `textFieldWillBecomeFirstResponder`,
/// `textFieldDidBecomeFirstResponder`, `textFieldWillResignFirstResponder` and `textFieldDidResignFirstResponder`,
/// each with the field as its argument. It may delete the field; nothing more is called then. Main thread only.
class ZRTextField : public NSTextField {
    Q_OBJECT
    Q_PROPERTY(QObject *responderDelegate READ responderDelegate WRITE setResponderDelegate)

public:
    using NSTextField::NSTextField;

    /// It isn't kept alive.
    QObject *responderDelegate() const { return m_responderDelegate; }
    void setResponderDelegate(QObject *delegate) { m_responderDelegate = delegate; }

    /// Makes the field its own delegate.
    void awakeFromNib() override;

    /// Tells the responder delegate before and after the field becomes first responder, even if it doesn't.
    bool becomeFirstResponder() override;
    /// becomeFirstResponder(), as an action.
    Q_INVOKABLE void doBecomeFirstResponder(QObject *sender);

    /// Turns the text, as the transformer of the binding "value" has it, into a value and back, so that the text gets
    /// the form that the transformer writes; a text that can't be turned, or into something that is neither text nor
    /// number, stays. Then ends editing as NSTextField does, which the responder delegate is told before and after.
    void textDidEndEditing(const NSNotification &notification) override;

private:
    bool tellDelegate(const char *method);
    void normalizeText();

    QPointer<QObject> m_responderDelegate;
};
