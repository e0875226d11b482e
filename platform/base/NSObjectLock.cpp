// SPDX-License-Identifier: MIT
#include "platform/base/NSObjectLock.h"

#include <array>
#include <cstdint>
#include <map>
#include <mutex>

namespace {

struct Lock {
    std::recursive_mutex mutex;
    int users = 0;
};

using Locks = std::map<const QObject *, Lock>;

/// Locks in use are spread over several tables, so that threads which lock different objects seldom meet.
struct Table {
    std::mutex mutex;
    Locks locks;
    Locks::node_type spare; ///< the last one that went out of use
};

Table &tableOf(const QObject *object) {
    static auto *tables = new std::array<Table, 16>;
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    return (*tables)[(address >> 6 ^ address >> 11) % tables->size()];
}

} // namespace

NSObjectLock::NSObjectLock(const QObject *object) : m_object(object) {
    if (!object)
        return;
    Table &table = tableOf(object);
    std::unique_lock access(table.mutex);
    auto at = table.locks.find(object);
    if (at == table.locks.end() && !table.spare.empty()) {
        table.spare.key() = object;
        at = table.locks.insert(std::move(table.spare)).position;
    }
    Lock &lock = at == table.locks.end() ? table.locks[object] : at->second;
    ++lock.users;
    access.unlock();
    lock.mutex.lock();
}

NSObjectLock::~NSObjectLock() {
    if (!m_object)
        return;
    Table &table = tableOf(m_object);
    const std::lock_guard access(table.mutex);
    const auto at = table.locks.find(m_object);
    at->second.mutex.unlock();
    if (--at->second.users == 0)
        table.spare = table.locks.extract(at);
}
