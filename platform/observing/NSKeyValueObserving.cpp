// SPDX-License-Identifier: MIT
#include "platform/observing/NSKeyValueObserving.h"

#include "platform/base/FirstException.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/observing/NotifyRelay.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/values/ObserverCalls.h"
#include "platform/values/ValueKind.h"

#include <QMetaObject>
#include <QMetaProperty>
#include <QObject>
#include <QStringList>
#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace zr;

namespace {

class ObservedKey;

/// One addObserver() call.
struct Registration {
    NSKeyValueObserver *observer;
    QObject *object;
    QString keyPath;
    QStringList keys;
    NSKeyValueObservingOptions options;
    void *context;
    ObserverCalls calls;

    bool wants(NSKeyValueObservingOption option) const { return options & option; }
    bool hasPath() const { return keys.size() > 1; }

    /// Some key of the chain announces its changes by a signal, so that old values must be known beforehand.
    std::atomic<bool> isAutomatic = false;
    /// The chain isn't empty: it has not been taken back, and its object lives.
    std::atomic<bool> isLinked = false;

    /// The value that the observer last heard of.
    QVariant known() {
        const std::lock_guard lock(mutex);
        return m_known;
    }
    /// Takes the value for the one before, which it gives.
    QVariant exchangeKnown(QVariant value) {
        const std::lock_guard lock(mutex);
        m_known.swap(value);
        return value;
    }

    /// Guards the rest.
    std::mutex mutex;
    /// Where it listens now: for each key of the path, as far as objects lead.
    std::vector<std::shared_ptr<ObservedKey>> chain;
    /// An object on the path has died, and what led to it may still point there.
    bool isBroken = false;

private:
    QVariant m_known;
};

/// A registration, and at which key of its path it listens here.
struct Link {
    std::shared_ptr<Registration> registration;
    std::size_t level;
};
/// The links of one key. They keep it, so that who holds them may go on when its object has died.
struct Links {
    std::shared_ptr<ObservedKey> key;
    std::vector<Link> all;
};

/// One key of one object, from the time it is first observed until the object dies.
class ObservedKey : public std::enable_shared_from_this<ObservedKey> {
public:
    ObservedKey(QObject *observed, const QString &name) : object(observed), key(name) {
        const QMetaObject *meta = object->metaObject();
        int index = meta->indexOfProperty(key.toUtf8().constData());
        if (index < 0)
            index = meta->indexOfProperty(
                (QStringLiteral("is") + key.left(1).toUpper() + key.mid(1)).toUtf8().constData());
        if (index >= 0)
            m_property = meta->property(index);
    }

    QObject *const object;
    const QString key;

    bool isAutomatic() const { return m_property.hasNotifySignal(); }

    QVariant value() const {
        if (m_property.isValid())
            return m_property.read(object);
        try {
            return NSKeyValueCoding::valueForKey(object, key);
        } catch (const NSException &) {
            return {};
        }
    }

    /// nullptr without any.
    std::shared_ptr<const Links> links() const {
        const std::lock_guard lock(m_mutex);
        return m_links;
    }

    void add(const Link &link) {
        const std::lock_guard lock(m_mutex);
        if (m_gone)
            return;
        auto links = std::make_shared<Links>(m_links ? *m_links : Links{shared_from_this(), {}});
        links->all.push_back(link);
        replace(std::move(links));
    }

    void remove(const Registration *registration, std::size_t level) {
        std::shared_ptr<const Links> before; // released after the lock: values of others may end with it
        const std::lock_guard lock(m_mutex);
        before = m_links;
        if (!m_links)
            return;
        auto links = std::make_shared<Links>(*m_links);
        auto &all = links->all;
        all.erase(std::remove_if(all.begin(), all.end(),
                                 [&](const Link &link) {
                                     return link.registration.get() == registration && link.level == level;
                                 }),
                  all.end());
        replace(std::move(links));
    }

    /// The object dies: gives the links that were left.
    std::shared_ptr<const Links> end() {
        const std::lock_guard lock(m_mutex);
        m_gone = true;
        m_relay.reset();
        return std::exchange(m_links, nullptr);
    }

private:
    void replace(std::shared_ptr<Links> links);

