// SPDX-License-Identifier: MIT
// Any text gives a predicate or an NSException that tells the position; what was read is written as a text
// that reads back as the same text; and it holds, holds not, or raises an NSException, whatever it says.
#include "platform/base/NSException.h"
#include "platform/predicates/NSPredicate.h"
#include "platform/values/NSNull.h"

#include <QStringList>
#include <cstdlib>

namespace {

QVariantMap record() {
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
    // One element in each collection: subqueries inside one another take the product of the counts.
    return {{a, 1}, {b, QStringLiteral("text")}, {c, QVariantList{QVariantMap{{a, 2.5}, {b, NSNull()}}}}};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QString format = QString::fromUtf8(reinterpret_cast<const char *>(bytes), qsizetype(size));
    NSPredicate predicate;
    try {
        const QVariantList given{QStringLiteral("a"), 5, QStringLiteral("b")};
        predicate = NSPredicate::predicateWithFormatArgumentArray(
            format, given.mid(0, std::min<qsizetype>(format.count(u'%'), given.size())));
    } catch (const NSException &exception) {
        const QVariant position = exception.userInfo().value(NSPredicatePositionKey);
        if (!position.isValid() || position.toLongLong() < 0 || position.toLongLong() > format.size())
            std::abort();
        return 0;
    }
    const QString written = predicate.predicateFormat();
    if (NSPredicate::predicateWithFormat(written).predicateFormat() != written)
        std::abort();
    // What a regular expression may cost is bounded in seconds, which is much for a fuzzer.
    if (written.contains(QStringLiteral("MATCHES")))
        return 0;
    try {
        predicate.evaluateWithObject(record());
    } catch (const NSException &) {
        return 0;
    }
    return 0;
}
