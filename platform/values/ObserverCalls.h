// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace zr {

/// The calls of one observer that are under way, on whatever threads, so that ending them can wait for them.
/// The caller of run() keeps this alive until it has returned.
class ObserverCalls {
public:
    ObserverCalls() = default;
    ObserverCalls(const ObserverCalls &) = delete;
    ObserverCalls &operator=(const ObserverCalls &) = delete;

    /// Runs the call, unless they have been ended.
    template <typename Call>
    void run(Call call) {
        const Running running(*this);
        if (running.isAllowed())
            call();
    }

    /// Lets no further call begin, and waits for those on other threads. Those of this very thread are
    /// further down its stack and can't be waited for.
    void end();
    /// Lets no further call begin, without waiting.
    void refuse() { m_state.fetch_or(ended); }

private:
    static constexpr int ended = 1;
    static constexpr int oneCall = 2;

    /// A call on this thread, from its beginning to its end.
    class Running {
    public:
        explicit Running(ObserverCalls &calls) : m_calls(calls), m_outer(innermost) {
            m_allowed = !(calls.m_state.fetch_add(oneCall) & ended);
            innermost = this;
        }
        ~Running() {
            innermost = m_outer;
            if (m_calls.m_state.fetch_sub(oneCall) & ended)
                m_calls.m_state.notify_all();
        }
        Running(const Running &) = delete;
        Running &operator=(const Running &) = delete;

        bool isAllowed() const { return m_allowed; }

    private:
        friend class ObserverCalls;
        static thread_local constinit Running *innermost;

        ObserverCalls &m_calls;
        Running *const m_outer;
        bool m_allowed = false;
    };

    /// Whether they have ended, and how many are under way.
    std::atomic<int> m_state{0};
};

} // namespace zr
