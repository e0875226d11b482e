// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPC.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tests/support/ProcessTree.h"

#include <QFile>
#include <algorithm>
#include <gtest/gtest.h>

namespace {

/// The most that was seen, in bytes.
struct Peak {
    long long service = 0;
    long long browser = 0;

    void add(pid_t pid) {
        service = std::max(service, ProcessTree::memory(pid));
        browser = std::max(browser, ProcessTree::memory(ProcessTree::below(pid)));
    }
};

} // namespace

TEST(ServiceEndurance, MemoryIsFlatOverAThousandConversions) {
    const QString name = QStringLiteral("com.velmora.zrpdf");
    QFile file(QStringLiteral(ZR_SOURCE_DIR "/examples/invoice.html"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString html = QString::fromUtf8(file.readAll());
    NSXPCServiceMonitor monitor(name, [](const NSXPCServiceMonitor::Exit &) {});
    ZRXPC client(name);
    // The browser renews its renderer after so many documents: what counts is the peak of such a round.
    const int round = 100;
    const int interval = 5;
    Peak first;
    Peak last;
    for (int i = 1; i <= 1000; ++i) {
        const QVariantMap reply =
            client.performXPCWithObject(QVariantMap{{QStringLiteral("data"), html}}).toMap();
        ASSERT_GT(reply.value(QStringLiteral("data")).toByteArray().size(), 1000) << "conversion " << i;
        if (i % interval == 0 && i <= round)
            first.add(monitor.processIdentifier());
        else if (i % interval == 0 && i > 1000 - round)
            last.add(monitor.processIdentifier());
    }
    ASSERT_GT(first.service, 0);
    ASSERT_GT(first.browser, 0);
    RecordProperty("service_kb_100", int(first.service / 1024));
    RecordProperty("browser_kb_100", int(first.browser / 1024));
    RecordProperty("service_kb_1000", int(last.service / 1024));
    RecordProperty("browser_kb_1000", int(last.browser / 1024));
    EXPECT_LT(last.service - first.service, 2LL << 20);
    EXPECT_LT(double(last.browser), double(first.browser) * 1.1);
}
