// SPDX-License-Identifier: MIT
#include "platform/operations/NSErrorPresenter.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/base/WriteAll.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSThread.h"
#include "platform/values/NSLog.h"

#include <QCoreApplication>
#include <mutex>
#include <unistd.h>

using namespace zr;

namespace {

struct Shared {
    std::mutex mutex;
    std::shared_ptr<NSErrorPresenter> presenter;
};
Shared &shared() {
    static NeverDestroyed<Shared> all;
    return *all;
}

using Present = void (NSErrorPresenter::*)(const NSError &);

void show(NSErrorPresenter &presenter, Present present, const NSError &error) {
    try {
        (presenter.*present)(error);
    } catch (...) {
        NSLog("Exception while an error was presented: %@", NSException::currentDescription());
    }
}

void show(Present present, const NSError &error) {
    if (!error)
        return;
    const std::shared_ptr<NSErrorPresenter> presenter = NSErrorPresenter::sharedPresenter();
    if (!presenter) {
        NSErrorPresenter lines;
        show(lines, present, error);
    } else if (NSThread::isMainThread() || !QCoreApplication::instance()) {
        show(*presenter, present, error);
    } else {
        // Nobody waits: the main thread may be waiting for this one. The user may take long, and the main queue's blocks
        // don't wait for that: the block only posts an event.
        DispatchQueue::mainQueue().async([presenter, present, error] {
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [presenter, present, error] { show(*presenter, present, error); }, Qt::QueuedConnection);
        });
    }
}

} // namespace

void NSErrorPresenter::presentError(const NSError &error) {
    const QByteArray line = error.localizedDescription().simplified().toUtf8() + '\n';
    writeAll(STDERR_FILENO, line);
}

void NSErrorPresenter::setSharedPresenter(std::shared_ptr<NSErrorPresenter> presenter) {
    const std::lock_guard lock(shared().mutex);
    shared().presenter.swap(presenter);
}

std::shared_ptr<NSErrorPresenter> NSErrorPresenter::sharedPresenter() {
    const std::lock_guard lock(shared().mutex);
    return shared().presenter;
}

void NSPresentError(const NSError &error) {
    show(&NSErrorPresenter::presentError, error);
}

void NSRunModalAlert(const NSError &error) {
    show(&NSErrorPresenter::runModalAlert, error);
}
