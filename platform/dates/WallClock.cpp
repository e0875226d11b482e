// SPDX-License-Identifier: MIT
#include "platform/dates/WallClock.h"

using namespace zr;

QDateTime WallClock::at(const QDateTime &moment, const QTimeZone &zone) {
    return zone.isValid() ? moment.toTimeZone(zone) : moment.toLocalTime();
}

QDateTime WallClock::moment(const QDate &day, const QTime &time, const QTimeZone &zone) {
    const QDateTime wall(day, time, Qt::UTC);
    const auto byOffsetOf = [&](const QDateTime &other) {
        return wall.addSecs(-at(other, zone).offsetFromUtc());
    };
    const QDateTime before = byOffsetOf(wall.addDays(-1));
    const QDateTime after = byOffsetOf(wall.addDays(1));
    const auto isShownAt = [&](const QDateTime &moment) {
        const QDateTime shown = at(moment, zone);
        return shown.date() == day && shown.time() == time;
    };
    return !isShownAt(before) && isShownAt(after) ? after : before;
}
