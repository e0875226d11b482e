// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Options.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using Problem = QByteArray;

constexpr int mostJobs = 64;
constexpr double longestTimeout = 24 * 60 * 60;

struct Option {
    char letter;
    std::string_view name;
    bool takesValue;
    /// Takes the value, if it takes one, into the options; answers with what is wrong, or nothing.
    Problem (*apply)(Options &options, const QByteArray &value);
};

Problem setText(QString &text, const QByteArray &value) {
    text = QString::fromUtf8(value);
    // A given text is never the null one.
    if (text.isNull())
        text = QStringLiteral("");
    return text.contains(QChar::ReplacementCharacter) ? Problem("is not UTF-8") : Problem();
}

Problem setPath(QByteArray &path, const QByteArray &value) {
    path = value;
    return value.isEmpty() ? Problem("names nothing") : Problem();
}

Problem setNetwork(Options &options, const QByteArray &value) {
    options.network = QString::fromLatin1(value);
    const bool good = value == "all" || value == "public" || value == "none";
    return good ? Problem() : "is not all, public or none";
}

Problem setJobs(Options &options, const QByteArray &value) {
    bool good = false;
    options.jobs = value.toInt(&good);
    if (good && options.jobs >= 1 && options.jobs <= mostJobs)
        return {};
    return "is not a whole number from 1 to " + QByteArray::number(mostJobs);
}

Problem setTimeout(Options &options, const QByteArray &value) {
    bool good = false;
    const double seconds = value.toDouble(&good);
    if (!good || !(seconds >= 0.001 && seconds <= longestTimeout))
        return "is not a number of seconds from 0.001 to " + QByteArray::number(longestTimeout);
    options.timeout = std::chrono::milliseconds(std::int64_t(seconds * 1000));
    return {};
}

const std::array table{
    Option{'o', "output", true, [](Options &o, const QByteArray &v) { return setPath(o.output, v); }},
    Option{'d', "directory", true, [](Options &o, const QByteArray &v) { return setPath(o.folder, v); }},
    Option{'f', "force", false, [](Options &o, const QByteArray &) { return o.force = true, Problem(); }},
    Option{0, "title", true, [](Options &o, const QByteArray &v) { return setText(o.title, v); }},
    Option{0, "creator", true, [](Options &o, const QByteArray &v) { return setText(o.creator, v); }},
    Option{0, "type", true,
           [](Options &o, const QByteArray &v) {
               return v.isEmpty() ? Problem("names nothing") : setText(o.type, v);
           }},
    Option{0, "tagged", false, [](Options &o, const QByteArray &) { return o.tagged = true, Problem(); }},
    Option{0, "network", true, setNetwork},
    Option{'j', "jobs", true, setJobs},
    Option{'t', "timeout", true, setTimeout},
    Option{0, "boot", false,
           [](Options &o, const QByteArray &) { return o.action = Options::Action::Boot, Problem(); }},
    Option{0, "json", false, [](Options &o, const QByteArray &) { return o.json = true, Problem(); }},
    Option{'q', "quiet", false, [](Options &o, const QByteArray &) { return o.quiet = true, Problem(); }},
    Option{'v', "verbose", false, [](Options &o, const QByteArray &) { return o.verbose = true, Problem(); }},
    Option{'h', "help", false,
           [](Options &o, const QByteArray &) { return o.action = Options::Action::Help, Problem(); }},
    Option{'V', "version", false,
           [](Options &o, const QByteArray &) { return o.action = Options::Action::Version, Problem(); }},
};

/// Applies an option; if no value came with it, `value` is null, and the next argument is taken.
Problem applyOption(const Option *option, const QByteArray &shown, QByteArray value,
                    QList<QByteArray>::const_iterator &next, QList<QByteArray>::const_iterator end,
                    Options &options) {
    if (option == table.end())
        return "unknown option " + shown;
    if (!option->takesValue)
        return value.isNull() ? option->apply(options, {}) : "option " + shown + " takes no value";
    if (value.isNull()) {
        if (next == end)
            return "option " + shown + " needs a value";
        value = *next++;
    }
    const Problem problem = option->apply(options, value);
    return problem.isEmpty() ? Problem() : "the value of option " + shown + " " + problem;
}

