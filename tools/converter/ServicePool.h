// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/XPCClient.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tools/converter/Converter.h"
#include "tools/converter/Events.h"

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zr {

/// Hands documents to service instances of this machine, one at a time to each, in the order in which they came.
///
/// A client waits for its reply for as long as it takes, even if the service is gone. So the pool keeps the clock and
/// watches the instances' lives: one that takes too long for a document is ended, one that has ended is lost, and the
/// next document gets a new one. A document that nobody wants any more is given up, and its instance goes on. One
/// thread makes all decisions.
class ServicePool : public Converter {
public:
    static const QString &defaultService();

    struct Options {
        int instances = 1;
        /// How many times a document is tried in all if its service or browser is lost.
        int tries = 1;
        QString service = defaultService();
    };

    /// Starts the instances, and doesn't wait for them.
    explicit ServicePool(const Options &options);
    /// Abandons what there is to do, waits for handlers that are being called, and has the instances end that this process
    /// has started.
    ~ServicePool() override;
    ServicePool(const ServicePool &) = delete;
    ServicePool &operator=(const ServicePool &) = delete;

    void convert(Task task, Handler handler) override;
    State state() const override;

private:
    using Clock = std::chrono::steady_clock;
    using GiveUp = std::stop_callback<std::function<void()>>;

    /// A task on its way.
    struct Errand {
        Task task;
        Handler handler;
        int triesLeft = 0;
        std::optional<Clock::time_point> deadline = {}; ///< once it has had its turn
        std::unique_ptr<GiveUp> giveUp = {};
    };
    enum class Activity {
        Idle,
        Working, ///< waits for a reply
        Ending,  ///< was killed, or died, and isn't known to be gone yet
    };
    struct Instance {
        QString name;
        Activity activity = Activity::Idle;
        std::unique_ptr<NSXPCServiceMonitor> monitor;
        std::shared_ptr<XPCClient> client;
        std::uint64_t round = 0; ///< tells a task from those before it
        std::shared_ptr<Errand> errand;
        std::stop_source hangUp = std::stop_source(std::nostopstate);
    };

    void run();
    /// Has something done on the pool's thread, as long as there is a pool.
    std::function<void(Events::Event)> poster() const;
    void assign();
    void send(std::size_t index);
    void watch(std::size_t index);
    void replied(std::size_t index, std::uint64_t round, const QVariant &result, const NSError &error);
    void ended(std::size_t index, const NSXPCServiceMonitor::Exit &exit);
    void endOverdue();
    void abandon(const std::shared_ptr<Errand> &errand);
    /// Ends the instance's task, and tells, or tries once more.
    void settle(Instance &instance, const Answer &answer);
    static void tell(const std::shared_ptr<Errand> &errand, const Answer &answer);
    Clock::time_point nextDeadline() const;
    Answer loss(const Instance &instance, const NSXPCServiceMonitor::Exit &exit) const;
    void publishState();

    const Options m_options;
    std::vector<Instance> m_instances;
    std::deque<std::shared_ptr<Errand>> m_waiting;
    std::uint64_t m_ended = 0;
    bool m_isOver = false;

    mutable std::mutex m_stateMutex;
    State m_state;

    /// Those who tell of something may outlive the pool.
    const std::shared_ptr<Events> m_events = std::make_shared<Events>();
    std::thread m_thread;
};

} // namespace zr
