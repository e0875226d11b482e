// SPDX-License-Identifier: MIT
#include "platform/base/SystemError.h"
#include "platform/base/WriteAll.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/converter/ServicePool.h"
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf/CommandLineProgram.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace {

/// Ends the process without waiting for anybody: what is on disk is on disk, and the service ends with its
/// host.
[[noreturn]] void leave(int status) {
    zr::XPCActivator::shared().stop();
    ::_exit(status);
}

/// The program that the arguments are for, if it isn't this one. Servers are programs of their own, because each library
/// that is loaded is time that a conversion pays.
QString programFor(const QList<QByteArray> &arguments) {
    if (arguments.value(0) == "serve")
        return QStringLiteral("zrpdf-serve");
    if (arguments.value(0) == "worker")
        return QStringLiteral("zrpdf-worker");
    for (const QByteArray &argument : arguments) {
        if (argument == "--")
            break;
        if (argument == "--broker" || argument.startsWith("--broker=") || argument == "--broker-file" ||
            argument.startsWith("--broker-file="))
            return QStringLiteral("zrpdf-broker");
    }
    return {};
}

/// Becomes another program of ours. Comes back if there is none of that name.
void become(const QString &program, char **arguments) {
    const QByteArray executable = zr::XPCActivator::executable(program);
    if (executable.isEmpty() || ::execv(executable.constData(), arguments) == 0)
        return;
    zr::writeAll(STDERR_FILENO,
                 "zrpdf: " + executable + ": " + zr::systemErrorText(errno).toLocal8Bit() + '\n');
    leave(int(ExitCode::LostService));
}

} // namespace

int main(int count, char **values) {
    zr::fillStandardStreams();
    const QList<QByteArray> arguments(values + std::min(count, 1), values + count);
    if (const QString program = programFor(arguments); !program.isNull()) {
        const bool isVerb = program != QLatin1StringView("zrpdf-broker");
        // The verb stands where the program's own name is expected.
        become(program, isVerb ? values + 1 : values);
        zr::writeAll(STDERR_FILENO, "zrpdf: " + program.toLatin1() + " is not installed\n");
        leave(int(ExitCode::LostService));
    }
    QByteArray problem;
    const Options options = Options::parse(arguments, &problem);
    const CommandLineProgram program{
        .help = Options::help(),
        .helpHint = "zrpdf --help",
        .makeConverter =
            [](int instances) {
                return std::make_unique<zr::ServicePool>(zr::ServicePool::Options{.instances = instances});
            },
        .leave = leave,
    };
    leave(program.run(options, problem));
}
