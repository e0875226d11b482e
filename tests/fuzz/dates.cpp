// SPDX-License-Identifier: MIT
// Looks for dates in any UTF-16 text: what is found lies in the text, in order; and
// timestamps mean what a formatter and another reader say.
#include "platform/dates/NSDataDetector.h"
#include "platform/dates/NSDateFormatter.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    NSDataDetector detector;
    detector.setReferenceDate(QDateTime(QDate(2024, 5, 15), QTime(8, 30), Qt::UTC));
    static const QTimeZone zone("Europe/Zurich");
    detector.setTimeZone(zone);

    const auto matches = detector.matchesInString(text);
    qsizetype end = 0;
    for (const NSDataDetector::Match &match : matches) {
        if (match.location < end || match.length <= 0 || match.location + match.length > text.size() ||
            !match.date.isValid() || match.date.timeSpec() != Qt::UTC)
            std::abort();
        end = match.location + match.length;
    }
    const auto first = detector.firstMatchInString(text);
    if (first.has_value() != !matches.isEmpty() ||
        (first && (first->location != matches[0].location || first->date != matches[0].date)))
        std::abort();

    static NSDateFormatter formatter = [] {
        NSDateFormatter made;
        made.setLocale(QStringLiteral("en_US_POSIX"));
        made.setTimeZone(QStringLiteral("GMT"));
        made.setDateFormat(QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ssXXX"));
        return made;
    }();
    const QDateTime read = formatter.dateFromString(text);
    // A plain timestamp is one for all.
    const QDateTime stamp = QDateTime::fromString(text, Qt::ISODate).toUTC();
    if (stamp.isValid() && stamp.date().year() >= 1000 && stamp.toString(Qt::ISODate) == text) {
        if (!first || first->date != stamp || read != stamp)
            std::abort();
    }
    return 0;
}
