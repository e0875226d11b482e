// SPDX-License-Identifier: MIT
// Converts very many documents, good, broken and monstrous, while the services that do it are killed, stopped and starved, and
// says whether any promise was broken. The conversions are made by a child of this process, which sees what is left of it.
#include "bench/soak/Soak.h"
#include "tests/support/ProcessTree.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <set>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

SoakOptions optionsOf(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.setApplicationDescription(u"Converts documents under harm, and reports which promises held."_s);
    const QCommandLineOption conversions(u"conversions"_s, u"Ends after so many."_s, u"number"_s, u"0"_s);
    const QCommandLineOption seconds(u"seconds"_s, u"Ends after so long."_s, u"number"_s, u"0"_s);
    const QCommandLineOption instances(u"instances"_s, u"Service instances that are harmed."_s, u"number"_s,
                                       u"2"_s);
    const QCommandLineOption seed(u"seed"_s, u"Other documents, other harms."_s, u"number"_s, u"1"_s);
    const QCommandLineOption every(u"harm-every"_s, u"The mean time between two harms."_s, u"milliseconds"_s,
                                   u"2000"_s);
    const QCommandLineOption show(u"show"_s, u"Prints the document of that number, and converts nothing."_s,
                                  u"number"_s, u"0"_s);
    const QCommandLineOption calm(u"calm"_s, u"With --show: as the service that isn't harmed gets it."_s);
    const QCommandLineOption log(u"log"_s, u"What the services log."_s, u"file"_s, u"/dev/null"_s);
    parser.addOptions({conversions, seconds, instances, seed, every, show, calm, log});
    parser.process(application);
    SoakOptions options;
    options.conversions = parser.value(conversions).toInt();
    options.time = std::chrono::seconds(parser.value(seconds).toInt());
    options.instances = std::max(parser.value(instances).toInt(), 1);
    options.seed = parser.value(seed).toUInt();
    options.harmEvery = std::chrono::milliseconds(std::max(parser.value(every).toInt(), 1));
    options.shown = parser.value(show).toInt();
    options.isCalm = parser.isSet(calm);
    options.log = QFile::encodeName(parser.value(log));
    options.isShown = ::isatty(STDERR_FILENO) == 1;
    if (options.shown <= 0 && options.conversions <= 0 && options.time.count() <= 0) {
        std::fputs("zr_soak: either --conversions or --seconds\n", stderr);
        std::exit(64);
    }
    return options;
}

/// Shared memory is made there.
std::set<QString> sharedMemory() {
    const QStringList names =
        QDir(u"/dev/shm"_s).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    return {names.begin(), names.end()};
}

/// The exit code of a child, after all of its descendants have come to this process and ended.
int exitCodeOf(pid_t child) {
    int code = 1;
    for (int status = 0;;) {
        const pid_t ended = ::waitpid(-1, &status, 0);
        if (ended == child) {
            code = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
            break;
        }
        if (ended < 0 && errno != EINTR)
            break;
    }
    return code;
}

} // namespace

int main(int argc, char **argv) {
    SoakOptions options = optionsOf(argc, argv);
    if (options.shown > 0)
        return showDocument(options);
    // What services log goes elsewhere.
    if (std::FILE *const messages = ::fdopen(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3), "w")) {
        options.messages = messages;
        std::setvbuf(messages, nullptr, _IONBF, 0);
        std::freopen(options.log.constData(), "w", stderr);
    }
    const QTemporaryDir folder;
    const QDir temporary(folder.filePath(u"tmp"_s)), runtime(folder.filePath(u"run"_s));
    QDir().mkpath(temporary.path());
    QDir().mkpath(runtime.path());
    QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("TMPDIR", temporary.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
    const std::set<QString> sharedBefore = sharedMemory();
    // Orphans come here.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const QCoreApplication application(argc, argv);
        return soak(options);
    }
    int code = exitCodeOf(child);

    const auto left = [] {
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        return ProcessTree::below(::getpid());
    };
    ProcessTree::waitUntil([&] { return left().empty(); });
    QStringList remains;
    for (const auto &process : left())
        remains << u"process "_s + QString::fromStdString(process.command).left(100);
    for (const QString &root : {temporary.path(), runtime.path()})
        for (QDirIterator files(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                QDirIterator::Subdirectories);
             files.hasNext();)
            remains << files.next();
    for (const QString &name : sharedMemory()) {
        if (!sharedBefore.contains(name))
            remains << u"/dev/shm/"_s + name;
    }
    std::printf("| nothing is left | %d processes, sockets, files and pieces of shared memory |\n",
                int(remains.size()));
    for (const QString &name : remains)
        std::fprintf(options.messages, "left: %s\n", name.toUtf8().constData());
    return remains.isEmpty() ? code : 1;
}
