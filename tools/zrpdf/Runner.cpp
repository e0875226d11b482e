// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Runner.h"

#include "platform/base/SystemError.h"
#include "tools/zrpdf/Interrupts.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cerrno>
#include <thread>
#include <unistd.h>

namespace {

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

ExitCode exitCodeOf(const zr::Converter::Answer &answer) {
    using Outcome = zr::Converter::Outcome;
    switch (answer.outcome) {
    case Outcome::Late:
        return ExitCode::Timeout;
    case Outcome::Lost:
        // A service that lost its browser is still there.
        return answer.error ? ExitCode::FailedConversion : ExitCode::LostService;
    case Outcome::Unavailable:
        return ExitCode::LostService;
    default:
        return ExitCode::FailedConversion;
    }
}

/// Reads to the end; the error number, or 0.
int readAll(int descriptor, QByteArray &content) {
    constexpr qsizetype step = 1 << 18;
    for (;;) {
        const qsizetype size = content.size();
        content.resize(size + step);
        const ssize_t count = ::read(descriptor, content.data() + size, std::size_t(step));
        content.resize(size + std::max<ssize_t>(count, 0));
        if (count == 0 || (count < 0 && errno != EINTR))
            return count == 0 ? 0 : errno;
    }
}

} // namespace

Runner::Runner(const Options &options, const Plan &plan, Reporter &reporter, zr::Events &events,
               ConverterMaker makeConverter)
    : m_options(options), m_plan(plan), m_reporter(reporter), m_events(events),
      m_makeConverter(std::move(makeConverter)), m_outcomes(plan.entries.size(), ExitCode::Success) {
}

Runner::~Runner() {
    // It abandons what is under way, and tells so.
    m_converter.reset();
}

ExitCode Runner::run() {
    // Nothing is started for inputs that can't be read or outputs that can't be written.
    if (admitNext())
        makePlaces(std::min(std::size_t(m_options.jobs), m_plan.entries.size() - m_next));
    work();
    if (Interrupts::signal() != 0)
        return ExitCode::Interrupted;
    m_reporter.finish();
    if (!m_reporter.outputProblem().isEmpty()) {
        m_reporter.line(m_reporter.outputProblem());
        return ExitCode::UnwritableOutput;
    }
    const auto failed = std::find_if(m_outcomes.begin(), m_outcomes.end(),
                                     [](ExitCode outcome) { return outcome != ExitCode::Success; });
    return failed == m_outcomes.end() ? ExitCode::Success : *failed;
}

void Runner::work() {
    assign();
    while (isWorking() && Interrupts::signal() == 0) {
        m_events.run(nextTick());
        assign();
        m_reporter.tick();
    }
}

ExitCode Runner::boot(QByteArray *answer) {
    m_booting = true;
    m_outcomes.assign(1, ExitCode::Success);
    makePlaces(1);
    m_places[0].isTaken = true;
    m_places[0].started = Clock::now();
    send(0, {{QStringLiteral("__boot"), true}});
    work();
    if (Interrupts::signal() != 0)
        return ExitCode::Interrupted;
    *answer = QJsonDocument(QJsonObject::fromVariantMap(m_answer)).toJson(QJsonDocument::Compact);
    return m_outcomes.front();
}

/// Goes on to the next entry that can be worked on; those before it have failed. False if there is none.
bool Runner::admitNext() {
    while (!m_admitted && m_next < m_plan.entries.size()) {
        const Plan::Entry &entry = m_plan.entries[m_next];
        const QByteArray unreadable = entry.input.problem();
        m_admitted = std::make_unique<Output>(entry.output, m_options.force);
        QByteArray unwritable;
        if (unreadable.isEmpty())
            unwritable = m_admitted->open();
        if (unreadable.isEmpty() && unwritable.isEmpty())
            return true;
        m_admitted.reset();
        if (!unreadable.isEmpty())
            fail(m_next, ExitCode::UnreadableInput, unreadable, 0);
        else
            fail(m_next, ExitCode::UnwritableOutput, Input::shown(entry.output) + ": " + unwritable, 0);
        ++m_next;
    }
    return m_admitted != nullptr;
}

void Runner::makePlaces(std::size_t count) {
    m_converter = m_makeConverter(int(count));
    m_places.resize(count);
}

