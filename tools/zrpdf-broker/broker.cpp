// SPDX-License-Identifier: MIT
#include "platform/base/WriteAll.h"
#include "tools/converter/Events.h"
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf-broker/QueueConverter.h"
#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Interrupts.h"
#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Plan.h"
#include "tools/zrpdf/Reporter.h"
#include "tools/zrpdf/Runner.h"

#include <unistd.h>

using namespace zr;

namespace {

constexpr char brokerHelp[] = R"(
The broker
      --broker URL         have the documents converted by the workers of a RabbitMQ broker (amqp:// or amqps://);
                           several for the nodes of a cluster
      --broker-file FILE   such URLs from a file, one a line
      --prefix NAME        what the names of the queues begin with (default zrpdf)
      --store URL          where documents of more than 1 MiB go: a shared folder (file URL) or an HTTP server
      --urgent             to the urgent queue

A file is sent without what it refers to; a web archive takes its pictures and styles along. -j says how many documents are
with the broker at a time, and -t how long a worker may take for one.
)";

void complain(const QByteArray &text) {
    writeAll(STDERR_FILENO, "zrpdf: " + text + '\n');
}

int print(const QByteArray &text) {
    return writeAll(STDOUT_FILENO, text) ? int(ExitCode::UnwritableOutput) : int(ExitCode::Success);
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
    QueueConverter::Options queue;
    std::vector<CommandOption> table = queue.broker.table();
    table.push_back({0, "urgent", [&] { queue.isUrgent = true; }});
    QByteArray problem;
    const Options options = Options::parse(arguments, &problem, table);
    if (problem.isEmpty()) {
        if (options.action == Options::Action::Help)
            return print(Options::help() + brokerHelp);
        if (options.action == Options::Action::Version)
            return print("zrpdf " ZR_VERSION "\n");
        problem = queue.broker.problem();
    }
    if (!problem.isEmpty()) {
        complain(problem + " (see zrpdf --broker URL --help)");
        return int(ExitCode::BadUsage);
    }
    const Plan plan = Plan::make(options);
    if (!plan.problem.isEmpty()) {
        complain(plan.problem);
        return int(plan.problemCode);
    }
    Events events;
    Interrupts::install(events.descriptor());
    const int standardError = takeStandardError(options.verbose);
    Reporter reporter(options, standardError, qsizetype(plan.entries.size()));
    Runner runner(options, plan, reporter, events, [&](int jobs) -> std::unique_ptr<Converter> {
        queue.instances = jobs;
        return std::make_unique<QueueConverter>(queue);
    });
    if (options.action == Options::Action::Boot) {
        QByteArray answer;
        const ExitCode code = runner.boot(&answer);
        return code == ExitCode::Success ? print(answer + '\n') : finish(code, reporter);
    }
    return finish(runner.run(), reporter);
}
