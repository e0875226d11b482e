// SPDX-License-Identifier: MIT
// The sender's side of bench/broker/run:
//
//     zr_broker_bench_sender send JOURNAL COUNT POISON-URL POISON-EVERY OUTSTANDING STORE PREFIX BROKER...
//     zr_broker_bench_sender cost COUNT FILE PREFIX BROKER...
//     zr_broker_bench_sender carry COUNT BYTES PREFIX BROKER...
//
// The first sends the documents that the journal doesn't have yet, and writes a line for each answer. The second converts
// the file, or without one a small document, again and again, by a worker and by a service of its own in turn, and prints both
// medians and throughputs. The third has tasks answered at once, and prints how many a second the brokers carry.
#include "ZRKit/Queue/TaskMessage.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "ZRKit/Queue/ZRXPCQueue.h"
#include "tools/converter/ServicePool.h"
#include "tools/zrpdf-broker/QueueConverter.h"

#include <QCoreApplication>
#include <QFile>
#include <QSet>
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace zr;
using Clock = std::chrono::steady_clock;

namespace {

QList<QUrl> urls(const QStringList &texts) {
    QList<QUrl> urls;
    for (const QString &text : texts)
        urls.append(QUrl(text));
    return urls;
}

QString words(int count, quint32 state) {
    QString text;
    for (int index = 0; index < count; ++index) {
        state = state * 1664525 + 1013904223;
        text += QString::number(state >> 12, 36) + (index % 12 == 11 ? u"<br>"_s : u" "_s);
    }
    return text;
}

/// Nine of ten are small, some have pages of text, and every two hundredth is more than a message may have.
QString document(int number, const QString &poison, int poisonEvery) {
    if (poisonEvery > 0 && number % poisonEvery == poisonEvery - 1)
        return u"<p>poison %1<img src='%2%1'>"_s.arg(number).arg(poison);
    const int size = number % 200 == 7 ? 200000 : number % 10 == 3 ? 4000 : 60;
    return u"<!DOCTYPE html><title>x</title><h1>Document %1</h1><p>%2"_s.arg(number).arg(
        words(size, quint32(number)));
}

int send(const QStringList &arguments) {
    const QString journal = arguments[0];
    const int count = arguments[1].toInt();
    const QString poison = arguments[2];
    const int poisonEvery = arguments[3].toInt();
    const int outstanding = arguments[4].toInt();
    ZRXPCQueue queue({.brokers = urls(arguments.mid(7)),
                      .prefix = arguments[6],
                      .store = QUrl(arguments[5]),
                      .brokerLimit = 120s,
                      .replyExpiry = 20s});
    QSet<int> answered;
    QFile before(journal);
    if (before.open(QIODevice::ReadOnly))
        for (const QByteArray &line : before.readAll().split('\n'))
            if (!line.isEmpty())
                answered.insert(line.split(' ').first().toInt());
    const int file =
        ::open(QFile::encodeName(journal).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    std::mutex mutex;
    std::condition_variable changed;
    int open = 0;
    for (int number = 0; number < count; ++number) {
        if (answered.contains(number))
            continue;
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return open < outstanding; });
            ++open;
        }
        const QVariantMap task{{u"data"_s, document(number, poison, poisonEvery)},
                               {u"pdfTitle"_s, u"document %1"_s.arg(number)}};
        queue.performXPCAsyncWithObject(task, [&, number](const QVariant &result, const NSError &error) {
            const QByteArray pdf = result.toMap().value(u"data"_s).toByteArray();
            // The title says whose it is.
            const bool isOurs =
                pdf.startsWith("%PDF-") && pdf.contains("(document " + QByteArray::number(number) + ')');
            const QByteArray line = QByteArray::number(number) + ' ' +
                                    (error ? "error " + QByteArray::number(error.code()) + ' ' +
                                                 error.localizedDescription().toUtf8()
                                     : isOurs ? "ok " + QByteArray::number(pdf.size())
                                              : QByteArray("wrong")) +
                                    '\n';
            (void)!::write(file, line.constData(), std::size_t(line.size()));
            const std::lock_guard lock(mutex);
            --open;
            changed.notify_all();
        });
    }
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return open == 0; });
    return 0;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

Converter::Answer convert(Converter &converter, const QString &text) {
    std::promise<Converter::Answer> answer;
    converter.convert({.object = {{u"data"_s, text}}},
                      [&](const Converter::Answer &value) { answer.set_value(value); });
    return answer.get_future().get();
}

