// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/ZRXPCQueue.h"

#include <cstdio>
#include <cstdlib>
#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

void expect(bool isTrue) {
    if (!isTrue) {
        std::fputs("the example doesn't do what it says\n", stderr);
        std::exit(1);
    }
}

} // namespace

/// usage: zr_example_queue BROKER-URL PREFIX
int main(int count, char **values) {
    if (count != 3)
        return 2;
    const QUrl broker(QString::fromLocal8Bit(values[1]));
    const QString prefix = QString::fromLocal8Bit(values[2]);

    ZRXPCQueue::Options options;
    options.brokers = {broker};
    options.prefix = prefix;
    options.timeToLive = 10min;
    ZRXPCQueue queue(options);

    const QVariant reply = queue.performXPCWithObject(
        QVariantMap{{u"data"_s, u"<h1>Hello</h1>"_s}, {u"pdfTitle"_s, u"Greeting"_s}});
    const QByteArray pdf = reply.toMap().value(u"data"_s).toByteArray();
    expect(pdf.startsWith("%PDF-"));

    queue.performXPCSynchronousWithObject(QVariantMap{{u"data"_s, QUrl(u"http://127.0.0.1:9/"_s)}},
                                          [](const QVariant &result, const NSError &error) {
                                              expect(!result.isValid());
                                              expect(error.code() == 101);
                                          });

    std::promise<QVariant> answer;
    queue.performXPCAsyncWithObject(
        QVariantMap{{u"__boot"_s, true}},
        [&](const QVariant &result, const NSError &) { answer.set_value(result); });
    expect(answer.get_future().get() == QVariant(QVariantMap{{u"boot"_s, u"success"_s}}));

    ZRXPCQueue::Options nowhere;
    nowhere.brokers = {QUrl(u"amqp://127.0.0.1:9"_s)};
    nowhere.brokerLimit = 1s;
    ZRXPCQueue(nowhere).performXPCSynchronousWithObject(
        u"anything"_s, [](const QVariant &, const NSError &error) {
            expect(error.domain() == u"com.velmora.error" && error.code() == ZRXPCQueueUnreachableError);
        });
    return 0;
}
