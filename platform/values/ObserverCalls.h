// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

/// The calls of one observer that are under way, on whatever threads, so that ending them can wait for them.
class ObserverCalls {
public:
    /// Runs the call, unless they have been ended.
    template <typename Call>
    void run(Call call) {
        if (!enter())
            return;
        const Leave leave{*this};
        call();
    }

    /// Lets no further call begin, and waits for those on other threads. Those of this very thread are
    /// further down its stack and can't be waited for.
    void end();

private:
    struct Leave {
        ObserverCalls &calls;
        ~Leave() { calls.leave(); }
    };

    bool enter();
    void leave();

    std::mutex m_mutex;
    std::condition_variable m_left;
    std::vector<std::thread::id> m_callers;
    bool m_ended = false;
};
