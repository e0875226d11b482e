// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSBlockOperation.h"
#include "platform/operations/NSOperation.h"

#include <QObject>
#include <functional>
#include <memory>
#include <vector>

namespace zr {
class NSOperationQueuePrivate;
}

/// As many operations at once as the process's threads for operations allow: 64, those that wait for operations,
/// for the main queue, in a run loop or asleep (NSThread) not counted. Other ways to block are not known here.
inline constexpr int NSOperationQueueDefaultMaxConcurrentOperationCount = -1;

/// Starts operations on threads of its own choosing: of those that are ready the one with the highest
/// priority first, and among equals the one that was added first.
///
/// An operation counts as running from its start() until it announces "isFinished"; then the queue lets it
/// go. A cancelled operation is started too, so that it finishes. What start() raises is logged. All
/// functions may be called from any thread.
///
/// A queue may be destroyed at any time: its operations still run to their end. Those that wait in a
/// suspended queue are cancelled then, because nobody could resume it.
class NSOperationQueue : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName)
    Q_PROPERTY(
        int maxConcurrentOperationCount READ maxConcurrentOperationCount WRITE setMaxConcurrentOperationCount)
    Q_PROPERTY(bool suspended READ isSuspended WRITE setSuspended)
    Q_PROPERTY(int operationCount READ operationCount)

public:
    explicit NSOperationQueue(QObject *parent = nullptr);
    ~NSOperationQueue() override;

    /// The queue whose operations run on the main thread, one at a time, as blocks of
    /// DispatchQueue::mainQueue(). It keeps its limit of 1.
    static NSOperationQueue &mainQueue();

    QString name() const;
    void setName(const QString &name);

    /// How many operations may run at once; none with 0. Running ones aren't affected by a lower limit.
    /// Raises NSInvalidArgumentException for a negative number other than the default.
    int maxConcurrentOperationCount() const;
    void setMaxConcurrentOperationCount(int count);

    /// While it is suspended, the queue starts nothing; running operations go on.
    bool isSuspended() const;
    void setSuspended(bool suspended);

    /// Raises NSInvalidArgumentException for nil, and for an operation that is executing, has
    /// finished or was given to a queue before.
    void addOperation(const std::shared_ptr<NSOperation> &operation);
    /// Adds all, or none if it raises; may wait until these have finished.
    void addOperations(const std::vector<std::shared_ptr<NSOperation>> &operations, bool waitUntilFinished);
    /// Wraps the block in an operation, adds and returns it.
    std::shared_ptr<NSBlockOperation> addOperationWithBlock(std::function<void()> block);

    /// Those that have not finished yet, in the order in which they were added.
    std::vector<std::shared_ptr<NSOperation>> operations() const;
    int operationCount() const;

    /// Cancels those that have not finished yet.
    void cancelAllOperations();
    /// Blocks until the queue is empty. Never call it from an operation of the queue.
    void waitUntilAllOperationsAreFinished();

private:
    explicit NSOperationQueue(std::shared_ptr<zr::NSOperationQueuePrivate> state);

    const std::shared_ptr<zr::NSOperationQueuePrivate> d;
};
