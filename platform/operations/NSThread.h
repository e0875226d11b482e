// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <functional>

/// A thread of this process, used by itself; any thread may call the static functions.
class NSThread {
public:
    NSThread(const NSThread &) = delete;
    NSThread &operator=(const NSThread &) = delete;

    /// Runs the block on a new thread that nobody waits for. An exception that leaves the block ends the
    /// program. Raises std::system_error if the system grants no thread.
    static void detachNewThread(std::function<void()> block);

    /// The calling thread; the reference holds as long as the thread.
    static NSThread &currentThread();
    /// True on the thread that the process began with.
    static bool isMainThread();
    /// Blocks the calling thread; zero, negative and undefined intervals (in seconds) don't.
    static void sleepForTimeInterval(double seconds);

    /// The name given to it; nil if none was.
    QString name() const { return m_name; }
    /// Names the thread, for debuggers and process lists too, which show the first 15 bytes. (The main
    /// thread's name there is the program's and stays.)
    void setName(const QString &name);

private:
    NSThread() = default;
    QString m_name;
};
