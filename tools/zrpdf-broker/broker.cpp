// SPDX-License-Identifier: MIT
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf-broker/QueueConverter.h"
#include "tools/zrpdf/CommandLineProgram.h"

#include <algorithm>

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

} // namespace

int main(int count, char **values) {
    fillStandardStreams();
    const QList<QByteArray> arguments(values + std::min(count, 1), values + count);
    QueueConverter::Options queue;
    std::vector<CommandOption> table = queue.broker.table();
    table.push_back({0, "urgent", [&] { queue.isUrgent = true; }});
    QByteArray problem;
    const Options options = Options::parse(arguments, &problem, table);
    if (problem.isEmpty() &&
        (options.action == Options::Action::Convert || options.action == Options::Action::Boot))
        problem = queue.broker.problem();
    const CommandLineProgram program{
        .help = Options::help() + brokerHelp,
        .helpHint = "zrpdf --broker URL --help",
        .makeConverter =
            [&](int jobs) {
                queue.instances = jobs;
                return std::make_unique<QueueConverter>(queue);
            },
    };
    return program.run(options, problem);
}
