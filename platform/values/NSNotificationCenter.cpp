// SPDX-License-Identifier: MIT
#include "platform/values/NSNotificationCenter.h"

#include "platform/base/FirstException.h"
#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ObserverCalls.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

namespace {

/// Objects are only told apart by where they are: asking them would run their code under the center's lock.
bool isSame(const QVariant &a, const QVariant &b) {
    const QObject *object = objectOf(a);
    return object || objectOf(b) ? object == objectOf(b) : NSObjectRuntime::isEqual(a, b);
}

} // namespace

struct NSNotificationCenter::Registration {
    QObject *observer = nullptr;
    NSSelector selector;
    Block block;
    QString name;
    QVariant sender;
    quint64 number = 0;
    ObserverCalls calls;

    bool isFor(const QVariant &object) const { return NSIsNil(sender) || isSame(sender, object); }

    void tell(const NSNotification &notification) {
        calls.run([&] {
            if (block)
                block(notification);
            else
                NSObjectRuntime::performWithObject(QVariant::fromValue(observer), selector,
                                                   QVariant::fromValue(notification));
        });
    }
};

NSNotificationCenter::NSNotificationCenter() = default;

NSNotificationCenter::~NSNotificationCenter() {
    for (const auto &[object, connection] : m_watched)
        QObject::disconnect(connection);
}

NSNotificationCenter &NSNotificationCenter::defaultCenter() {
    // Never destroyed: objects that die while the process ends are still removed from it.
    static auto *center = new NSNotificationCenter;
    return *center;
}

void NSNotificationCenter::add(const std::shared_ptr<Registration> &registration) {
    const std::lock_guard lock(m_mutex);
    registration->number = m_added++;
    (registration->name.isNull() ? m_ofAnyName : m_byName[registration->name]).push_back(registration);
    for (QObject *object : {registration->observer, objectOf(registration->sender)}) {
        if (object && m_watched.find(object) == m_watched.end())
            m_watched[object] =
                QObject::connect(object, &QObject::destroyed, [this, object] { forget(object); });
    }
}

void NSNotificationCenter::addObserver(QObject *observer, const NSSelector &selector, const QString &name,
                                       const QVariant &object) {
    if (!observer || selector.isNil())
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("Notifications need an observer and a selector."));
    auto registration = std::make_shared<Registration>();
    registration->observer = observer;
    registration->selector = selector;
    registration->name = name;
    registration->sender = object;
    add(registration);
}

QObject *NSNotificationCenter::addObserverForName(const QString &name, const QVariant &object, Block block) {
    if (!block)
        throw NSException(NSInvalidArgumentException, QStringLiteral("Notifications need a block."));
    auto token = std::make_unique<QObject>();
    token->moveToThread(nullptr); // it belongs to no thread, so that any may remove it
    auto registration = std::make_shared<Registration>();
    registration->observer = token.get();
    registration->block = std::move(block);
    registration->name = name;
    registration->sender = object;
    add(registration);
    const std::lock_guard lock(m_mutex);
    QObject *const observer = token.get();
    m_tokens[observer] = std::move(token);
    return observer;
}

NSNotificationCenter::Registrations
NSNotificationCenter::take(const std::function<bool(const Registration &)> &matches) {
    Registrations taken;
    const auto takeFrom = [&](Registrations &registrations) {
        const auto kept = std::stable_partition(registrations.begin(), registrations.end(),
                                                [&](const auto &each) { return !matches(*each); });
        std::move(kept, registrations.end(), std::back_inserter(taken));
        registrations.erase(kept, registrations.end());
    };
    takeFrom(m_ofAnyName);
    for (auto at = m_byName.begin(); at != m_byName.end();) {
        takeFrom(at->second);
        at = at->second.empty() ? m_byName.erase(at) : std::next(at);
    }
    return taken;
}

void NSNotificationCenter::forget(const QObject *dying) {
    Registrations taken;
    const std::lock_guard lock(m_mutex);
    m_watched.erase(dying);
    taken = take([&](const Registration &registration) {
        return registration.observer == dying || objectOf(registration.sender) == dying;
    });
}

void NSNotificationCenter::removeObserver(QObject *observer, const QString &name, const QVariant &object) {
    if (!observer)
        return;
    std::unique_ptr<QObject> token;
    Registrations taken;
    {
        const std::lock_guard lock(m_mutex);
        taken = take([&](const Registration &registration) {
            return registration.observer == observer && (name.isNull() || registration.name == name) &&
                   (NSIsNil(object) || isSame(registration.sender, object));
        });
        const auto at = m_tokens.find(observer);
        if (at != m_tokens.end() && !taken.empty()) {
            token = std::move(at->second);
            m_tokens.erase(at);
        }
    }
    for (const auto &registration : taken)
        registration->calls.end();
}

void NSNotificationCenter::postNotification(const NSNotification &notification) {
    Registrations told;
    {
        const std::lock_guard lock(m_mutex);
        const auto collect = [&](const Registrations &registrations) {
            std::copy_if(registrations.begin(), registrations.end(), std::back_inserter(told),
                         [&](const auto &each) { return each->isFor(notification.object()); });
        };
        collect(m_ofAnyName);
        const auto ofAny = told.size();
        if (const auto at = m_byName.find(notification.name()); at != m_byName.end())
            collect(at->second);
        std::inplace_merge(told.begin(), told.begin() + qsizetype(ofAny), told.end(),
                           [](const auto &a, const auto &b) { return a->number < b->number; });
    }
    FirstException failure;
    for (const auto &registration : told)
        failure.guard([&] { registration->tell(notification); });
    failure.rethrow();
}

void NSNotificationCenter::postNotificationName(const QString &name, const QVariant &object,
                                                const QVariantMap &userInfo) {
    postNotification(NSNotification(name, object, userInfo));
}
