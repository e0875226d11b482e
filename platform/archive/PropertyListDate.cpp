// SPDX-License-Identifier: MIT
#include "platform/archive/PropertyListDate.h"

#include "platform/archive/NSPropertyList.h"

#include <cmath>
#include <limits>

using namespace zr;

namespace {

constexpr qint64 EpochMilliseconds = Q_INT64_C(978307200000);
// Within this, seconds as a double keep every millisecond.
constexpr double LargestMilliseconds = 1e15;

} // namespace

QDateTime PropertyListDate::fromSeconds(double seconds) {
    const double milliseconds = std::round(seconds * 1000) + double(EpochMilliseconds);
    if (!(std::abs(milliseconds) <= LargestMilliseconds))
        throw NSException(NSPropertyListReadCorruptError, QStringLiteral("a date is out of range"));
    return QDateTime::fromMSecsSinceEpoch(qint64(milliseconds), Qt::UTC);
}

double PropertyListDate::toSeconds(const QDateTime &date) {
    const qint64 milliseconds = date.toMSecsSinceEpoch();
    if (!date.isValid() || std::abs(double(milliseconds)) > LargestMilliseconds)
        return std::numeric_limits<double>::quiet_NaN();
    return double(milliseconds - EpochMilliseconds) / 1000;
}
