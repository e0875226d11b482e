// SPDX-License-Identifier: MIT
#include "platform/observing/NSKeyValueObserving.h"

#include "platform/base/NSException.h"
#include "platform/base/SmallLock.h"
#include "platform/observing/KeyValueChange.h"
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
#include <array>
#include <atomic>
#include <cstring>
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

    /// The type of the values, if the key is a property that is a plain number. Set before it is linked.
    QMetaType numberType;
    bool takesNumbers() const { return numberType.isValid() && !wants(NSKeyValueObservingOptionPrior); }

    /// Some key of the chain announces its changes by a signal, so that old values must be known beforehand.
    std::atomic<bool> isAutomatic = false;
    /// The chain isn't empty: it has not been taken back, and its object lives.
    std::atomic<bool> isLinked = false;

    /// The value that the observer last heard of.
    QVariant known() {
        if (numberType.isValid()) {
            const NumberBytes number = m_knownNumber;
            return QVariant(numberType, &number);
        }
        const std::lock_guard lock(mutex);
        return m_known;
    }
    /// Takes the value for the one before.
    void swapKnown(QVariant &value) {
        if (numberType.isValid()) {
            NumberBytes number = 0;
            std::memcpy(&number, value.constData(), std::size_t(numberType.sizeOf()));
            number = exchangeKnown(number);
            value = QVariant(numberType, &number);
            return;
        }
        const std::lock_guard lock(mutex);
        m_known.swap(value);
    }
    NumberBytes exchangeKnown(NumberBytes number) { return m_knownNumber.exchange(number); }

    /// nullptr while it is in use.
    std::unique_ptr<KeyValueChange> takeSpareChange() {
        return std::unique_ptr<KeyValueChange>(m_spare.exchange(nullptr));
    }
    void keepSpareChange(std::unique_ptr<KeyValueChange> change) {
        change.reset(m_spare.exchange(change.release()));
    }

    /// Guards the rest.
    SmallLock mutex;
    /// Where it listens now: for each key of the path, as far as objects lead.
    std::vector<std::shared_ptr<ObservedKey>> chain;
    /// An object on the path has died, and what led to it may still point there.
    bool isBroken = false;

    ~Registration() { takeSpareChange(); }

private:
    QVariant m_known;
    std::atomic<NumberBytes> m_knownNumber = 0;
    std::atomic<KeyValueChange *> m_spare = nullptr;
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
    bool takeNumbers = false; ///< each of them
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
        if (index < 0)
            return;
        m_index = index;
        m_property = meta->property(index);
        const QMetaType type = m_property.metaType();
        if (m_property.isReadable() && type.id() >= QMetaType::Bool && type.id() <= QMetaType::Double)
            m_numberType = type;
    }

    QObject *const object;
    const QString key;

    bool isAutomatic() const { return m_property.hasNotifySignal(); }

    /// Of a property that is a plain number; invalid for any other.
    QMetaType numberType() const { return m_numberType; }
    /// Its value, read as QMetaProperty does, but without making a variant of it.
    NumberBytes number() const {
        NumberBytes number = 0;
        int status = -1;
        void *arguments[] = {&number, nullptr, &status};
        object->qt_metacall(QMetaObject::ReadProperty, m_index, arguments);
        if (arguments[0] != &number) // the getter gives a reference
            std::memcpy(&number, arguments[0], std::size_t(m_numberType.sizeOf()));
        return number;
    }

    QVariant value() const {
        if (m_property.isValid())
            return m_property.read(object);
        try {
            return NSKeyValueCoding::valueForKey(object, key);
        } catch (const NSException &) {
            return {};
        }
    }

    /// The same, with the null marker for nil.
    QVariant valueOrNull() const {
        QVariant read = value();
        if (NSIsNil(read))
            read = NSNull();
        return read;
    }

    /// There are links now, and each of them takes numbers.
    bool allTakeNumbers() const { return m_allTakeNumbers; }

    /// nullptr without any.
    std::shared_ptr<const Links> links() const {
        const std::lock_guard lock(m_mutex);
        return m_links;
    }

    void add(const Link &link) {
        const std::lock_guard lock(m_mutex);
        if (m_gone)
            return;
        auto links = std::make_shared<Links>(m_links ? *m_links : Links{shared_from_this(), {}, false});
        links->all.push_back(link);
        replace(std::move(links));
    }

    void remove(const Registration *registration, std::size_t level) {
        std::shared_ptr<const Links> before; // let go after the lock: values of others may end with it
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
        m_allTakeNumbers = false;
        m_relay.reset();
        return std::exchange(m_links, nullptr);
    }

private:
    void replace(std::shared_ptr<Links> links);

    std::atomic<bool> m_allTakeNumbers = false;
    QMetaProperty m_property;
    int m_index = -1; ///< of the property
    QMetaType m_numberType;
    mutable SmallLock m_mutex; ///< guards the rest
    /// Replaced, never changed, so that those who walk over it need no lock.
    std::shared_ptr<const Links> m_links;
    std::unique_ptr<NotifyRelay> m_relay;
    bool m_gone = false;
};

