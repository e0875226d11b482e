// SPDX-License-Identifier: MIT
#pragma once

#include <QFlags>
#include <QString>
#include <QVariantMap>
#include <memory>

class QObject;

/// What an observer wants to be told; the values are those of the platform, 3 is "new and old".
enum NSKeyValueObservingOption {
    NSKeyValueObservingOptionNew = 1,     ///< the new value, under NSKeyValueChangeNewKey
    NSKeyValueObservingOptionOld = 2,     ///< the value before the change, under NSKeyValueChangeOldKey
    NSKeyValueObservingOptionInitial = 4, ///< one call at once, while the observer is added
    NSKeyValueObservingOptionPrior = 8,   ///< one more call before each change
};
Q_DECLARE_FLAGS(NSKeyValueObservingOptions, NSKeyValueObservingOption)
Q_DECLARE_OPERATORS_FOR_FLAGS(NSKeyValueObservingOptions)

/// Keys of the change dictionary. A nil value stands there as the null marker.
inline const QString NSKeyValueChangeKindKey = QStringLiteral("kind");
inline const QString NSKeyValueChangeNewKey = QStringLiteral("new");
inline const QString NSKeyValueChangeOldKey = QStringLiteral("old");
inline const QString NSKeyValueChangeNotificationIsPriorKey = QStringLiteral("notificationIsPrior");
/// A change that set a value: the only kind so far.
inline constexpr int NSKeyValueChangeSetting = 1;

/// An object that is told of changes. When it dies, its remaining registrations are dropped; if other threads may make
/// changes at that time, remove it first.
class NSKeyValueObserver {
public:
    NSKeyValueObserver();
    virtual ~NSKeyValueObserver();
    NSKeyValueObserver(const NSKeyValueObserver &) = delete;
    NSKeyValueObserver &operator=(const NSKeyValueObserver &) = delete;

    /// Called on the thread that made the change.
    /// \param object  the one that the observer was added to, also if a later key of the path changed
    virtual void observeValueForKeyPath(const QString &keyPath, QObject *object, const QVariantMap &change,
                                        void *context) = 0;

private:
    struct Registrations;
    friend class KeyValueRegistry;
    const std::unique_ptr<Registrations> m_registrations;
};

/// Change notifications by key path on any QObject.
///
/// A change is announced in one of two ways:
/// - The changing side calls willChangeValueForKey() before and didChangeValueForKey() after it, on one thread; such
///   pairs may nest.
/// - The key is a property (or is<Key>, as in key-value coding) with a NOTIFY signal, and the signal announces the
///   change; between the two calls for that key the signal counts as part of them. A signal comes after the change: the
///   old value is then the one that observers last heard of, prior calls come after the change too, and what observers
///   raise is logged, because exceptions can't pass through a signal.
///
/// A key path is keys joined by points. Its observer hears of changes of every key on it, as far as objects
/// lead; with other values on the way (dictionaries, arrays and their operators) up to those. Objects on one
/// path must be changed by one thread at a time.
///
/// Observers are called in the order in which they were added. Values are read by key-value coding, only when
/// an observer asked for them; a key that the object doesn't have is read as nil. All functions may be called
/// from any thread, as long as the object lives; a dying object drops its observers. Observers and observed
/// objects may die during a notification.
namespace NSKeyValueObserving {

/// Adds an observer; adding it twice makes it be called twice. Neither side is kept alive.
/// Raises NSInvalidArgumentException without an object or observer.
void addObserver(QObject *object, NSKeyValueObserver *observer, const QString &keyPath,
                 NSKeyValueObservingOptions options = {}, void *context = nullptr);

/// Takes back the latest addObserver() with these arguments, whatever its context. Once it returns, the
/// observer isn't being called by another thread and won't be called again: don't hold a lock that the
/// observer takes. Raises NSRangeException when there is no such observer. The object is only
/// looked up: it may be gone.
void removeObserver(const QObject *object, NSKeyValueObserver *observer, const QString &keyPath);
/// The same, for the latest one added with this context.
void removeObserver(const QObject *object, NSKeyValueObserver *observer, const QString &keyPath,
                    void *context);

/// Announces that the key's value is about to change.
void willChangeValueForKey(QObject *object, const QString &key);
/// Announces that the key's value has changed. Every observer is called, even if one raises; the first
/// exception is then raised again. (For a class with a member of this name, call that.)
void didChangeValueForKey(QObject *object, const QString &key);

} // namespace NSKeyValueObserving
