// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>

/// Waits, but not if a stop is requested. \return false if it is
inline bool waitFor(std::chrono::milliseconds time, const std::stop_token &stop) {
    std::mutex mutex;
    std::condition_variable_any condition;
    std::unique_lock lock(mutex);
    condition.wait_for(lock, stop, time, [] { return false; });
    return !stop.stop_requested();
}
