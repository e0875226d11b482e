// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Plan.h"

#include <QHash>
#include <QSet>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What a file is, whatever it is called: its device and number; empty if there is no such file.
QByteArray identityOf(const QByteArray &path) {
    struct stat status {};
    if (::stat(path.constData(), &status) != 0)
        return "";
    return QByteArray::number(qulonglong(status.st_dev)) + ':' +
           QByteArray::number(qulonglong(status.st_ino));
}

/// What a file is that may not be there yet: its folder and its name in it.
QByteArray placeOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : path.left(slash + 1);
    const QByteArray identity = identityOf(folder);
    return (identity.isEmpty() ? folder : identity) + '/' + path.mid(slash + 1);
}

/// Two inputs with one output, or an output that would take an input's place.
QByteArray conflict(const std::vector<Plan::Entry> &entries, bool force) {
    QSet<QByteArray> inputs;
    // Without --force no existing file is touched, and so no input.
    if (force)
        for (const Plan::Entry &entry : entries)
            if (const QByteArray &path = entry.input.path(); !path.isEmpty())
                inputs.insert(identityOf(path));
    inputs.remove("");
    QHash<QByteArray, const Plan::Entry *> taken;
    for (const Plan::Entry &entry : entries) {
        if (entry.output == "-")
            continue;
        const Plan::Entry *&other = taken[placeOf(entry.output)];
        if (other)
            return other->input.shown() + " and " + entry.input.shown() + " would share the output " +
                   Input::shown(entry.output);
        other = &entry;
        if (!inputs.isEmpty() && inputs.contains(identityOf(entry.output)))
            return "the output " + Input::shown(entry.output) + " is an input";
    }
    return "";
}

} // namespace

Plan Plan::make(const Options &options) {
    Plan plan;
    const auto fail = [&](ExitCode code, const QByteArray &problem) {
        plan.problem = problem;
        plan.problemCode = code;
        return plan;
    };
    for (const QByteArray &argument : options.inputs) {
        if (Input::hasForeignScheme(argument) && ::access(argument.constData(), F_OK) != 0)
            return fail(ExitCode::BadUsage,
                        Input::shown(argument) + ": only http, https, file and data URLs can be converted");
        const Input input(argument);
        plan.entries.push_back(
            {input, options.output.isNull() ? input.defaultOutput(options.folder) : options.output});
    }
    if (options.output == "-" && !options.force && ::isatty(STDOUT_FILENO))
        return fail(ExitCode::BadUsage, "standard output is a terminal; --force writes the PDF to it");
    if (!options.folder.isNull()) {
        std::error_code error;
        std::filesystem::create_directories(options.folder.constData(), error);
        if (error)
            return fail(ExitCode::UnwritableOutput,
                        Input::shown(options.folder) + ": " + error.message().c_str());
    }
    if (const QByteArray problem = conflict(plan.entries, options.force); !problem.isEmpty())
        return fail(ExitCode::BadUsage, problem);
    return plan;
}