void Runner::assign() {
    for (std::size_t index = 0; index < m_places.size(); ++index) {
        Place &place = m_places[index];
        if (place.isTaken || !admitNext())
            continue;
        place.isTaken = true;
        place.entry = m_next++;
        place.output = std::move(m_admitted);
        place.started = Clock::now();
        const Input &input = m_plan.entries[place.entry].input;
        if (input.kind() == Input::Kind::Stream)
            read(index);
        else
            send(index, task(input.url()));
    }
}

void Runner::read(std::size_t index) {
    // The writer of the stream may take for ever; the loop doesn't.
    std::thread([this, index, input = m_plan.entries[m_places[index].entry].input] {
        QByteArray content;
        const zr::FileDescriptor stream(input.openStream());
        const int failure = stream ? readAll(stream.get(), content) : errno;
        m_events.post([this, index, content, failure] { readDone(index, content, failure); });
    }).detach();
}

void Runner::send(std::size_t index, const QVariantMap &task) {
    m_converter->convert({.object = task, .timeout = m_options.timeout},
                         [this, index](const zr::Converter::Answer &answer) {
                             m_events.post([this, index, answer] { answered(m_places[index], answer); });
                         });
}

QVariantMap Runner::task(const QVariant &data) const {
    QVariantMap task{{QStringLiteral("data"), data}};
    const auto set = [&](const QString &key, const QString &value) {
        if (!value.isNull())
            task.insert(key, value);
    };
    set(QStringLiteral("utiType"), m_options.type);
    set(QStringLiteral("pdfTitle"), m_options.title);
    set(QStringLiteral("pdfCreator"), m_options.creator);
    if (m_options.network)
        task.insert(QStringLiteral("network"), zr::networkModeName(*m_options.network));
    if (m_options.tagged)
        task.insert(QStringLiteral("tagged"), true);
    return task;
}

bool Runner::isWorking() const {
    return std::any_of(m_places.begin(), m_places.end(), [](const Place &place) { return place.isTaken; });
}

Runner::Clock::time_point Runner::nextTick() const {
    return Clock::now() + (m_reporter.hasProgress() ? std::chrono::seconds(1) : std::chrono::hours(1));
}

void Runner::readDone(std::size_t index, const QByteArray &content, int failure) {
    Place &place = m_places[index];
    if (failure) {
        fail(place, ExitCode::UnreadableInput, zr::systemErrorText(failure).toLocal8Bit());
    } else if (content.isEmpty()) {
        fail(place, ExitCode::UnreadableInput, "is empty");
    } else {
        place.started = Clock::now();
        send(index, task(content));
    }
}

void Runner::answered(Place &place, const zr::Converter::Answer &answer) {
    using Outcome = zr::Converter::Outcome;
    const bool hasAnswered = answer.outcome == Outcome::Done || answer.outcome == Outcome::Failed;
    if (hasAnswered && ::geteuid() == 0)
        m_reporter.remark("The browser runs without its sandbox, which root cannot have");
    if (answer.outcome != Outcome::Done) {
        fail(place, exitCodeOf(answer), Input::shown(answer.text().toUtf8()));
        return;
    }
    if (m_booting) {
        m_answer = answer.result;
        place.isTaken = false;
        return;
    }
    const QByteArray pdf = answer.pdf();
    const QByteArray problem = place.output->commit(pdf);
    if (!problem.isEmpty())
        fail(place, ExitCode::UnwritableOutput,
             (place.output->isStandardOutput() ? QByteArray("standard output")
                                               : Input::shown(m_plan.entries[place.entry].output)) +
                 ": " + problem);
    else
        succeed(place, pdf.size());
}

void Runner::succeed(Place &place, qint64 bytes) {
    const Plan::Entry &entry = m_plan.entries[place.entry];
    place.output.reset();
    place.isTaken = false;
    m_reporter.succeeded(entry.input, entry.output, bytes, secondsSince(place.started));
}

void Runner::fail(Place &place, ExitCode code, const QByteArray &message) {
    place.output.reset();
    place.isTaken = false;
    fail(place.entry, code, message, secondsSince(place.started));
}

void Runner::fail(std::size_t entry, ExitCode code, const QByteArray &message, double seconds) {
    m_outcomes[entry] = code;
    if (m_booting)
        m_reporter.line(message);
    else
        m_reporter.failed(m_plan.entries[entry].input, message, seconds);
}
