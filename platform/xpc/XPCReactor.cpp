// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCReactor.h"

#include "platform/xpc/XPCThread.h"

#include <array>
#include <sys/epoll.h>

using namespace zr;

XPCReactor &XPCReactor::shared() {
    static NeverDestroyed<XPCReactor> reactor;
    return *reactor;
}

XPCReactor::XPCReactor() : m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {
    XPCThreadDetach("xpc-reactor", [this] { run(); });
}

quint64 XPCReactor::add(int descriptor, quint32 events, Handler handler) {
    const std::lock_guard lock(m_mutex);
    epoll_event event{};
    event.events = events;
    event.data.u64 = ++m_lastToken;
    m_handlers.emplace(m_lastToken, std::make_shared<Handler>(std::move(handler)));
    if (::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
        m_handlers.erase(m_lastToken);
        return 0;
    }
    return m_lastToken;
}

void XPCReactor::modify(quint64 token, int descriptor, quint32 events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = token;
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_MOD, descriptor, &event);
}

void XPCReactor::remove(quint64 token, int descriptor) {
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, descriptor, nullptr);
    std::shared_ptr<Handler> handler;
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_handlers.find(token); found != m_handlers.end()) {
        handler = std::move(found->second);
        m_handlers.erase(found);
    }
}

void XPCReactor::run() {
    std::array<epoll_event, 32> events{};
    for (;;) {
        const int count = ::epoll_wait(m_epoll.get(), events.data(), int(events.size()), -1);
        for (int i = 0; i < count; ++i) {
            std::shared_ptr<Handler> handler;
            {
                const std::lock_guard lock(m_mutex);
                if (const auto found = m_handlers.find(events[i].data.u64); found != m_handlers.end())
                    handler = found->second;
            }
            if (handler)
                (*handler)(events[i].events);
        }
    }
}
