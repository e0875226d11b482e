// SPDX-License-Identifier: MIT
#include "bench/soak/CommandLine.h"

#include "bench/soak/Corpus.h"
#include "bench/soak/PDFMarks.h"
#include "bench/soak/WaitFor.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

enum class Trouble { None, FullDevice, NoRoom, Interrupted, Killed };
constexpr int troubles = 5;

} // namespace

CommandLine::CommandLine(unsigned seed, QString sources, QString program)
    : m_sources(std::move(sources)), m_program(std::move(program)), m_random(seed),
      m_thread([this](const std::stop_token &stop) { run(stop); }) {
}

CommandLine::~CommandLine() {
    m_thread.request_stop();
    m_thread.join();
}

int CommandLine::rounds() const {
    const std::lock_guard lock(m_mutex);
    return m_rounds;
}

QStringList CommandLine::complaints() const {
    const std::lock_guard lock(m_mutex);
    return m_complaints;
}

void CommandLine::run(const std::stop_token &stop) {
    for (int number = 0; !stop.stop_requested(); ++number) {
        const QString complaint = round(number);
        {
            const std::lock_guard lock(m_mutex);
            ++m_rounds;
            if (!complaint.isNull())
                m_complaints << u"zrpdf, round %1: "_s.arg(number) + complaint;
        }
        // Each round starts a service and a browser, of whose time the conversions are in need.
        waitFor(std::chrono::seconds(3), stop);
    }
}

/// What was wrong; nil if nothing was.
QString CommandLine::round(int number) {
    const auto trouble = Trouble(m_random() % troubles);
    const QString output = m_folder.filePath(u"out.pdf"_s);
    QProcess program;
    QStringList arguments{u"-q"_s,      u"-"_s,
                          u"--title"_s, Document::mark(number),
                          u"-o"_s,      trouble == Trouble::FullDevice ? u"/dev/full"_s : output};
    if (trouble == Trouble::FullDevice)
        arguments << u"--force"_s;
    if (trouble == Trouble::NoRoom)
        program.setChildProcessModifier([] {
            const rlimit limit{4096, 4096};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
    program.start(m_program, arguments);
    if (!program.waitForStarted())
        return u"can't be started"_s;
    QFile invoice(m_sources + u"/examples/invoice.html"_s);
    if (invoice.open(QIODevice::ReadOnly))
        program.write(invoice.readAll() + Document::mark(number).toLatin1());
    program.closeWriteChannel();
    if (trouble == Trouble::Interrupted || trouble == Trouble::Killed) {
        std::this_thread::sleep_for(std::chrono::milliseconds(m_random() % 400));
        ::kill(pid_t(program.processId()), trouble == Trouble::Killed ? SIGKILL : SIGINT);
    }
    constexpr int patience = 60'000;
    if (!program.waitForFinished(patience)) {
        program.kill();
        program.waitForFinished();
        return u"hangs"_s;
    }
    const bool isThere = QFile::exists(output);
    QString complaint;
    if (trouble == Trouble::None || isThere) {
        QFile file(output);
        const auto marks = file.open(QIODevice::ReadOnly) ? PDFMarks::of(file.readAll()) : std::nullopt;
        if (!marks || marks->pages != 1 || marks->text != QList<int>{number} ||
            marks->title != QList<int>{number})
            complaint = u"no PDF, half of one, or another's: exit code %1, %2"_s.arg(program.exitCode())
                            .arg(QString::fromUtf8(program.readAllStandardError()));
    } else if ((trouble == Trouble::FullDevice || trouble == Trouble::NoRoom) &&
               (program.exitStatus() != QProcess::NormalExit || program.exitCode() == 0)) {
        complaint = u"says nothing of a full disk: exit code %1"_s.arg(program.exitCode());
    }
    QFile::remove(output);
    QDir folder(m_folder.path());
    for (const QString &left : folder.entryList(QDir::Files | QDir::Hidden)) {
        complaint = u"leaves "_s + left;
        folder.remove(left);
    }
    return complaint;
}
