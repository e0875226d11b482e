// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPC.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tools/zrpdf/Events.h"
#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Output.h"
#include "tools/zrpdf/Plan.h"
#include "tools/zrpdf/Reporter.h"

#include <chrono>
#include <memory>
#include <vector>

/// Carries a plan out: hands documents to service instances, one at a time to each, and writes what comes back.
///
/// A client waits for its reply for as long as it takes, even if the service is gone. So the runner keeps the clock
/// and watches the instances' lives: one that takes too long for a document is ended, one that ended is lost, and the
/// next document gets a new one. One loop on one thread makes all decisions.
class Runner {
public:
    Runner(const Options &options, const Plan &plan, Reporter &reporter, Events &events);

    /// Converts all of it.
    ExitCode run();
    /// Starts one instance and gives its answer to the probe in JSON, or nothing.
    ExitCode boot(QByteArray *answer);

private:
    using Clock = std::chrono::steady_clock;
    enum class State {
        Idle,
        Reading, ///< a stream is read for its next task
        Working, ///< waits for a reply
        Ending,  ///< was killed and isn't gone yet
    };
    struct Instance {
        QString name;
        State state = State::Idle;
        std::unique_ptr<NSXPCServiceMonitor> monitor;
        std::unique_ptr<ZRXPC> client;
        quint64 round = 0;
        std::size_t entry = 0;
        Clock::time_point started;
        std::unique_ptr<Output> output;
    };

    void work();
    bool admitNext();
    void startInstances(std::size_t count);
    void assign();
    void read(std::size_t index);
    void send(std::size_t index, const QVariant &task);
    void watch(std::size_t index);
    QVariantMap task(const QVariant &data) const;

    bool isWorking() const;
    Clock::time_point nextDeadline() const;
    bool isCurrent(std::size_t index, quint64 round, State state) const;
    void replied(Instance &instance, const QVariant &result, const NSError &error);
    void ended(Instance &instance, const NSXPCServiceMonitor::Exit &exit);
    void readDone(std::size_t index, const QByteArray &content, int failure);
    void endOverdue();

    void succeed(Instance &instance, qint64 bytes);
    void fail(Instance &instance, ExitCode code, const QByteArray &message);
    void fail(std::size_t entry, ExitCode code, const QByteArray &message, double seconds);

    const Options &m_options;
    const Plan &m_plan;
    Reporter &m_reporter;
    Events &m_events;
    std::vector<Instance> m_instances;
    std::vector<ExitCode> m_outcomes;
    /// The entry that is looked at next, and the output of the one that was found fit.
    std::size_t m_next = 0;
    std::unique_ptr<Output> m_admitted;
    /// What the probe was answered.
    QVariant m_answer;
    bool m_booting = false;
};
