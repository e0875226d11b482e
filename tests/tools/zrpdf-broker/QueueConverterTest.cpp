// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/QueueConverter.h"

#include "platform/base/NSException.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/ListenOnLoopback.h"
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-broker/WorkerFixture.h"

#include <QFile>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace zr;

namespace {

using Outcome = Converter::Outcome;

class QueueConverterTest : public WorkerFixture {
protected:
    QueueConverter::Options options() const {
        QueueConverter::Options options;
        options.broker.brokers = {broker().url()};
        options.broker.prefix = prefix();
        return options;
    }
    static std::future<Converter::Answer> convert(Converter &converter, const QVariant &data,
                                                  std::chrono::milliseconds timeout = 60s,
                                                  const std::stop_token &abandoned = {}) {
        auto answer = std::make_shared<std::promise<Converter::Answer>>();
        converter.convert({.object = {{u"data"_s, data}}, .timeout = timeout, .abandoned = abandoned},
                          [answer](const Converter::Answer &value) { answer->set_value(value); });
        return answer->get_future();
    }
};

} // namespace

TEST_F(QueueConverterTest, HasWorkersConvert) {
    const auto worker = this->worker();
    QueueConverter converter(options());
    EXPECT_TRUE(convert(converter, html(u"<p>one"_s)).get().pdf().startsWith("%PDF-"));
    const auto failed = convert(converter, QUrl(u"http://127.0.0.1:9/"_s)).get();
    EXPECT_EQ(failed.outcome, Outcome::Failed);
    EXPECT_EQ(failed.message, u"HTML to PDF converter did fail");
    EXPECT_FALSE(failed.cause.isEmpty());
    EXPECT_EQ(converter.state().instances, 1);
    EXPECT_EQ(converter.state().working, 0);
}

TEST_F(QueueConverterTest, SendsFilesContents) {
    QFile file(m_folder.filePath(u"page.html"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("<p>page") > 0);
    file.close();
    const auto worker = this->worker();
    QueueConverter converter(options());
    EXPECT_EQ(convert(converter, QUrl::fromLocalFile(file.fileName())).get().outcome, Outcome::Done);
    EXPECT_EQ(convert(converter, QUrl(u"file:///no/such/page.html"_s)).get().outcome, Outcome::Failed);
}

TEST_F(QueueConverterTest, TellsDocumentsThatTakeTooLong) {
    Gate held;
    const HTTPServer server([&](const HTTPServer::Request &) {
        held.pass();
        return HTTPServer::Response{.contentType = "image/png"};
    });
    const auto worker = this->worker();
    QueueConverter converter(options());
    const QVariant slow = html(u"<img src='%1'>"_s.arg(server.url(u"/a.png"_s).toString()));
    const auto answer = convert(converter, slow, 1s).get();
    EXPECT_EQ(answer.outcome, Outcome::Late);
    EXPECT_EQ(answer.message, u"took longer than 1 s");
    held.open();
}

TEST_F(QueueConverterTest, WaitsNoLongerForWorkersThanItMay) {
    auto options = this->options();
    options.wait = 100ms;
    QueueConverter converter(options);
    EXPECT_EQ(convert(converter, html(u"<p>nobody"_s), 100ms).get().outcome, Outcome::Unavailable);
}

TEST_F(QueueConverterTest, SaysWhenTheBrokerIsOutOfReach) {
    int port = 0;
    ::close(listenOnLoopback(&port));
    auto options = this->options();
    options.broker.brokers = {QUrl(u"amqp://127.0.0.1:%1"_s.arg(port))};
    options.brokerLimit = 500ms;
    QueueConverter converter(options);
    const auto answer = convert(converter, html(u"<p>nobody"_s)).get();
    EXPECT_EQ(answer.outcome, Outcome::Unavailable);
    EXPECT_TRUE(answer.message.contains(u"amqp://127.0.0.1"));
}

TEST_F(QueueConverterTest, SendsNoMoreAtATimeThanItMayAndLetsTasksBeAbandoned) {
    QueueConverter converter(options());
    std::stop_source first;
    std::stop_source second;
    auto sent = convert(converter, html(u"<p>1"_s), 60s, first.get_token());
    auto waiting = convert(converter, html(u"<p>2"_s), 60s, second.get_token());
    EXPECT_EQ(converter.state().working, 1);
    EXPECT_EQ(converter.state().waiting, 1U);
    second.request_stop();
    EXPECT_EQ(waiting.get().outcome, Outcome::Abandoned);
    first.request_stop();
    EXPECT_EQ(sent.get().outcome, Outcome::Abandoned);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return converter.state().working == 0; }));
}

TEST_F(QueueConverterTest, AbandonsWhatThereIsWhenItIsDestroyed) {
    std::future<Converter::Answer> answer;
    {
        QueueConverter converter(options());
        answer = convert(converter, html(u"<p>1"_s));
    }
    EXPECT_EQ(answer.get().outcome, Outcome::Abandoned);
}

TEST_F(QueueConverterTest, RefusesOptionsThatCannotBeMeant) {
    auto options = this->options();
    options.broker.brokers.clear();
    EXPECT_THROW(QueueConverter{options}, NSException);
}
