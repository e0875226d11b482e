// SPDX-License-Identifier: MIT
#include "platform/values/ObserverCalls.h"

namespace zr {

thread_local constinit ObserverCalls::Running *ObserverCalls::Running::innermost = nullptr;

void ObserverCalls::end() {
    int own = 0;
    for (const Running *running = Running::innermost; running; running = running->m_outer)
        own += &running->m_calls == this ? oneCall : 0;
    int state = m_state.fetch_or(ended) | ended;
    while ((state & ~ended) > own) {
        m_state.wait(state);
        state = m_state.load();
    }
}

} // namespace zr
