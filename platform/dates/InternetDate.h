// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>
#include <optional>

/// Reads the date texts of mail and of web protocols in their plain forms, without ICU, without memory, on
/// any thread. What it reads, ICU's patterns for the formats read alike; what it doesn't, they may still
/// read.
namespace InternetDate {

/// RFC 822 with years of four digits, from 1600 on: "Mon, 01 Jan 2024 10:00:00 GMT"; weekday, seconds and
/// zone may be missing, the zone is GMT, UT, UTC, Z or an offset (+0100). Either case; single spaces.
/// Milliseconds since 1970; without a zone the time is GMT.
std::optional<qint64> rfc822(QStringView text);

/// RFC 3339: "2024-01-01T10:00:00.123+01:00"; the fraction may be missing, and without it the zone; an offset
/// may do without its colon. Either case; places past milliseconds are cut off. The result as above.
std::optional<qint64> rfc3339(QStringView text);

} // namespace InternetDate
