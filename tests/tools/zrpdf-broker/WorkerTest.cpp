// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/TaskMessage.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "ZRKit/Service/Serialization.h"
#include "platform/broker/BrokerClient.h"
#include "platform/values/NSNull.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/PDFReader.h"
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-broker/WorkerFixture.h"

#include <QDir>
#include <QFile>
#include <atomic>
#include <csignal>
#include <signal.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace zr;

namespace {

class WorkerTest : public WorkerFixture {
protected:
    static QVariant page(const HTTPServer &server, const QString &picture = u"/picture.png"_s) {
        return html(u"<p>text<img src='%1'>"_s.arg(server.url(picture).toString()));
    }
    /// What a server does that answers only when the test lets it.
    HTTPServer::Handler holding(Gate &gate) {
        return [this, &gate](const HTTPServer::Request &) {
            ++m_asked;
            gate.pass();
            return HTTPServer::Response{.contentType = "image/png"};
        };
    }
    bool areAsked(int count) const {
        return ProcessTree::waitUntil([&] { return m_asked >= count; }, 60s);
    }
    /// Runs `zrpdf` with the broker's options to its end. \return its exit code
    int command(const QStringList &arguments, QByteArray *said = nullptr) const {
        ServerProcess process;
        process.start(QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf"),
                      QStringList{u"--broker"_s, broker().url().toString(), u"--prefix"_s, prefix()} +
                          arguments,
                      m_folder.filePath(u"command"_s));
        const int code = process.waitUntilItEnds();
        if (said)
            *said = process.said();
        return code;
    }
    QString file(const QString &name, const QByteArray &content) const {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        return file.fileName();
    }

