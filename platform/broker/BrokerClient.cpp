// SPDX-License-Identifier: MIT
#include "platform/broker/BrokerClient.h"

#include "platform/broker/BrokerError.h"

#include <algorithm>
#include <cstdint>
#include <poll.h>
#include <random>
#include <sys/eventfd.h>
#include <unistd.h>

using namespace zr;
using namespace std::chrono_literals;

namespace {

constexpr auto tickInterval = 200ms;
constexpr auto shortestPause = 50ms;
constexpr auto longestPause = 5s;
constexpr auto pauseAfterRefusal = 500ms;
const QString closedText = QStringLiteral("the client was closed");

} // namespace

/// A session, and what was sent on it and isn't confirmed yet.
class BrokerClient::Connection : public BrokerSession::Listener {
public:
    Connection(BrokerClient &client, const BrokerAddress &address, quint64 serial)
        : session(address, client.m_plan.limits), number(serial), m_client(client) {}

    /// Asks whether the broker takes messages, by one that nobody gets. While it takes none, sending a large one would wait until
    /// the watchdog ends the connection, and what was delivered on it would count as tried.
    void probe() { m_probe = session.publish({}, {}); }
    bool takesMessages() const { return m_takesMessages; }

    void send(quint64 identifier, const Sending &sending) {
        const quint64 tag = session.publish(sending.queue, sending.message);
        m_sent[tag] = identifier;
    }
    void messageWasDelivered(BrokerDelivery delivery) override {
        delivery.session = number;
        const auto consumer =
            std::find_if(m_client.m_plan.consumers.begin(), m_client.m_plan.consumers.end(),
                         [&](const Consumer &each) { return each.queue == delivery.queue; });
        if (consumer != m_client.m_plan.consumers.end())
            consumer->handler(std::move(delivery));
    }
    void messagesWereConfirmed(quint64 tag, bool upTo, bool taken) override {
        m_takesMessages = m_takesMessages || (upTo ? tag >= m_probe : tag == m_probe);
        const auto end = m_sent.upper_bound(tag);
        const auto first = upTo ? m_sent.begin() : m_sent.find(tag);
        if (first == m_sent.end())
            return;
        std::vector<quint64> identifiers;
        for (auto sent = first; sent != end; ++sent)
            identifiers.push_back(sent->second);
        m_sent.erase(first, end);
        for (const quint64 identifier : identifiers) {
            const auto sending = m_client.m_sendings.find(identifier);
            if (sending == m_client.m_sendings.end())
                continue;
            if (taken) {
                m_client.finish(identifier,
                                sending->second.isReturned ? Outcome::Unroutable : Outcome::Confirmed, {});
            } else {
                sending->second.notBefore = Clock::now() + pauseAfterRefusal;
                m_client.m_waiting.insert(identifier);
            }
        }
    }
    void messageWasReturned(const QByteArray &queue, const QByteArray &messageId) override {
        for (const auto &[tag, identifier] : m_sent) {
            const auto sending = m_client.m_sendings.find(identifier);
            if (sending != m_client.m_sendings.end() && sending->second.message.messageId == messageId &&
                sending->second.queue == queue)
                sending->second.isReturned = true;
        }
    }
    void brokerIsBlocked(const QString &reason) override {
        m_client.change([&](State &state) {
            state.isBlocked = true;
            state.problem = QStringLiteral("the broker takes no messages: ") + reason;
            state.since = Clock::now();
        });
    }
    void brokerIsUnblocked() override {
        m_client.change([](State &state) {
            state.isBlocked = false;
            state.problem.clear();
            state.since = Clock::now();
        });
    }

    BrokerSession session;
    const quint64 number;
    std::vector<int> channels;

private:
    BrokerClient &m_client;
    std::map<quint64, quint64> m_sent;
    quint64 m_probe = 0;
    bool m_takesMessages = false;
};

BrokerClient::BrokerClient(Plan plan)
    : m_plan(std::move(plan)), m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    m_state.since = Clock::now();
    m_state.problem = QStringLiteral("not connected yet");
    m_thread = std::thread([this] { run(); });
}

