// SPDX-License-Identifier: MIT
#include "tools/converter/OptionReader.h"

#include "tools/converter/PlainNumber.h"

#include <algorithm>
#include <optional>
#include <set>

using namespace zr;

QByteArray zr::readOptions(const std::vector<CommandOption> &table, const QList<QByteArray> &arguments,
                           const CommandOption::Value &takeInput) {
    using Rule = CommandOption::Rule;
    std::set<const CommandOption *> given;
    auto next = arguments.cbegin();
    bool isLast = false;
    // The value is null if none came with the option; then the next argument is taken.
    const auto apply = [&](const CommandOption *option, const QByteArray &shown,
                           QByteArray value) -> QByteArray {
        if (!option)
            return "unknown option " + shown;
        if (const auto *flag = std::get_if<CommandOption::Flag>(&option->apply)) {
            if (!value.isNull())
                return "option " + shown + " takes no value";
            (*flag)();
            isLast = isLast || option->rule == Rule::Last;
            return {};
        }
        if (value.isNull()) {
            if (next == arguments.cend())
                return "option " + shown + " needs a value";
            value = *next++;
        }
        if (!given.insert(option).second && option->rule == Rule::Once)
            return "option --" + option->name + " was given twice";
        const QByteArray wrong = std::get<CommandOption::Value>(option->apply)(value);
        return wrong.isEmpty() ? QByteArray() : "the value of option " + shown + ' ' + wrong;
    };
    const auto find = [&](auto condition) -> const CommandOption * {
        const auto found = std::find_if(table.begin(), table.end(), condition);
        return found == table.end() ? nullptr : &*found;
    };

    QByteArray problem;
    const auto note = [&](const QByteArray &found) {
        if (problem.isEmpty())
            problem = found;
    };
    bool onlyInputs = false;
    while (next != arguments.cend() && !isLast) {
        const QByteArray argument = *next++;
        if (onlyInputs || argument == "-" || !argument.startsWith('-')) {
            note(takeInput(argument));
        } else if (argument == "--") {
            onlyInputs = true;
        } else if (argument.startsWith("--")) {
            const qsizetype equals = argument.indexOf('=');
            const QByteArray shown = equals < 0 ? argument : argument.left(equals);
            // An empty value is one, not its absence.
            const QByteArray value = equals < 0 ? QByteArray() : QByteArray("") + argument.mid(equals + 1);
            note(apply(find([&](const auto &each) { return each.name == shown.mid(2); }), shown, value));
        } else {
            for (qsizetype at = 1; at < argument.size(); ++at) {
                const char letter = argument[at];
                const CommandOption *option = find([&](const auto &each) { return each.letter == letter; });
                const bool takesRest = option &&
                                       std::holds_alternative<CommandOption::Value>(option->apply) &&
                                       at + 1 < argument.size();
                note(
                    apply(option, QByteArray("-") + letter, takesRest ? argument.mid(at + 1) : QByteArray()));
                if (takesRest)
                    break;
            }
        }
    }
    return problem;
}

QByteArray zr::takeCount(int &count, const QByteArray &value, int least, int most) {
    const auto number = value.contains('.') ? std::nullopt : plainNumber(value);
    if (!number || *number < least || *number > most)
        return "is not a whole number from " + QByteArray::number(least) + " to " + QByteArray::number(most);
    count = int(*number);
    return {};
}

QByteArray zr::takeSeconds(std::chrono::milliseconds &time, const QByteArray &value,
                           std::chrono::seconds most) {
    // People write .5, too.
    const auto read = plainSeconds(value.startsWith('.') ? '0' + value : value);
    if (!read || *read > most)
        return "is not a number of seconds from 0.001 to " + QByteArray::number(qint64(most.count()));
    time = *read;
    return {};
}

QByteArray zr::takePath(QByteArray &path, const QByteArray &value) {
    path = value;
    return value.isEmpty() ? QByteArray("names nothing") : QByteArray();
}

QByteArray zr::takeNetwork(NetworkMode &mode, const QByteArray &value) {
    const auto named = networkModeNamed(value);
    mode = named.value_or(mode);
    return named ? QByteArray() : QByteArray("is not all, public or none");
}
