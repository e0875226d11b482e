// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

namespace zr {
class NSOperationQueuePrivate;
struct NSOperationPrivate;
} // namespace zr

/// The keys under which operations announce their state.
inline const QString NSOperationIsReadyKey = QStringLiteral("isReady");
inline const QString NSOperationIsExecutingKey = QStringLiteral("isExecuting");
inline const QString NSOperationIsFinishedKey = QStringLiteral("isFinished");
inline const QString NSOperationIsCancelledKey = QStringLiteral("isCancelled");

/// The order in which a queue starts operations that are ready.
enum NSOperationQueuePriority {
    NSOperationQueuePriorityVeryLow = -8,
    NSOperationQueuePriorityLow = -4,
    NSOperationQueuePriorityNormal = 0,
    NSOperationQueuePriorityHigh = 4,
    NSOperationQueuePriorityVeryHigh = 8,
};

/// A piece of work with a life cycle: ready, executing, finished; and cancelled at any moment before the end.
///
/// Plain operations override main(). Concurrent ones (isConcurrent() is true) override start(), isExecuting() and
/// isFinished(), return from start() at once, and announce both flags themselves: changeValuesForKeys() does it.
/// Waiting threads, dependent operations and the queue go by the announcement of "isFinished". Make operations with
/// std::make_shared. Any thread may call all functions. Whatever observers raise, an operation goes through all of its
/// states.
///
///     auto operation = std::make_shared<NSBlockOperation>([] { work(); });
///     operation->addDependency(first);
///     queue.addOperation(operation);
///     operation->waitUntilFinished();
class NSOperation : public QObject, public std::enable_shared_from_this<NSOperation> {
    Q_OBJECT
    Q_PROPERTY(bool isReady READ isReady)
    Q_PROPERTY(bool isExecuting READ isExecuting)
    Q_PROPERTY(bool isFinished READ isFinished)
    Q_PROPERTY(bool isCancelled READ isCancelled)
    Q_PROPERTY(bool isConcurrent READ isConcurrent)
    Q_PROPERTY(bool isAsynchronous READ isAsynchronous)
    Q_PROPERTY(int queuePriority READ queuePriority WRITE setQueuePriority)
    Q_PROPERTY(QString name READ name WRITE setName)

public:
    NSOperation();
    ~NSOperation() override;

    /// Runs the operation on the calling thread: main(), with the flags announced around it. A finished
    /// operation does nothing, a cancelled one finishes without main(). What main() raises is raised again once
    /// the operation is finished. Raises NSInvalidArgumentException if it is executing already
    /// or not ready.
    virtual void start();
    /// The work; does nothing here. Long work should ask isCancelled() from time to time.
    virtual void main();
    /// Marks the operation as cancelled. If it waits, it no longer waits for its dependencies; its queue
    /// still calls start(), so that it finishes. If it is executing, the work itself must look. If finished,
    /// nothing happens.
    virtual void cancel();

    virtual bool isReady() const;
    virtual bool isExecuting() const;
    virtual bool isFinished() const;
    virtual bool isCancelled() const;
    virtual bool isConcurrent() const { return false; }
    virtual bool isAsynchronous() const { return isConcurrent(); }

    /// Makes this operation wait for the other one to finish, whichever queue that is in. No effect once this
    /// one is executing or finished. Raises NSInvalidArgumentException for nil and for the
    /// operation itself.
    void addDependency(const std::shared_ptr<NSOperation> &operation);
    void removeDependency(const std::shared_ptr<NSOperation> &operation);
    /// Those added, in their order, the finished ones too.
    std::vector<std::shared_ptr<NSOperation>> dependencies() const;

    /// One of NSOperationQueuePriority. Other values are moved towards Normal, to the first that is one.
    int queuePriority() const;
    void setQueuePriority(int priority);

    QString name() const;
    void setName(const QString &name);

    /// Called once, on a thread of its own choosing, after the operation has finished; then dropped. A block
    /// set later than that isn't called.
    std::function<void()> completionBlock() const;
    void setCompletionBlock(std::function<void()> block);

    /// Blocks until the operation has finished. Never call it from the operation itself.
    void waitUntilFinished();

    /// Announce a change of one of the operation's keys to observers, and to everything that waits for it.
    void willChangeValueForKey(const QString &key);
    void didChangeValueForKey(const QString &key);

protected:
    /// Makes a change of the operation's keys: announces that they will change, in their order, changes them, and
    /// announces that they did, the last first. All of that happens even if observers or the change raise; the
    /// first exception is raised in the end.
    void changeValuesForKeys(const QStringList &keys, const std::function<void()> &change);

private:
    void dependencyDidFinish(const NSOperation *operation);
    void finish();
    void didFinish();

    const std::unique_ptr<zr::NSOperationPrivate> d;
    friend class zr::NSOperationQueuePrivate;
};
