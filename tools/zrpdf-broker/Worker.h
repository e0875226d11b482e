// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Queue/ClaimStore.h"
#include "ZRKit/Queue/TaskMessage.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "platform/broker/BrokerClient.h"
#include "tools/converter/Converter.h"
#include "tools/zrpdf-broker/WorkerOptions.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace zr {

/// Takes tasks from a broker, has them converted, and sends the results back. A task is acknowledged when the broker has
/// confirmed its reply, so whenever this process dies, others get what it had.
///
/// As many tasks are delivered at a time as there are instances, so each is begun at once: the broker counts a delivery against
/// a task even if a worker dies before it has begun it.
///
/// A task whose browser or service dies is given back, twice. The third time it is given up: it goes to the dead tasks with
/// the cause, and its sender gets an error. So that a service that never works costs no task its tries, a tiny document has to
/// be converted before the first task is taken, and after each loss. Any thread.
class Worker : public std::enable_shared_from_this<Worker> {
public:
    enum class Event {
        Connected,   ///< perhaps again
        Idle,        ///< nothing is to be done any more, after stop()
        Unavailable, ///< the conversion service isn't there, or can convert nothing
    };
    /// Told on any thread; must not block.
    using Watcher = std::function<void(Event event)>;

    /// Made with std::make_shared; start() begins the work once a trial has shown that the converter works, close() comes
    /// before the end. The converter lives longer.
    Worker(const WorkerOptions &options, Converter &converter, Watcher watcher);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    void start();
    /// Takes no more tasks, and finishes those that it has.
    void stop();
    /// Ends the connection; tasks that are not done go to others. Once it returns, the converter gets no more of them.
    void close();

private:
    struct Job {
        QByteArray key;          ///< who wants the reply, and the task's identifier there
        BrokerDelivery delivery; ///< the latest: it comes again on a new connection
        BrokerClient::Clock::time_point started;
    };
    using Then = std::function<void()>;

    /// A new job for a delivery; nil if it is known here, in work or done.
    std::shared_ptr<Job> admit(BrokerDelivery delivery, bool isLost);
    /// Ends a job that this worker has nothing more to do with. \return its latest delivery
    BrokerDelivery release(const std::shared_ptr<Job> &job, bool isDone);
    /// Does something that may block, unless the worker is closed.
    void later(Then step);
    /// Finds out whether any document can be converted.
    void tryOut(const std::function<void(bool works)> &then, int trials = 3);
    void connect();
    void taken(const BrokerDelivery &delivery);
    void lostOneTaken(const BrokerDelivery &delivery);
    void tick();
    void work(const std::shared_ptr<Job> &job);
    void convert(const std::shared_ptr<Job> &job, const QVariant &object);
    void answered(const std::shared_ptr<Job> &job, const Converter::Answer &answer);
    void reply(const std::shared_ptr<Job> &job, const TaskMessage::Reply &reply);
    void giveUp(const std::shared_ptr<Job> &job, const QString &cause, int tries, const NSError &error);
    void giveBack(const std::shared_ptr<Job> &job);
    void giveBackAndEnd(const std::shared_ptr<Job> &job);
    void finish(const std::shared_ptr<Job> &job, const QString &outcome);
    void publish(const std::shared_ptr<Job> &job, const QByteArray &queue, BrokerMessage message,
                 const Then &then);
    void removeFromStore(const QByteArray &claim);
    BrokerDelivery deliveryOf(const std::shared_ptr<Job> &job) const;
    void tellIfIdle();

    const WorkerOptions m_options;
    Converter &m_converter;
    const Watcher m_watcher;
    const TaskQueues m_queues;
    std::unique_ptr<const ClaimStore> m_store;
    BrokerClient::Clock::time_point m_nextCleaning;

    mutable std::mutex m_mutex;
    std::unordered_map<QByteArray, std::shared_ptr<Job>> m_jobs; ///< by their keys
    std::deque<QByteArray> m_done; ///< the latest that were replied to, should the broker deliver them again
    std::unordered_set<QByteArray> m_doneSet;
    bool m_isStopping = false;
    bool m_hasStopped = false;
    bool m_isClosed = false;
    int m_steps = 0; ///< that may block, and are under way
    std::condition_variable m_stepEnded;
    std::unique_ptr<BrokerClient> m_broker;
};

} // namespace zr
