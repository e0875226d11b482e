// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// What Linux's /proc says of processes, for tests that kill them and count what is left.
namespace ProcessTree {

struct Process {
    pid_t pid = 0;
    std::string command; ///< its command line, blanks between the arguments
};

/// All processes below one, itself left out; zombies too are left out.
std::vector<Process> below(pid_t root);

/// The processes of a list that still run.
std::vector<Process> alive(const std::vector<Process> &list);

/// What the processes hold in memory of their own, in bytes: anonymous and shared memory, each page that
/// several share counted once. Pages of mapped files are left out: their share changes with who else maps
/// them.
long long memory(const std::vector<Process> &list);
long long memory(pid_t pid);

/// Asks every few milliseconds until the condition holds. \return false when it still doesn't at the deadline
bool waitUntil(const std::function<bool()> &condition,
               std::chrono::milliseconds patience = std::chrono::seconds(20));

} // namespace ProcessTree
