// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QString>
#include <list>
#include <mutex>
#include <optional>

/// Values that can be made again, kept as long as there is room: beyond its limit a cache drops those that
/// were not asked for longest.
///
/// All operations are atomic; any thread. Values are copies and are destroyed outside the cache's lock.
template <typename Key, typename Value>
class NSCache {
public:
    /// \param countLimit  the largest number of values; 0 stands for any number
    explicit NSCache(const QString &name = {}, qsizetype countLimit = 0)
        : m_name(name), m_countLimit(countLimit) {}
    NSCache(const NSCache &) = delete;
    NSCache &operator=(const NSCache &) = delete;

    QString name() const { return m_name; }
    qsizetype countLimit() const { return m_countLimit; }

    /// The value stored under the key; nothing if it was never stored or has been dropped.
    std::optional<Value> objectForKey(const Key &key) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_index.constFind(key);
        if (found == m_index.constEnd())
            return std::nullopt;
        m_entries.splice(m_entries.begin(), m_entries, *found);
        return (*found)->second;
    }

    /// Stores a value in place of an earlier one.
    void setObject(const Value &object, const Key &key) {
        Entries dropped, added;
        added.emplace_back(key, object);
        const std::lock_guard lock(m_mutex);
        drop(key, dropped);
        m_index.insert(key, added.begin());
        m_entries.splice(m_entries.begin(), added);
        if (m_countLimit > 0 && m_index.size() > m_countLimit)
            drop(Key(m_entries.back().first), dropped);
    }

    void removeObjectForKey(const Key &key) {
        Entries dropped;
        const std::lock_guard lock(m_mutex);
        drop(key, dropped);
    }

    void removeAllObjects() {
        Entries dropped;
        const std::lock_guard lock(m_mutex);
        m_index.clear();
        dropped.swap(m_entries);
    }

private:
    using Entries = std::list<std::pair<Key, Value>>;

    void drop(const Key &key, Entries &dropped) {
        const auto found = m_index.constFind(key);
        if (found == m_index.constEnd())
            return;
        dropped.splice(dropped.begin(), m_entries, *found);
        m_index.erase(found);
    }

    const QString m_name;
    const qsizetype m_countLimit;
    std::mutex m_mutex;
    Entries m_entries; ///< the one that was asked for last is first
    QHash<Key, typename Entries::iterator> m_index;
};
