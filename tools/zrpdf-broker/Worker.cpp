// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/Worker.h"

#include "ZRKit/Queue/ZRXPCQueue.h"
#include "ZRKit/Service/NetworkMode.h"
#include "ZRKit/Service/Serialization.h"
#include "ZRKit/Values/KitError.h"
#include "platform/base/NSException.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <QUuid>
#include <algorithm>

using namespace Qt::StringLiterals;
using namespace zr;

namespace {

constexpr std::size_t rememberedTasks = 1000;
constexpr int lostOnesAtATime = 10;
/// A result that can't be handed in for so long is given up; the broker has given the task to others.
constexpr auto patience = std::chrono::minutes(10);
constexpr auto cleaningInterval = std::chrono::minutes(10);

const QString bootKey = QStringLiteral("__boot");
const QString dataKey = QStringLiteral("data");
const QString networkKey = QStringLiteral("network");

constexpr qint64 failedConversion = 101;

/// The narrower of what the task asks for and what this worker allows. A word that means nothing is for the service to refuse.
QVariant narrowed(const QVariant &asked, NetworkMode most) {
    const std::optional<NetworkMode> mode = networkModeOf(asked);
    return mode ? networkModeName(narrower(*mode, most)) : asked;
}

} // namespace

Worker::Worker(const WorkerOptions &options, Converter &converter, Watcher watcher)
    : m_options(options), m_converter(converter), m_watcher(std::move(watcher)),
      m_queues(options.broker.prefix) {
    if (!options.broker.store.isEmpty())
        m_store = std::make_unique<const ClaimStore>(options.broker.store);
}

Worker::~Worker() {
    close();
}

void Worker::start() {
    tryOut([this](bool works) {
        if (works)
            connect();
        else
            m_watcher(Event::Unavailable);
    });
}

void Worker::tryOut(const std::function<void(bool works)> &then, int trials) {
    m_converter.convert(Converter::Task::trial(m_options.network),
                        [self = shared_from_this(), this, then, trials](const Converter::Answer &answer) {
                            later([this, then, trials, answer] {
                                using Outcome = Converter::Outcome;
                                // On a machine that is merely slow, conversions still work.
                                if (answer.outcome == Outcome::Done || answer.outcome == Outcome::Late) {
                                    then(true);
                                } else if (trials > 1 && answer.outcome != Outcome::Unavailable) {
                                    tryOut(then, trials - 1);
                                } else {
                                    NSLog("A tiny document could not be converted: %@", answer.text());
                                    then(false);
                                }
                            });
                        });
}

void Worker::connect() {
    BrokerClient::Plan plan;
    for (const QUrl &url : m_options.broker.brokers)
        plan.addresses.push_back(BrokerAddress::fromUrl(url));
    plan.queues = m_queues.shared();
    const auto take = [this](const BrokerDelivery &delivery) { taken(delivery); };
    if (m_options.urgentInstances > 0)
        plan.consumers.push_back({m_queues.tasks(true), m_options.urgentInstances, take});
    plan.consumers.push_back({m_queues.tasks(false), m_options.instances, take});
    plan.consumers.push_back({m_queues.lost(), lostOnesAtATime,
                              [this](const BrokerDelivery &delivery) { lostOneTaken(delivery); }});
    plan.tick = [this] { tick(); };
    plan.changed = [this, told = QString()](bool isConnected, const QString &problem) mutable {
        if (isConnected)
            NSLog(u"Connected to the broker"_s);
        else if (problem != told)
            NSLog("No connection to the broker: %@", problem);
        told = problem;
        if (isConnected)
            m_watcher(Event::Connected);
    };
    const std::lock_guard lock(m_mutex);
    if (!m_isStopping && !m_isClosed)
        m_broker = std::make_unique<BrokerClient>(std::move(plan));
}

void Worker::stop() {
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_isStopping, true))
            return;
    }
    const auto stopped = [this] {
        {
            const std::lock_guard lock(m_mutex);
            m_hasStopped = true;
        }
        tellIfIdle();
    };
    if (m_broker)
        m_broker->stopConsuming(stopped);
    else
        stopped();
}

void Worker::close() {
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
    }
    if (m_broker)
        m_broker->stop();
    std::unique_lock lock(m_mutex);
    m_stepEnded.wait(lock, [this] { return m_steps == 0; });
}

void Worker::later(Then step) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed)
            return;
        ++m_steps;
    }
    WorkerPool::run([this, step = std::move(step)]() mutable {
        std::exchange(step, nullptr)();
        const std::lock_guard lock(m_mutex);
        --m_steps;
        m_stepEnded.notify_all();
    });
}

void Worker::tellIfIdle() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_hasStopped || !m_jobs.empty())
            return;
    }
    m_watcher(Event::Idle);
}

