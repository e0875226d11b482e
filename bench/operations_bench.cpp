// SPDX-License-Identifier: MIT
// Ten thousand small blocks through an operation queue, beside Qt's thread pool, which knows no dependencies,
// priorities of waiting work, cancelling, suspending or state announcements.
#include "ZRKit/Operations/NSOperationQueue+ZRKit.h"

#include <QThreadPool>
#include <atomic>
#include <benchmark/benchmark.h>

namespace {

constexpr int blocks = 10000;

void threadPool(benchmark::State &state) {
    QThreadPool pool;
    std::atomic<int> ran{0};
    for (auto _ : state) {
        for (int i = 0; i < blocks; ++i)
            pool.start([&] { ran.fetch_add(1, std::memory_order_relaxed); });
        pool.waitForDone();
    }
    state.SetItemsProcessed(ran);
}

void operationQueue(benchmark::State &state) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(int(state.range(0)));
    std::atomic<int> ran{0};
    for (auto _ : state) {
        for (int i = 0; i < blocks; ++i)
            queue.addOperationWithBlock([&] { ran.fetch_add(1, std::memory_order_relaxed); });
        queue.waitUntilAllOperationsAreFinished();
    }
    state.SetItemsProcessed(ran);
}

void kitBlocks(benchmark::State &state) {
    ZROperationQueue queue;
    std::atomic<int> ran{0};
    for (auto _ : state) {
        for (int i = 0; i < blocks; ++i)
            ZRKit::addBlock(queue, [&](const auto &) { ran.fetch_add(1, std::memory_order_relaxed); });
        queue.waitUntilAllOperationsAreFinished();
    }
    state.SetItemsProcessed(ran);
}

} // namespace

BENCHMARK(threadPool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(operationQueue)->ArgName("limit")->Arg(-1)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(kitBlocks)->Unit(benchmark::kMillisecond)->UseRealTime();
