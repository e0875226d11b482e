// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace zr {

/// SIGTERM and SIGINT, as requests to stop. One a process.
namespace StopSignal {

/// Takes the signals over. Before any other thread is started.
void install();
/// Waits for the next one; false if the time was up before.
bool wait(std::chrono::milliseconds time);

} // namespace StopSignal

} // namespace zr
