// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Options.h"

namespace {

using Problem = QByteArray;

constexpr int mostJobs = 64;
constexpr auto longestTimeout = std::chrono::hours(24);

Problem setText(QString &text, const QByteArray &value) {
    text = QString::fromUtf8(value);
    // A given text is never the null one.
    if (text.isNull())
        text = QStringLiteral("");
    return text.contains(QChar::ReplacementCharacter) ? Problem("is not UTF-8") : Problem();
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

Options Options::parse(const QList<QByteArray> &arguments, QByteArray *problem,
                       const std::vector<zr::CommandOption> &others) {
    using Value = const QByteArray &;
    constexpr auto last = zr::CommandOption::Rule::Last;
    Options o;
    std::vector<zr::CommandOption> table{
        {'o', "output", [&](Value v) { return zr::takePath(o.output, v); }},
        {'d', "directory", [&](Value v) { return zr::takePath(o.folder, v); }},
        {'f', "force", [&] { o.force = true; }},
        {0, "title", [&](Value v) { return setText(o.title, v); }},
        {0, "creator", [&](Value v) { return setText(o.creator, v); }},
        {0, "type", [&](Value v) { return v.isEmpty() ? Problem("names nothing") : setText(o.type, v); }},
        {0, "tagged", [&] { o.tagged = true; }},
        {0, "network", [&](Value v) { return zr::takeNetwork(o.network.emplace(), v); }},
        {'j', "jobs", [&](Value v) { return zr::takeCount(o.jobs, v, 1, mostJobs); }},
        {'t', "timeout", [&](Value v) { return zr::takeSeconds(o.timeout, v, longestTimeout); }},
        {0, "boot", [&] { o.action = Action::Boot; }},
        {0, "json", [&] { o.json = true; }},
        {'q', "quiet", [&] { o.quiet = true; }},
        {'v', "verbose", [&] { o.verbose = true; }},
        {'h', "help", [&] { o.action = Action::Help; }, last},
        {'V', "version", [&] { o.action = Action::Version; }, last},
    };
    table.insert(table.end(), others.begin(), others.end());
    *problem = zr::readOptions(table, arguments, [&](Value input) {
        o.inputs.append(input);
        return input.isEmpty() ? Problem("an input names nothing") : Problem();
    });
    if (problem->isEmpty() && (o.action == Action::Convert || o.action == Action::Boot))
        *problem = checkTogether(o);
    return o;
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
