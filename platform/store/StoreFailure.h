// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSCoreDataErrors.h"
#include "platform/store/SQLiteDatabase.h"

namespace zr {

/// What the store itself finds wrong; raised inside the store only.
class StoreFailure : public std::exception {
public:
    StoreFailure(NSCoreDataError code, const QString &message, const NSError &cause = {});

    const NSError &error() const { return m_error; }
    const char *what() const noexcept override { return m_what.constData(); }

private:
    NSError m_error;
    QByteArray m_what;
};

/// The error for what SQLite reports, unless another process' lock is the reason, which has a code of its own.
NSError storeError(NSCoreDataError code, const QString &message, const SQLiteFailure &cause);

/// Runs work that may raise the store's failures, and gives the error of one. What predicates raise goes on.
template <typename Work>
NSError storeErrorOf(NSCoreDataError code, const QString &message, Work work) {
    try {
        work();
        return {};
    } catch (const SQLiteFailure &failure) {
        return storeError(code, message, failure);
    } catch (const StoreFailure &failure) {
        return failure.error();
    }
}

} // namespace zr
