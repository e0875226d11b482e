// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPCBaseWorker.h"

/// Does what the task's "do" says.
///
/// | "do"            | Done                                                          |
/// |-----------------|---------------------------------------------------------------|
/// | "echo"          | replies with the task itself                                  |
/// | "raise"         | throws NSException with "reason"                              |
/// | "throw"         | throws something that is no exception class                   |
/// | "error"         | replies with an error of the message "reason" and the cause   |
/// |                 | "cause"                                                       |
/// | "unarchivableCause" | the same with a cause that no archive holds               |
/// | "nothing"       | returns without a reply                                       |
/// | "twice"         | replies twice                                                 |
/// | "unarchivable"  | replies with what no archive holds                            |
/// | "replyAndRaise" | replies, then throws                                          |
/// | "wait"          | makes a file at "started", waits for one at "path", replies   |
/// |                 | "waited"                                                      |
/// | "object"        | replies whether the task object was nil, and its text         |
/// | "kill"          | kills the process                                             |
/// | "pid"           | replies with the process's number                             |
class TestKitWorker : public ZRXPCBaseWorker {
    Q_OBJECT

public:
    Q_INVOKABLE TestKitWorker() = default;
    static void setupAsListener() { setupListener(&staticMetaObject); }
    void work() override;
};
