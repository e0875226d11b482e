// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ServeOptions.h"

#include "tools/converter/PlainNumber.h"

#include <algorithm>
#include <thread>

using namespace zr;

namespace {

using Problem = QByteArray;

constexpr int mostInstances = 64;
constexpr int longestQueue = 100'000;
constexpr qsizetype largestBody = qsizetype(1) << 30;
constexpr auto longestTime = std::chrono::hours(24);

Problem setSize(qsizetype &size, QByteArray value) {
    int shift = 0;
    for (const auto &[unit, bits] : {std::pair('K', 10), std::pair('M', 20), std::pair('G', 30)}) {
        if (value.endsWith(unit)) {
            shift = bits;
            value.chop(1);
            break;
        }
    }
    const auto number = plainNumber(value);
    if (!number || value.contains('.') || *number < 1 || *number > double(largestBody >> shift))
        return "is not a number of bytes from 1 to 1G (K, M and G may follow it)";
    size = qsizetype(*number) << shift;
    return {};
}

Problem addAddress(std::vector<ListenAddress> &addresses, const QByteArray &value) {
    Problem problem;
    if (const auto address = ListenAddress::read(value, &problem))
        addresses.push_back(*address);
    return problem;
}

Problem setForm(RequestLog::Form &form, const QByteArray &value) {
    form = value == "json" ? RequestLog::Form::JSON : RequestLog::Form::Lines;
    return value == "json" || value == "lines" ? Problem() : Problem("is neither lines nor json");
}

Problem checkTogether(const ServeOptions &options) {
    if (options.broker.isWanted && options.broker.brokers.isEmpty())
        return options.broker.problem();
    const bool isRemote = std::any_of(options.addresses.begin(), options.addresses.end(),
                                      [](const ListenAddress &address) { return !address.isLocal(); });
    if (isRemote && !options.allowsRemote)
        return "option --listen names an address that other machines reach; --allow-remote and a token allow "
               "it";
    return {};
}

} // namespace

int ServeOptions::defaultInstances() {
    return std::clamp(int(std::thread::hardware_concurrency()), 1, 4);
}

ServeOptions ServeOptions::parse(const QList<QByteArray> &arguments, QByteArray *problem) {
    using Value = const QByteArray &;
    constexpr auto once = CommandOption::Rule::Once;
    constexpr auto last = CommandOption::Rule::Last;
    ServeOptions o;
    std::vector<CommandOption> table{
        {0, "listen", [&](Value v) { return addAddress(o.addresses, v); }},
        {0, "allow-remote", [&] { o.allowsRemote = true; }},
        {0, "token-file", [&](Value v) { return takePath(o.tokenFile, v); }, once},
        {0, "instances", [&](Value v) { return takeCount(o.instances, v, 1, mostInstances); }, once},
        {0, "queue", [&](Value v) { return takeCount(o.queue, v, 0, longestQueue); }, once},
        {'t', "timeout", [&](Value v) { return takeSeconds(o.timeout, v, longestTime); }, once},
        {0, "grace", [&](Value v) { return takeSeconds(o.grace, v, longestTime); }, once},
        {0, "max-body", [&](Value v) { return setSize(o.maxBody, v); }, once},
        {0, "network", [&](Value v) { return takeNetwork(o.network, v); }, once},
        {0, "log", [&](Value v) { return setForm(o.logForm, v); }, once},
        {'v', "verbose", [&] { o.verbose = true; }},
        {'h', "help", [&] { o.action = Action::Help; }, last},
        {'V', "version", [&] { o.action = Action::Version; }, last},
    };
    const auto brokerTable = o.broker.table();
    table.insert(table.end(), brokerTable.begin(), brokerTable.end());
    *problem = readOptions(table, arguments,
                           [](Value input) { return "there is nothing to do with \"" + input + '"'; });
    if (o.action != Action::Serve)
        problem->clear();
    else if (problem->isEmpty())
        *problem = checkTogether(o);
    return o;
}

QByteArray ServeOptions::help() {
    return R"(usage: zrpdf serve [OPTION...]

Turns documents into PDFs of one page for programs that ask by HTTP: POST /v1/pdf. GET /openapi.json tells all about
requests, /health whether a conversion works, /metrics what was done, for Prometheus.

Clients
      --listen WHERE       ADDRESS:PORT (127.0.0.1:8080, [::1]:8080) or the path of a Unix socket; may be given several
                           times (default: the sockets that systemd hands over, otherwise zrpdf-serve.sock in the
                           user's runtime folder, for this user only)
      --allow-remote       listen on addresses that other machines reach, too; needs a token
      --token-file FILE    clients have to show the token that is in the file: "Authorization: Bearer TOKEN"
                           (default: systemd's credential zrpdf-serve.token, if there is one)

The work
      --instances N        convert so many documents at once (default: as many as there are processors, at most 4)
      --queue N            so many more may wait; further requests are answered with 429 (default 64)
      --max-body BYTES     of a request; K, M or G may follow the number (default 64M)
  -t, --timeout SECONDS    give up on a document after that time; a request may ask for less (default 60)
      --broker URL         have workers convert, by way of this RabbitMQ broker (amqp:// or amqps://); several for the
                           nodes of a cluster. --broker-file FILE takes such URLs from a file, --prefix NAME and
                           --store URL are those of the workers. --instances is then how many documents are with the
                           broker at a time
      --network MODE       what documents may reach: all, public (nothing private) or none; a request may ask for less
                           (default public)

The run
      --grace SECONDS      when told to stop, wait so long for what has begun (default 60)
      --log FORM           one line for each request on standard error: lines (default) or json
  -v, --verbose            log lines of the service, too
  -h, --help               this text
  -V, --version            the version

Exit status
  0  was told to stop (by SIGTERM or SIGINT)
  1  can't listen
  2  bad usage
)";
}
