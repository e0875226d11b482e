// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCProxy.h"

#include <QObject>
#include <functional>

/// What the tests' services understand.
class TestProtocol {
public:
    using DataReply = std::function<void(const QByteArray &)>;
    using ValuesReply = std::function<void(const QVariantMap &)>;
    using NumberReply = std::function<void(qint64)>;

    virtual ~TestProtocol() = default;
    virtual void echo(const QByteArray &data, const DataReply &reply) = 0;
    virtual void describe(const QString &text, qint64 number, bool flag, double real, const QVariant &any,
                          const NSError &error, const ValuesReply &reply) = 0;
    virtual void note(const QString &text) = 0;
    virtual void processIdentifier(const NumberReply &reply) = 0;
    /// Keeps the reply for ever.
    virtual void keep(const DataReply &reply) = 0;
    /// Drops the reply at once.
    virtual void drop(const DataReply &reply) = 0;
    virtual void replyTwice(const DataReply &reply) = 0;
    virtual void raise(const QString &reason, const DataReply &reply) = 0;
    /// Sends the signal to the service's own process.
    virtual void die(qint64 signal) = 0;
    /// Returns when the other side has gone; leaves a file at the path then.
    virtual void waitForHangup(const QString &path) = 0;
    /// Blocks the service's main thread for ever.
    virtual void blockMainThread(const DataReply &reply) = 0;
    /// What the service was started with.
    virtual void surroundings(const ValuesReply &reply) = 0;
    /// Replies when a file is at the path.
    virtual void replyWhenThere(const QString &path, const DataReply &reply) = 0;
};

class TestProxy final : public TestProtocol, NSXPCProxy {
public:
    using NSXPCProxy::NSXPCProxy;
    void echo(const QByteArray &data, const DataReply &reply) override {
        forward<&TestProtocol::echo>(data, reply);
    }
    void describe(const QString &text, qint64 number, bool flag, double real, const QVariant &any,
                  const NSError &error, const ValuesReply &reply) override {
        forward<&TestProtocol::describe>(text, number, flag, real, any, error, reply);
    }
    void note(const QString &text) override { forward<&TestProtocol::note>(text); }
    void processIdentifier(const NumberReply &reply) override {
        forward<&TestProtocol::processIdentifier>(reply);
    }
    void keep(const DataReply &reply) override { forward<&TestProtocol::keep>(reply); }
    void drop(const DataReply &reply) override { forward<&TestProtocol::drop>(reply); }
    void replyTwice(const DataReply &reply) override { forward<&TestProtocol::replyTwice>(reply); }
    void raise(const QString &reason, const DataReply &reply) override {
        forward<&TestProtocol::raise>(reason, reply);
    }
    void die(qint64 signal) override { forward<&TestProtocol::die>(signal); }
    void waitForHangup(const QString &path) override { forward<&TestProtocol::waitForHangup>(path); }
    void blockMainThread(const DataReply &reply) override { forward<&TestProtocol::blockMainThread>(reply); }
    void surroundings(const ValuesReply &reply) override { forward<&TestProtocol::surroundings>(reply); }
    void replyWhenThere(const QString &path, const DataReply &reply) override {
        forward<&TestProtocol::replyWhenThere>(path, reply);
    }
};

template <>
struct NSXPCProtocolDescription<TestProtocol> {
    static constexpr char name[] = "TestProtocol";
    using Methods =
        NSXPCMethods<NSXPCMethod<"echo:reply:", &TestProtocol::echo>,
                     NSXPCMethod<"describe:number:flag:real:any:error:reply:", &TestProtocol::describe>,
                     NSXPCMethod<"note:", &TestProtocol::note>,
                     NSXPCMethod<"processIdentifier:", &TestProtocol::processIdentifier>,
                     NSXPCMethod<"keep:", &TestProtocol::keep>, NSXPCMethod<"drop:", &TestProtocol::drop>,
                     NSXPCMethod<"replyTwice:", &TestProtocol::replyTwice>,
                     NSXPCMethod<"raise:reply:", &TestProtocol::raise>,
                     NSXPCMethod<"die:", &TestProtocol::die>,
                     NSXPCMethod<"waitForHangup:", &TestProtocol::waitForHangup>,
                     NSXPCMethod<"blockMainThread:", &TestProtocol::blockMainThread>,
                     NSXPCMethod<"surroundings:", &TestProtocol::surroundings>,
                     NSXPCMethod<"replyWhenThere:reply:", &TestProtocol::replyWhenThere>>;
    using Proxy = TestProxy;
};
