// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Operations/ZROperationQueue.h"
#include "ZRKit/Service/ZRXPC.h"

/// One task on its way to a service and back. Any thread.
///
/// It finishes when the reply is there. Cancelled before it starts, it finishes without contacting the service;
/// cancelled later, it waits for its reply all the same.
class ZRXPCOperation : public ZROperationConcurrent {
    Q_OBJECT
    Q_PROPERTY(QVariant taskInfo READ taskInfo WRITE setTaskInfo)
    Q_PROPERTY(QVariant taskResult READ taskResult WRITE setTaskResult)
    Q_PROPERTY(NSError error READ error WRITE setError)

public:
    /// \param xpcHelper  the client that sends the task; what it needs for that is kept until it is done
    explicit ZRXPCOperation(const ZRXPC &xpcHelper);

    void concurrentMain() override;
    void cancel() override;
    void completeOperation() override;
    /// Lets the client go.
    void cleanup();

    /// The task object to send.
    QVariant taskInfo() const { return get(m_taskInfo); }
    void setTaskInfo(const QVariant &taskInfo) { set(m_taskInfo, taskInfo); }
    /// The result; nil until a reply has come, or if that has none.
    QVariant taskResult() const { return get(m_taskResult); }
    void setTaskResult(const QVariant &taskResult) { set(m_taskResult, taskResult); }
    /// The reply's error, or nil.
    NSError error() const { return get(m_error); }
    void setError(const NSError &error) { set(m_error, error); }

private:
    template <typename T>
    T get(const T &member) const {
        const std::lock_guard lock(m_mutex);
        return member;
    }
    template <typename T>
    void set(T &member, const T &value) {
        const std::lock_guard lock(m_mutex);
        member = value;
    }

    mutable std::mutex m_mutex;
    std::shared_ptr<zr::XPCClient> m_xpcHelper;
    QVariant m_taskInfo;
    QVariant m_taskResult;
    NSError m_error;
};