    std::atomic<int> m_asked{0};
};

/// A worker's program whose service can be made to end at once whenever it is started.
class BrittleWorker {
public:
    explicit BrittleWorker(const QString &folder) : m_folder(folder) {
        const QString services = folder + u"/XPCServices"_s;
        EXPECT_TRUE(QDir().mkpath(services) &&
                    QFile::copy(QStringLiteral(ZR_BINARY_DIR "/libexec/zrkit/zrpdf-worker"), program()));
        QFile service(services + u"/com.velmora.zrpdf"_s);
        EXPECT_TRUE(service.open(QIODevice::WriteOnly) &&
                    service.write("#!/bin/sh\n[ -e '" + m_folder.toUtf8() +
                                  "/broken' ] || exec " ZR_BINARY_DIR
                                  "/libexec/zrkit/com.velmora.zrpdf \"$@\"\n") > 0 &&
                    service.setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }
    QString program() const { return m_folder + u"/zrpdf-worker"_s; }
    void breakService() const { EXPECT_TRUE(QFile(m_folder + u"/broken"_s).open(QIODevice::WriteOnly)); }

private:
    const QString m_folder;
};

/// Ends all browsers below a process by SIGKILL.
void killBrowsers(pid_t root) {
    for (const ProcessTree::Process &process : ProcessTree::below(root))
        if (process.command.find("headless") != std::string::npos)
            ::kill(process.pid, SIGKILL);
}

HTTPServer::Response empty() {
    return {.contentType = "image/png"};
}

} // namespace

TEST_F(WorkerTest, ConvertsWhatIsSentAndSaysWhatCannotBe) {
    const auto worker = this->worker();
    ZRXPCQueue queue(options());
    EXPECT_EQ(queue.performXPCWithObject(QVariantMap{{u"__boot"_s, true}}),
              QVariant(QVariantMap{{u"boot"_s, u"success"_s}}));
    const QVariant result = queue.performXPCWithObject(
        QVariantMap{{u"data"_s, html(u"<h1>Hello, worker</h1>"_s)}, {u"pdfTitle"_s, u"Greeting"_s}});
    EXPECT_TRUE(PDFReader(result.toMap().value(u"data"_s).toByteArray()).contains("Hello, worker"));
    const Answer failed = send(queue, QUrl(u"http://127.0.0.1:9/"_s)).get();
    EXPECT_FALSE(failed.result.isValid());
    EXPECT_EQ(failed.error.domain(), u"com.velmora.error");
    EXPECT_EQ(failed.error.code(), 101);
    EXPECT_EQ(failed.error.localizedDescription(), u"HTML to PDF converter did fail");
    EXPECT_TRUE(failed.error.userInfo().contains(NSUnderlyingErrorKey));
    const Answer nothing = send(queue, QVariant()).get();
    EXPECT_EQ(nothing.error.localizedDescription(), u"HTML to PDF converter did fail");
}

TEST_F(WorkerTest, ReadsNoFilesOfItsOwn) {
    const auto worker = this->worker();
    ZRXPCQueue queue(options());
    const Answer answer = send(queue, QUrl(u"file:///etc/passwd"_s)).get();
    EXPECT_EQ(answer.error.code(), 101);
    EXPECT_EQ(answer.error.localizedDescription(), u"a worker converts no files of its own");
}

TEST_F(WorkerTest, LimitsWhatDocumentsMayReach) {
    const HTTPServer server([](const HTTPServer::Request &) { return empty(); });
    const auto worker = this->worker({u"--network"_s, u"none"_s});
    ZRXPCQueue queue(options());
    EXPECT_TRUE(send(queue, page(server)).get().pdf().startsWith("%PDF-"));
    const QVariant asking = QVariantMap{{u"data"_s, page(server)}, {u"network"_s, u"all"_s}};
    EXPECT_TRUE(queue.performXPCWithObject(asking).isValid());
    const QVariant silent = QVariantMap{{u"data"_s, page(server)}, {u"network"_s, NSNull()}};
    EXPECT_TRUE(queue.performXPCWithObject(silent).isValid());
    EXPECT_EQ(server.requests().size(), 0);
    const QVariant wrong = QVariantMap{{u"data"_s, page(server)}, {u"network"_s, u"some"_s}};
    EXPECT_FALSE(queue.performXPCWithObject(wrong).isValid());
}

TEST_F(WorkerTest, LeavesToAnotherWhatItHadWhenItIsKilled) {
    Gate held;
    const HTTPServer server([&](const HTTPServer::Request &) {
        if (m_asked++ == 0)
            held.pass();
        return empty();
    });
    auto first = worker();
    ZRXPCQueue queue(options());
    auto answer = send(queue, page(server));
    ASSERT_TRUE(areAsked(1));
    first->end(SIGKILL);
    const auto second = worker();
    EXPECT_TRUE(answer.get().pdf().startsWith("%PDF-"));
    held.open();
}

TEST_F(WorkerTest, GivesUpADocumentThatEndsItsBrowserEachTime) {
    pid_t process = 0;
    const HTTPServer server([&](const HTTPServer::Request &) {
        killBrowsers(process);
        return empty();
    });
    const auto worker = this->worker();
    process = worker->processIdentifier();
    ZRXPCQueue queue(options());
    auto poison = send(queue, page(server));
    // It holds nobody up.
    EXPECT_TRUE(send(queue, html(u"<p>good"_s)).get().pdf().startsWith("%PDF-"));
    const Answer answer = poison.get();
    EXPECT_EQ(answer.error.code(), ZRXPCQueueLostError);
    EXPECT_TRUE(answer.error.localizedDescription().startsWith(u"the document was given up after 3 tries: "));
    EXPECT_GE(server.requests().size(), 3);
    EXPECT_TRUE(send(queue, html(u"<p>good"_s)).get().pdf().startsWith("%PDF-"));
    std::promise<BrokerDelivery> dead;
    BrokerClient::Plan plan;
    plan.addresses = {BrokerAddress::fromUrl(broker().url())};
    plan.consumers = {{(prefix() + u".dead"_s).toUtf8(), 1,
                       [&](const BrokerDelivery &delivery) { dead.set_value(delivery); }}};
    BrokerClient client(plan);
    const BrokerDelivery delivery = dead.get_future().get();
    EXPECT_EQ(delivery.message.headers.value(u"zrpdf-tries"_s).toInt(), 3);
    EXPECT_EQ(delivery.message.headers.value(u"zrpdf-queue"_s).toString(), prefix() + u".tasks"_s);
    EXPECT_FALSE(delivery.message.headers.value(u"zrpdf-cause"_s).toString().isEmpty());
    EXPECT_FALSE(delivery.message.body.isEmpty());
}

TEST_F(WorkerTest, DoesATaskThatCameTwiceOnceAndKeepsNoPlaceForIt) {
    Gate held;
    const HTTPServer server(holding(held));
    const auto worker = this->worker({u"--instances"_s, u"2"_s});
    const QByteArray tasks = (prefix() + u".tasks"_s).toUtf8();
    std::atomic<int> replies = 0;
    BrokerClient::Plan plan;
    plan.addresses = {BrokerAddress::fromUrl(broker().url())};
    for (const char *const name : {".one", ".other"}) {
        const QByteArray queue = prefix().toUtf8() + name;
        plan.queues.push_back(TaskQueues::replyQueue(queue, std::chrono::minutes(1)));
        plan.consumers.push_back({queue, 10, [&](const BrokerDelivery &) { ++replies; }});
        plan.temporary.push_back(queue);
    }
    BrokerClient client(plan);
    const auto publish = [&](const char *sender) {
        BrokerMessage message;
        message.messageId = "1";
        message.replyTo = prefix().toUtf8() + sender;
        TaskMessage::setBody(message, serialize(QVariantMap{{u"data"_s, page(server)}}), nullptr);
        std::promise<BrokerClient::Outcome> outcome;
        client.publish(tasks, message, BrokerClient::Clock::now() + 60s,
                       [&](BrokerClient::Outcome told, const QString &) { outcome.set_value(told); });
        EXPECT_EQ(outcome.get_future().get(), BrokerClient::Outcome::Confirmed);
    };
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return broker().queues().contains(QString::fromUtf8(tasks)); }));
    publish(".one");
    ASSERT_TRUE(areAsked(1));
    publish(".one");
    // The same identifier of another sender is another task. It gets the place that the second copy had.
    publish(".other");
    ASSERT_TRUE(areAsked(2));
    held.open();
    EXPECT_TRUE(ProcessTree::waitUntil(
        [&] { return replies == 2 && broker().queues().value(prefix() + u".tasks"_s) == 0; }));
    EXPECT_EQ(m_asked, 2);
}