Problem checkTogether(const Options &options) {
    const bool toStandardOutput = options.output == "-";
    if (options.action == Options::Action::Boot) {
        if (!options.inputs.isEmpty() || !options.output.isNull() || !options.folder.isNull())
            return "option --boot goes without inputs and outputs";
        return {};
    }
    if (options.inputs.isEmpty())
        return "no input";
    if (!options.output.isNull() && options.inputs.size() > 1)
        return "option -o takes one input; use -d for several";
    if (!options.output.isNull() && !options.folder.isNull())
        return "options -o and -d exclude one another";
    if (toStandardOutput && options.json)
        return "options --json and -o - both need standard output";
    if (options.quiet && options.verbose)
        return "options -q and -v exclude one another";
    if (options.inputs.count("-") > 1)
        return "standard input can be read once only";
    return {};
}

} // namespace

Options Options::parse(const QList<QByteArray> &arguments, QByteArray *problem) {
    Options options;
    problem->clear();
    bool onlyInputs = false;
    for (auto next = arguments.cbegin(); next != arguments.cend() && problem->isEmpty();) {
        const QByteArray argument = *next++;
        if (onlyInputs || argument == "-" || !argument.startsWith('-')) {
            if (argument.isEmpty())
                *problem = "an input names nothing";
            options.inputs.append(argument);
        } else if (argument == "--") {
            onlyInputs = true;
        } else if (argument.startsWith("--")) {
            const qsizetype equals = argument.indexOf('=');
            const QByteArray shown = equals < 0 ? argument : argument.left(equals);
            const QByteArray name = shown.mid(2);
            const auto *const option = std::find_if(table.begin(), table.end(), [&](const Option &each) {
                return each.name == std::string_view(name.constData(), std::size_t(name.size()));
            });
            // An empty value is one, not its absence.
            const QByteArray value = equals < 0 ? QByteArray() : QByteArray("") + argument.mid(equals + 1);
            *problem = applyOption(option, shown, value, next, arguments.cend(), options);
        } else {
            for (qsizetype at = 1; at < argument.size() && problem->isEmpty(); ++at) {
                const auto *const option = std::find_if(table.begin(), table.end(), [&](const Option &each) {
                    return each.letter != 0 && each.letter == argument[at];
                });
                QByteArray value;
                const bool takesRest =
                    option != table.end() && option->takesValue && at + 1 < argument.size();
                if (takesRest)
                    value = argument.mid(at + 1);
                *problem = applyOption(option, QByteArray("-") + argument[at], value, next, arguments.cend(),
                                       options);
                if (takesRest)
                    break;
            }
        }
        if (options.action == Action::Help || options.action == Action::Version)
            return options;
    }
    if (problem->isEmpty())
        *problem = checkTogether(options);
    return options;
}

QByteArray Options::help() {
    return R"(usage: zrpdf [OPTION...] INPUT...

Turns each document into a PDF of one page, as it looks on a screen 800 pixels wide.

INPUT is a file, a URL (http, https, file, data) or - for standard input. A file is loaded from where it is, so
that its pictures and styles are found; bytes from standard input reach no local file. HTML, XHTML, plain text, SVG,
PNG, JPEG, GIF, WebP and web archives (MHTML, webarchive) are documents.

Output
  -o, --output FILE        the PDF of the only input; - for standard output
  -d, --directory FOLDER   PDFs go there; the folder is made if it is missing
                           (default: beside the input under its base name and .pdf;
                           for URLs and standard input, in the current folder)
  -f, --force              replace files that exist already

The PDF
      --title TEXT         its title
      --creator TEXT       its creator
      --tagged             tagged for accessibility; slower on long documents
      --type IDENTIFIER    the input's uniform type identifier, such as public.html

The documents
      --network MODE       what they may reach: all, public (nothing of this machine or its networks) or none;
                           local files may have other local files (default all)

The run
  -j, --jobs N             convert with N service instances (default 1, at most 64)
  -t, --timeout SECONDS    give up on a document after that time (default 60)
      --json               one JSON object for each input on standard output:
                           input, output, ok, error, bytes, seconds
      --boot               start the service, print its answer and end
  -q, --quiet              no progress and no remarks, errors only
  -v, --verbose            log lines of the service and the client, too
  -h, --help               this text
  -V, --version            the version

Options may follow inputs; after -- everything is an input. With several inputs a failed one doesn't keep the others
from being converted; two inputs that would share an output are refused before anything is done.

Exit status (several inputs: that of the first one given that failed)
  0  every PDF is written
  1  a document can't be converted
  2  bad usage
  3  an input can't be read
  4  an output can't be written
  5  a document took too long
  6  the service was lost or can't be started
  130  interrupted from the keyboard; otherwise 128 and the number of the signal that ended it

NO_COLOR, if set and not empty, keeps the progress bar plain.

"zrpdf serve" answers other programs by HTTP, "zrpdf worker" works for other machines, which send documents through a
RabbitMQ broker, as "zrpdf --broker URL" does; each has a --help of its own. An input of such a name is ./serve.
)";
}
