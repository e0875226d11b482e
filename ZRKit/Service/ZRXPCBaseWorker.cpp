// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPCBaseWorker.h"

#include "ZRKit/Service/Serialization.h"
#include "ZRKit/Service/ZRXPCDelegate.h"
#include "ZRKit/Values/KitError.h"
#include "ZRKit/Values/NSDictionary+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/NSXPCListener.h"

#include <atomic>

using namespace zr;

namespace {

/// Read, then written: tasks that start at the same moment may get the same number, which is for logs only.
std::atomic<quint32> taskCounter = 0;

quint32 takeTaskNumber() {
    const quint32 number = taskCounter.load(std::memory_order_relaxed);
    taskCounter.store(number + 1, std::memory_order_relaxed);
    return number;
}

/// The object's own subscript: it keeps the null marker, and only dictionaries and nil have one.
QVariant subscript(const QVariant &object, const QString &key) {
    if (NSIsNil(object))
        return {};
    if (object.typeId() == QMetaType::QVariantMap)
        return object.toMap().value(key);
    throw NSException(NSInvalidArgumentException,
                      NSFormat("-[%s objectForKeyedSubscript:]: unrecognized selector", {object.typeName()}));
}

} // namespace

void ZRXPCBaseWorker::setupListener(const QMetaObject *klass) {
    NSLog(QStringLiteral("Started Worker"));
    NSXPCListener *listener = NSXPCListener::serviceListener();
    const auto delegate = std::make_shared<ZRXPCDelegate>(klass);
    listener->setDelegate(delegate);
    listener->resume();
}

void ZRXPCBaseWorker::performWithData(const QByteArray &data, const Reply &block) {
    const quint32 number = takeTaskNumber();
    try {
        m_uid = ZRKit::uuid();
        {
            const std::lock_guard lock(m_mutex);
            m_block = block;
        }
        setObject(unserialize(data));
        NSLog("==> XPC work on task %@#%d", m_uid, number);
        if (!NSIsNil(subscript(object(), QStringLiteral("__boot"))))
            doneWithResult(QVariantMap{{QStringLiteral("boot"), QStringLiteral("success")}});
        else
            work();
        NSLog("<== XPC finished successfully task %@#%d", m_uid, number);
        setObject({});
        m_uid = QString();
    } catch (...) {
        doneWithErrorMessage(NSException::currentDescription());
    }
    if (replyBlock())
        doneWithErrorMessage(
            QStringLiteral("You have to call `doneWithResult` or `doneWithErrorMessage` at least once!"));
}

void ZRXPCBaseWorker::work() {
    doneWithErrorMessage(QStringLiteral("You have to implement `work`!"));
}

QVariant ZRXPCBaseWorker::object() const {
    const std::lock_guard lock(m_mutex);
    return m_object;
}

void ZRXPCBaseWorker::setObject(const QVariant &object) {
    const std::lock_guard lock(m_mutex);
    m_object = object;
}

QVariant ZRXPCBaseWorker::objectForKeyedSubscript(const QString &key) const {
    const QVariant task = object();
    return task.typeId() == QMetaType::QVariantMap ? ZRKit::key(task.toMap(), key) : QVariant();
}

void ZRXPCBaseWorker::doneWithResult(const QVariant &result) {
    reply(serialize(result), NSError());
}

void ZRXPCBaseWorker::doneWithErrorMessage(const QString &message, const NSError &cause) {
    NSLog("!!! XPC Error: %@", message);
    // One that can't be archived must not cost the reply.
    const bool isKept = cause && !serialize(QVariant::fromValue(cause)).isNull();
    reply(QByteArray(), kitError(101, message, isKept ? cause : NSError()));
}

/// Calls the block without asking whether there is one: a second reply must not go by in silence.
void ZRXPCBaseWorker::reply(const QByteArray &data, const NSError &error) {
    replyBlock()(data, error);
    const std::lock_guard lock(m_mutex);
    m_block = nullptr;
}

ZRXPCBaseWorker::Reply ZRXPCBaseWorker::replyBlock() const {
    const std::lock_guard lock(m_mutex);
    return m_block;
}

std::shared_ptr<NSXPCConnection> ZRXPCBaseWorker::xpcConnection() const {
    const std::lock_guard lock(m_mutex);
    return m_xpcConnection.lock();
}

void ZRXPCBaseWorker::setXpcConnection(const std::shared_ptr<NSXPCConnection> &connection) {
    const std::lock_guard lock(m_mutex);
    m_xpcConnection = connection;
}

#include "moc_ZRXPCBaseWorker.cpp"
