// SPDX-License-Identifier: MIT
#include "platform/observing/NSKeyValueObserving.h"

#include "platform/values/NSException.h"
#include "platform/values/NSNull.h"
#include "platform/values/ObserverCalls.h"

#include <QMetaObject>
#include <QObject>
#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace {

/// One addObserver() call.
struct Registration {
    NSKeyValueObserver *observer;
    QString key;
    NSKeyValueObservingOptions options;
    void *context;
    ObserverCalls calls;

    void call(QObject *object, const QVariantMap &change) {
        calls.run([&] { observer->observeValueForKeyPath(key, object, change, context); });
    }
};
using Registrations = std::vector<std::shared_ptr<Registration>>;

struct Observed {
    Registrations registrations;
    QMetaObject::Connection destroyed;
};

/// Observed objects are spread over several tables, so that threads which change different objects seldom
/// meet.
struct Table {
    std::mutex mutex;
    std::unordered_map<const QObject *, Observed> objects;
};

Table &tableOf(const QObject *object) {
    static auto *tables = new std::array<Table, 32>;
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    return (*tables)[(address >> 6 ^ address >> 11) % tables->size()];
}

/// How many registrations there are at all: changes of a program without observers cost next to nothing.
std::atomic<int> total{0};

Registrations registrationsFor(const QObject *object, const QString &key) {
    Registrations found;
    if (total.load(std::memory_order_relaxed) == 0)
        return found;
    Table &table = tableOf(object);
    const std::lock_guard lock(table.mutex);
    if (const auto at = table.objects.find(object); at != table.objects.end())
        std::copy_if(at->second.registrations.begin(), at->second.registrations.end(),
                     std::back_inserter(found),
                     [&](const auto &registration) { return registration->key == key; });
    return found;
}

void forget(const QObject *object) {
    Table &table = tableOf(object);
    const std::lock_guard lock(table.mutex);
    if (const auto at = table.objects.find(object); at != table.objects.end()) {
        total.fetch_sub(int(at->second.registrations.size()), std::memory_order_relaxed);
        table.objects.erase(at);
    }
}

QVariant valueOf(const QObject *object, const QString &key) {
    const QVariant value = object->property(key.toUtf8().constData());
    return NSIsNil(value) ? NSNull() : value;
}

/// The values from before the changes that this thread is in the middle of.
struct PendingChange {
    const QObject *object;
    QString key;
    QVariant old;
};
thread_local std::vector<PendingChange> pendingChanges;

std::optional<QVariant> takeOldValue(const QObject *object, const QString &key) {
    const auto at =
        std::find_if(pendingChanges.rbegin(), pendingChanges.rend(), [&](const PendingChange &change) {
            return change.object == object && change.key == key;
        });
    if (at == pendingChanges.rend())
        return std::nullopt;
    QVariant old = std::move(at->old);
    pendingChanges.erase(at.base() - 1);
    return old;
}

/// Calls all; the first exception waits until everybody knows.
void callAll(const Registrations &registrations, QObject *object,
             const std::function<QVariantMap(const Registration &)> &change) {
    std::exception_ptr failure;
    for (const auto &registration : registrations) {
        try {
            registration->call(object, change(*registration));
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
}

void removeMatching(QObject *object, const QString &key,
                    const std::function<bool(const Registration &)> &matches) {
    std::shared_ptr<Registration> found;
    {
        Table &table = tableOf(object);
        const std::lock_guard lock(table.mutex);
        if (const auto observed = table.objects.find(object); observed != table.objects.end()) {
            Registrations &all = observed->second.registrations;
            const auto at = std::find_if(all.rbegin(), all.rend(),
                                         [&](const auto &registration) { return matches(*registration); });
            if (at != all.rend()) {
                found = *at;
                all.erase(at.base() - 1);
                total.fetch_sub(1, std::memory_order_relaxed);
                if (all.empty()) {
                    QObject::disconnect(observed->second.destroyed);
                    table.objects.erase(observed);
                }
            }
        }
    }
    if (!found)
        throw NSException(NSRangeException,
                          QStringLiteral("Cannot remove an observer for the key path \"%1\": "
                                         "it is not registered as an observer.")
                              .arg(key));
    found->calls.end();
}

} // namespace

namespace NSKeyValueObserving {

void addObserver(QObject *object, NSKeyValueObserver *observer, const QString &key,
                 NSKeyValueObservingOptions options, void *context) {
    if (!object || !observer)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("Observing needs an object and an observer."));
    auto registration = std::make_shared<Registration>();
    registration->observer = observer;
    registration->key = key;
    registration->options = options;
    registration->context = context;
    {
        Table &table = tableOf(object);
        const std::lock_guard lock(table.mutex);
        Observed &observed = table.objects[object];
        if (observed.registrations.empty())
            observed.destroyed = QObject::connect(object, &QObject::destroyed, [object] { forget(object); });
        observed.registrations.push_back(registration);
        total.fetch_add(1, std::memory_order_relaxed);
    }
    if (options & NSKeyValueObservingOptionInitial) {
        QVariantMap change{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}};
        if (options & NSKeyValueObservingOptionNew)
            change.insert(NSKeyValueChangeNewKey, valueOf(object, key));
        registration->call(object, change);
    }
}

void removeObserver(QObject *object, NSKeyValueObserver *observer, const QString &key) {
    removeMatching(object, key, [&](const Registration &registration) {
        return registration.observer == observer && registration.key == key;
    });
}

void removeObserver(QObject *object, NSKeyValueObserver *observer, const QString &key, void *context) {
    removeMatching(object, key, [&](const Registration &registration) {
        return registration.observer == observer && registration.key == key &&
               registration.context == context;
    });
}

void willChangeValueForKey(QObject *object, const QString &key) {
    const Registrations registrations = registrationsFor(object, key);
    const auto wants = [&](NSKeyValueObservingOption option) {
        return std::any_of(registrations.begin(), registrations.end(),
                           [&](const auto &registration) { return registration->options & option; });
    };
    QVariant old;
    if (wants(NSKeyValueObservingOptionOld)) {
        old = valueOf(object, key);
        pendingChanges.push_back({object, key, old});
    }
    if (!wants(NSKeyValueObservingOptionPrior))
        return;
    Registrations prior;
    std::copy_if(
        registrations.begin(), registrations.end(), std::back_inserter(prior),
        [](const auto &registration) { return registration->options & NSKeyValueObservingOptionPrior; });
    callAll(prior, object, [&](const Registration &registration) {
        QVariantMap change{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting},
                           {NSKeyValueChangeNotificationIsPriorKey, true}};
        if (registration.options & NSKeyValueObservingOptionOld)
            change.insert(NSKeyValueChangeOldKey, old);
        return change;
    });
}

void didChangeValueForKey(QObject *object, const QString &key) {
    const std::optional<QVariant> old = takeOldValue(object, key);
    callAll(registrationsFor(object, key), object, [&](const Registration &registration) {
        QVariantMap change{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}};
        if (registration.options & NSKeyValueObservingOptionNew)
            change.insert(NSKeyValueChangeNewKey, valueOf(object, key));
        if (old && registration.options & NSKeyValueObservingOptionOld)
            change.insert(NSKeyValueChangeOldKey, *old);
        return change;
    });
}

} // namespace NSKeyValueObserving
