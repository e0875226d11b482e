// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZRObserver.h"

#include "ZRKit/Values/NSDictionary+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <algorithm>
#include <utility>

using namespace zr;

namespace {

using Info = std::shared_ptr<ZRObserverInfo>;

/// nullptr for anything else.
const Info *infoOf(const QVariant &entry) {
    return entry.metaType() == QMetaType::fromType<Info>() ? &held<Info>(entry) : nullptr;
}

void tell(const ZRObserverInfo &info, const QString &keyPath, QObject *object, const QVariantMap &change,
          void *context) {
    if (info.target()) {
        const QVariant target = QVariant::fromValue(info.livingTarget());
        if (NSObjectRuntime::respondsTo(target, info.action()))
            NSObjectRuntime::perform(target, info.action());
    } else if (info.block()) {
        info.block()(keyPath, object, change, context);
    }
}

} // namespace

ZRObserver::ZRObserver() : m_actions(QVariantMap()) {
}

ZRObserver::~ZRObserver() {
    const QVariantMap actions = m_actions.value_or(QVariantMap());
    for (const QVariant &array : actions) {
        for (const QVariant &entry : arrayOf(array)) {
            try {
                if (const Info *info = infoOf(entry))
                    remove(**info);
            } catch (const NSException &exception) {
                NSLog("Exception while an observer is destroyed: %@", exception.description());
            }
        }
    }
}

void ZRObserver::observe(QObject *observed, const ZRKit::AnyText &keyPath, NSKeyValueObservingOptions options,
                         bool once, Block block) {
    const auto info = std::make_shared<ZRObserverInfo>();
    info->setObserved(observed);
    info->setKeypath(keyPath);
    info->setBlock(std::move(block));
    info->setOnce(once);
    add(info, options);
}

void ZRObserver::observe(QObject *observed, const ZRKit::AnyText &keyPath, Block block) {
    observe(observed, keyPath, defaultOptions, false, std::move(block));
}

void ZRObserver::observe(QObject *observed, const ZRKit::AnyText &keyPath, NSKeyValueObservingOptions options,
                         bool /*once*/, QObject *target, const NSSelector &action) {
    const auto info = std::make_shared<ZRObserverInfo>();
    info->setObserved(observed);
    info->setKeypath(keyPath);
    info->setTarget(target);
    info->setAction(action);
    add(info, options);
}

void ZRObserver::observe(QObject *observed, const ZRKit::AnyText &keyPath, QObject *target,
                         const NSSelector &action) {
    observe(observed, keyPath, defaultOptions, false, target, action);
}

void ZRObserver::add(const std::shared_ptr<ZRObserverInfo> &info, NSKeyValueObservingOptions options) {
    const QString keyPath = info->keypath();
    const auto arrayThere = [&] { return m_actions ? ZRKit::key(*m_actions, keyPath) : QVariant(); };
    if (NSIsNil(arrayThere()) && info->observed())
        NSKeyValueObserving::addObserver(info->observed(), this, keyPath, options, nullptr);
    if (!m_actions)
        return;
    QVariantList array = arrayOf(arrayThere());
    array.append(QVariant::fromValue(info));
    m_actions->insert(keyPath, array);
}

void ZRObserver::remove(const ZRObserverInfo &info) {
    if (info.observed())
        NSKeyValueObserving::removeObserver(info.observed(), this, info.keypath(), nullptr);
}

void ZRObserver::observeValueForKeyPath(const QString &keyPath, QObject *object, const QVariantMap &change,
                                        void *context) {
    if (!m_actions)
        return;
    const auto at = m_actions->constFind(keyPath);
    if (at == m_actions->constEnd() || at->typeId() != QMetaType::QVariantList)
        return;
    // A snapshot: those told may add and remove.
    const QVariantList entries = held<QVariantList>(*at);
    for (const QVariant &entry : entries) {
        const Info *entryInfo = infoOf(entry);
        if (!entryInfo)
            continue;
        const ZRObserverInfo *info = entryInfo->get();
        const QPointer<ZRObserver> self = this;
        const QPointer<QObject> changed = object;
        tell(*info, keyPath, object, change, context);
        if (!self)
            return;
        if (info->isOnce())
            endOnce(keyPath, *info, changed);
        if (!changed)
            return; // nothing is left to tell of
    }
}

void ZRObserver::endOnce(const QString &keyPath, const ZRObserverInfo &info, const QObject *changed) {
    if (changed)
        NSKeyValueObserving::removeObserver(changed, this, keyPath);
    if (!m_actions)
        return;
    QVariantList live = arrayOf(ZRKit::key(*m_actions, keyPath));
    const auto at = std::find_if(live.begin(), live.end(), [&](const QVariant &entry) {
        const Info *each = infoOf(entry);
        return each && each->get() == &info;
    });
    if (at == live.end())
        return;
    live.erase(at);
    m_actions->insert(keyPath, live);
}

void ZRObserver::removeAllObservers() {
    const QVariantMap actions = m_actions.value_or(QVariantMap());
    for (const QVariant &array : actions)
        for (const QVariant &entry : arrayOf(array))
            if (const Info *info = infoOf(entry))
                remove(**info);
    m_actions.reset();
}

void ZRObserver::setActionsOrNil(const QVariant &actions) {
    m_actions =
        kindOf(actions) == ValueKind::Dictionary ? std::optional(dictionaryOf(actions)) : std::nullopt;
}

#include "moc_ZRObserver.cpp"