TEST_F(WorkerTest, TellsTheSenderOfADocumentThatEndedItsWorkerEachTime) {
    Gate held;
    const HTTPServer server(holding(held));
    ZRXPCQueue queue(options());
    auto answer = send(queue, page(server));
    for (int count = 1; count <= 3; ++count) {
        auto worker = this->worker();
        ASSERT_TRUE(areAsked(count));
        worker->end(SIGKILL);
    }
    const auto last = worker();
    const NSError error = answer.get().error;
    EXPECT_EQ(error.code(), ZRXPCQueueLostError);
    EXPECT_EQ(
        error.localizedDescription(),
        u"the document was given up after 3 tries: its worker or the connection to it was lost each time");
    held.open();
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return broker().queues().value(prefix() + u".dead"_s) == 1; }));
}

TEST_F(WorkerTest, LetsUrgentDocumentsWaitForNoOthers) {
    Gate held;
    const HTTPServer server(holding(held));
    const auto worker = this->worker({u"--urgent"_s, u"1"_s});
    ZRXPCQueue usual(options());
    auto slow = send(usual, page(server));
    ASSERT_TRUE(areAsked(1));
    auto urgentOptions = options();
    urgentOptions.isUrgent = true;
    ZRXPCQueue urgent(urgentOptions);
    EXPECT_TRUE(send(urgent, html(u"<p>urgent"_s)).get().pdf().startsWith("%PDF-"));
    EXPECT_EQ(slow.wait_for(0s), std::future_status::timeout);
    held.open();
    EXPECT_TRUE(slow.get().pdf().startsWith("%PDF-"));
}

TEST_F(WorkerTest, FinishesWhatItHasBegunWhenItIsStopped) {
    Gate held;
    const HTTPServer server(holding(held));
    const auto worker = this->worker();
    ZRXPCQueue queue(options());
    auto begun = send(queue, page(server));
    ASSERT_TRUE(areAsked(1));
    worker->signal(SIGTERM);
    auto left = send(queue, html(u"<p>left"_s));
    held.open();
    EXPECT_TRUE(begun.get().pdf().startsWith("%PDF-"));
    EXPECT_EQ(worker->waitUntilItEnds(), 0);
    EXPECT_EQ(left.wait_for(0s), std::future_status::timeout);
    const auto next = this->worker();
    EXPECT_TRUE(left.get().pdf().startsWith("%PDF-"));
}

