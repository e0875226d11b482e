// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QTimeZone>

/// Between moments and what clocks show, in a zone; an invalid one is the system's as the C library has it, which
/// knows what TZ says in any of its forms. Any thread.
namespace zr::WallClock {

/// What clocks show at the moment.
QDateTime at(const QDateTime &moment, const QTimeZone &zone = {});

/// The moment, in UTC, at which clocks show that time: the first one if they show it twice. A time that they leave
/// out counts as if they went on as before.
QDateTime moment(const QDate &day, const QTime &time, const QTimeZone &zone = {});

} // namespace zr::WallClock
