// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/NetworkMode.h"

#include <QByteArray>
#include <QList>
#include <chrono>
#include <functional>
#include <variant>
#include <vector>

namespace zr {

/// One option of a command line: "--name VALUE", "--name=VALUE", "-l VALUE" or "-lVALUE". Letters can be joined; the first
/// one that takes a value takes the rest.
struct CommandOption {
    using Flag = std::function<void()>;
    /// Takes the value; what is wrong with it, as it follows "the value of option --name", or nothing.
    using Value = std::function<QByteArray(const QByteArray &value)>;
    enum class Rule {
        MayRepeat,
        Once, ///< takes a value, but not a second one
        Last, ///< nothing after it is read
    };

    char letter; ///< 0 if it has none
    QByteArray name;
    std::variant<Flag, Value> apply;
    Rule rule = Rule::MayRepeat;
};

/// Reads the arguments that follow a program's name. After "--" all are inputs, and "-" is one anywhere.
/// \param takeInput  takes what is no option; what is wrong with it, or nothing
/// \returns one sentence about the first thing that is wrong, or nothing; the rest was read all the same
QByteArray readOptions(const std::vector<CommandOption> &table, const QList<QByteArray> &arguments,
                       const CommandOption::Value &takeInput);

/// Take a value; what is wrong with it, or nothing.
QByteArray takeCount(int &count, const QByteArray &value, int least, int most);
QByteArray takeSeconds(std::chrono::milliseconds &time, const QByteArray &value, std::chrono::seconds most);
QByteArray takePath(QByteArray &path, const QByteArray &value);
QByteArray takeNetwork(NetworkMode &mode, const QByteArray &value);

} // namespace zr
