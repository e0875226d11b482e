// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Runner.h"

#include "platform/base/SystemError.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/zrpdf/Interrupts.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>
#include <unistd.h>

namespace {

const QString serviceName = QStringLiteral("com.velmora.zrpdf");

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

QByteArray secondsText(std::chrono::milliseconds time) {
    return QByteArray::number(double(time.count()) / 1000) + " s";
}

/// The service's message, and what led to it if the service says so; one line.
QByteArray messageOf(const NSError &error) {
    const QByteArray message = error.localizedDescription().toUtf8();
    const auto cause = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
    return cause ? message + ": " + Input::shown(cause.localizedDescription().toUtf8()) : message;
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

Runner::Runner(const Options &options, const Plan &plan, Reporter &reporter, Events &events)
    : m_options(options), m_plan(plan), m_reporter(reporter), m_events(events),
      m_outcomes(plan.entries.size(), ExitCode::Success) {
}

ExitCode Runner::run() {
    // Nothing is started for inputs that can't be read or outputs that can't be written.
    if (admitNext())
        startInstances(std::min(std::size_t(m_options.jobs), m_plan.entries.size() - m_next));
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
        m_events.run(nextDeadline());
        endOverdue();
        assign();
        m_reporter.tick();
    }
}

ExitCode Runner::boot(QByteArray *answer) {
    m_booting = true;
    m_outcomes.assign(1, ExitCode::Success);
    startInstances(1);
    send(0, QVariantMap{{QStringLiteral("__boot"), true}});
    work();
    if (Interrupts::signal() != 0)
        return ExitCode::Interrupted;
    *answer = QJsonDocument(QJsonObject::fromVariantMap(m_answer.toMap())).toJson(QJsonDocument::Compact);
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

void Runner::startInstances(std::size_t count) {
    m_instances.resize(count);
    for (std::size_t index = 0; index < count; ++index) {
        Instance &instance = m_instances[index];
        instance.name = index == 0 ? serviceName : serviceName + u'@' + QString::number(index + 1);
        watch(index);
    }
}

void Runner::watch(std::size_t index) {
    Instance &instance = m_instances[index];
    if (!instance.monitor)
        instance.monitor = std::make_unique<NSXPCServiceMonitor>(
            instance.name, [this, index](const NSXPCServiceMonitor::Exit &exit) {
                m_events.post([this, index, exit] { ended(m_instances[index], exit); });
            });
}

void Runner::assign() {
    for (std::size_t index = 0; index < m_instances.size(); ++index) {
        Instance &instance = m_instances[index];
        if (instance.state != State::Idle || !admitNext())
            continue;
        instance.entry = m_next++;
        instance.output = std::move(m_admitted);
        const Input &input = m_plan.entries[instance.entry].input;
        if (input.kind() == Input::Kind::Stream)
            read(index);
        else
            send(index, task(input.url()));
    }
}

void Runner::read(std::size_t index) {
    Instance &instance = m_instances[index];
    instance.state = State::Reading;
    instance.started = Clock::now();
    ++instance.round;
    // The writer of the stream may take for ever; the loop doesn't.
    std::thread([this, index, round = instance.round, input = m_plan.entries[instance.entry].input] {
        QByteArray content;
        const zr::FileDescriptor stream(input.openStream());
        const int failure = stream ? readAll(stream.get(), content) : errno;
        m_events.post([this, index, round, content, failure] {
            if (isCurrent(index, round, State::Reading))
                readDone(index, content, failure);
        });
    }).detach();
}

void Runner::send(std::size_t index, const QVariant &task) {
    Instance &instance = m_instances[index];
    instance.state = State::Working;
    instance.started = Clock::now();
    ++instance.round;
    watch(index);
    if (!instance.client)
        instance.client = std::make_unique<ZRXPC>(instance.name);
    instance.client->performXPCAsyncWithObject(
        task, [this, index, round = instance.round](const QVariant &result, const NSError &error) {
            m_events.post([this, index, round, result, error] {
                if (isCurrent(index, round, State::Working))
                    replied(m_instances[index], result, error);
            });
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
    if (m_options.tagged)
        task.insert(QStringLiteral("tagged"), true);
    return task;
}

bool Runner::isWorking() const {
    // An instance that is ending is waited for only if there is work left for it.
    return std::any_of(m_instances.begin(), m_instances.end(), [&](const Instance &instance) {
        return instance.state == State::Reading || instance.state == State::Working ||
               (instance.state == State::Ending && m_next < m_plan.entries.size());
    });
}

Runner::Clock::time_point Runner::nextDeadline() const {
    Clock::time_point next =
        Clock::now() + (m_reporter.hasProgress() ? std::chrono::seconds(1) : std::chrono::hours(1));
    for (const Instance &instance : m_instances)
        if (instance.state == State::Working)
            next = std::min<Clock::time_point>(next, instance.started + m_options.timeout);
    return next;
}

/// Whether the instance is still about the task that something happened to, and not done or given up.
bool Runner::isCurrent(std::size_t index, quint64 round, State state) const {
    return m_instances[index].round == round && m_instances[index].state == state;
}

void Runner::readDone(std::size_t index, const QByteArray &content, int failure) {
    Instance &instance = m_instances[index];
    if (failure)
        fail(instance, ExitCode::UnreadableInput, zr::systemErrorText(failure).toLocal8Bit());
    else if (content.isEmpty())
        fail(instance, ExitCode::UnreadableInput, "is empty");
    else
        send(index, task(content));
}

void Runner::replied(Instance &instance, const QVariant &result, const NSError &error) {
    if (::geteuid() == 0)
        m_reporter.remark("The browser runs without its sandbox, which root cannot have");
    if (error) {
        fail(instance, ExitCode::FailedConversion, messageOf(error));
        return;
    }
    if (m_booting) {
        m_answer = result;
        instance.state = State::Idle;
        return;
    }
    const QByteArray pdf = result.toMap().value(QStringLiteral("data")).toByteArray();
    if (!pdf.startsWith("%PDF-")) {
        fail(instance, ExitCode::FailedConversion, "the service's reply holds no PDF");
        return;
    }
    const QByteArray problem = instance.output->commit(pdf);
    if (!problem.isEmpty())
        fail(instance, ExitCode::UnwritableOutput,
             (instance.output->isStandardOutput() ? QByteArray("standard output")
                                                  : Input::shown(m_plan.entries[instance.entry].output)) +
                 ": " + problem);
    else
        succeed(instance, pdf.size());
}

void Runner::ended(Instance &instance, const NSXPCServiceMonitor::Exit &exit) {
    if (exit.pid == 0)
        instance.monitor.reset();
    if (instance.state == State::Ending) {
        instance.state = State::Idle;
    } else if (instance.state == State::Working) {
        QByteArray message = "the conversion service was lost (" + exit.description().toUtf8() + ')';
        if (exit.pid == 0)
            message = zr::XPCActivator::executable(instance.name).isEmpty()
                          ? "the conversion service " + serviceName.toUtf8() + " is not installed"
                          : QByteArray("the conversion service was lost or can't be started");
        fail(instance, ExitCode::LostService, message);
    }
}

void Runner::endOverdue() {
    for (Instance &instance : m_instances) {
        if (instance.state != State::Working || Clock::now() < instance.started + m_options.timeout)
            continue;
        const pid_t process = instance.monitor ? instance.monitor->processIdentifier() : 0;
        fail(instance, ExitCode::Timeout, "took longer than " + secondsText(m_options.timeout));
        if (process > 0 && ::kill(process, SIGKILL) == 0)
            instance.state = State::Ending;
    }
}

void Runner::succeed(Instance &instance, qint64 bytes) {
    const Plan::Entry &entry = m_plan.entries[instance.entry];
    instance.output.reset();
    instance.state = State::Idle;
    m_reporter.succeeded(entry.input, entry.output, bytes, secondsSince(instance.started));
}

void Runner::fail(Instance &instance, ExitCode code, const QByteArray &message) {
    instance.output.reset();
    instance.state = State::Idle;
    fail(instance.entry, code, message, secondsSince(instance.started));
}

void Runner::fail(std::size_t entry, ExitCode code, const QByteArray &message, double seconds) {
    m_outcomes[entry] = code;
    if (m_booting)
        m_reporter.line(message);
    else
        m_reporter.failed(m_plan.entries[entry].input, message, seconds);
}
