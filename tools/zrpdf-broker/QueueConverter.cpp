// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/QueueConverter.h"

#include "ZRKit/Queue/ZRXPCQueue.h"
#include "platform/files/FileContents.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/operations/WorkerPool.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>

using namespace zr;

namespace {

const QString dataKey = QStringLiteral("data");
constexpr auto replyExpiry = std::chrono::minutes(10);

Converter::Answer answerOf(const QVariant &result, const NSError &error) {
    using Outcome = Converter::Outcome;
    auto answer = Converter::Answer::fromReply(result, error);
    switch (error.isNil() ? 0 : error.code()) {
    case ZRXPCQueueUnreachableError:
    case ZRXPCQueueExpiredError:
        answer.outcome = Outcome::Unavailable;
        break;
    case ZRXPCQueueTimeoutError:
        answer.outcome = Outcome::Late;
        break;
    case ZRXPCQueueLostError:
        answer.outcome = Outcome::Lost;
        break;
    case ZRXPCQueueTransferError:
        answer.outcome = Outcome::Failed;
        break;
    default:
        break;
    }
    return answer;
}

} // namespace

/// What tasks on their way share.
class QueueConverter::Core : public std::enable_shared_from_this<Core> {
public:
    explicit Core(const Options &options)
        : m_options(options), m_client(std::make_shared<TaskQueueClient>(TaskQueueClient::Configuration{
                                  options.broker.brokers, options.broker.prefix, options.broker.store,
                                  options.brokerLimit, replyExpiry})) {}

    void add(Task task, Handler handler) {
        auto errand = std::make_shared<Errand>();
        errand->task = std::move(task);
        errand->handler = std::move(handler);
        {
            const std::lock_guard lock(m_mutex);
            m_waiting.push_back(errand);
            m_all.insert(errand);
        }
        errand->giveUp = std::make_unique<GiveUp>(
            errand->task.abandoned, [weak = weak_from_this(), weakErrand = std::weak_ptr(errand)] {
                // Not on the thread that abandons it, which may be the one that is just handing it over.
                WorkerPool::run([weak, weakErrand] {
                    const auto core = weak.lock();
                    const auto abandoned = weakErrand.lock();
                    if (core && abandoned)
                        core->settle(abandoned, {.outcome = Outcome::Abandoned});
                });
            });
        begin();
    }

    State state() const {
        const std::lock_guard lock(m_mutex);
        State state;
        state.instances = m_options.instances;
        state.working = m_working;
        state.waiting = m_waiting.size();
        return state;
    }

    void close() {
        std::set<std::shared_ptr<Errand>> all;
        {
            const std::lock_guard lock(m_mutex);
            m_isOver = true;
            all = m_all;
        }
        for (const auto &errand : all)
            settle(errand, {.outcome = Outcome::Abandoned});
        m_client->stop();
        std::unique_lock lock(m_mutex);
        m_told.wait(lock, [&] { return m_telling == 0; });
    }

private:
    using GiveUp = std::stop_callback<std::function<void()>>;

    struct Errand {
        Task task;
        Handler handler;
        bool isSent = false;
        bool isSettled = false;
        std::unique_ptr<GiveUp> giveUp;
    };

    /// Sends what may be sent.
    void begin() {
        for (;;) {
            std::shared_ptr<Errand> errand;
            {
                const std::lock_guard lock(m_mutex);
                if (m_isOver || m_waiting.empty() || m_working >= m_options.instances)
                    return;
                errand = m_waiting.front();
                m_waiting.pop_front();
                errand->isSent = true;
                ++m_working;
            }
            WorkerPool::run([self = shared_from_this(), errand] { self->send(errand); });
        }
    }

    void send(const std::shared_ptr<Errand> &errand) {
        QVariantMap object = errand->task.object;
        const QUrl url =
            object.value(dataKey).typeId() == QMetaType::QUrl ? object.value(dataKey).toUrl() : QUrl();
        if (url.isLocalFile()) {
            const QByteArray content = NSDataWithContentsOfFile(NSPathOfFileURL(url));
            if (content.isNull()) {
                settle(errand,
                       {.outcome = Outcome::Failed, .message = QStringLiteral("the file can't be read")});
                return;
            }
            object.insert(dataKey, content);
        }
        m_client->send(object,
                       {.isUrgent = m_options.isUrgent,
                        .timeToLive = m_options.wait + errand->task.timeout,
                        .timeout = errand->task.timeout},
                       [self = shared_from_this(), errand](const QVariant &result, const NSError &error) {
                           self->settle(errand, answerOf(result, error));
                       });
    }

    void settle(const std::shared_ptr<Errand> &errand, const Answer &answer) {
        {
            const std::lock_guard lock(m_mutex);
            if (std::exchange(errand->isSettled, true))
                return;
            m_all.erase(errand);
            if (errand->isSent)
                --m_working;
            else
                std::erase(m_waiting, errand);
            ++m_telling;
        }
        errand->handler(answer);
        {
            const std::lock_guard lock(m_mutex);
            --m_telling;
            m_told.notify_all();
        }
        begin();
    }

    const Options m_options;
    const std::shared_ptr<TaskQueueClient> m_client;
    mutable std::mutex m_mutex;
    std::condition_variable m_told;
    std::deque<std::shared_ptr<Errand>> m_waiting;
    std::set<std::shared_ptr<Errand>> m_all; ///< those without an answer
    int m_working = 0;
    int m_telling = 0;
    bool m_isOver = false;
};

QueueConverter::QueueConverter(const Options &options) : m_core(std::make_shared<Core>(options)) {
}

QueueConverter::~QueueConverter() {
    m_core->close();
}

void QueueConverter::convert(Task task, Handler handler) {
    m_core->add(std::move(task), std::move(handler));
}

Converter::State QueueConverter::state() const {
    return m_core->state();
}
