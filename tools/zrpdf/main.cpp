// SPDX-License-Identifier: MIT
#include "platform/base/SystemError.h"
#include "platform/base/WriteAll.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/converter/Events.h"
#include "tools/converter/ServicePool.h"
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Interrupts.h"
#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Plan.h"
#include "tools/zrpdf/Reporter.h"
#include "tools/zrpdf/Runner.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Ends the process without waiting for anybody: what is on disk is on disk, and the service ends with its
/// host.
[[noreturn]] void leave(int status) {
    zr::XPCActivator::shared().stop();
    ::_exit(status);
}

int print(const QByteArray &text, int standardError) {
    const auto failure = zr::writeAll(STDOUT_FILENO, text);
    if (!failure)
        return int(ExitCode::Success);
    zr::writeAll(standardError, QByteArray("zrpdf: standard output: ") + failure.message().c_str() + '\n');
    return int(ExitCode::UnwritableOutput);
}

int finish(ExitCode code, Reporter &reporter) {
    if (code != ExitCode::Interrupted)
        return int(code);
    reporter.line("interrupted");
    return int(ExitCode::Interrupted) + Interrupts::signal();
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
    QList<QByteArray> arguments;
    for (int index = 1; index < count; ++index)
        arguments.append(values[index]);
    if (const QString program = programFor(arguments); !program.isNull()) {
        const bool isVerb = program != QLatin1StringView("zrpdf-broker");
        // The verb stands where the program's own name is expected.
        become(program, isVerb ? values + 1 : values);
        zr::writeAll(STDERR_FILENO, "zrpdf: " + program.toLatin1() + " is not installed\n");
        leave(int(ExitCode::LostService));
    }
    QByteArray problem;
    const Options options = Options::parse(arguments, &problem);
    const auto complain = [](const QByteArray &text, ExitCode code) {
        zr::writeAll(STDERR_FILENO, "zrpdf: " + text + '\n');
        leave(int(code));
    };
    if (!problem.isEmpty())
        complain(problem + " (see zrpdf --help)", ExitCode::BadUsage);
    if (options.action == Options::Action::Help)
        leave(print(Options::help(), STDERR_FILENO));
    if (options.action == Options::Action::Version)
        leave(print("zrpdf " ZR_VERSION "\n", STDERR_FILENO));

    const Plan plan = Plan::make(options);
    if (!plan.problem.isEmpty())
        complain(plan.problem, plan.problemCode);

    zr::Events events;
    Interrupts::install(events.descriptor());
    const int standardError = zr::takeStandardError(options.verbose);
    Reporter reporter(options, standardError, qsizetype(plan.entries.size()));
    Runner runner(options, plan, reporter, events, [](int instances) {
        return std::make_unique<zr::ServicePool>(zr::ServicePool::Options{.instances = instances});
    });
    if (options.action == Options::Action::Boot) {
        QByteArray answer;
        const ExitCode code = runner.boot(&answer);
        leave(code == ExitCode::Success ? print(answer + '\n', standardError) : finish(code, reporter));
    }
    leave(finish(runner.run(), reporter));
}