std::shared_ptr<Worker::Job> Worker::admit(BrokerDelivery delivery, bool isLost) {
    // A sender that gives no identifier gets its reply all the same.
    if (delivery.message.messageId.isEmpty())
        delivery.message.messageId = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    const QByteArray key =
        (isLost ? "lost " : "") + delivery.message.replyTo + ' ' + delivery.message.messageId;
    const std::lock_guard lock(m_mutex);
    if (m_doneSet.contains(key)) {
        m_broker->acknowledge(delivery);
        return nullptr;
    }
    const auto known = m_jobs.find(key);
    if (known != m_jobs.end()) {
        // It is in work here. Either its connection was lost in between, or it was sent twice.
        if (known->second->delivery.session == delivery.session)
            m_broker->acknowledge(delivery);
        else
            known->second->delivery = std::move(delivery);
        return nullptr;
    }
    auto job = std::make_shared<Job>(Job{key, std::move(delivery), BrokerClient::Clock::now()});
    m_jobs.emplace(key, job);
    return job;
}

void Worker::taken(const BrokerDelivery &delivery) {
    if (const auto job = admit(delivery, false))
        later([this, job] { work(job); });
}

void Worker::work(const std::shared_ptr<Job> &job) {
    QByteArray body;
    try {
        body = TaskMessage::body(deliveryOf(job).message, m_store.get());
    } catch (const NSException &exception) {
        reply(job, {{}, kitError(ZRXPCQueueTransferError, exception.reason())});
        return;
    }
    const QVariant object = unserialize(body);
    if (object.toMap().contains(bootKey))
        reply(job, {QVariantMap{{QStringLiteral("boot"), QStringLiteral("success")}}, {}});
    else
        convert(job, object);
}

void Worker::convert(const std::shared_ptr<Job> &job, const QVariant &object) {
    QVariantMap task = object.toMap();
    const QVariant data = task.value(dataKey);
    if (data.typeId() == QMetaType::QUrl && data.toUrl().isLocalFile()) {
        reply(job, {{}, kitError(failedConversion, QStringLiteral("a worker converts no files of its own"))});
        return;
    }
    if (m_options.network != NetworkMode::All)
        task.insert(networkKey, narrowed(task.value(networkKey), m_options.network));
    const qint64 asked = deliveryOf(job).message.headers.value(TaskMessage::timeoutHeader).toLongLong();
    const auto timeout =
        asked > 0 ? std::min(m_options.timeout, std::chrono::milliseconds(asked)) : m_options.timeout;
    m_converter.convert({.object = task, .timeout = timeout},
                        [self = shared_from_this(), this, job](const Converter::Answer &answer) {
                            later([this, job, answer] { answered(job, answer); });
                        });
}

void Worker::answered(const std::shared_ptr<Job> &job, const Converter::Answer &answer) {
    using Outcome = Converter::Outcome;
    const int earlier = deliveryOf(job).earlierDeliveries;
    switch (answer.outcome) {
    case Outcome::Done:
        reply(job, {answer.result, {}});
        break;
    case Outcome::Failed:
        reply(job, {{}, answer.error ? answer.error : kitError(failedConversion, answer.text())});
        break;
    case Outcome::Late:
        reply(job, {{}, kitError(ZRXPCQueueTimeoutError, answer.text())});
        break;
    case Outcome::Lost:
        NSLog("Lost at try %@ of %@: %@", QString::number(earlier + 1), QString::number(TaskQueues::tries),
              answer.text());
        tryOut([this, job, answer, earlier](bool works) {
            if (!works)
                giveBackAndEnd(job);
            else if (earlier + 1 < TaskQueues::tries)
                giveBack(job);
            else
                giveUp(job, answer.text(), earlier + 1, answer.error);
        });
        break;
    case Outcome::Unavailable:
        giveBackAndEnd(job);
        break;
    case Outcome::Abandoned:
        giveBack(job);
        break;
    }
}

void Worker::reply(const std::shared_ptr<Job> &job, const TaskMessage::Reply &reply) {
    const BrokerMessage task = deliveryOf(job).message;
    const QString outcome = reply.error ? reply.error.localizedDescription() : QStringLiteral("done");
    if (task.replyTo.isEmpty()) {
        finish(job, outcome);
        return;
    }
    BrokerMessage message;
    try {
        message = TaskMessage::withReply(reply, task, m_store.get());
    } catch (const NSException &exception) {
        message = TaskMessage::withReply({{}, kitError(ZRXPCQueueTransferError, exception.reason())}, task,
                                         nullptr);
    }
    publish(job, task.replyTo, std::move(message), [this, job, outcome] { finish(job, outcome); });
}

