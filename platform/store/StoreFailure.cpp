// SPDX-License-Identifier: MIT
#include "platform/store/StoreFailure.h"

#include <sqlite3.h>

namespace zr {

namespace {

NSError made(NSCoreDataError code, const QString &message, const NSError &cause) {
    QVariantMap details{{NSLocalizedDescriptionKey, message}};
    if (cause)
        details.insert(NSUnderlyingErrorKey, QVariant::fromValue(cause));
    return NSError(NSCocoaErrorDomain, code, details);
}

} // namespace

StoreFailure::StoreFailure(NSCoreDataError code, const QString &message, const NSError &cause)
    : m_error(made(code, message, cause)), m_what(message.toUtf8()) {
}

NSError storeError(NSCoreDataError code, const QString &message, const SQLiteFailure &cause) {
    if (cause.primaryCode() == SQLITE_BUSY || cause.primaryCode() == SQLITE_LOCKED)
        return made(NSPersistentStoreTimeoutError, QStringLiteral("Another process keeps the store locked."),
                    cause.error());
    const QString reason = QString::fromUtf8(cause.what());
    return made(code, message.endsWith(u'.') ? message : QStringLiteral("%1: %2.").arg(message, reason),
                cause.error());
}

} // namespace zr
