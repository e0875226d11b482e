// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSCell.h"
#include "platform/interface/NSView.h"
#include "platform/values/NSSelector.h"

#include <QPointer>
#include <QVariant>
#include <optional>

/// A view that holds a value and sends an action when the user has set it. Main thread only.
class NSControl : public NSView {
    Q_OBJECT

public:
    using NSView::NSView;

    NSCell *cell() { return &m_cell; }

    /// The target isn't kept alive.
    QObject *target() const { return m_target; }
    void setTarget(QObject *target) { m_target = target; }
    NSSelector action() const { return m_action; }
    void setAction(const NSSelector &action) { m_action = action; }
    /// Sends the action, which takes the control as its argument or none, to the target; without a target to the
    /// first that responds among the widget with the keyboard focus and the responders after it, then the control and
    /// those after it. What is raised is logged.
    /// \return whether anybody responded
    bool sendAction();

    /// Keeps the control's value for a name, such as "value", at that of an object's key path, both ways; see
    /// NSKeyValueBinding.h.
    void bind(const QString &binding, QObject *observed, const QString &keyPath,
              const QVariantMap &options = {});
    void unbind(const QString &binding);
    std::optional<QVariantMap> infoForBinding(const QString &binding) const;

    /// Whether the control takes the keyboard focus.
    virtual bool acceptsFirstResponder() const { return isEnabled() && focusPolicy() != Qt::NoFocus; }
    /// Gives the control its window's keyboard focus.
    /// \return whether it has it now
    Q_INVOKABLE virtual bool becomeFirstResponder();

private:
    NSCell m_cell{this};
    QPointer<QObject> m_target;
    NSSelector m_action;
};