    QMetaProperty m_property;
    mutable std::mutex m_mutex; ///< guards the rest
    /// Replaced, never changed, so that those who walk over it need no lock.
    std::shared_ptr<const Links> m_links;
    std::unique_ptr<NotifyRelay> m_relay;
    bool m_gone = false;
};

/// The keys of all observed objects.
struct Table {
    std::mutex mutex;
    std::unordered_map<const QObject *, std::vector<std::shared_ptr<ObservedKey>>> objects;
};
Table &table() {
    static NeverDestroyed<Table> all;
    return *all;
}

/// The values from before the changes that this thread is in the middle of.
struct PendingChange {
    const QObject *object = nullptr;
    std::shared_ptr<ObservedKey> observed;
    std::vector<std::pair<std::shared_ptr<Registration>, QVariant>> olds;
};
thread_local std::vector<PendingChange> pendingChanges;

/// The table's mutex is held.
std::shared_ptr<ObservedKey> listed(const QObject *object, const QString &key) {
    const auto at = table().objects.find(object);
    if (at == table().objects.end())
        return nullptr;
    const auto &keys = at->second;
    const auto found =
        std::find_if(keys.begin(), keys.end(), [&](const auto &each) { return each->key == key; });
    return found == keys.end() ? nullptr : *found;
}

std::shared_ptr<ObservedKey> find(const QObject *object, const QString &key) {
    const std::lock_guard lock(table().mutex);
    return listed(object, key);
}

/// Takes the registration from the keys of its path from a level on. Its mutex is held.
void unlink(Registration &registration, std::size_t level) {
    while (registration.chain.size() > level) {
        registration.chain.back()->remove(&registration, registration.chain.size() - 1);
        registration.chain.pop_back();
    }
    registration.isLinked = level > 0 && !registration.chain.empty();
}

void forget(const QObject *object) {
    std::vector<std::shared_ptr<ObservedKey>> keys;
    {
        const std::lock_guard lock(table().mutex);
        if (const auto at = table().objects.find(object); at != table().objects.end()) {
            keys = std::move(at->second);
            table().objects.erase(at);
        }
    }
    std::erase_if(pendingChanges, [&](const PendingChange &change) { return change.object == object; });
    for (const auto &key : keys) {
        const auto links = key->end();
        if (!links)
            continue;
        for (const auto &[registration, level] : links->all) {
            if (level == 0)
                registration->calls.refuse();
            const std::lock_guard lock(registration->mutex);
            unlink(*registration, level);
            registration->isBroken = true;
        }
    }
}

std::shared_ptr<ObservedKey> findOrMake(QObject *object, const QString &key) {
    if (auto found = find(object, key))
        return found;
    auto made = std::make_shared<ObservedKey>(object, key);
    const std::lock_guard lock(table().mutex);
    if (auto found = listed(object, key))
        return found;
    auto &keys = table().objects[object];
    if (keys.empty())
        QObject::connect(object, &QObject::destroyed, [object] { forget(object); });
    keys.push_back(made);
    return made;
}

QVariant orNull(QVariant value) {
    return NSIsNil(value) ? NSNull() : std::move(value);
}

/// The value at the end of the registration's path, read where it listens.
QVariant pathValue(Registration &registration) {
    std::shared_ptr<ObservedKey> last;
    std::size_t level = 0;
    {
        const std::lock_guard lock(registration.mutex);
        if (registration.chain.empty() || registration.isBroken)
            return NSNull();
        last = registration.chain.back();
        level = registration.chain.size();
    }
    const QVariant value = last->value();
    if (level == std::size_t(registration.keys.size()))
        return orNull(value);
    try {
        return orNull(NSKeyValueCoding::valueForKeyPath(
            value, registration.keys.mid(qsizetype(level)).join(QLatin1Char('.'))));
    } catch (const NSException &) {
        return NSNull();
    }
}

/// Listens at the keys of the path from a level on, after what leads there has changed.
void link(const std::shared_ptr<Registration> &registration, std::size_t level) {
    const auto count = std::size_t(registration->keys.size());
    std::vector<std::shared_ptr<ObservedKey>> chain;
    {
        const std::lock_guard lock(registration->mutex);
        if (registration->chain.size() < level)
            return; // taken back, or an object further up has died
        chain.assign(registration->chain.begin(), registration->chain.begin() + qsizetype(level));
    }
    // Values are read without the lock: that runs code of the objects.
    while (chain.size() < count) {
        QObject *object = chain.empty() ? registration->object : objectOf(chain.back()->value());
        if (!object)
            break;
        chain.push_back(findOrMake(object, registration->keys.at(qsizetype(chain.size()))));
    }
    const std::lock_guard lock(registration->mutex);
    if (registration->chain.size() < level)
        return;
    unlink(*registration, level);
    registration->isBroken = false;
    for (std::size_t next = level; next < chain.size(); ++next) {
        chain[next]->add({registration, next});
        registration->chain.push_back(chain[next]);
    }
    registration->isLinked = true;
    registration->isAutomatic =
        std::any_of(chain.begin(), chain.end(), [](const auto &observed) { return observed->isAutomatic(); });
}

enum class Moment { Initial, Prior, Changed };

void call(Registration &registration, const QVariantMap &change) {
    registration.calls.run([&] {
        registration.observer->observeValueForKeyPath(registration.keyPath, registration.object, change,
                                                      registration.context);
    });
}

QVariantMap settingChange() {
    return {{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}};
}

/// Tells the observer that the key is about to change. The old value may be nullptr.
void callPrior(Registration &registration, const QVariant *old) {
    QVariantMap change = settingChange();
    change.insert(NSKeyValueChangeNotificationIsPriorKey, true);
    if (old && registration.wants(NSKeyValueObservingOptionOld))
        change.insert(NSKeyValueChangeOldKey, *old);
    call(registration, change);
}

/// Does something for each registration, once; the first exception waits until everybody knows.
template <typename Action>
void forEach(const Links &links, Action action) {
    FirstException failure;
    const auto &all = links.all;
    for (auto at = all.begin(); at != all.end(); ++at) {
        // A path may lead through the same key twice.
        if (at->registration->hasPath() && std::any_of(all.begin(), at, [&](const Link &earlier) {
                return earlier.registration == at->registration;
            }))
            continue;
        failure.guard([&] { action(*at); });
    }
    failure.rethrow();
}

/// Whether somebody wants to know the value of the key itself.
bool isValueWanted(const Links &links) {
    return std::any_of(links.all.begin(), links.all.end(), [](const Link &at) {
        const Registration &registration = *at.registration;
        return !registration.hasPath() &&
               (registration.wants(NSKeyValueObservingOptionNew) ||
                (registration.wants(NSKeyValueObservingOptionOld) && registration.isAutomatic));
    });
}

/// Tells one observer that a key which it listens to has changed.
/// \param value  of the key, if it is wanted
/// \param old    the value before, if the change was announced beforehand
void tell(const Link &at, const QVariant &value, const QVariant *old, bool isSignal) {
    Registration &registration = *at.registration;
    const bool wantsNew = registration.wants(NSKeyValueObservingOptionNew);
    const bool wantsOld = registration.wants(NSKeyValueObservingOptionOld);
    if (isSignal && registration.wants(NSKeyValueObservingOptionPrior) && registration.isLinked) {
        const QVariant known = registration.known();
        callPrior(registration, &known);
    }
    if (!registration.isLinked)
        return;
    if (registration.hasPath())
        link(at.registration, at.level + 1);
    const bool keepsKnown = wantsOld && registration.isAutomatic;
    const QVariant present =
        registration.hasPath() && (wantsNew || keepsKnown) ? pathValue(registration) : value;
    QVariantMap change = settingChange();
    if (wantsNew)
        change.insert(NSKeyValueChangeNewKey, present);
    if (keepsKnown)
        change.insert(NSKeyValueChangeOldKey, registration.exchangeKnown(present));
    if (wantsOld && old)
        change.insert(NSKeyValueChangeOldKey, *old);
    call(registration, change);
}

/// A key has changed: tells its observers, with the old values from before if they are there.
void tell(const Links &links, const PendingChange *pending, bool isSignal) {
    const QVariant value = isValueWanted(links) ? orNull(links.key->value()) : QVariant();
    forEach(links, [&](const Link &at) {
        const QVariant *old = nullptr;
        if (pending) {
            const auto known = std::find_if(pending->olds.begin(), pending->olds.end(),
                                            [&](const auto &each) { return each.first == at.registration; });
            if (known != pending->olds.end())
                old = &known->second;
        }
        tell(at, value, old, isSignal);
    });
}

/// A NOTIFY signal was emitted.
void signalled(void *context) {
    auto *const key = static_cast<ObservedKey *>(context);
    const bool isBracketed =
        std::any_of(pendingChanges.begin(), pendingChanges.end(),
                    [&](const PendingChange &change) { return change.observed.get() == key; });
    if (isBracketed)
        return;
    const auto links = key->links();
    if (!links)
        return;
    try {
        tell(*links, nullptr, true);
    } catch (...) {
        NSLog("Exception in an observer of the key \"%@\": %@", links->key->key,
              NSException::currentDescription());
    }
}

void ObservedKey::replace(std::shared_ptr<Links> links) {
    if (links->all.empty())
        links = nullptr;
    if (isAutomatic() && links && !m_links) {
        if (!m_relay)
            m_relay = std::make_unique<NotifyRelay>(signalled, this);
        m_relay->connectTo(object, m_property);
    } else if (m_relay && !links && m_links) {
        m_relay->disconnectFrom(object);
    }
    m_links = std::move(links);
}

} // namespace

