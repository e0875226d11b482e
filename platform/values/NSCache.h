// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QString>
#include <list>
#include <mutex>
#include <optional>

/// Values that can be made again, kept as long as there is room: beyond its limits a cache drops those that
/// were not asked for longest.
///
/// All operations are atomic; any thread. Values are copies and are destroyed outside the cache's lock.
template <typename Key, typename Value>
class NSCache {
public:
    /// Without limits.
    NSCache() = default;
    explicit NSCache(const QString &name, qsizetype countLimit = 0)
        : m_name(name), m_countLimit(countLimit) {}
    NSCache(const NSCache &) = delete;
    NSCache &operator=(const NSCache &) = delete;

    QString name() const {
        const std::lock_guard lock(m_mutex);
        return m_name;
    }
    void setName(const QString &name) {
        const std::lock_guard lock(m_mutex);
        m_name = name;
    }

    /// The largest number of values; 0 stands for any number.
    qsizetype countLimit() const {
        const std::lock_guard lock(m_mutex);
        return m_countLimit;
    }
    void setCountLimit(qsizetype limit) {
        Entries dropped;
        const std::lock_guard lock(m_mutex);
        m_countLimit = limit;
        evict(dropped);
    }

    /// The largest sum of costs; 0 stands for any sum.
    qsizetype totalCostLimit() const {
        const std::lock_guard lock(m_mutex);
        return m_totalCostLimit;
    }
    void setTotalCostLimit(qsizetype limit) {
        Entries dropped;
        const std::lock_guard lock(m_mutex);
        m_totalCostLimit = limit;
        evict(dropped);
    }

    /// The value stored under the key; nothing if it was never stored or has been dropped.
    std::optional<Value> objectForKey(const Key &key) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_index.constFind(key);
        if (found == m_index.constEnd())
            return std::nullopt;
        m_entries.splice(m_entries.begin(), m_entries, *found);
        return (*found)->value;
    }

    /// Stores a value in place of an earlier one. One that costs more than the limit isn't kept.
    void setObject(const Value &object, const Key &key, qsizetype cost = 0) {
        Entries dropped;
        Entries added;
        added.push_back({key, object, cost});
        const std::lock_guard lock(m_mutex);
        drop(key, dropped);
        m_index.insert(key, added.begin());
        m_entries.splice(m_entries.begin(), added);
        m_totalCost += cost;
        evict(dropped);
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
        m_totalCost = 0;
    }

private:
    struct Entry {
        Key key;
        Value value;
        qsizetype cost;
    };
    using Entries = std::list<Entry>;

    void drop(const Key &key, Entries &dropped) {
        const auto found = m_index.constFind(key);
        if (found == m_index.constEnd())
            return;
        m_totalCost -= (*found)->cost;
        dropped.splice(dropped.begin(), m_entries, *found);
        m_index.erase(found);
    }
    void evict(Entries &dropped) {
        while (!m_entries.empty() && ((m_countLimit > 0 && m_index.size() > m_countLimit) ||
                                      (m_totalCostLimit > 0 && m_totalCost > m_totalCostLimit)))
            drop(m_entries.back().key, dropped);
    }

    mutable std::mutex m_mutex;
    QString m_name;
    qsizetype m_countLimit = 0;
    qsizetype m_totalCostLimit = 0;
    qsizetype m_totalCost = 0;
    Entries m_entries; ///< the one that was asked for last is first
    QHash<Key, typename Entries::iterator> m_index;
};
