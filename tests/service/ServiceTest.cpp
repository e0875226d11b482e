// SPDX-License-Identifier: MIT
// The real service with its real browser, as a host application meets them.
#include "ZRKit/Service/ZRXPC.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessTree.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace {

const QString serviceName = QStringLiteral("com.velmora.zrpdf");

QVariantMap taskFor(const QString &html) {
    return {{QStringLiteral("data"), html}, {QStringLiteral("utiType"), QStringLiteral("public.html")}};
}

QByteArray convert(ZRXPC &client, const QString &html) {
    return client.performXPCWithObject(taskFor(html)).toMap().value(QStringLiteral("data")).toByteArray();
}

QString textOf(const QByteArray &pdf) {
    QProcess reader;
    reader.start(QStringLiteral("pdftotext"), {QStringLiteral("-"), QStringLiteral("-")});
    reader.write(pdf);
    reader.closeWriteChannel();
    reader.waitForFinished();
    return QString::fromUtf8(reader.readAllStandardOutput()).simplified();
}

std::vector<ProcessTree::Process> browsersBelow(pid_t pid) {
    auto list = ProcessTree::below(pid);
    std::erase_if(list, [](const auto &process) {
        return process.command.find("--remote-debugging-pipe") == std::string::npos ||
               process.command.find("zrkit-keeper") != std::string::npos ||
               process.command.find("--type=") != std::string::npos;
    });
    return list;
}

} // namespace

TEST(Service, ConvertsATextAndStampsIt) {
    ZRXPC client(serviceName);
    QVariantMap task = taskFor(QStringLiteral("<title>Own title</title><p>Grüße, 世界"));
    task[QStringLiteral("pdfTitle")] = QStringLiteral("Rechnung № 7 – 😀");
    task[QStringLiteral("pdfCreator")] = QStringLiteral("Buchhaltung");
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    const QVariantMap reply = client.performXPCWithObject(task).toMap();
    ASSERT_EQ(reply.keys(), QStringList{QStringLiteral("data")});
    PDFDocument pdf(reply.value(QStringLiteral("data")).toByteArray());
    EXPECT_EQ(pdf.pageCount(), 1);
    const QVariantMap attributes = pdf.documentAttributes();
    EXPECT_EQ(attributes.value(PDFDocumentTitleAttribute), QStringLiteral("Rechnung № 7 – 😀"));
    EXPECT_EQ(attributes.value(PDFDocumentCreatorAttribute), QStringLiteral("Buchhaltung"));
    const QDateTime created = attributes.value(PDFDocumentCreationDateAttribute).toDateTime();
    EXPECT_GE(created, before);
    EXPECT_LE(created, QDateTime::currentDateTimeUtc().addSecs(1));
    EXPECT_EQ(textOf(reply.value(QStringLiteral("data")).toByteArray()), QStringLiteral("Grüße, 世界"));
}

TEST(Service, TaskWithoutTitleAndCreatorLeavesNeitherButADate) {
    ZRXPC client(serviceName);
    const QByteArray pdf = convert(client, QStringLiteral("<title>Own title</title><p>x"));
    const QVariantMap attributes = PDFDocument(pdf).documentAttributes();
    EXPECT_FALSE(attributes.contains(PDFDocumentTitleAttribute));
    EXPECT_FALSE(attributes.contains(PDFDocumentCreatorAttribute));
    EXPECT_TRUE(attributes.contains(PDFDocumentCreationDateAttribute));
    EXPECT_FALSE(pdf.contains("Own title"));
}

TEST(Service, BootProbeIsAnsweredWithoutAConversion) {
    ZRXPC client(serviceName);
    const QVariant reply = client.performXPCWithObject(QVariantMap{{QStringLiteral("__boot"), true}});
    EXPECT_EQ(reply.toMap(), (QVariantMap{{QStringLiteral("boot"), QStringLiteral("success")}}));
}

