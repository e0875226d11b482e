// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ServeOptions.h"

#include "tools/zrpdf-serve/PlainNumber.h"

#include <QCommandLineParser>
#include <algorithm>
#include <array>
#include <thread>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

using Problem = QByteArray;

constexpr int mostInstances = 64;
constexpr int longestQueue = 100'000;
constexpr qsizetype largestBody = qsizetype(1) << 30;
constexpr auto longestTime = std::chrono::hours(24);

struct Option {
    const char *name;
    bool takesValue;
    bool mayRepeat;
    /// Takes the value, if it takes one, into the options; answers with what is wrong, or nothing.
    Problem (*apply)(ServeOptions &options, const QByteArray &value);
};

Problem setCount(int &count, const QByteArray &value, int least, int most) {
    const auto number = plainNumber(value);
    if (!number || *number < least || *number > most || *number != double(int(*number)) ||
        value.contains('.'))
        return "is not a whole number from " + QByteArray::number(least) + " to " + QByteArray::number(most);
    count = int(*number);
    return {};
}

Problem setTime(std::chrono::milliseconds &time, const QByteArray &value) {
    const auto read = plainSeconds(value);
    if (!read || *read > longestTime)
        return "is not a number of seconds from 0.001 to 86400";
    time = *read;
    return {};
}

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

/// The options of a broker are the same for every program.
template <std::size_t index>
Problem applyBroker(ServeOptions &options, const QByteArray &value) {
    return options.broker.table()[index].apply(value);
}

const std::array table{
    Option{"broker", true, true, applyBroker<0>},
    Option{"broker-file", true, true, applyBroker<1>},
    Option{"prefix", true, false, applyBroker<2>},
    Option{"store", true, false, applyBroker<3>},
    Option{"listen", true, true,
           [](ServeOptions &o, const QByteArray &v) {
               Problem problem;
               if (const auto address = ListenAddress::read(v, &problem))
                   o.addresses.push_back(*address);
               return problem;
           }},
    Option{"allow-remote", false, false,
           [](ServeOptions &o, const QByteArray &) { return o.allowsRemote = true, Problem(); }},
    Option{"token-file", true, false,
           [](ServeOptions &o, const QByteArray &v) {
               o.tokenFile = v;
               return v.isEmpty() ? Problem("names nothing") : Problem();
           }},
    Option{"instances", true, false,
           [](ServeOptions &o, const QByteArray &v) { return setCount(o.instances, v, 1, mostInstances); }},
    Option{"queue", true, false,
           [](ServeOptions &o, const QByteArray &v) { return setCount(o.queue, v, 0, longestQueue); }},
    Option{"timeout", true, false,
           [](ServeOptions &o, const QByteArray &v) { return setTime(o.timeout, v); }},
    Option{"grace", true, false, [](ServeOptions &o, const QByteArray &v) { return setTime(o.grace, v); }},
    Option{"max-body", true, false,
           [](ServeOptions &o, const QByteArray &v) { return setSize(o.maxBody, v); }},
    Option{"network", true, false,
           [](ServeOptions &o, const QByteArray &v) {
               const auto mode = networkModeNamed(v);
               o.network = mode.value_or(o.network);
               return mode ? Problem() : Problem("is none of all, public and none");
           }},
    Option{"log", true, false,
           [](ServeOptions &o, const QByteArray &v) {
               o.logForm = v == "json" ? RequestLog::Form::JSON : RequestLog::Form::Lines;
               return v == "json" || v == "lines" ? Problem() : Problem("is neither lines nor json");
           }},
    Option{"verbose", false, false,
           [](ServeOptions &o, const QByteArray &) { return o.verbose = true, Problem(); }},
    Option{
        "help", false, true,
        [](ServeOptions &o, const QByteArray &) { return o.action = ServeOptions::Action::Help, Problem(); }},
    Option{"version", false, true,
           [](ServeOptions &o, const QByteArray &) {
               return o.action = ServeOptions::Action::Version, Problem();
           }},
};

Problem apply(const Option &option, const QStringList &values, ServeOptions &options) {
    if (values.size() > 1 && !option.mayRepeat)
        return QByteArray("option --") + option.name + " was given twice";
    for (const QString &value : values) {
        const Problem problem = option.apply(options, value.toUtf8());
        if (!problem.isEmpty())
            return QByteArray("the value of option --") + option.name + ' ' + problem;
    }
    return {};
}

Problem checkTogether(const ServeOptions &options) {
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
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
    for (const Option &option : table) {
        QStringList names{QString::fromLatin1(option.name)};
        // As zrpdf has them.
        for (const char *shortened : {"help", "timeout", "verbose", "version"})
            if (names.first() == QLatin1StringView(shortened))
                names.append(names.first() == u"version" ? u"V"_s : names.first().left(1));
        parser.addOption({names, {}, option.takesValue ? u"VALUE"_s : QString()});
    }
    QStringList words{u"zrpdf-serve"_s};
    for (const QByteArray &argument : arguments)
        words.append(QString::fromUtf8(argument));
    ServeOptions options;
    problem->clear();
    if (!parser.parse(words)) {
        const QString text = parser.errorText();
        *problem = (text.endsWith(u'.') ? text.chopped(1) : text).toUtf8();
        return options;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *problem = "there is nothing to do with \"" + parser.positionalArguments().first().toUtf8() + '"';
        return options;
    }
    for (const Option &option : table) {
        const QString name = QString::fromLatin1(option.name);
        QStringList values = option.takesValue ? parser.values(name) : QStringList();
        if (!option.takesValue && parser.isSet(name))
            values = {QString()};
        const Problem found = apply(option, values, options);
        if (problem->isEmpty())
            *problem = found;
    }
    if (options.action != Action::Serve)
        problem->clear();
    else if (problem->isEmpty())
        *problem = checkTogether(options);
    return options;
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
