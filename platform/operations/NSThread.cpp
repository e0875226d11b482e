// SPDX-License-Identifier: MIT
#include "platform/operations/NSThread.h"

#include "platform/operations/WorkerPool.h"

#include <chrono>
#include <pthread.h>
#include <thread>
#include <unistd.h>

void NSThread::detachNewThread(std::function<void()> block) {
    std::thread(std::move(block)).detach();
}

NSThread &NSThread::currentThread() {
    static thread_local NSThread current;
    return current;
}

bool NSThread::isMainThread() {
    static thread_local const bool isMain = ::gettid() == ::getpid();
    return isMain;
}

void NSThread::sleepForTimeInterval(double seconds) {
    if (!(seconds > 0))
        return;
    const zr::WorkerPool::Waiting waiting;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

void NSThread::setName(const QString &name) {
    m_name = name;
    if (isMainThread())
        return;
    QByteArray shown = name.toUtf8().left(16);
    // At most 15 bytes, and no character cut in two.
    while (shown.size() > 15 || (!shown.isEmpty() && shown.size() < name.toUtf8().size() &&
                                 (name.toUtf8().at(shown.size()) & 0xC0) == 0x80))
        shown.chop(1);
    ::pthread_setname_np(::pthread_self(), shown.constData());
}
