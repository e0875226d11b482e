// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRTimeTrack.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/values/NSLog.h"

#include <QHash>
#include <chrono>

namespace ZRKit {

namespace {

// Absolute times in seconds.
struct Tracker {
    double start;
    double step;
};

QHash<QString, Tracker> &timers() {
    static zr::NeverDestroyed<QHash<QString, Tracker>> table;
    return *table;
}

QString seconds(double duration) {
    return QString::number(duration, 'f', 4);
}

} // namespace

void zxTimeTrack(const QString &name, const QString &message) {
    const double now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    const QString key = name.isNull() ? QStringLiteral("main") : name;
    auto tracker = timers().find(key);
    if (message.isNull() || tracker == timers().end())
        tracker = timers().insert(key, {now, now});
    NSLog("Time <%@> [%@s of %@s] %@", name, seconds(now - tracker->step), seconds(now - tracker->start),
          message.isNull() ? QStringLiteral("") : message);
    tracker->step = now;
}

} // namespace ZRKit