BrokerClient::~BrokerClient() {
    stop();
}

void BrokerClient::stop() {
    const std::lock_guard lock(m_stopping);
    if (!m_thread.joinable())
        return;
    post([this] { m_ending = true; });
    m_thread.join();
}

void BrokerClient::publish(const QByteArray &queue, BrokerMessage message, Clock::time_point deadline,
                           Done done) {
    const auto sending =
        std::make_shared<Sending>(Sending{queue, std::move(message), deadline, std::move(done), false, {}});
    const bool isTaken = post([this, sending] {
        const quint64 identifier = ++m_lastSending;
        m_sendings.emplace(identifier, std::move(*sending));
        m_waiting.insert(identifier);
    });
    if (!isTaken && sending->done)
        sending->done(Outcome::Closed, closedText);
}

void BrokerClient::acknowledge(const BrokerDelivery &delivery) {
    post([this, session = delivery.session, channel = delivery.channel, tag = delivery.tag] {
        if (m_connection && m_connection->number == session)
            m_connection->session.acknowledge(channel, tag);
    });
}

void BrokerClient::giveBack(const BrokerDelivery &delivery) {
    post([this, session = delivery.session, channel = delivery.channel, tag = delivery.tag] {
        if (m_connection && m_connection->number == session)
            m_connection->session.giveBack(channel, tag);
    });
}

void BrokerClient::stopConsuming(std::function<void()> done) {
    post([this, done = std::move(done)] {
        const bool isFirst = std::exchange(m_isConsuming, false);
        m_whenConsumingStopped.push_back(done);
        if (m_connection && isFirst)
            for (const int channel : m_connection->channels)
                m_connection->session.cancel(channel);
    });
}

BrokerClient::State BrokerClient::state() const {
    const std::lock_guard lock(m_mutex);
    return m_state;
}

void BrokerClient::change(const std::function<void(State &)> &change) {
    const std::lock_guard lock(m_mutex);
    change(m_state);
}

bool BrokerClient::post(std::function<void()> command) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopped)
            return false;
        m_commands.push_back(std::move(command));
    }
    const std::uint64_t one = 1;
    (void)!::write(m_event.get(), &one, sizeof one);
    return true;
}

void BrokerClient::run() {
    std::minstd_rand random{std::random_device()()};
    auto pause = std::chrono::duration_cast<std::chrono::milliseconds>(shortestPause);
    while (!m_ending) {
        std::size_t failures = 0;
        while (!m_ending && failures < m_plan.addresses.size() && !connect()) {
            ++failures;
            runCommands();
            tellConsumingStopped();
            pass();
        }
        if (m_connection) {
            const auto begun = Clock::now();
            serve();
            // A broker may refuse each time what is sent first.
            if (Clock::now() - begun > longestPause)
                pause = shortestPause;
        }
        // Many clients that lost the same broker must not come back in one moment.
        const auto until =
            Clock::now() + pause / 2 + std::chrono::milliseconds(random() % quint64(pause.count()));
        while (!m_ending && Clock::now() < until) {
            wait(until);
            runCommands();
            tellConsumingStopped();
            pass();
        }
        pause = std::min<std::chrono::milliseconds>(pause * 2, longestPause);
    }
    close();
}

/// Makes a connection to the present address, with its queues and consumers; on a failure the next address is the present one.
bool BrokerClient::connect() {
    const BrokerAddress &address = m_plan.addresses[m_address];
    try {
        auto connection = std::make_unique<Connection>(*this, address, ++m_sessions);
        for (const Queue &queue : m_plan.queues)
            connection->session.declareQueue(queue.name, queue.arguments);
        if (m_isConsuming)
            for (const Consumer &consumer : m_plan.consumers)
                connection->channels.push_back(
                    connection->session.consume(consumer.queue, consumer.prefetch));
        connection->probe();
        m_connection = std::move(connection);
    } catch (const BrokerError &error) {
        m_address = (m_address + 1) % m_plan.addresses.size();
        lost(error.text());
        return false;
    }
    change([](State &state) { state = {true, false, {}, Clock::now()}; });
    for (auto &[identifier, sending] : m_sendings) {
        sending.isReturned = false;
        m_waiting.insert(identifier);
    }
    if (m_plan.changed)
        m_plan.changed(true, {});
    return true;
}

