// SPDX-License-Identifier: MIT
// The real service with its real browser, as a host application meets them.
#include "ZRKit/Service/ZRXPC.h"
#include "tests/support/ProcessTree.h"

#include <QElapsedTimer>
#include <QProcess>
#include <csignal>
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

TEST(ServiceBrowser, AKilledOneFailsTheTaskWithinASecondAndTheNextOneWorks) {
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
