// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperationQueue.h"

#include <QPointer>
#include <QVariant>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

/// An operation that runs a block once. What the block raises is dropped. Any thread may use it, except for its
/// user info and delegate.
class ZROperation : public NSOperation {
    Q_OBJECT
    Q_PROPERTY(QVariant userInfo READ userInfo WRITE setUserInfo)
    Q_PROPERTY(QObject *delegate READ delegate WRITE setDelegate)

public:
    /// The block gets the operation itself.
    using Block = std::function<void(const std::shared_ptr<ZROperation> &)>;

    ZROperation() = default;
    /// \param block  the work; may be nil
    explicit ZROperation(Block block) : m_blockWithOperation(std::move(block)) {}

    void main() override;

    /// For the owner's use, like the delegate. Neither is read here, nor guarded: one thread at a time.
    QVariant userInfo() const { return m_userInfo; }
    void setUserInfo(const QVariant &userInfo) { m_userInfo = userInfo; }

    /// Not kept alive; nil once it is gone.
    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

private:
    const Block m_blockWithOperation;
    QVariant m_userInfo;
    QPointer<QObject> m_delegate;
};

/// The base of asynchronous operations: work on a thread of its own, finished when completeOperation() is
/// called.
///
/// Subclasses override concurrentMain(), others give a work block. Either must see to it that completeOperation() is
/// called in the end, from any thread; until then the operation stays executing, even if the work threw (which is
/// dropped silently) or the operation was cancelled after its start.
///
/// Observers that raise change nothing of that: all steps are taken, and the first exception is raised by start() (a
/// queue logs it) or completeOperation() in the end. If the system grants no thread, the operation is completed and
/// start() raises std::system_error. Any thread may call its functions.
class ZROperationConcurrent : public ZROperation {
    Q_OBJECT

public:
    using ConcurrentBlock = std::function<void(const std::shared_ptr<ZROperationConcurrent> &)>;

    ZROperationConcurrent() = default;
    /// \param block         the work; nil leaves it to concurrentMain()
    /// \param onCompletion  called once when the operation completes; may be nil. An operation that is cancelled
    ///                      before its start doesn't call it.
    explicit ZROperationConcurrent(ConcurrentBlock block, ConcurrentBlock onCompletion = nullptr)
        : m_blockConcurrentOperation(std::move(block)),
          m_completionBlockConcurrentOperation(std::move(onCompletion)) {}

    bool isConcurrent() const override { return true; }
    bool isExecuting() const override { return m_executing; }
    bool isFinished() const override { return m_finished; }

    void start() override;
    void main() override;
    /// The work of subclasses. This one logs that it should have been overridden, and completes the
    /// operation.
    virtual void concurrentMain();

    /// Ends the operation: announces its flags, then calls the completion block unless it was called before.
    virtual void completeOperation();

private:
    std::shared_ptr<ZROperationConcurrent> self();

    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_finished{false};
    const ConcurrentBlock m_blockConcurrentOperation;
    std::mutex m_completionMutex;
    ConcurrentBlock m_completionBlockConcurrentOperation;
};

/// An operation queue, under the kit's name. Any thread.
class ZROperationQueue : public NSOperationQueue {
    Q_OBJECT

public:
    using NSOperationQueue::NSOperationQueue;
};
