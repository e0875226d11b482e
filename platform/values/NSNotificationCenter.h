// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSelector.h"

#include <QObject>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

/// What observers are told: the notification's name, its sender (any value, nil for none) and details.
class NSNotification {
    Q_GADGET
    Q_PROPERTY(QString name READ name)
    Q_PROPERTY(QVariant object READ object)
    Q_PROPERTY(QVariantMap userInfo READ userInfo)

public:
    NSNotification() = default;
    explicit NSNotification(const QString &name, const QVariant &object = {},
                            const QVariantMap &userInfo = {})
        : m_name(name), m_object(object), m_userInfo(userInfo) {}

    QString name() const { return m_name; }
    QVariant object() const { return m_object; }
    QVariantMap userInfo() const { return m_userInfo; }

private:
    QString m_name;
    QVariant m_object;
    QVariantMap m_userInfo;
};

Q_DECLARE_METATYPE(NSNotification)

/// Tells observers of notifications by name, on the thread that posts and before posting returns, in the
/// order in which they were added. Any thread; observers may add, remove and post too.
///
/// Observers aren't kept alive; one that dies is removed. If others may post while an observer dies, its own
/// destructor must remove it first. A registration for a sender goes with the sender.
class NSNotificationCenter {
public:
    using Block = std::function<void(const NSNotification &)>;

    NSNotificationCenter();
    ~NSNotificationCenter();
    NSNotificationCenter(const NSNotificationCenter &) = delete;
    NSNotificationCenter &operator=(const NSNotificationCenter &) = delete;

    static NSNotificationCenter &defaultCenter();

    /// Sends the observer the message at each notification, with the notification if it takes an argument.
    /// nil as the name stands for every name, nil as the sender for every sender; objects are compared as
    /// objects, other senders by NSObjectRuntime::isEqual(). An observer added twice is told twice. Raises
    /// NSInvalidArgumentException without an observer or selector; an observer that doesn't respond to the
    /// message raises when it is told.
    void addObserver(QObject *observer, const NSSelector &selector, const QString &name,
                     const QVariant &object = {});
    /// The same with a block; it is told until the object returned here is given to removeObserver() or the
    /// center is destroyed. The center owns the object.
    QObject *addObserverForName(const QString &name, const QVariant &object, Block block);

    /// Removes all of the observer's registrations, or those for this name and sender; nil stands for all.
    /// Once it returns, no other thread is telling the observer: don't hold a lock that the observer takes.
    void removeObserver(QObject *observer, const QString &name = {}, const QVariant &object = {});

    /// Tells every observer, even if one raises; the first exception then goes on to the caller.
    void postNotification(const NSNotification &notification);
    void postNotificationName(const QString &name, const QVariant &object = {},
                              const QVariantMap &userInfo = {});

private:
    struct Registration;
    using Registrations = std::vector<std::shared_ptr<Registration>>;
    struct NameHash {
        size_t operator()(const QString &name) const { return qHash(name); }
    };

    void add(const std::shared_ptr<Registration> &registration);
    Registrations take(const std::function<bool(const Registration &)> &matches);
    void forget(const QObject *dying);

    std::mutex m_mutex;
    quint64 m_added = 0;
    Registrations m_ofAnyName;
    std::unordered_map<QString, Registrations, NameHash> m_byName;
    std::unordered_map<const QObject *, QMetaObject::Connection> m_watched;
    std::unordered_map<const QObject *, std::unique_ptr<QObject>> m_tokens;
};
