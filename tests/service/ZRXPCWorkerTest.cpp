// SPDX-License-Identifier: MIT
// The conversion service, as its clients have it: its own process, its own browser.
#include "service/ZRXPCWorker.h"
#include "ZRKit/Service/ZRXPC.h"
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/base/NSURLErrorCode.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tests/platform/xpc/Support.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/ListenOnLoopback.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PDFReader.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QUrl>
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace {

const QString html = QStringLiteral("<!DOCTYPE html><title>From the page</title><h1>Hello</h1>");

/// A service instance of the test's own.
class Service : public ::testing::Test {
protected:
    static QString freshName() {
        static int count = 0;
        return QStringLiteral("com.velmora.zrpdf@%1-%2").arg(::getpid()).arg(++count);
    }
    using Reply = std::pair<QVariant, NSError>;
    /// The reply to a task; a test that would wait for ever fails instead.
    static Reply perform(ZRXPC &client, const QVariant &task) {
        const auto replies = std::make_shared<Inbox<Reply>>();
        client.performXPCAsyncWithObject(task, [replies](const QVariant &result, const NSError &error) {
            replies->put({result, error});
        });
        const std::optional<Reply> reply = replies->take();
        EXPECT_TRUE(reply) << "no reply";
        return reply.value_or(Reply());
    }
    NSError failure(const QVariant &task) {
        const Reply reply = perform(client, task);
        EXPECT_FALSE(reply.first.isValid());
        return reply.second;
    }
    QByteArray convert(const QVariantMap &task) {
        const QVariantMap result = perform(client, task).first.toMap();
        EXPECT_EQ(result.keys(), QStringList{QStringLiteral("data")});
        return result.value(QStringLiteral("data")).toByteArray();
    }

    const RuntimeFolder runtime;
    const LogCapture log;
    const QString name = freshName();
    ZRXPC client{name};
};

/// A server that accepts connections and says nothing.
class SilentServer {
public:
    SilentServer() : m_socket(listenOnLoopback(&m_port)) {}
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port)); }
    /// Whether a visitor waits.
    bool hasBeenVisited() const {
        pollfd now{m_socket.get(), POLLIN, 0};
        return ::poll(&now, 1, 0) == 1;
    }
    /// Waits for a visitor.
    bool isVisited() const {
        pollfd wait{m_socket.get(), POLLIN, 0};
        return ::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) == 1;
    }

private:
    int m_port = 0;
    zr::FileDescriptor m_socket;
};

} // namespace

TEST_F(Service, ConvertsADocumentAndStampsIt) {
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const QByteArray pdf = convert({{QStringLiteral("data"), html.toUtf8()},
                                    {QStringLiteral("utiType"), QStringLiteral("public.html")},
                                    {QStringLiteral("pdfTitle"), QStringLiteral("Größe 測試")},
                                    {QStringLiteral("pdfCreator"), QStringLiteral("the test")}});
    const QDateTime after = QDateTime::currentDateTimeUtc();
    const PDFDocument document(pdf);
    ASSERT_FALSE(document.isNil());
    EXPECT_EQ(document.pageCount(), 1);
    const QVariantMap attributes = document.documentAttributes();
    EXPECT_EQ(attributes.value(PDFDocumentTitleAttribute).toString(), QStringLiteral("Größe 測試"));
    EXPECT_EQ(attributes.value(PDFDocumentCreatorAttribute).toString(), QStringLiteral("the test"));
    const QDateTime date = attributes.value(PDFDocumentCreationDateAttribute).toDateTime();
    EXPECT_GE(date, before.addSecs(-1));
    EXPECT_LE(date, after.addSecs(1));
}

TEST_F(Service, WithoutTitleAndCreatorThePDFHasNeitherButADate) {
    for (const QVariantMap &more : {QVariantMap(), QVariantMap{{QStringLiteral("pdfTitle"), NSNull()},
                                                               {QStringLiteral("pdfCreator"), NSNull()}}}) {
        QVariantMap task = more;
        task.insert(QStringLiteral("data"), html);
        const QVariantMap attributes = PDFDocument(convert(task)).documentAttributes();
        EXPECT_FALSE(attributes.contains(PDFDocumentTitleAttribute));
        EXPECT_FALSE(attributes.contains(PDFDocumentCreatorAttribute));
        EXPECT_TRUE(attributes.value(PDFDocumentCreationDateAttribute).toDateTime().isValid());
    }
}

TEST_F(Service, StringsBytesAndURLsAreDocuments) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("page.html")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(html.toUtf8());
    file.close();
    for (const QVariant &data :
         {QVariant(html), QVariant(html.toUtf8()), QVariant(QUrl::fromLocalFile(file.fileName()))})
        EXPECT_EQ(PDFDocument(convert({{QStringLiteral("data"), data}})).pageCount(), 1);
}

