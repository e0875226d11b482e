// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/values/NSSelector.h"

#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>

/// One observation of a ZRObserver: of `observed` at `keypath`, told to `block`, or to `target` by `action`.
class ZRObserverInfo : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool once READ isOnce WRITE setOnce)
    Q_PROPERTY(NSSelector action READ action WRITE setAction)
    Q_PROPERTY(ZRObserverInfo::Block block READ block WRITE setBlock)
    Q_PROPERTY(QString keypath READ keypath WRITE setKeypath)
    Q_PROPERTY(QObject *target READ target WRITE setTarget)
    Q_PROPERTY(QObject *observed READ observed WRITE setObserved)

public:
    /// Gets the key path, the changed object, the change dictionary and the context, which is nullptr.
    using Block = std::function<void(const QString &keyPath, QObject *object, const QVariantMap &change,
                                     void *context)>;

    /// The observation ends after its first notification.
    bool isOnce() const { return m_once; }
    void setOnce(bool once) { m_once = once; }

    /// Sent to the target, without arguments.
    NSSelector action() const { return m_action; }
    void setAction(const NSSelector &action) { m_action = action; }

    const Block &block() const { return m_block; }
    void setBlock(Block block) { m_block = std::move(block); }

    QString keypath() const { return m_keypath; }
    void setKeypath(const QString &keypath) { m_keypath = keypath; }

    /// Neither the target nor the observed object is owned, nor cleared when it dies.
    QObject *target() const { return m_target; }
    void setTarget(QObject *target) { m_livingTarget = m_target = target; }
    /// The target, as long as it lives.
    QObject *livingTarget() const { return m_livingTarget; }

    QObject *observed() const { return m_observed; }
    void setObserved(QObject *observed) { m_observed = observed; }

private:
    bool m_once = false;
    NSSelector m_action;
    Block m_block;
    QString m_keypath;
    QObject *m_target = nullptr;
    QPointer<QObject> m_livingTarget;
    QObject *m_observed = nullptr;
};

Q_DECLARE_METATYPE(std::shared_ptr<ZRObserverInfo>)

/// Registers itself for changes of other objects' keys and passes them on to blocks or to targets, as long as
/// it lives. (NSKeyValueObserving tells which changes are announced.)
///
///     ZRObserver observer;
///     observer.observe(song, "title", [](const QString &, QObject *, const QVariantMap &change, void *)
///     {
///         show(change.value(NSKeyValueChangeNewKey));
///     });
///
/// Observations are kept by key path, not by object, and that shows:
/// - only the first one of a key path registers, for its object with its options; further ones of that key path, even
///   for another object, are told when the first one's object changes;
/// - every observation of a key path is told, whichever object changed;
/// - a "once" observation that was told takes back the registration of the key path on the changed object, so that
///   further ones of that key path aren't told any more; a second "once" observation of the same object finds no
///   registration to take back, and raises.
///
/// What blocks and targets raise goes to whoever made the change, and the rest isn't told. Notifications come on the
/// thread that makes the change; add and remove observations on one thread at a time, while no other thread changes the
/// objects. A block may destroy the observer.
class ZRObserver : public QObject, public NSKeyValueObserver {
    Q_OBJECT
    Q_PROPERTY(QVariant actions READ actionsOrNil WRITE setActionsOrNil)

public:
    using Block = ZRObserverInfo::Block;
    /// New and old values.
    static constexpr NSKeyValueObservingOptions defaultOptions{NSKeyValueObservingOptionNew |
                                                               NSKeyValueObservingOptionOld};

    ZRObserver();
    /// Takes back every registration; logs those that aren't there any more.
    ~ZRObserver() override;

    /// Tells the block of changes; a nil block is told nothing. Of a nil object nothing is ever told.
    void observe(QObject *observed, const ZRKit::AnyText &keyPath, NSKeyValueObservingOptions options,
                 bool once, Block block);
    void observe(QObject *observed, const ZRKit::AnyText &keyPath, NSKeyValueObservingOptions options,
                 auto once, Block block) = delete;
    void observe(QObject *observed, const ZRKit::AnyText &keyPath, Block block);

    /// Sends the action to the target at changes, as long as it responds to it. Such observations are never
    /// "once", whatever is asked for. Neither object is kept alive.
    void observe(QObject *observed, const ZRKit::AnyText &keyPath, NSKeyValueObservingOptions options,
                 bool once, QObject *target, const NSSelector &action);
    void observe(QObject *observed, const ZRKit::AnyText &keyPath, NSKeyValueObservingOptions options,
                 auto once, QObject *target, const NSSelector &action) = delete;
    void observe(QObject *observed, const ZRKit::AnyText &keyPath, QObject *target, const NSSelector &action);

    void observeValueForKeyPath(const QString &keyPath, QObject *object, const QVariantMap &change,
                                void *context) override;

    /// Takes back the registration of each observation, then sets the actions to nil. From then on nothing
    /// is told any more, and nothing stored. Raises NSRangeException, leaving the rest as it
    /// is, at the first observation whose object has no registration: a second one of a key path, or one
    /// that a "once" observation has ended.
    void removeAllObservers();

    /// The observations by key path: arrays of std::shared_ptr<ZRObserverInfo> in the order of registration.
    /// nil after removeAllObservers().
    std::optional<QVariantMap> actions() const { return m_actions; }
    void setActions(const std::optional<QVariantMap> &actions) { m_actions = actions; }

private:
    void add(const std::shared_ptr<ZRObserverInfo> &info, NSKeyValueObservingOptions options);
    void remove(const ZRObserverInfo &info);
    QVariant actionsOrNil() const { return m_actions ? QVariant(*m_actions) : QVariant(); }
    void setActionsOrNil(const QVariant &actions);
    void endOnce(const QString &keyPath, const ZRObserverInfo &info, const QObject *changed);

    std::optional<QVariantMap> m_actions;
};
