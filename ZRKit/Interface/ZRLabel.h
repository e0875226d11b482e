// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSTextField.h"

/// A label, whose text can't be edited unless it is made so. It takes an attribute of an interface file:
///
/// | attribute          | effect if ZRKit::toBool() of the value is true; otherwise none |
/// |--------------------|----------------------------------------------------------------|
/// | `shadow`, `raised` | the cell's background style is raised                          |
///
/// Names are matched as ZRKit::handleIBKey() has it. Unknown ones do nothing. Main thread only.
class ZRLabel : public NSTextField {
    Q_OBJECT

public:
    explicit ZRLabel(QWidget *parent = nullptr);

    Q_INVOKABLE virtual void setValue(const QVariant &value, const QString &forUndefinedKey);
};
