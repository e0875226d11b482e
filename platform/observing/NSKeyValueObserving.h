// SPDX-License-Identifier: MIT
#pragma once

#include <QFlags>
#include <QString>
#include <QVariantMap>

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
/// The kind of change where a value was set: the only kind so far.
inline constexpr int NSKeyValueChangeSetting = 1;

/// Whoever is told of changes. It must be removed before it dies.
class NSKeyValueObserver {
public:
    virtual ~NSKeyValueObserver() = default;
    /// Called on the thread that made the change.
    virtual void observeValueForKeyPath(const QString &keyPath, QObject *object, const QVariantMap &change,
                                        void *context) = 0;
};

/// Change notifications by key on any QObject.
///
/// The changing side brackets each change with willChangeValueForKey() and didChangeValueForKey(), on one
/// thread; brackets may nest. Observers are called in the order in which they were added. Values are read
/// through the object's properties, and only when an observer asked for them. All functions may be called
/// from any thread, as long as the object lives; a dying object drops its observers.
namespace NSKeyValueObserving {

/// Adds an observer; adding it twice makes it be called twice. Neither side is kept alive.
void addObserver(QObject *object, NSKeyValueObserver *observer, const QString &key,
                 NSKeyValueObservingOptions options = {}, void *context = nullptr);

/// Takes back the latest addObserver() with these arguments, whatever its context. Once it returns, the
/// observer isn't being called by another thread and won't be called again: don't hold a lock that the
/// observer takes. Throws NSException (NSRangeException) when there is no such observer.
void removeObserver(QObject *object, NSKeyValueObserver *observer, const QString &key);
/// The same, for the latest one added with this context.
void removeObserver(QObject *object, NSKeyValueObserver *observer, const QString &key, void *context);

/// Announces that the key's value is about to change.
void willChangeValueForKey(QObject *object, const QString &key);
/// Announces that the key's value has changed. Every observer is called, even if one throws; the first
/// exception is then thrown on. (A class with a member of this name wants to be told through that.)
void didChangeValueForKey(QObject *object, const QString &key);

} // namespace NSKeyValueObserving
