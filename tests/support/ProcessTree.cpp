// SPDX-License-Identifier: MIT
#include "tests/support/ProcessTree.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

namespace ProcessTree {

namespace {

std::string read(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// State letter and parent, from /proc/PID/stat; the command in brackets may itself hold brackets.
struct Stat {
    char state = 'X';
    pid_t parent = 0;
};

Stat statOf(pid_t pid) {
    const std::string text = read("/proc/" + std::to_string(pid) + "/stat");
    const auto bracket = text.rfind(')');
    Stat stat;
    if (bracket != std::string::npos)
        std::istringstream(text.substr(bracket + 1)) >> stat.state >> stat.parent;
    return stat;
}

bool runs(pid_t pid) {
    const char state = statOf(pid).state;
    return state != 'Z' && state != 'X';
}

} // namespace

std::vector<Process> below(pid_t root) {
    std::multimap<pid_t, pid_t> children;
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (!std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c); }))
            continue;
        const pid_t pid = std::stoi(name);
        children.emplace(statOf(pid).parent, pid);
    }
    std::vector<Process> found;
    std::vector<pid_t> queue{root};
    while (!queue.empty()) {
        const auto [first, last] = children.equal_range(queue.back());
        queue.pop_back();
        for (auto child = first; child != last; ++child) {
            queue.push_back(child->second);
            if (!runs(child->second))
                continue;
            std::string command = read("/proc/" + std::to_string(child->second) + "/cmdline");
            std::replace(command.begin(), command.end(), '\0', ' ');
            found.push_back({child->second, command});
        }
    }
    return found;
}

std::vector<Process> alive(const std::vector<Process> &list) {
    std::vector<Process> left;
    std::copy_if(list.begin(), list.end(), std::back_inserter(left),
                 [](const Process &process) { return runs(process.pid); });
    return left;
}

long long memory(pid_t pid) {
    std::istringstream text(read("/proc/" + std::to_string(pid) + "/smaps_rollup"));
    long long kilobytes = 0;
    for (std::string line; std::getline(text, line);) {
        for (const std::string field : {"Pss_Anon:", "Pss_Shmem:"}) {
            if (line.rfind(field, 0) == 0)
                kilobytes += std::stoll(line.substr(field.size()));
        }
    }
    return kilobytes * 1024;
}

long long memory(const std::vector<Process> &list) {
    long long total = 0;
    for (const Process &process : list)
        total += memory(process.pid);
    return total;
}

bool waitUntil(const std::function<bool()> &condition, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace ProcessTree