/// Observed objects are spread over several tables, so that threads which change different objects seldom
/// meet.
struct Table {
    SmallLock mutex;
    std::unordered_map<const QObject *, std::vector<std::shared_ptr<ObservedKey>>> objects;
};

Table &tableOf(const QObject *object) {
    static auto *tables = new std::array<Table, 32>;
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    return (*tables)[(address >> 6 ^ address >> 11) % tables->size()];
}

/// How many keys are in the tables: changes of a program without observers cost next to nothing.
std::atomic<int> total{0};

/// The values from before the changes that this thread is in the middle of.
struct PendingChange {
    const QObject *object = nullptr;
    std::shared_ptr<ObservedKey> observed;
    std::vector<std::pair<std::shared_ptr<Registration>, QVariant>> olds;
    /// Instead of them, where every observer took numbers.
    std::optional<NumberBytes> oldNumber;
};
thread_local std::vector<PendingChange> pendingChanges;

std::shared_ptr<ObservedKey> find(const QObject *object, const QString &key) {
    if (total.load(std::memory_order_relaxed) == 0)
        return nullptr;
    Table &table = tableOf(object);
    const std::lock_guard lock(table.mutex);
    const auto at = table.objects.find(object);
    if (at == table.objects.end())
        return nullptr;
    const auto &keys = at->second;
    const auto found =
        std::find_if(keys.begin(), keys.end(), [&](const auto &each) { return each->key == key; });
    return found == keys.end() ? nullptr : *found;
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
        Table &table = tableOf(object);
        const std::lock_guard lock(table.mutex);
        if (const auto at = table.objects.find(object); at != table.objects.end()) {
            keys = std::move(at->second);
            table.objects.erase(at);
        }
    }
    total.fetch_sub(int(keys.size()), std::memory_order_relaxed);
    pendingChanges.erase(std::remove_if(pendingChanges.begin(), pendingChanges.end(),
                                        [&](const PendingChange &change) { return change.object == object; }),
                         pendingChanges.end());
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
    Table &table = tableOf(object);
    const std::lock_guard lock(table.mutex);
    auto &keys = table.objects[object];
    if (keys.empty())
        QObject::connect(object, &QObject::destroyed, [object] { forget(object); });
    const auto found =
        std::find_if(keys.begin(), keys.end(), [&](const auto &each) { return each->key == key; });
    if (found != keys.end())
        return *found;
    keys.push_back(made);
    total.fetch_add(1, std::memory_order_relaxed);
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
            return; // taken back, or an object before it has died
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
    if (!registration->hasPath())
        registration->numberType = chain.front()->numberType();
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

/// Tells the observer that the key is about to change. The old value may be nullptr.
void callPrior(Registration &registration, const QVariant *old) {
    const bool tellsOld = old && registration.wants(NSKeyValueObservingOptionOld);
    KeyValueChange change(false, tellsOld);
    if (tellsOld)
        *change.oldValue() = *old;
    change.markAsPrior();
    call(registration, change.dictionary());
}

