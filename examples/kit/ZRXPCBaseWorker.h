// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPCBaseWorker.h"

/// Turns the task's "text" into capitals.
class Upper : public ZRXPCBaseWorker {
    Q_OBJECT

public:
    Q_INVOKABLE Upper() = default;
    static void setupAsListener() { setupListener(&staticMetaObject); }

    void work() override {
        const QString text = (*this)[QStringLiteral("text")].toString();
        if (text.isNull())
            doneWithErrorMessage(QStringLiteral("there is no text"));
        else
            doneWithResult(text.toUpper());
    }
};