struct NSKeyValueObserver::Registrations {
    std::mutex mutex;
    std::vector<std::weak_ptr<Registration>> all;
    std::size_t swept = 16;
};

/// What observers know of their registrations, to drop them in the end.
class KeyValueRegistry {
public:
    static void add(NSKeyValueObserver *observer, const std::shared_ptr<Registration> &registration) {
        auto &[mutex, all, swept] = *observer->m_registrations;
        const std::lock_guard lock(mutex);
        if (all.size() >= swept) {
            all.erase(std::remove_if(all.begin(), all.end(), [](const auto &each) { return each.expired(); }),
                      all.end());
            swept = std::max<std::size_t>(16, all.size() * 2);
        }
        all.push_back(registration);
    }
};

NSKeyValueObserver::NSKeyValueObserver() : m_registrations(std::make_unique<Registrations>()) {
}

NSKeyValueObserver::~NSKeyValueObserver() {
    for (const auto &each : m_registrations->all) {
        const auto registration = each.lock();
        if (!registration)
            continue;
        {
            const std::lock_guard lock(registration->mutex);
            unlink(*registration, 0);
        }
        registration->calls.end();
    }
}

namespace NSKeyValueObserving {

namespace {

template <typename Matches>
void removeMatching(const QObject *object, const QString &keyPath, Matches matches) {
    const auto observed = find(object, keyPath.section(QLatin1Char('.'), 0, 0));
    const auto links = observed ? observed->links() : nullptr;
    std::shared_ptr<Registration> found;
    if (links) {
        for (auto at = links->all.rbegin(); at != links->all.rend() && !found; ++at) {
            Registration &registration = *at->registration;
            if (at->level > 0 || registration.keyPath != keyPath || !matches(registration))
                continue;
            // Two threads may look for it at once; one of them finds it.
            const std::lock_guard lock(registration.mutex);
            if (registration.chain.empty())
                continue;
            unlink(registration, 0);
            found = at->registration;
        }
    }
    if (!found)
        throw NSException(NSRangeException,
                          QStringLiteral("Cannot remove an observer for the key path \"%1\": "
                                         "it is not registered as an observer.")
                              .arg(keyPath));
    found->calls.end();
}

} // namespace

void addObserver(QObject *object, NSKeyValueObserver *observer, const QString &keyPath,
                 NSKeyValueObservingOptions options, void *context) {
    if (!object || !observer)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("Observing needs an object and an observer."));
    auto registration = std::make_shared<Registration>();
    registration->observer = observer;
    registration->object = object;
    registration->keyPath = keyPath;
    registration->keys = keyPath.split(QLatin1Char('.'));
    registration->options = options;
    registration->context = context;
    KeyValueRegistry::add(observer, registration);
    link(registration, 0);
    if (registration->isAutomatic && registration->wants(NSKeyValueObservingOptionOld))
        registration->exchangeKnown(pathValue(*registration));
    if (registration->wants(NSKeyValueObservingOptionInitial)) {
        QVariantMap change = settingChange();
        if (registration->wants(NSKeyValueObservingOptionNew))
            change.insert(NSKeyValueChangeNewKey, pathValue(*registration));
        call(*registration, change);
    }
}

