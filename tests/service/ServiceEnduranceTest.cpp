// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPC.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tests/support/ProcessTree.h"

#include <QFile>
#include <gtest/gtest.h>

TEST(ServiceEndurance, MemoryIsFlatOverAThousandConversions) {
    const QString name = QStringLiteral("com.velmora.zrpdf");
    QFile file(QStringLiteral(ZR_SOURCE_DIR "/examples/invoice.html"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString html = QString::fromUtf8(file.readAll());
    NSXPCServiceMonitor monitor(name, [](const NSXPCServiceMonitor::Exit &) {});
    ZRXPC client(name);
    long long service = 0;
    long long browser = 0;
    for (int i = 1; i <= 1000; ++i) {
        const QVariantMap reply =
            client.performXPCWithObject(QVariantMap{{QStringLiteral("data"), html}}).toMap();
        ASSERT_GT(reply.value(QStringLiteral("data")).toByteArray().size(), 1000) << "conversion " << i;
        if (i == 100 || i == 1000) {
            const pid_t pid = monitor.processIdentifier();
            const long long serviceNow = ProcessTree::memory(pid);
            const long long browserNow = ProcessTree::memory(ProcessTree::below(pid));
            ASSERT_GT(serviceNow, 0);
            ASSERT_GT(browserNow, 0);
            if (i == 100) {
                service = serviceNow;
                browser = browserNow;
            } else {
                EXPECT_LT(serviceNow - service, 2LL << 20);
                EXPECT_LT(double(browserNow), double(browser) * 1.1);
            }
            RecordProperty(i == 100 ? "service_kb_100" : "service_kb_1000", int(serviceNow / 1024));
            RecordProperty(i == 100 ? "browser_kb_100" : "browser_kb_1000", int(browserNow / 1024));
        }
    }
}
