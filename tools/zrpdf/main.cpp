// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCActivator.h"
#include "tools/zrpdf/Events.h"
#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Interrupts.h"
#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Output.h"
#include "tools/zrpdf/Plan.h"
#include "tools/zrpdf/Reporter.h"
#include "tools/zrpdf/Runner.h"
#include "tools/zrpdf/ServiceLog.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Ends the process without waiting for anybody: what is on disk is on disk, and the service ends with its
/// host.
[[noreturn]] void leave(int status) {
    XPCActivator::shared().stop();
    ::_exit(status);
}

int print(const QByteArray &text, int standardError) {
    const int failure = writeAll(STDOUT_FILENO, text);
    if (!failure)
        return int(ExitCode::Success);
    writeAll(standardError, QByteArray("zrpdf: standard output: ") + std::strerror(failure) + '\n');
    return int(ExitCode::UnwritableOutput);
}

/// No file that is opened later may pass for a standard stream that was closed; what is put there instead
/// can't be used the stream's way.
void fillStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            (void)!::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int finish(ExitCode code, Reporter &reporter) {
    if (code != ExitCode::Interrupted)
        return int(code);
    reporter.line("interrupted");
    return int(ExitCode::Interrupted) + Interrupts::signal();
}

} // namespace

int main(int count, char **values) {
    fillStandardStreams();
    QList<QByteArray> arguments;
    for (int index = 1; index < count; ++index)
        arguments.append(values[index]);
    QByteArray problem;
    const Options options = Options::parse(arguments, &problem);
    const auto complain = [](const QByteArray &text, ExitCode code) {
        writeAll(STDERR_FILENO, "zrpdf: " + text + '\n');
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

    Events events;
    Interrupts::install(events.descriptor());
    ServiceLog log(options.verbose);
    Reporter reporter(options, log.standardError(), qsizetype(plan.entries.size()));
    Runner runner(options, plan, reporter, log, events);
    if (options.action == Options::Action::Boot) {
        QByteArray answer;
        const ExitCode code = runner.boot(&answer);
        leave(code == ExitCode::Success ? print(answer + '\n', log.standardError()) : finish(code, reporter));
    }
    leave(finish(runner.run(), reporter));
}
