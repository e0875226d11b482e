// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/NetworkMode.h"
#include "tools/zrpdf-broker/BrokerOptions.h"
#include "tools/zrpdf-serve/ListenAddress.h"
#include "tools/zrpdf-serve/RequestLog.h"

#include <QByteArray>
#include <QList>
#include <chrono>
#include <vector>

namespace zr {

/// What the command line asks for.
struct ServeOptions {
    enum class Action { Serve, Help, Version };

    Action action = Action::Serve;
    std::vector<ListenAddress> addresses; ///< empty for what systemd hands over, or the user's runtime folder
    bool allowsRemote = false;
    QByteArray tokenFile; ///< null if it wasn't given
    int instances = defaultInstances();
    int queue = 64;
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    std::chrono::milliseconds grace = std::chrono::seconds(60);
    qsizetype maxBody = qsizetype(64) << 20;
    NetworkMode network = NetworkMode::Public;
    RequestLog::Form logForm = RequestLog::Form::Lines;
    bool verbose = false;
    BrokerOptions broker; ///< its workers convert if it has brokers; otherwise services of this machine do

    /// Reads the arguments that follow the program's name.
    /// \param problem  receives one sentence about what is wrong with them, or nothing
    static ServeOptions parse(const QList<QByteArray> &arguments, QByteArray *problem);
    /// As many as there are processors, at most 4.
    static int defaultInstances();

    /// The text of --help.
    static QByteArray help();
};

} // namespace zr
