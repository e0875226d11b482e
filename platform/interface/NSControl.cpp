// SPDX-License-Identifier: MIT
#include "platform/interface/NSControl.h"

#include "platform/interface/ActionSending.h"
#include "platform/observing/NSKeyValueBinding.h"

bool NSControl::sendAction() {
    return zr::sendAction(m_action, m_target, this);
}

void NSControl::bind(const QString &binding, QObject *observed, const QString &keyPath,
                     const QVariantMap &options) {
    NSKeyValueBinding::bind(this, binding, observed, keyPath, options);
}

void NSControl::unbind(const QString &binding) {
    NSKeyValueBinding::unbind(this, binding);
}

std::optional<QVariantMap> NSControl::infoForBinding(const QString &binding) const {
    return NSKeyValueBinding::infoForBinding(this, binding);
}

bool NSControl::becomeFirstResponder() {
    if (!acceptsFirstResponder())
        return false;
    setFocus();
    return window()->focusWidget() == this;
}

#include "moc_NSControl.cpp"
