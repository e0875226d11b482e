// SPDX-License-Identifier: MIT
// A host that tests kill: it uses the service whose name it gets, without end; or blocks the service's main
// thread and waits.
#include "platform/xpc/NSXPCConnection.h"
#include "tests/platform/xpc/TestProtocol.h"

#include <cstdio>
#include <future>
#include <unistd.h>

int main(int count, char **arguments) {
    const QString name = QString::fromLocal8Bit(arguments[1]);
    const QByteArray body(300 * 1024, 'x');
    for (;;) {
        NSXPCConnection connection(name);
        connection.setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
        connection.resume();
        const auto proxy = connection.remoteObjectProxy<TestProtocol>();
        std::promise<void> done;
        proxy->processIdentifier([](qint64 pid) {
            std::printf("%lld\n", static_cast<long long>(pid));
            std::fflush(stdout);
        });
        if (count > 2) {
            proxy->blockMainThread([](const QByteArray &) { std::puts("blocked"), std::fflush(stdout); });
            ::pause();
        }
        proxy->echo(body, [&](const QByteArray &) { done.set_value(); });
        done.get_future().wait();
    }
}
