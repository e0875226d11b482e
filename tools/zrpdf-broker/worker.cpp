// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/Worker.h"
#include "platform/base/WriteAll.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/converter/Events.h"
#include "tools/converter/ServicePool.h"
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf-broker/WorkerOptions.h"
#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Interrupts.h"

#include <algorithm>
#include <systemd/sd-daemon.h>
#include <unistd.h>

using namespace zr;

namespace {

int logDescriptor = STDERR_FILENO;

void writeLine(const QByteArray &text) {
    writeAll(logDescriptor, "zrpdf-worker: " + text + '\n');
}

int print(const QByteArray &text) {
    return printText(text, "zrpdf-worker", int(ExitCode::UnwritableOutput));
}

/// The services log to standard error, which leads nowhere from here on unless that is wanted; this program's own lines
/// go where it led.
void takeLog(bool servicesToo) {
    logDescriptor = takeStandardError(servicesToo);
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { writeLine(text.toUtf8()); });
}

/// Ends the process; the services end with it.
[[noreturn]] void leave(int status) {
    XPCActivator::shared().stop();
    ::_exit(status);
}

int work(const WorkerOptions &options) {
    Events events;
    Interrupts::install(events.descriptor());
    bool isIdle = false;
    bool isUnavailable = false;
    ServicePool pool({.instances = options.instances + options.urgentInstances});
    const auto worker = std::make_shared<Worker>(options, pool, [&](Worker::Event event) {
        events.post([&, event] {
            isIdle = isIdle || event == Worker::Event::Idle;
            isUnavailable = isUnavailable || event == Worker::Event::Unavailable;
            if (event == Worker::Event::Connected)
                ::sd_notify(0, "READY=1");
        });
    });
    worker->start();
    while (Interrupts::signal() == 0 && !isUnavailable)
        events.run(std::chrono::steady_clock::now() + std::chrono::hours(1));
    ::sd_notify(0, "STOPPING=1");
    worker->stop();
    // What is begun is finished, unless the broker can't be told of it.
    constexpr auto grace = std::chrono::seconds(30);
    const auto until = std::chrono::steady_clock::now() + options.timeout + grace;
    while (!isIdle && std::chrono::steady_clock::now() < until)
        events.run(until);
    worker->close();
    // What was told last.
    events.run(std::chrono::steady_clock::now());
    if (isUnavailable) {
        writeLine("the conversion service can't be started");
        return int(ExitCode::LostService);
    }
    return isIdle ? int(ExitCode::Success) : int(ExitCode::FailedConversion);
}

} // namespace

int main(int count, char **values) {
    fillStandardStreams();
    const QList<QByteArray> arguments(values + std::min(count, 1), values + count);
    QByteArray problem;
    const WorkerOptions options = WorkerOptions::parse(arguments, &problem);
    if (!problem.isEmpty()) {
        writeLine(problem + " (see zrpdf worker --help)");
        return int(ExitCode::BadUsage);
    }
    if (options.action == WorkerOptions::Action::Help)
        return print(WorkerOptions::help());
    if (options.action == WorkerOptions::Action::Version)
        return print("zrpdf-worker " ZR_VERSION "\n");
    takeLog(options.verbose);
    if (XPCActivator::executable(ServicePool::defaultService()).isEmpty()) {
        writeLine("the conversion service is not installed");
        return int(ExitCode::LostService);
    }
    leave(work(options));
}