void BrokerClient::serve() {
    try {
        while (!m_ending) {
            runCommands();
            m_connection->session.read(*m_connection);
            // What came before the broker's answer to a cancellation has been delivered by now.
            tellConsumingStopped();
            sendWaiting();
            pass();
            // Commands of handlers wake the wait; what the library has read already doesn't.
            if (!m_connection->session.hasInput())
                wait(Clock::now() +
                     std::min<Clock::duration>(tickInterval, m_connection->session.heartbeat() / 2));
        }
    } catch (const BrokerError &error) {
        m_connection.reset();
        m_address = (m_address + 1) % m_plan.addresses.size();
        lost(error.text());
    }
}

void BrokerClient::runCommands() {
    std::vector<std::function<void()>> commands;
    {
        const std::lock_guard lock(m_mutex);
        commands.swap(m_commands);
    }
    for (auto command = commands.begin(); command != commands.end(); ++command) {
        try {
            (*command)();
        } catch (const BrokerError &) {
            // The connection is lost. What was to be done on it alone is void now; messages are kept.
            const std::lock_guard lock(m_mutex);
            m_commands.insert(m_commands.begin(), std::next(command), commands.end());
            throw;
        }
    }
}

void BrokerClient::tellConsumingStopped() {
    for (const auto &done : std::exchange(m_whenConsumingStopped, {}))
        done();
}

void BrokerClient::sendWaiting() {
    if (state().isBlocked || !m_connection->takesMessages())
        return;
    const auto now = Clock::now();
    for (auto identifier = m_waiting.begin(); identifier != m_waiting.end();) {
        const Sending &sending = m_sendings.at(*identifier);
        if (sending.notBefore > now) {
            ++identifier;
            continue;
        }
        m_connection->send(*identifier, sending);
        identifier = m_waiting.erase(identifier);
    }
}

/// Looks at the clocks.
void BrokerClient::pass() {
    const auto now = Clock::now();
    if (now < m_nextTick)
        return;
    m_nextTick = now + tickInterval;
    std::vector<quint64> expired;
    for (const auto &[identifier, sending] : m_sendings)
        if (sending.deadline <= now)
            expired.push_back(identifier);
    const State state = this->state();
    for (const quint64 identifier : expired)
        finish(identifier, Outcome::Expired,
               state.problem.isEmpty() ? QStringLiteral("the broker doesn't confirm messages")
                                       : state.problem);
    if (m_plan.tick)
        m_plan.tick();
}

void BrokerClient::finish(quint64 identifier, Outcome outcome, const QString &problem) {
    const auto node = m_sendings.extract(identifier);
    m_waiting.erase(identifier);
    if (node && node.mapped().done)
        node.mapped().done(outcome, problem);
}

void BrokerClient::lost(const QString &problem) {
    change([&](State &state) {
        if (std::exchange(state.isConnected, false))
            state.since = Clock::now();
        state.isBlocked = false;
        state.problem = problem;
    });
    if (m_plan.changed)
        m_plan.changed(false, problem);
}

void BrokerClient::wait(Clock::time_point until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::min<Clock::duration>(until - Clock::now(), tickInterval));
    pollfd polls[]{{m_event.get(), POLLIN, 0},
                   {m_connection ? m_connection->session.descriptor() : -1, POLLIN, 0}};
    ::poll(polls, 2, int(std::max<std::int64_t>(left.count(), 0)));
    std::uint64_t count = 0;
    (void)!::read(m_event.get(), &count, sizeof count);
}

void BrokerClient::close() {
    if (m_connection) {
        try {
            for (const QByteArray &queue : m_plan.temporary)
                m_connection->session.deleteQueue(queue);
        } catch (const BrokerError &) {
            // They expire.
        }
        m_connection.reset();
    }
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    // Messages among the last commands are ended like the others.
    runCommands();
    tellConsumingStopped();
    while (!m_sendings.empty())
        finish(m_sendings.begin()->first, Outcome::Closed, closedText);
}