/// How many documents a second, if there is always another one waiting; 0 if one can't be converted.
double throughput(Converter &converter, const QString &text, int count) {
    const auto start = Clock::now();
    std::mutex mutex;
    std::condition_variable changed;
    int open = 0;
    bool isSound = true;
    for (int number = 0; number < count; ++number) {
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return open < 8; });
            ++open;
        }
        converter.convert({.object = {{u"data"_s, text}}}, [&](const Converter::Answer &answer) {
            const std::lock_guard lock(mutex);
            isSound = isSound && answer.outcome == Converter::Outcome::Done;
            --open;
            changed.notify_all();
        });
    }
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return open == 0; });
    return isSound ? count / std::chrono::duration<double>(Clock::now() - start).count() : 0;
}

int cost(const QStringList &arguments) {
    const int count = arguments[0].toInt();
    QueueConverter::Options options;
    QString text = document(1, {}, 0);
    if (!arguments[1].isEmpty()) {
        QFile file(arguments[1]);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "%s: %s\n", qUtf8Printable(arguments[1]),
                         qUtf8Printable(file.errorString()));
            return 1;
        }
        text = QString::fromUtf8(file.readAll());
    }
    options.broker.prefix = arguments[2];
    options.broker.brokers = urls(arguments.mid(3));
    options.instances = 8;
    QueueConverter queue(options);
    ServicePool pool({.instances = 4});
    std::vector<double> direct;
    std::vector<double> queued;
    constexpr int warming = 20;
    for (int round = 0; round < count + warming; ++round)
        for (const bool isQueued : {false, true}) {
            const auto start = Clock::now();
            const Converter::Answer answer = convert(isQueued ? static_cast<Converter &>(queue) : pool, text);
            if (answer.outcome != Converter::Outcome::Done) {
                std::fprintf(stderr, "%s\n", qUtf8Printable(answer.text()));
                return 1;
            }
            if (round >= warming)
                (isQueued ? queued : direct)
                    .push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        }
    std::vector<double> directRate;
    std::vector<double> queuedRate;
    for (int round = 0; round < 5; ++round) {
        directRate.push_back(throughput(pool, text, count / 2));
        queuedRate.push_back(throughput(queue, text, count / 2));
    }
    std::printf(
        "{\"direct_ms\": %.3f, \"queued_ms\": %.3f, \"direct_per_s\": %.2f, \"queued_per_s\": %.2f}\n",
        median(direct), median(queued), median(directRate), median(queuedRate));
    return 0;
}

/// How many tasks a second the brokers carry both ways, each with so many bytes, if nobody has to convert them.
int carry(const QStringList &arguments) {
    const int count = arguments[0].toInt();
    const QByteArray body(arguments[1].toInt(), 'x');
    const TaskQueues queues(arguments[2]);
    BrokerClient *replier = nullptr;
    BrokerClient::Plan plan;
    for (const QUrl &url : urls(arguments.mid(3)))
        plan.addresses.push_back(BrokerAddress::fromUrl(url));
    plan.queues = queues.shared();
    std::promise<void> ready;
    const auto isReady = ready.get_future().share();
    plan.consumers = {
        {queues.tasks(false), 100, [&](const BrokerDelivery &delivery) {
             isReady.wait();
             BrokerMessage message = TaskMessage::withReply({body, {}}, delivery.message, nullptr);
             // Acknowledged when the reply is confirmed, as workers do.
             replier->publish(
                 delivery.message.replyTo, std::move(message), Clock::now() + 60s,
                 [&, delivery](BrokerClient::Outcome, const QString &) { replier->acknowledge(delivery); });
         }}};
    BrokerClient client(plan);
    replier = &client;
    ready.set_value();
    ZRXPCQueue::Options options;
    options.brokers = urls(arguments.mid(3));
    options.prefix = arguments[2];
    ZRXPCQueue queue(options);
    std::mutex mutex;
    std::condition_variable changed;
    int open = 0;
    const auto send = [&](int tasks) {
        const auto start = Clock::now();
        for (int number = 0; number < tasks; ++number) {
            {
                std::unique_lock lock(mutex);
                changed.wait(lock, [&] { return open < 100; });
                ++open;
            }
            queue.performXPCAsyncWithObject(body, [&](const QVariant &, const NSError &) {
                const std::lock_guard lock(mutex);
                --open;
                changed.notify_all();
            });
        }
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return open == 0; });
        return tasks / std::chrono::duration<double>(Clock::now() - start).count();
    };
    send(100);
    std::printf("%.0f\n", send(count));
    return 0;
}

} // namespace

int main(int count, char **values) {
    QStringList arguments;
    for (int index = 2; index < count; ++index)
        arguments.append(QString::fromLocal8Bit(values[index]));
    const QByteArray verb = count > 1 ? values[1] : "";
    if (verb == "send" && arguments.size() >= 8)
        return send(arguments);
    if (verb == "cost" && arguments.size() >= 4)
        return cost(arguments);
    if (verb == "carry" && arguments.size() >= 4)
        return carry(arguments);
    std::fprintf(stderr, "see bench/broker/run\n");
    return 2;
}