TEST_F(WorkerTest, GivesUpDocumentsThatTakeTooLong) {
    Gate held;
    const HTTPServer server(holding(held));
    const auto worker = this->worker({u"--timeout"_s, u"1"_s});
    ZRXPCQueue queue(options());
    const Answer answer = send(queue, page(server)).get();
    EXPECT_EQ(answer.error.code(), ZRXPCQueueTimeoutError);
    EXPECT_EQ(answer.error.localizedDescription(), u"took longer than 1 s");
    held.open();
}

TEST_F(WorkerTest, TakesLargeDocumentsFromTheStoreAndLeavesNothingThere) {
    const QTemporaryDir store;
    const QUrl url = QUrl::fromLocalFile(store.path());
    const auto worker = this->worker({u"--store"_s, url.toString()});
    auto options = this->options();
    options.store = url;
    ZRXPCQueue queue(options);
    // Text that doesn't pack, so that the PDF is large as well.
    QString text;
    quint32 state = 1;
    for (int index = 0; index < 300000; ++index) {
        state = state * 1664525 + 1013904223;
        text += QString::number(state >> 8, 36) + (index % 16 == 15 ? u"<br>"_s : u" "_s);
    }
    const Answer answer = send(queue, html(text)).get();
    EXPECT_GT(answer.pdf().size(), 1 << 20) << answer.error.description().toStdString();
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return QDir(store.path()).isEmpty(); }));
}

TEST_F(WorkerTest, RemovesWhatWasLeftBehindInTheStore) {
    const QTemporaryDir store;
    QFile old(store.filePath(QString(64, u'a')));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    ASSERT_TRUE(old.setFileTime(QDateTime::currentDateTime().addDays(-2), QFileDevice::FileModificationTime));
    const auto worker = this->worker({u"--store"_s, QUrl::fromLocalFile(store.path()).toString()});
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return QDir(store.path()).isEmpty(); }));
}

TEST_F(WorkerTest, LeavesNothingBehindWhenItIsKilled) {
    const auto worker = this->worker();
    ZRXPCQueue queue(options());
    EXPECT_TRUE(send(queue, html(u"<p>one"_s)).get().pdf().startsWith("%PDF-"));
    const auto processes = ProcessTree::below(worker->processIdentifier());
    EXPECT_FALSE(processes.empty());
    worker->end(SIGKILL);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return ProcessTree::alive(processes).empty(); }));
}

TEST_F(WorkerTest, TakesNothingWhileItsServiceDoesNotWork) {
    const BrittleWorker brittle(m_folder.filePath(u"brittle"_s));
    brittle.breakService();
    const auto broken = worker({}, brittle.program());
    ZRXPCQueue queue(options());
    auto answer = send(queue, html(u"<p>good"_s));
    EXPECT_EQ(broken->waitUntilItEnds(), 6);
    EXPECT_TRUE(broken->said().contains("the conversion service can't be started"))
        << broken->said().toStdString();
    EXPECT_FALSE(broken->said().contains("Lost at try")) << broken->said().toStdString();
    const auto sound = worker();
    EXPECT_TRUE(answer.get().pdf().startsWith("%PDF-"));
}

TEST_F(WorkerTest, LeavesToOthersWhatItsBrokenServiceCannotDo) {
    const BrittleWorker brittle(m_folder.filePath(u"brittle"_s));
    const auto broken = worker({}, brittle.program());
    ZRXPCQueue queue(options());
    EXPECT_TRUE(send(queue, html(u"<p>before"_s)).get().pdf().startsWith("%PDF-"));
    brittle.breakService();
    for (const ProcessTree::Process &process : ProcessTree::below(broken->processIdentifier()))
        ::kill(process.pid, SIGKILL);
    std::vector<std::future<Answer>> answers;
    for (int index = 0; index < 5; ++index)
        answers.push_back(send(queue, html(u"<p>good"_s)));
    EXPECT_EQ(broken->waitUntilItEnds(), 6);
    EXPECT_EQ(broken->said().count("Lost at try 1 of 3"), 1) << broken->said().toStdString();
    const auto sound = worker();
    for (auto &answer : answers)
        EXPECT_TRUE(answer.get().pdf().startsWith("%PDF-"));
}