TEST_F(Service, WhatCannotBeConvertedIsOneErrorAndTheNextTaskWorks) {
    const QString data = QStringLiteral("data");
    for (const QVariant &task :
         {QVariant(), QVariant(QVariantMap()), QVariant(QVariantMap{{data, NSNull()}}),
          QVariant(QVariantMap{{data, QByteArray("")}}),
          QVariant(QVariantMap{{data, QUrl(QStringLiteral("file:///no/such/file"))}})}) {
        const NSError error = failure(task);
        EXPECT_EQ(error.domain(), QStringLiteral("com.velmora.error"));
        EXPECT_EQ(error.code(), 101);
        EXPECT_EQ(error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
    }
    EXPECT_EQ(PDFDocument(convert({{QStringLiteral("data"), html}})).pageCount(), 1);
}

TEST_F(Service, TheReplyTellsWhyTheDocumentCouldNotBeLoaded) {
    const auto cause = [&](const QVariant &data) {
        const NSError error = failure(QVariantMap{{QStringLiteral("data"), data}});
        return error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
    };
    const NSError missing = cause(QUrl(QStringLiteral("file:///no/such/file")));
    EXPECT_EQ(missing.domain(), NSURLErrorDomain);
    EXPECT_EQ(missing.code(), NSURLErrorFileDoesNotExist);
    EXPECT_FALSE(missing.localizedDescription().isEmpty());
    const NSError unknown = cause(QUrl(QStringLiteral("http://unknown.invalid/")));
    EXPECT_EQ(unknown.domain(), NSURLErrorDomain);
    EXPECT_EQ(unknown.code(), NSURLErrorCannotFindHost);
    EXPECT_EQ(cause(QByteArray("")).code(), NSURLErrorZeroByteResource);
}

TEST_F(Service, ABootProbeNeedsNoBrowser) {
    EXPECT_EQ(perform(client, QVariantMap{{QStringLiteral("__boot"), true}}).first,
              QVariant(QVariantMap{{QStringLiteral("boot"), QStringLiteral("success")}}));
}

TEST_F(Service, AKilledServiceLeavesNothingAndIsStartedAgain) {
    Inbox<NSXPCServiceMonitor::Exit> exits;
    const NSXPCServiceMonitor monitor(name, [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    convert({{QStringLiteral("data"), html}});
    const pid_t pid = monitor.processIdentifier();
    ASSERT_GT(pid, 0);
    std::vector<pid_t> family;
    // The service's descendants, through however many generations.
    std::vector<pid_t> open{pid};
    while (!open.empty()) {
        const pid_t parent = open.back();
        open.pop_back();
        for (const QString &task : QDir(QStringLiteral("/proc/%1/task").arg(parent)).entryList(QDir::Dirs)) {
            QFile children(QStringLiteral("/proc/%1/task/%2/children").arg(parent).arg(task));
            if (!children.open(QIODevice::ReadOnly))
                continue;
            for (const QByteArray &child : children.readAll().split(' ')) {
                if (const pid_t each = child.trimmed().toInt()) {
                    family.push_back(each);
                    open.push_back(each);
                }
            }
        }
    }
    EXPECT_GE(family.size(), 2u);
    ::kill(pid, SIGKILL);
    const auto exit = exits.take();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->pid, pid);
    for (const pid_t each : family)
        EXPECT_TRUE(hasEnded(each)) << each;
    convert({{QStringLiteral("data"), html}});
    EXPECT_NE(monitor.processIdentifier(), pid);
    EXPECT_TRUE(runtime.entries().isEmpty());
}

TEST_F(Service, AConversionWhoseClientHasGoneIsGivenUp) {
    const SilentServer server;
    // A connection of its own, which goes while its document is waited for.
    auto connection = std::make_shared<NSXPCConnection>(name);
    connection->setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<ZRXPCProtocol>());
    connection->resume();
    connection->remoteObjectProxy<ZRXPCProtocol>()->performWithData(
        NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{QStringLiteral("data"), server.url()}}),
        [](const QByteArray &, const NSError &) {});
    ASSERT_TRUE(server.isVisited());
    connection.reset();
    // The main thread is free again for this one.
    EXPECT_EQ(PDFDocument(convert({{QStringLiteral("data"), html}})).pageCount(), 1);
}

TEST_F(Service, SixteenClientsAtOnceMixUpNothing) {
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&, i] {
            ZRXPC own(name);
            for (int n = 0; n < 4; ++n) {
                const QString title = QStringLiteral("%1-%2").arg(i).arg(n);
                const QVariantMap task{{QStringLiteral("data"), html}, {QStringLiteral("pdfTitle"), title}};
                const QByteArray pdf =
                    perform(own, task).first.toMap().value(QStringLiteral("data")).toByteArray();
                right += PDFDocument(pdf).documentAttributes().value(PDFDocumentTitleAttribute).toString() ==
                         title;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 64);
}

