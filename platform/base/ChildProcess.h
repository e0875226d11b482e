// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <sys/types.h>
#include <vector>

namespace zr {

/// A program that was started. Its owner waits for its end and reaps it.
///
/// It gets a session of its own (keys pressed in the host's terminal don't reach it), default signal handling, the
/// root folder as working folder, and no descriptors but those that it is given. Its start costs the same however
/// large this process is. Any thread.
struct ChildProcess {
    struct Plan {
        QByteArray executable; ///< an absolute path
        std::vector<QByteArray> arguments;
        /// "NAME=value", in addition to this process's environment or in place of what it has there. Its LISTEN_* and
        /// NOTIFY_SOCKET are left out. A value of LISTEN_PID is replaced by the child's number.
        std::vector<QByteArray> environment;
        /// These become the child's descriptors 0, 1, 2 and so on; -1 stands for /dev/null.
        std::vector<int> descriptors;
    };

    static ChildProcess start(const Plan &plan);

    pid_t pid = 0;          ///< 0 if there is no process
    FileDescriptor process; ///< becomes readable when the process ends
    int failure =
        0; ///< the error number if nothing was started; a process that failed to is still to be reaped
};

} // namespace zr
