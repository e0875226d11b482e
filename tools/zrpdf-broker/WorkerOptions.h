// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/NetworkMode.h"
#include "tools/zrpdf-broker/BrokerOptions.h"

#include <chrono>

namespace zr {

/// What a worker's command line asks for.
struct WorkerOptions {
    enum class Action { Work, Help, Version };

    Action action = Action::Work;
    BrokerOptions broker;
    int instances = 1;       ///< for usual tasks
    int urgentInstances = 1; ///< for urgent ones, in addition; 0 leaves those to others
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    std::chrono::seconds storeAge = std::chrono::hours(24);
    NetworkMode network = NetworkMode::Public; ///< the most that a document may reach
    bool verbose = false;

    /// Reads the arguments that follow the program's name.
    /// \param problem  receives one sentence about what is wrong with them, or nothing
    static WorkerOptions parse(const QList<QByteArray> &arguments, QByteArray *problem);
    /// The text of --help.
    static QByteArray help();
};

} // namespace zr
