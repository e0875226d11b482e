// SPDX-License-Identifier: MIT
// The real service with its real browser, as a host application meets them.
#include "ZRKit/Service/ZRXPC.h"
#include "tests/platform/xpc/Support.h"
#include "tests/support/Gate.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/PDFReader.h"
#include "tests/support/ProcessTree.h"

#include <QElapsedTimer>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

struct Reply {
    QByteArray pdf;
    NSError error;
};
using Replies = Inbox<Reply>;

/// Sends a document; its reply comes to the inbox, or never.
void send(ZRXPC &client, const QString &html, const std::shared_ptr<Replies> &replies) {
    const QVariantMap task{{QStringLiteral("data"), html},
                           {QStringLiteral("utiType"), QStringLiteral("public.html")}};
    client.performXPCAsyncWithObject(task, [replies](const QVariant &result, const NSError &error) {
        replies->put({result.toMap().value(QStringLiteral("data")).toByteArray(), error});
    });
}

QString textOf(const std::optional<Reply> &reply) {
    return reply ? PDFReader(reply->pdf).text() : QStringLiteral("no reply");
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
    Gate never;
    HTTPServer server([&](const HTTPServer::Request &) {
        return HTTPServer::Response{.contentType = "image/png", .body = "x", .gate = &never};
    });
    ZRXPC client(QStringLiteral("com.velmora.zrpdf"));
    const auto replies = std::make_shared<Replies>();
    send(client, QStringLiteral("<p>warm"), replies);
    ASSERT_EQ(textOf(replies->take()), QStringLiteral("warm"));

    send(client, QStringLiteral("<img src='%1'>").arg(server.url(QStringLiteral("/never.png")).toString()),
         replies);
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return server.count("/never.png") > 0; }));
    const auto browsers = browsersBelow(::getpid());
    ASSERT_FALSE(browsers.empty());
    QElapsedTimer sinceKill;
    sinceKill.start();
    for (const auto &browser : browsers)
        ::kill(browser.pid, SIGKILL);
    const std::optional<Reply> failed = replies->take();
    EXPECT_LT(sinceKill.elapsed(), 1000);
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->error.localizedDescription(), QStringLiteral("HTML to PDF converter did fail"));
    never.open();

    send(client, QStringLiteral("<p>again"), replies);
    EXPECT_EQ(textOf(replies->take()), QStringLiteral("again"));
}
