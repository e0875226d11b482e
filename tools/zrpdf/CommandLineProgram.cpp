// SPDX-License-Identifier: MIT
#include "tools/zrpdf/CommandLineProgram.h"

#include "platform/base/WriteAll.h"
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf/Interrupts.h"

#include <unistd.h>

namespace {

int print(const QByteArray &text, int standardError = STDERR_FILENO) {
    return zr::printText(text, "zrpdf", int(ExitCode::UnwritableOutput), standardError);
}

int complain(const QByteArray &text, ExitCode code) {
    zr::writeAll(STDERR_FILENO, "zrpdf: " + text + '\n');
    return int(code);
}

int statusOf(ExitCode code, Reporter &reporter) {
    if (code != ExitCode::Interrupted)
        return int(code);
    reporter.line("interrupted");
    return int(ExitCode::Interrupted) + Interrupts::signal();
}

} // namespace

int CommandLineProgram::run(const Options &options, const QByteArray &problem) const {
    if (!problem.isEmpty())
        return complain(problem + " (see " + helpHint + ')', ExitCode::BadUsage);
    if (options.action == Options::Action::Help)
        return print(help);
    if (options.action == Options::Action::Version)
        return print("zrpdf " ZR_VERSION "\n");

    const Plan plan = Plan::make(options);
    if (!plan.problem.isEmpty())
        return complain(plan.problem, plan.problemCode);

    zr::Events events;
    Interrupts::install(events.descriptor());
    const int standardError = zr::takeStandardError(options.verbose);
    Reporter reporter(options, standardError, qsizetype(plan.entries.size()));
    Runner runner(options, plan, reporter, events, makeConverter);
    int status = 0;
    if (options.action == Options::Action::Boot) {
        QByteArray answer;
        const ExitCode code = runner.boot(&answer);
        status = code == ExitCode::Success ? print(answer + '\n', standardError) : statusOf(code, reporter);
    } else {
        status = statusOf(runner.run(), reporter);
    }
    if (leave)
        leave(status);
    return status;
}
