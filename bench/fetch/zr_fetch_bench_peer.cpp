// SPDX-License-Identifier: MIT
// What bench/fetch/run measures: fetches all URLs of standard input, a line each, through the kit's queue.
//
// usage: zr_fetch_bench_peer [FILE | --times N]
// with a file, its only URL is downloaded into it; with a number, all URLs are fetched so many times, one
// time after the other; prints the seconds that the fetches took, and by how many kilobytes the peak of
// memory had grown after the first time and at the end
#include "ZRKit/Network/ZRFetchOperation.h"
#include "platform/files/NSFileHandle.h"

#include <QFile>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>

namespace {

long peakInKilobytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmHWM:") + 6).trimmed().split(' ').first().toLong();
}

} // namespace

int main(int argc, char **argv) {
    const QByteArrayView option(argc > 1 ? argv[1] : "");
    const int times = option == "--times" && argc > 2 ? std::atoi(argv[2]) : 1;
    const QString file = option != "--times" ? QString::fromLocal8Bit(option) : QString();
    std::vector<QUrl> urls;
    for (std::string line; std::getline(std::cin, line);)
        urls.emplace_back(QString::fromStdString(line));
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t done = 0;
    std::size_t failed = 0;
    const auto completed = [&](const ZRFetchOperation::Operation &operation) {
        const std::lock_guard lock(mutex);
        failed += !operation->OK();
        if (++done == urls.size())
            changed.notify_one();
    };
    // The thread and the queue are there before the clock starts, as memory is counted from here.
    ZRFetchOperation::networkRequestThread();
    const long idle = peakInKilobytes();
    long first = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (int time = 0; time < times; ++time) {
        for (const QUrl &url : urls) {
            const auto operation = std::make_shared<ZRFetchOperation>(url);
            if (!file.isEmpty())
                operation->setDownloadFileHandle(NSFileHandle::fileHandleForWritingAtPath(file));
            operation->fetchWithBlock(completed);
        }
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return done == urls.size(); });
        done = 0;
        if (time == 0)
            first = peakInKilobytes() - idle;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    std::printf("%.6f %ld %ld\n", elapsed.count(), first, peakInKilobytes() - idle);
    if (failed > 0)
        std::fprintf(stderr, "%zu of %zu fetches failed\n", failed, urls.size() * std::size_t(times));
    return failed > 0 ? 1 : 0;
}