void removeObserver(const QObject *object, NSKeyValueObserver *observer, const QString &keyPath) {
    removeMatching(object, keyPath,
                   [&](const Registration &registration) { return registration.observer == observer; });
}

void removeObserver(const QObject *object, NSKeyValueObserver *observer, const QString &keyPath,
                    void *context) {
    removeMatching(object, keyPath, [&](const Registration &registration) {
        return registration.observer == observer && registration.context == context;
    });
}

void willChangeValueForKey(QObject *object, const QString &key) {
    const auto observed = find(object, key);
    const auto links = observed ? observed->links() : nullptr;
    if (!links)
        return;
    PendingChange change{object, observed, {}};
    std::optional<QVariant> value;
    for (const auto &[registration, level] : links->all) {
        if (!registration->wants(NSKeyValueObservingOptionOld))
            continue;
        if (registration->hasPath()) {
            change.olds.emplace_back(registration, pathValue(*registration));
        } else {
            if (!value)
                value = orNull(observed->value());
            change.olds.emplace_back(registration, *value);
        }
    }
    const auto olds = change.olds;
    pendingChanges.push_back(std::move(change));
    forEach(*links, [&](const Link &at) {
        if (!at.registration->wants(NSKeyValueObservingOptionPrior))
            return;
        const auto old = std::find_if(olds.begin(), olds.end(),
                                      [&](const auto &each) { return each.first == at.registration; });
        callPrior(*at.registration, old == olds.end() ? nullptr : &old->second);
    });
}

void didChangeValueForKey(QObject *object, const QString &key) {
    const auto at =
        std::find_if(pendingChanges.rbegin(), pendingChanges.rend(), [&](const PendingChange &change) {
            return change.object == object && change.observed->key == key;
        });
    std::optional<PendingChange> pending;
    if (at != pendingChanges.rend()) {
        pending = std::move(*at);
        pendingChanges.erase(at.base() - 1);
    }
    const auto observed = pending ? pending->observed : find(object, key);
    if (const auto links = observed ? observed->links() : nullptr)
        tell(*links, pending ? &*pending : nullptr, false);
}

} // namespace NSKeyValueObserving
