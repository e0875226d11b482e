// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace zr {

/// The threads that every operation queue of the process runs on: a QThreadPool that is told of threads which only
/// wait, so that others take their place. What blocks in other ways (locks, system calls) isn't told of; that is why
/// there may be far more threads than processors. Idle ones end after a while. Any thread may use it.
namespace WorkerPool {

/// How many threads may run at once, those that wait not counted.
constexpr int mostThreads = 64;

/// Runs the block, which must not raise; blocks begin in the order of the calls, as far as threads are free.
void run(std::function<void()> block);

/// While it lives, the calling thread waits; if it is one of the pool, another one may run instead.
class Waiting {
public:
    Waiting();
    ~Waiting();
    Waiting(const Waiting &) = delete;
    Waiting &operator=(const Waiting &) = delete;
};

} // namespace WorkerPool

} // namespace zr
