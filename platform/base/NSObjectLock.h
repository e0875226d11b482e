// SPDX-License-Identifier: MIT
#pragma once

class QObject;

/// Holds an object's own lock while it lives: the one lock that everybody who synchronises on that object
/// uses. The same thread may hold it several times. Any object has one, at no cost while nobody holds it;
/// nullptr has none. The object must live as long as its lock is held or waited for.
class NSObjectLock {
public:
    explicit NSObjectLock(const QObject *object);
    ~NSObjectLock();
    NSObjectLock(const NSObjectLock &) = delete;
    NSObjectLock &operator=(const NSObjectLock &) = delete;

private:
    const QObject *const m_object;
};
