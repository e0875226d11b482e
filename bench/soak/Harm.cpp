// SPDX-License-Identifier: MIT
#include "bench/soak/Harm.h"

#include "bench/soak/WaitFor.h"
#include "platform/xpc/XPCActivator.h"
#include "tests/support/ProcessTree.h"

#include <QFile>
#include <algorithm>
#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

bool isRenderer(const ProcessTree::Process &process) {
    return process.command.find("--type=renderer") != std::string::npos;
}

bool isKeeper(const ProcessTree::Process &process) {
    return process.command.find("zrkit-keeper") != std::string::npos;
}

bool isBrowser(const ProcessTree::Process &process) {
    return !isKeeper(process) && process.command.find("--type=") == std::string::npos;
}

} // namespace

Harm::Harm(unsigned seed, QStringList services, std::chrono::milliseconds every, QString clockFile)
    : m_services(std::move(services)), m_every(every), m_clockFile(std::move(clockFile)), m_random(seed),
      m_thread([this](const std::stop_token &stop) { run(stop); }) {
}

void Harm::stop() {
    m_thread.request_stop();
    if (m_thread.joinable())
        m_thread.join();
}

bool Harm::excuses(Clock::time_point from, Clock::time_point to) const {
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_spans.begin(), m_spans.end(), [&](const Span &span) {
        const bool isHarmless =
            span.kind == Kind::Jump || span.kind == Kind::Stop || span.kind == Kind::StopBrowser;
        return !isHarmless && span.from <= to && span.to >= from;
    });
}

QString Harm::last(Clock::time_point before) const {
    const std::lock_guard lock(m_mutex);
    const auto span =
        std::find_if(m_spans.rbegin(), m_spans.rend(), [&](const Span &one) { return one.from <= before; });
    return span == m_spans.rend()
               ? u"no harm before it"_s
               : u"%1 s after harm %2"_s
                     .arg(std::chrono::duration<double>(before - span->from).count(), 0, 'f', 1)
                     .arg(int(span->kind));
}

int Harm::count() const {
    const std::lock_guard lock(m_mutex);
    int sum = 0;
    for (const int count : m_counts)
        sum += count;
    return sum;
}

QString Harm::summary() const {
    constexpr std::array<const char *, kinds> names{
        "services killed",   "keepers killed",   "browsers killed",  "renderers killed",
        "services ended",    "services stopped", "browsers stopped", "times without room for files",
        "jumps of the clock"};
    const std::lock_guard lock(m_mutex);
    QStringList parts;
    for (std::size_t i = 0; i < names.size(); ++i)
        parts << QString::number(m_counts[i]) + u' ' + QString::fromLatin1(names[i]);
    return parts.join(u", "_s);
}

void Harm::run(const std::stop_token &stop) {
    std::exponential_distribution<double> pause(1.0 / double(m_every.count()));
    while (waitFor(std::chrono::milliseconds(1 + int(pause(m_random))), stop)) {
        const auto kind = Kind(m_random() % unsigned(kinds));
        const QString &service = m_services[qsizetype(m_random() % unsigned(m_services.size()))];
        const pid_t process = zr::XPCActivator::shared().processIdentifier(service);
        if (process <= 0)
            continue;
        // What comes back while it is being done is judged at once.
        Span *span = nullptr;
        {
            const std::lock_guard lock(m_mutex);
            constexpr std::size_t most = 200;
            if (m_spans.size() == most)
                m_spans.pop_front();
            span = &m_spans.emplace_back(kind, Clock::now(), Clock::time_point::max());
        }
        const bool isDone = harm(kind, process);
        const std::lock_guard lock(m_mutex);
        m_counts[std::size_t(kind)] += isDone ? 1 : 0;
        // What dies may be missed a little later.
        span->to = Clock::now() + std::chrono::milliseconds(500);
    }
}

bool Harm::harm(Kind kind, pid_t service) {
    const auto tree = ProcessTree::below(service);
    const auto victim = [&](bool (*isOne)(const ProcessTree::Process &)) {
        const auto found = std::find_if(tree.begin(), tree.end(), isOne);
        return found == tree.end() ? 0 : found->pid;
    };
    const auto send = [](pid_t process, int signal) { return process > 0 && ::kill(process, signal) == 0; };
    const auto whileStopped = std::chrono::milliseconds(100 + m_random() % 600);
    switch (kind) {
    case Kind::KillService:
        return send(service, SIGKILL);
    case Kind::KillKeeper:
        return send(victim(isKeeper), SIGKILL);
    case Kind::KillBrowser:
        return send(victim(isBrowser), SIGKILL);
    case Kind::KillRenderer:
        return send(victim(isRenderer), SIGKILL);
    case Kind::Terminate:
        return send(service, SIGTERM);
    case Kind::Stop:
    case Kind::StopBrowser: {
        const pid_t process = kind == Kind::Stop ? service : victim(isBrowser);
        if (!send(process, SIGSTOP))
            return false;
        std::this_thread::sleep_for(whileStopped);
        return send(process, SIGCONT);
    }
    case Kind::NoRoom: {
        // No file may grow any more, shared memory neither.
        std::vector<ProcessTree::Process> processes = tree;
        processes.push_back({service, {}});
        for (const auto &process : processes) {
            const rlimit limits{0, RLIM_INFINITY};
            ::prlimit(process.pid, RLIMIT_FSIZE, &limits, nullptr);
        }
        std::this_thread::sleep_for(whileStopped);
        // A browser that lacked shared memory once may fail to print any time later, room or not.
        return send(service, SIGKILL);
    }
    case Kind::Jump: {
        QFile file(m_clockFile);
        constexpr std::int64_t hour = 3600, year = 365 * 24 * hour;
        constexpr std::array<std::int64_t, 8> offsets{0,    -40,        40,         -hour,
                                                      hour, -24 * hour, -10 * year, 10 * year};
        const std::int64_t offset = offsets[m_random() % offsets.size()];
        // Services have it mapped, so it keeps its place and size.
        return file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) &&
               file.write(reinterpret_cast<const char *>(&offset), sizeof offset) == sizeof offset;
    }
    }
    return false;
}
