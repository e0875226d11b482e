// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPC.h"

#include "examples/kit/Example.h"
#include "platform/values/NSLog.h"
#include "platform/xpc/NSXPCServiceMonitor.h"

#include <QUrl>
#include <csignal>
#include <future>

using namespace Qt::StringLiterals;

EXAMPLE(ZRXPC) {
    // A client of the conversion service; the service starts at once.
    ZRXPC client(u"com.velmora.zrpdf"_s);

    // performXPCWithObject: the result, or nil after a line in the log
    const QVariant reply = client.performXPCWithObject(
        QVariantMap{{u"data"_s, u"<h1>Hello</h1>"_s}, {u"pdfTitle"_s, u"Greeting"_s}});
    const QByteArray pdf = reply.toMap().value(u"data"_s).toByteArray();
    expect(pdf.startsWith("%PDF-"));

    // performXPCSynchronousWithObject: the error too, and what led to it
    const QUrl missing(u"file:///no/such/page.html"_s);
    client.performXPCSynchronousWithObject(
        QVariantMap{{u"data"_s, missing}}, [](const QVariant &result, const NSError &error) {
            expect(!result.isValid());
            expect(error.domain() == u"com.velmora.error" && error.code() == 101);
            expect(error.localizedDescription() == u"HTML to PDF converter did fail");
            const auto cause = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
            expect(cause.localizedDescription() == u"net::ERR_FILE_NOT_FOUND");
        });

    // performXPCAsyncWithObject: past the queue, with the block on a thread of the connection
    std::promise<QVariant> answer;
    client.performXPCAsyncWithObject(
        QVariantMap{{u"__boot"_s, true}},
        [&](const QVariant &result, const NSError &) { answer.set_value(result); });
    expect(answer.get_future().get() == QVariant(QVariantMap{{u"boot"_s, u"success"_s}}));

    // A client waits for ever for a service that is gone; a monitor tells of its end.
    std::promise<QString> ended;
    const NSXPCServiceMonitor monitor(u"com.velmora.zrpdf@2"_s, [&](const NSXPCServiceMonitor::Exit &exit) {
        ended.set_value(exit.description());
    });
    const pid_t process = monitor.processIdentifier();
    ZRXPC(u"com.velmora.zrpdf@2"_s).performXPCWithObject(QVariantMap{{u"__boot"_s, true}}); // it is up then
    expect(process > 0 && ::kill(process, SIGTERM) == 0);
    expect(ended.get_future().get() == u"exited with code 0");
}
