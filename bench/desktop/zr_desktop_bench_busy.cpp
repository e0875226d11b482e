// SPDX-License-Identifier: MIT
// Converts documents in the window, and writes how long events took meanwhile.
//
// usage: zr_desktop_bench_busy DOCUMENTS
//
// It writes JSON: of all events that the main thread handled, the longest by the clock and by the thread's processor time, in
// milliseconds, the 99.9th percentile, and how many took over 50 ms; and the longest gap between two beats of a timer of 5 ms,
// which also holds what else the machine was doing.
#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/zrpdf-desktop/window/MainWindowController.h"
#include "tools/zrpdf-desktop/window/Program.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <unistd.h>
#include <vector>

namespace {

double processorTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

class Measured : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject *receiver, QEvent *event) override {
        if (!isMeasuring || m_depth > 0)
            return QApplication::notify(receiver, event);
        ++m_depth;
        const int type = event->type();
        QElapsedTimer clock;
        clock.start();
        const double before = processorTime();
        const bool result = QApplication::notify(receiver, event);
        processor.push_back(processorTime() - before);
        wall.push_back(double(clock.nsecsElapsed()) / 1e6);
        if (wall.back() > longest) {
            longest = wall.back();
            longestType = type;
        }
        --m_depth;
        return result;
    }

    bool isMeasuring = false;
    double longest = 0;
    int longestType = 0;
    std::vector<double> wall, processor;

private:
    int m_depth = 0;
};

double percentile(std::vector<double> times, double share) {
    std::sort(times.begin(), times.end());
    return times.empty() ? 0 : times[std::size_t(double(times.size() - 1) * share)];
}

} // namespace

int main(int argc, char **argv) {
    Measured application(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 200;
    Program::prepare();
    MainWindowController program;
    QElapsedTimer beat, whole;
    double gap = 0;
    int failed = 0;
    QTimer heart;
    heart.setTimerType(Qt::PreciseTimer);
    heart.setInterval(5);
    QObject::connect(&heart, &QTimer::timeout, [&] {
        gap = std::max(gap, double(beat.nsecsElapsed()) / 1e6);
        beat.start();
    });
    QObject::connect(&program, &MainWindowController::started, [&] {
        QList<Source> sources;
        for (int i = 0; i < count; ++i)
            sources << Source::withMarkup(
                QStringLiteral("<!DOCTYPE html><h1>Document %1</h1>").arg(i) +
                QStringLiteral("<p>Words of a page that is neither long nor short.</p>").repeated(50));
        application.isMeasuring = true;
        whole.start();
        beat.start();
        heart.start();
        // As a drop would.
        QTimer::singleShot(0, &program, [&program, sources] { program.queueController().add(sources); });
        QObject::connect(program.queue(), &ConversionQueue::progressed, &program, [&] {
            if (program.queue()->waiting() == 0 && !program.history()->all().isEmpty())
                QCoreApplication::quit();
        });
    });
    program.show();
    Measured::exec();
    application.isMeasuring = false;
    for (const Conversion *conversion : program.history()->all())
        failed += conversion->state() != Conversion::State::Done;
    const auto isSlow = [](double time) { return time > 50; };
    std::printf(
        "{\"documents\": %d, \"failed\": %d, \"seconds\": %.2f, \"events\": %zu, \"longest\": %.2f, "
        "\"longest_type\": %d, \"longest_processor\": %.2f, \"percentile_999\": %.2f, \"over_50\": %ld, "
        "\"gap\": %.2f}\n",
        count, failed, double(whole.elapsed()) / 1e3, application.wall.size(), application.longest,
        application.longestType, percentile(application.processor, 1), percentile(application.wall, 0.999),
        long(std::count_if(application.wall.begin(), application.wall.end(), isSlow)), gap);
    std::fflush(stdout);
    zr::XPCActivator::shared().stop();
    ::_exit(failed > 0);
}
