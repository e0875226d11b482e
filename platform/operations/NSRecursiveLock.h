// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <mutex>

/// A lock that its thread may take again, and gives back as often; with a name for debugging. For any thread, and for
/// std::lock_guard.
class NSRecursiveLock {
public:
    void lock() { m_mutex.lock(); }
    bool try_lock() { return m_mutex.try_lock(); }
    void unlock() { m_mutex.unlock(); }

    /// nil until it is set. Set it before other threads use the lock.
    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

private:
    std::recursive_mutex m_mutex;
    QString m_name;
};