TEST_F(WorkerTest, EndsWithTwoForBadUsage) {
    const auto worker = this->worker({u"--nonsense"_s});
    EXPECT_EQ(worker->waitUntilItEnds(), 2);
    EXPECT_EQ(worker->said(), "zrpdf-worker: unknown option --nonsense (see zrpdf worker --help)\n");
}

TEST_F(WorkerTest, IsAVerbOfTheCommandLine) {
    ServerProcess process;
    process.start(QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf"), {u"worker"_s, u"--help"_s},
                  m_folder.filePath(u"said"_s));
    EXPECT_EQ(process.waitUntilItEnds(), 0);
    EXPECT_TRUE(process.said().startsWith("usage: zrpdf worker "));
}

TEST_F(WorkerTest, TellsSystemdThatItIsReady) {
    const QString path = m_folder.filePath(u"notify"_s);
    ServerProcess listener;
    listener.start(
        u"/usr/bin/python3"_s,
        {u"-c"_s,
         u"import socket,sys\ns=socket.socket(socket.AF_UNIX,socket.SOCK_DGRAM)\ns.bind(sys.argv[1])\n"
         "print('bound',flush=True)\nwhile True: print(s.recv(100).decode(),flush=True)"_s,
         path},
        m_folder.filePath(u"heard"_s));
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return listener.said().contains("bound"); }));
    qputenv("NOTIFY_SOCKET", path.toUtf8());
    const auto worker = this->worker();
    qunsetenv("NOTIFY_SOCKET");
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return listener.said().contains("READY=1"); }));
    worker->signal(SIGTERM);
    EXPECT_EQ(worker->waitUntilItEnds(), 0);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return listener.said().contains("STOPPING=1"); }));
}

TEST_F(WorkerTest, ServesTheExample) {
    const auto worker = this->worker();
    ServerProcess process;
    process.start(QStringLiteral(ZR_BINARY_DIR "/bin/zr_example_queue"),
                  {broker().url().toString(), prefix()}, m_folder.filePath(u"said"_s));
    EXPECT_EQ(process.waitUntilItEnds(), 0) << process.said().toStdString();
}

TEST_F(WorkerTest, ServesTheCommandLine) {
    const auto worker = this->worker({u"--timeout"_s, u"30"_s});
    const QString good = file(u"good.html"_s, "<p>From the command line</p>");
    QByteArray said;
    EXPECT_EQ(command({good}, &said), 0) << said.toStdString();
    QFile pdf(m_folder.filePath(u"good.pdf"_s));
    ASSERT_TRUE(pdf.open(QIODevice::ReadOnly));
    EXPECT_TRUE(PDFReader(pdf.readAll()).contains("From the command line"));
    EXPECT_EQ(command({u"-d"_s, m_folder.path(), u"http://127.0.0.1:9/"_s}, &said), 1);
    EXPECT_TRUE(said.contains("HTML to PDF converter did fail")) << said.toStdString();
    const QString urls = file(u"broker"_s, broker().url().toEncoded());
    ServerProcess byFile;
    byFile.start(QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf"),
                 {u"--broker-file"_s, urls, u"--prefix"_s, prefix(), u"-f"_s, good},
                 m_folder.filePath(u"byFile"_s));
    EXPECT_EQ(byFile.waitUntilItEnds(), 0) << byFile.said().toStdString();
    EXPECT_EQ(command({}, &said), 2);
    EXPECT_EQ(command({m_folder.filePath(u"missing.html"_s)}, &said), 3);
    EXPECT_EQ(command({u"--boot"_s}, &said), 0);
    EXPECT_TRUE(said.endsWith("{\"boot\":\"success\"}\n")) << said.toStdString();
    EXPECT_EQ(command({u"--help"_s}, &said), 0);
    EXPECT_TRUE(said.contains("--broker-file FILE"));
}