/// Goes on once the broker has the message, or has nobody for it.
void Worker::publish(const std::shared_ptr<Job> &job, const QByteArray &queue, BrokerMessage message,
                     const Then &then) {
    const QByteArray claim = TaskMessage::claim(message);
    m_broker->publish(queue, std::move(message), BrokerClient::Clock::now() + patience,
                      [this, job, then, claim, queue](BrokerClient::Outcome outcome, const QString &problem) {
                          using Outcome = BrokerClient::Outcome;
                          if (outcome == Outcome::Unroutable)
                              NSLog("Nobody takes messages of %@ any more", QString::fromUtf8(queue));
                          const bool isTaken = outcome == Outcome::Confirmed;
                          // A dead task keeps its document, and what wasn't confirmed may arrive all the same.
                          if (outcome == Outcome::Unroutable && queue != m_queues.dead())
                              removeFromStore(claim);
                          if (isTaken || outcome == Outcome::Unroutable) {
                              then();
                          } else {
                              NSLog("A reply could not be handed in: %@", problem);
                              giveBack(job);
                          }
                      });
}

void Worker::removeFromStore(const QByteArray &claim) {
    if (claim.isEmpty() || !m_store)
        return;
    later([this, claim] { m_store->drop(claim); });
}

void Worker::giveUp(const std::shared_ptr<Job> &job, const QString &cause, int tries, const NSError &error) {
    const BrokerDelivery delivery = deliveryOf(job);
    BrokerMessage message = delivery.message;
    message.expiration.reset();
    // What the broker has noted there is about another queue.
    message.headers.removeIf([](const auto &header) { return header.key().startsWith(u"x-"); });
    message.headers.insert(TaskMessage::causeHeader, cause);
    message.headers.insert(TaskMessage::triesHeader, tries);
    const QString died = delivery.message.headers.value(u"x-first-death-queue"_s).toString();
    message.headers.insert(TaskMessage::queueHeader,
                           died.isEmpty() ? QString::fromUtf8(delivery.queue) : died);
    const QString text = QStringLiteral("the document was given up after %1 tries: %2").arg(tries).arg(cause);
    publish(job, m_queues.dead(), std::move(message), [this, job, text, error] {
        reply(job, {{}, kitError(ZRXPCQueueLostError, text, error)});
    });
}

void Worker::giveBack(const std::shared_ptr<Job> &job) {
    m_broker->giveBack(release(job, false));
    tellIfIdle();
}

void Worker::giveBackAndEnd(const std::shared_ptr<Job> &job) {
    // It must not come straight back.
    stop();
    giveBack(job);
    m_watcher(Event::Unavailable);
}

BrokerDelivery Worker::release(const std::shared_ptr<Job> &job, bool isDone) {
    const std::lock_guard lock(m_mutex);
    m_jobs.erase(job->key);
    if (isDone && m_doneSet.insert(job->key).second)
        m_done.push_back(job->key);
    if (m_done.size() > rememberedTasks) {
        m_doneSet.erase(m_done.front());
        m_done.pop_front();
    }
    return job->delivery;
}

void Worker::finish(const std::shared_ptr<Job> &job, const QString &outcome) {
    const BrokerDelivery delivery = release(job, true);
    m_broker->acknowledge(delivery);
    const double seconds = std::chrono::duration<double>(BrokerClient::Clock::now() - job->started).count();
    NSLog("%@ %@ s: %@", QString::fromUtf8(delivery.message.messageId), QString::number(seconds, 'f', 3),
          outcome);
    tellIfIdle();
}

/// The broker has given a task up, because it was delivered too often or has waited too long.
void Worker::lostOneTaken(const BrokerDelivery &delivery) {
    const auto job = admit(delivery, true);
    if (!job)
        return;
    if (delivery.message.headers.value(QStringLiteral("x-first-death-reason")) == u"expired"_s)
        later([this, job] {
            reply(job, {{}, kitError(ZRXPCQueueExpiredError, u"no worker has begun the task in its time"_s)});
        });
    else
        later([this, job] {
            giveUp(job, u"its worker or the connection to it was lost each time"_s, TaskQueues::tries, {});
        });
}

void Worker::tick() {
    const auto now = BrokerClient::Clock::now();
    if (!m_store || now < m_nextCleaning)
        return;
    m_nextCleaning = now + cleaningInterval;
    later([this] {
        try {
            if (const int count = m_store->removeOlderThan(m_options.storeAge); count > 0)
                NSLog("%@ stored documents were left behind", QString::number(count));
        } catch (const NSException &exception) {
            NSLog("Documents that were left behind stay in the store: %@", exception.reason());
        }
    });
}

BrokerDelivery Worker::deliveryOf(const std::shared_ptr<Job> &job) const {
    const std::lock_guard lock(m_mutex);
    return job->delivery;
}