/// Does something for each registration, once; the first exception waits until everybody knows.
template <typename Action>
void forEach(const Links &links, Action action) {
    std::exception_ptr failure;
    const auto &all = links.all;
    for (auto at = all.begin(); at != all.end(); ++at) {
        // A path may lead through the same key twice.
        if (at->registration->hasPath() && std::any_of(all.begin(), at, [&](const Link &earlier) {
                return earlier.registration == at->registration;
            }))
            continue;
        try {
            action(*at);
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
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
/// \param value   of the key, if it is wanted
/// \param isLast  nobody else needs the value
/// \param old     the value before, if the change was announced beforehand
void tell(const Link &at, QVariant &value, bool isLast, const QVariant *old, bool isSignal) {
    Registration &registration = *at.registration;
    const bool wantsNew = registration.wants(NSKeyValueObservingOptionNew);
    const bool wantsOld = registration.wants(NSKeyValueObservingOptionOld);
    if (isSignal && registration.wants(NSKeyValueObservingOptionPrior)) {
        if (!registration.isLinked)
            return;
        const QVariant known = registration.known();
        callPrior(registration, &known);
    }
    if (!registration.isLinked)
        return;
    if (registration.hasPath())
        link(at.registration, at.level + 1);
    const bool keepsKnown = wantsOld && registration.isAutomatic;
    QVariant ofPath;
    if (registration.hasPath() && (wantsNew || keepsKnown))
        ofPath = pathValue(registration);
    QVariant &present = registration.hasPath() ? ofPath : value;

    const bool tellsOld = wantsOld && (old || keepsKnown);
    // Spare ones for numbers must stay what they are.
    const bool isNumber = registration.numberType.isValid();
    std::unique_ptr<KeyValueChange> change = isNumber ? nullptr : registration.takeSpareChange();
    if (!change || !change->has(wantsNew, tellsOld))
        change = std::make_unique<KeyValueChange>(wantsNew, tellsOld);
    // Variants are swapped rather than copied or moved: that was most of a notification's time.
    if (keepsKnown) {
        *change->oldValue() = present;
        registration.swapKnown(*change->oldValue());
    }
    if (tellsOld && old)
        *change->oldValue() = *old;
    if (wantsNew && (isLast || registration.hasPath()))
        change->newValue()->swap(present);
    else if (wantsNew)
        *change->newValue() = present;
    call(registration, change->dictionary());
    if (isNumber || !change->isReusable())
        return;
    change->clear();
    registration.keepSpareChange(std::move(change));
}

/// The same for a number, as seldom through variants as can be.
/// \param old  the number before, if the change was announced beforehand
void tellNumber(Registration &registration, NumberBytes present, std::optional<NumberBytes> old) {
    if (!registration.isLinked)
        return;
    const bool wantsNew = registration.wants(NSKeyValueObservingOptionNew);
    const bool wantsOld = registration.wants(NSKeyValueObservingOptionOld);
    const NumberBytes known = wantsOld ? registration.exchangeKnown(present) : 0;
    std::unique_ptr<KeyValueChange> change = registration.takeSpareChange();
    if (!change)
        change = std::make_unique<KeyValueChange>(wantsNew, wantsOld, registration.numberType);
    change->setNumbers(present, old.value_or(known));
    call(registration, change->dictionary());
    if (change->isReusable())
        registration.keepSpareChange(std::move(change));
}

/// A key has changed: tells its observers, with the old values from before if they are there.
void tell(const Links &links, const PendingChange *pending, bool isSignal) {
    QVariant value = isValueWanted(links) ? links.key->valueOrNull() : QVariant();
    forEach(links, [&](const Link &at) {
        const QVariant *old = nullptr;
        if (pending) {
            const auto known = std::find_if(pending->olds.begin(), pending->olds.end(),
                                            [&](const auto &each) { return each.first == at.registration; });
            if (known != pending->olds.end())
                old = &known->second;
        }
        tell(at, value, &at == &links.all.back(), old, isSignal);
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
        if (!links->takeNumbers) {
            tell(*links, nullptr, true);
            return;
        }
        const NumberBytes number = key->number();
        forEach(*links, [&](const Link &at) { tellNumber(*at.registration, number, std::nullopt); });
    } catch (...) {
        NSLog("Exception in an observer of the key \"%@\": %@", links->key->key,
              NSException::currentDescription());
    }
}

void ObservedKey::replace(std::shared_ptr<Links> links) {
    links->takeNumbers = std::all_of(links->all.begin(), links->all.end(),
                                     [](const Link &link) { return link.registration->takesNumbers(); });
    if (links->all.empty())
        links = nullptr;
    m_allTakeNumbers = links && links->takeNumbers;
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
    if (registration->isAutomatic && registration->wants(NSKeyValueObservingOptionOld)) {
        QVariant value = pathValue(*registration);
        registration->swapKnown(value);
    }
    if (registration->wants(NSKeyValueObservingOptionInitial)) {
        const bool wantsNew = registration->wants(NSKeyValueObservingOptionNew);
        KeyValueChange change(wantsNew, false);
        if (wantsNew)
            *change.newValue() = pathValue(*registration);
        call(*registration, change.dictionary());
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

namespace {

void didChangeNumber(ObservedKey &observed, NumberBytes old) {
    const auto links = observed.links();
    if (!links)
        return;
    if (links->takeNumbers) {
        const NumberBytes number = observed.number();
        forEach(*links, [&](const Link &link) { tellNumber(*link.registration, number, old); });
        return;
    }
    // Since the change was announced, an observer was added who takes no numbers.
    PendingChange pending;
    for (const auto &[registration, level] : links->all)
        if (registration->takesNumbers())
            pending.olds.emplace_back(registration, QVariant(observed.numberType(), &old));
    tell(*links, &pending, false);
}

} // namespace

void willChangeValueForKey(QObject *object, const QString &key) {
    auto observed = find(object, key);
    if (!observed)
        return;
    if (observed->allTakeNumbers()) {
        const NumberBytes number = observed->number();
        PendingChange &change = pendingChanges.emplace_back();
        change.object = object;
        change.observed = std::move(observed);
        change.oldNumber = number;
        return;
    }
    const auto links = observed->links();
    if (!links)
        return;
    PendingChange change{object, observed, {}, std::nullopt};
    std::optional<QVariant> value;
    for (const auto &[registration, level] : links->all) {
        if (!registration->wants(NSKeyValueObservingOptionOld))
            continue;
        if (registration->hasPath()) {
            change.olds.emplace_back(registration, pathValue(*registration));
        } else {
            if (!value)
                value = observed->valueOrNull();
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
    if (at != pendingChanges.rend() && at->oldNumber) {
        const NumberBytes old = *at->oldNumber;
        const std::shared_ptr<ObservedKey> observed = std::move(at->observed);
        pendingChanges.erase(at.base() - 1);
        didChangeNumber(*observed, old);
        return;
    }
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