TEST(ZRXPCWorker, DataThatIsNoPDFIsNotStamped) {
    const ZRXPCWorker worker;
    EXPECT_TRUE(worker.writePDFWithData("no PDF").isNull());
    EXPECT_TRUE(worker.writePDFWithData(QByteArray()).isNull());
}

TEST(ZRXPCWorker, TheDateIsThatOfStamping) {
    const LogCapture log;
    // Attributes that the PDF has go when the task has none, but for those that a task can't set.
    QFile file(QStringLiteral(ZR_SOURCE_DIR "/tests/service/stamped.pdf"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray data = file.readAll();
    const QVariantMap had = PDFDocument(data).documentAttributes();
    ASSERT_EQ(had.value(PDFDocumentTitleAttribute).toString(), QStringLiteral("old title"));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const QVariantMap attributes = PDFDocument(ZRXPCWorker().writePDFWithData(data)).documentAttributes();
    EXPECT_FALSE(attributes.contains(PDFDocumentTitleAttribute));
    EXPECT_FALSE(attributes.contains(PDFDocumentCreatorAttribute));
    EXPECT_EQ(attributes.value(PDFDocumentAuthorAttribute).toString(), QStringLiteral("an author"));
    EXPECT_GE(attributes.value(PDFDocumentCreationDateAttribute).toDateTime(), before.addSecs(-1));
}

TEST_F(Service, AnUnknownNetworkFailsTheTaskBeforeAnythingIsLoaded) {
    const SilentServer server;
    for (const auto &[network, text] : QList<QPair<QVariant, QString>>{
             {QStringLiteral("some"), QStringLiteral("some")},
             {QStringLiteral(""), QStringLiteral("")},
             {QStringLiteral("None"), QStringLiteral("None")},
             {QStringLiteral(" none"), QStringLiteral(" none")},
             {QByteArray("none"), QStringLiteral("<6e6f6e65>")},
             {true, QStringLiteral("1")},
             {0, QStringLiteral("0")},
             {QString(5000, u'x'), QString(100, u'x')},
         }) {
        const NSError error = failure(
            QVariantMap{{QStringLiteral("data"), server.url()}, {QStringLiteral("network"), network}});
        EXPECT_EQ(error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
        const auto cause = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
        EXPECT_EQ(cause.localizedDescription(),
                  QStringLiteral("\"network\" is \"all\", \"public\" or \"none\", not \"%1\"").arg(text));
    }
    EXPECT_FALSE(server.hasBeenVisited());
}

TEST_F(Service, AMissingNetworkIsAll) {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>there"}; });
    const auto text = [&](const QVariant &network) {
        return PDFReader(convert({{QStringLiteral("data"), server.url(QStringLiteral("/"))},
                                  {QStringLiteral("network"), network}}))
            .text();
    };
    EXPECT_EQ(text({}), QStringLiteral("there"));
    EXPECT_EQ(text(NSNull()), QStringLiteral("there"));
    EXPECT_EQ(text(QStringLiteral("all")), QStringLiteral("there"));
    EXPECT_EQ(server.count("/"), 3);
}

TEST_F(Service, WithALimitedNetworkADocumentReachesNothingOfThisMachine) {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>secret"}; });
    const QString address = server.url(QStringLiteral("/")).toString();
    for (const auto &[network, why] : QList<QPair<QString, QString>>{
             {QStringLiteral("none"), QStringLiteral("The document may reach nothing outside itself")},
             {QStringLiteral("public"), QStringLiteral("127.0.0.1 is not a public address")}}) {
        const NSError error = failure(
            QVariantMap{{QStringLiteral("data"), QUrl(address)}, {QStringLiteral("network"), network}});
        EXPECT_EQ(error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
        const auto cause = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
        EXPECT_EQ(cause.domain(), NSURLErrorDomain);
        EXPECT_EQ(cause.localizedDescription(), why);
        EXPECT_EQ(cause.userInfo().value(NSURLErrorFailingURLStringErrorKey), address);
        // A document without what it refers to is a document.
        const PDFReader pdf(
            convert({{QStringLiteral("data"), QStringLiteral("<p>page<iframe src='%1'></iframe>"
                                                             "<img src='%1'>")
                                                  .arg(address)},
                     {QStringLiteral("network"), network}}));
        EXPECT_EQ(pdf.text(), QStringLiteral("page"));
    }
    EXPECT_EQ(server.connections(), 0);
}
