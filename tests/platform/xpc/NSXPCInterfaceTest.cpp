// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCInterface.h"
#include "platform/values/NSNull.h"

#include "tests/platform/xpc/TestWorker.h"

#include <gtest/gtest.h>

namespace {

using Outcome = NSXPCInterface::Outcome;

Outcome invoke(QObject *object, const char *selector, const QVariantList &arguments,
               const NSXPCInterface::Reply &reply = {}) {
    return NSXPCInterface::interfaceWithProtocol<TestProtocol>()->invoke(
        object, QString::fromLatin1(selector), arguments, reply);
}

} // namespace

TEST(NSXPCInterface, IsOnePerProtocolAndKnowsItsSelectors) {
    const auto interface = NSXPCInterface::interfaceWithProtocol<TestProtocol>();
    EXPECT_EQ(interface, NSXPCInterface::interfaceWithProtocol<TestProtocol>());
    EXPECT_EQ(interface->protocolName(), QStringLiteral("TestProtocol"));
    EXPECT_EQ(interface->selectors().front(), QStringLiteral("echo:reply:"));
}

TEST(NSXPCInterface, CallsTheMethodBehindTheSelector) {
    TestWorker worker;
    QVariantList got;
    EXPECT_EQ(invoke(&worker, "echo:reply:", {QByteArray("abc")}, [&](const QVariantList &r) { got = r; }),
              Outcome::Called);
    EXPECT_EQ(got, QVariantList{QByteArray("abc")});
    EXPECT_EQ(invoke(&worker, "note:", {QStringLiteral("n")}), Outcome::Called);
    EXPECT_EQ(worker.notes(), QStringList{QStringLiteral("n")});
}

TEST(NSXPCInterface, RefusesUnknownSelectors) {
    TestWorker worker;
    for (const char *selector : {"", "echo", "echo:", "echo:reply:more:", "deleteLater", "objectName"})
        EXPECT_EQ(invoke(&worker, selector, {}), Outcome::UnknownSelector) << selector;
}

TEST(NSXPCInterface, RefusesOtherArguments) {
    TestWorker worker;
    const NSXPCInterface::Reply reply = [](const QVariantList &) { FAIL(); };
    EXPECT_EQ(invoke(&worker, "echo:reply:", {}, reply), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "echo:reply:", {QByteArray("a"), QByteArray("b")}, reply),
              Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "echo:reply:", {QStringLiteral("a")}, reply), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "echo:reply:", {NSNull()}, reply), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "echo:reply:", {QByteArray("a")}), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "note:", {QByteArray("bytes")}), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "note:", {QStringLiteral("n")}, reply), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "die:", {true}), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "die:", {1.5}), Outcome::WrongArguments);
    EXPECT_EQ(invoke(&worker, "die:", {~qulonglong(0)}), Outcome::WrongArguments);
    EXPECT_TRUE(worker.notes().isEmpty());
}

TEST(NSXPCInterface, RefusesObjectsThatDoNotImplementTheProtocol) {
    QObject object;
    EXPECT_EQ(invoke(&object, "note:", {QStringLiteral("n")}), Outcome::WrongObject);
}

TEST(NSXPCInterface, NilArgumentsArriveAsTheTypesOwnNil) {
    TestWorker worker;
    QVariantMap got;
    EXPECT_EQ(invoke(&worker, "describe:number:flag:real:any:error:reply:",
                     {QVariant(), qlonglong(0), false, 0.0, QVariant(), QVariant()},
                     [&](const QVariantList &r) { got = r.front().toMap(); }),
              Outcome::Called);
    EXPECT_TRUE(got.value(QStringLiteral("textIsNil")).toBool());
    EXPECT_FALSE(got.value(QStringLiteral("any")).isValid());
}
