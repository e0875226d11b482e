// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/Converter.h"
#include "tools/converter/Events.h"
#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Output.h"
#include "tools/zrpdf/Plan.h"
#include "tools/zrpdf/Reporter.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

/// Carries a plan out: reads what has to be read, hands documents to a converter, as many at once as it takes, and
/// writes what comes back. One loop on one thread makes all decisions.
class Runner {
public:
    /// Makes that which converts up to so many documents at once.
    using ConverterMaker = std::function<std::unique_ptr<zr::Converter>(int count)>;

    Runner(const Options &options, const Plan &plan, Reporter &reporter, zr::Events &events,
           ConverterMaker makeConverter);
    /// Nothing may happen to a runner that has gone.
    ~Runner();
    Runner(const Runner &) = delete;
    Runner &operator=(const Runner &) = delete;

    /// Converts all of it.
    ExitCode run();
    /// Starts one instance and gives its answer to the probe in JSON, or nothing.
    ExitCode boot(QByteArray *answer);

private:
    using Clock = std::chrono::steady_clock;
    /// A document that is being converted.
    struct Place {
        bool isTaken = false;
        std::size_t entry = 0;
        Clock::time_point started;
        std::unique_ptr<Output> output;
    };

    void work();
    bool admitNext();
    void makePlaces(std::size_t count);
    void assign();
    void read(std::size_t index);
    void send(std::size_t index, const QVariantMap &task);
    QVariantMap task(const QVariant &data) const;

    bool isWorking() const;
    Clock::time_point nextTick() const;
    void answered(Place &place, const zr::Converter::Answer &answer);
    void readDone(std::size_t index, const QByteArray &content, int failure);

    void succeed(Place &place, qint64 bytes);
    void fail(Place &place, ExitCode code, const QByteArray &message);
    void fail(std::size_t entry, ExitCode code, const QByteArray &message, double seconds);

    const Options &m_options;
    const Plan &m_plan;
    Reporter &m_reporter;
    zr::Events &m_events;
    const ConverterMaker m_makeConverter;
    std::unique_ptr<zr::Converter> m_converter;
    std::vector<Place> m_places;
    std::vector<ExitCode> m_outcomes;
    /// The entry that is looked at next, and the output of the one that was found fit.
    std::size_t m_next = 0;
    std::unique_ptr<Output> m_admitted;
    /// What the probe was answered.
    QVariantMap m_answer;
    bool m_booting = false;
};
