// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/OptionReader.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <chrono>
#include <optional>

/// What the command line asks for. Paths and inputs are bytes, as the system has them.
struct Options {
    enum class Action { Convert, Boot, Help, Version };

    Action action = Action::Convert;
    QList<QByteArray> inputs;
    QByteArray output;                      ///< null if it wasn't given, "-" for standard output
    QByteArray folder;                      ///< null if it wasn't given
    QString title;                          ///< null if it wasn't given
    QString creator;                        ///< null if it wasn't given
    QString type;                           ///< null if it wasn't given
    std::optional<zr::NetworkMode> network; ///< nothing if it wasn't given
    int jobs = 1;
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    bool tagged = false;
    bool force = false;
    bool json = false;
    bool quiet = false;
    bool verbose = false;

    /// Reads the arguments that follow the program's name.
    /// \param problem  receives one sentence about what is wrong with them, or nothing
    /// \param others   options of the program besides these
    static Options parse(const QList<QByteArray> &arguments, QByteArray *problem,
                         const std::vector<zr::CommandOption> &others = {});

    /// The text of --help.
    static QByteArray help();
};