TEST(Service, TaskWithNoDataFailsWithTheConvertersMessage) {
    ZRXPC client(serviceName);
    NSError error;
    QVariant result = QStringLiteral("untouched");
    client.performXPCSynchronousWithObject(QVariantMap{{QStringLiteral("pdfTitle"), QStringLiteral("t")}},
                                           [&](const QVariant &r, const NSError &e) {
                                               result = r;
                                               error = e;
                                           });
    EXPECT_FALSE(result.isValid());
    EXPECT_EQ(error.domain(), QStringLiteral("com.velmora.error"));
    EXPECT_EQ(error.code(), 101);
    EXPECT_EQ(error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
}

TEST(Service, KilledBrowserFailsTheTaskWithinASecondAndTheNextOneWorks) {
    ZRXPC client(serviceName);
    ASSERT_FALSE(convert(client, QStringLiteral("<p>warm")).isEmpty());
    // A page that never finishes loading: nobody accepts on this port, and the connection is held by a
    // listener that answers nothing.
    QProcess silent;
    silent.start(QStringLiteral("python3"),
                 {QStringLiteral("-c"),
                  QStringLiteral("import socket,sys\ns=socket.socket()\ns.bind(('127.0.0.1',0))\n"
                                 "s.listen()\nprint(s.getsockname()[1],flush=True)\n"
                                 "c,_=s.accept()\nprint('met',flush=True)\nsys.stdin.read()")});
    ASSERT_TRUE(silent.waitForReadyRead());
    const QString port = QString::fromUtf8(silent.readLine()).trimmed();

    NSError error;
    QElapsedTimer sinceKill;
    std::thread task([&] {
        client.performXPCSynchronousWithObject(
            taskFor(QStringLiteral("<img src='http://127.0.0.1:%1/x.png'>").arg(port)),
            [&](const QVariant &, const NSError &e) { error = e; });
    });
    ASSERT_TRUE(silent.waitForReadyRead(20000));
    const auto browsers = browsersBelow(::getpid());
    ASSERT_FALSE(browsers.empty());
    sinceKill.start();
    for (const auto &browser : browsers)
        ::kill(browser.pid, SIGKILL);
    task.join();
    EXPECT_LT(sinceKill.elapsed(), 1000);
    EXPECT_EQ(error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
    EXPECT_EQ(textOf(convert(client, QStringLiteral("<p>again"))), QStringLiteral("again"));
    silent.kill();
    silent.waitForFinished();
}

TEST(Service, KilledServiceIsStartedAgainByTheNextConnection) {
    NSXPCServiceMonitor monitor(serviceName, [](const NSXPCServiceMonitor::Exit &) {});
    ZRXPC client(serviceName);
    ASSERT_FALSE(convert(client, QStringLiteral("<p>first")).isEmpty());
    const pid_t first = monitor.processIdentifier();
    ASSERT_GT(first, 0);
    auto family = ProcessTree::below(first);
    EXPECT_GE(family.size(), 3U);
    ::kill(first, SIGKILL);
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return ProcessTree::alive(family).empty(); }));
    EXPECT_EQ(textOf(convert(client, QStringLiteral("<p>second"))), QStringLiteral("second"));
    EXPECT_NE(monitor.processIdentifier(), first);
}

TEST(Service, SixteenClientsAtOnceLoseNothingAndMixNothingUp) {
    constexpr int clients = 16;
    constexpr int tasksEach = 4;
    std::vector<std::thread> threads;
    std::vector<QString> answers(clients * tasksEach);
    for (int c = 0; c < clients; ++c) {
        threads.emplace_back([c, &answers] {
            ZRXPC client(serviceName);
            for (int t = 0; t < tasksEach; ++t)
                answers[size_t(c * tasksEach + t)] =
                    textOf(convert(client, QStringLiteral("<p>client %1 task %2").arg(c).arg(t)));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (int c = 0; c < clients; ++c) {
        for (int t = 0; t < tasksEach; ++t)
            EXPECT_EQ(answers[size_t(c * tasksEach + t)], QStringLiteral("client %1 task %2").arg(c).arg(t));
    }
}

TEST(Service, InstancesOfOneServiceAreIndependent) {
    NSXPCServiceMonitor one(serviceName, [](const NSXPCServiceMonitor::Exit &) {});
    NSXPCServiceMonitor two(serviceName + QStringLiteral("@2"), [](const NSXPCServiceMonitor::Exit &) {});
    ZRXPC first(serviceName);
    ZRXPC second(serviceName + QStringLiteral("@2"));
    EXPECT_EQ(textOf(convert(first, QStringLiteral("<p>one"))), QStringLiteral("one"));
    EXPECT_EQ(textOf(convert(second, QStringLiteral("<p>two"))), QStringLiteral("two"));
    EXPECT_GT(one.processIdentifier(), 0);
    EXPECT_GT(two.processIdentifier(), 0);
    EXPECT_NE(one.processIdentifier(), two.processIdentifier());
}
