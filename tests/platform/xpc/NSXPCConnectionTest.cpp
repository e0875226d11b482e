// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCConnection.h"

#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCListener.h"
#include "platform/xpc/XPCFrame.h"
#include "tests/platform/xpc/Support.h"
#include "tests/platform/xpc/TestWorker.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QPoint>
#include <gtest/gtest.h>
#include <set>

using namespace zr;

namespace {

/// A listener of this process and its delegate.
class Connections : public ::testing::Test {
protected:
    Connections() {
        listener->setDelegate(delegate);
        listener->resume();
    }
    /// The worker of the connection that was accepted as the n-th.
    std::shared_ptr<TestWorker> worker(std::size_t n = 0) {
        eventually([&] { return delegate->workers().size() > n; });
        return delegate->workers().at(n).lock();
    }

    std::shared_ptr<TestDelegate> delegate = std::make_shared<TestDelegate>();
    std::unique_ptr<NSXPCListener> listener = NSXPCListener::anonymousListener();
};

} // namespace

TEST_F(Connections, DataComesBackUnchanged) {
    TestClient client(listener->endpoint());
    for (const QByteArray &data :
         {QByteArray("abc"), QByteArray("\0\xff\0", 3), QByteArray(3 * 1024 * 1024, 'z')})
        EXPECT_EQ(client.echo(data), data);
}

TEST_F(Connections, NilAndEmptyDataStayApart) {
    TestClient client(listener->endpoint());
    const auto nil = client.echo(QByteArray());
    ASSERT_TRUE(nil);
    EXPECT_TRUE(nil->isNull());
    const auto empty = client.echo(QByteArray(""));
    ASSERT_TRUE(empty);
    EXPECT_TRUE(!empty->isNull() && empty->isEmpty());
}

TEST_F(Connections, RawDataNeedNotOutliveTheCall) {
    TestClient client(listener->endpoint());
    std::vector<char> bytes(4 * 1024 * 1024, 'r');
    client.proxy()->echo(QByteArray::fromRawData(bytes.data(), qsizetype(bytes.size())), client.toReplies());
    std::fill(bytes.begin(), bytes.end(), 'X');
    EXPECT_EQ(client.replies.take(), QByteArray(4 * 1024 * 1024, 'r'));
}

TEST_F(Connections, EveryKindOfArgumentArrives) {
    TestClient client(listener->endpoint());
    const NSError error(QStringLiteral("com.velmora.error"), 101,
                        {{NSLocalizedDescriptionKey, QStringLiteral("no paper")}});
    const QVariantMap any{{QStringLiteral("list"), QVariantList{1, QStringLiteral("zwei"), NSNull()}},
                          {QStringLiteral("data"), QByteArray("bytes")}};
    Inbox<QVariantMap> replies;
    client.proxy()->describe(QStringLiteral("häß"), -5, true, 2.5, any, error,
                             [&](const QVariantMap &values) { replies.put(values); });
    const auto got = replies.take();
    ASSERT_TRUE(got);
    EXPECT_EQ(got->value(QStringLiteral("text")).toString(), QStringLiteral("häß"));
    EXPECT_EQ(got->value(QStringLiteral("number")).toLongLong(), -5);
    EXPECT_TRUE(got->value(QStringLiteral("flag")).toBool());
    EXPECT_EQ(got->value(QStringLiteral("real")).toDouble(), 2.5);
    EXPECT_EQ(got->value(QStringLiteral("error")).value<NSError>(), error);
    const QVariantMap back = got->value(QStringLiteral("any")).toMap();
    EXPECT_EQ(back.value(QStringLiteral("data")).toByteArray(), QByteArray("bytes"));
    EXPECT_TRUE(NSIsNull(back.value(QStringLiteral("list")).toList().at(2)));
}

TEST_F(Connections, MessagesArriveInOrderOnOneThread) {
    TestClient client(listener->endpoint());
    QStringList sent;
    for (int i = 0; i < 2000; ++i) {
        sent.append(QString::number(i));
        client.proxy()->note(sent.back());
    }
    ASSERT_EQ(client.echo("end"), QByteArray("end"));
    EXPECT_EQ(worker()->notes(), sent);
    const auto threads = worker()->threads();
    EXPECT_EQ(std::set(threads.begin(), threads.end()).size(), 1u);
    EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST_F(Connections, MessagesSentBeforeResumeGoFirst) {
    NSXPCConnection connection(listener->endpoint());
    connection.setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
    const auto proxy = connection.remoteObjectProxy<TestProtocol>();
    proxy->note(QStringLiteral("1"));
    proxy->note(QStringLiteral("2"));
    connection.resume();
    proxy->note(QStringLiteral("3"));
    Inbox<int> done;
    proxy->echo("", [&](const QByteArray &) { done.put(1); });
    ASSERT_TRUE(done.take());
    EXPECT_EQ(worker()->notes(),
              (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
}

TEST_F(Connections, RepliesRunOnAThreadOfTheConnection) {
    TestClient client(listener->endpoint());
    Inbox<std::thread::id> threads;
    for (int i = 0; i < 2; ++i)
        client.proxy()->echo("", [&](const QByteArray &) { threads.put(std::this_thread::get_id()); });
    const auto first = threads.take();
    ASSERT_TRUE(first);
    EXPECT_NE(*first, std::this_thread::get_id());
    EXPECT_EQ(threads.take(), first);
}

TEST_F(Connections, TwoConnectionsAreServedAtTheSameTime) {
    TestClient waiting(listener->endpoint());
    TestClient other(listener->endpoint());
    waiting.proxy()->waitForHangup({});
    EXPECT_EQ(other.echo("meanwhile"), QByteArray("meanwhile"));
}

TEST_F(Connections, SendingDoesNotWaitForABusyReceiver) {
    TestClient client(listener->endpoint());
    const QTemporaryDir folder;
    const QString flag = folder.filePath(QStringLiteral("flag"));
    client.proxy()->replyWhenThere(flag, client.toReplies());
    // Far more than the socket holds.
    const QByteArray body(1024 * 1024, 'b');
    for (int i = 0; i < 16; ++i)
        client.proxy()->echo(body, client.toReplies());
    EXPECT_EQ(client.replies.count(), 0u);
    QFile(flag).open(QIODevice::WriteOnly);
    EXPECT_EQ(client.replies.take(), QByteArray("there"));
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(client.replies.take(), body);
}

TEST_F(Connections, RepliesThatNobodyTakesDoNotFillTheServicesMemory) {
    TestClient client(listener->endpoint());
    client.connection->suspend();
    // The thread that was waiting takes one reply before it notices.
    const QByteArray body(8 * 1024 * 1024, 'b');
    for (int i = 0; i < 32; ++i)
        client.proxy()->echo(body, client.toReplies());
    client.proxy()->note(QStringLiteral("last"));
    // The service stops reading long before the last message; it reads on when the replies are taken.
    TestClient other(listener->endpoint());
    ASSERT_EQ(other.echo("alive"), QByteArray("alive"));
    EXPECT_TRUE(worker(0)->notes().isEmpty());
    client.connection->resume();
    for (int i = 0; i < 32; ++i)
        ASSERT_EQ(client.replies.take(), body);
    EXPECT_TRUE(eventually([&] { return worker(0)->notes().size() == 1; }));
}

TEST_F(Connections, SuspendHoldsDeliveryUntilAsManyResumes) {
    TestClient client(listener->endpoint());
    ASSERT_EQ(client.echo("up"), QByteArray("up"));
    client.connection->suspend();
    client.connection->suspend();
    client.proxy()->echo("held", client.toReplies());
    TestClient other(listener->endpoint());
    ASSERT_EQ(other.echo("later"), QByteArray("later"));
    client.connection->resume();
    EXPECT_EQ(client.replies.count(), 0u);
    client.connection->resume();
    EXPECT_EQ(client.replies.take(), QByteArray("held"));
}

TEST_F(Connections, InvalidationFailsWhatWaitsAndThenCallsItsHandlerOnce) {
    TestClient client(listener->endpoint());
    client.proxy()->keep(client.toReplies());
    client.connection->invalidate();
    client.connection->invalidate();
    const auto error = client.errors.take();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), NSXPCConnectionInvalid);
    EXPECT_TRUE(client.invalidations.take());
    EXPECT_EQ(client.invalidations.count(), 0u);
    EXPECT_EQ(client.interruptions.count(), 0u);
    EXPECT_EQ(client.replies.count(), 0u);
}

TEST_F(Connections, MessagesOverAnInvalidConnectionFail) {
    TestClient client(listener->endpoint());
    client.connection->invalidate();
    client.proxy()->echo("x", client.toReplies());
    const auto error = client.errors.take();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), NSXPCConnectionInvalid);
}

TEST_F(Connections, TheWorkerIsReleasedWithItsConnection) {
    std::weak_ptr<TestWorker> served;
    {
        TestClient client(listener->endpoint());
        ASSERT_EQ(client.echo("x"), QByteArray("x"));
        client.proxy()->keep(client.toReplies());
        ASSERT_EQ(client.echo("x"), QByteArray("x"));
        served = delegate->workers().front();
        ASSERT_FALSE(served.expired());
    }
    EXPECT_TRUE(eventually([&] { return served.expired(); }));
}

TEST_F(Connections, DroppingTheLastHolderEndsTheConnection) {
    auto connection = std::make_shared<NSXPCConnection>(listener->endpoint());
    connection->resume();
    Inbox<int> hangups;
    eventually([&] { return !delegate->workers().empty(); });
    if (const auto accepted = worker()->connection.lock())
        accepted->setHangupHandler([&] { hangups.put(1); });
    connection.reset();
    EXPECT_TRUE(hangups.take());
}

TEST_F(Connections, AReplyBlockMayHoldTheConnectionAndDropIt) {
    auto connection = std::make_shared<NSXPCConnection>(listener->endpoint());
    connection->setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
    connection->resume();
    const std::weak_ptr weak = connection;
    Inbox<int> done;
    const auto proxy = connection->remoteObjectProxy<TestProtocol>();
    proxy->echo("x", [&done, held = std::exchange(connection, nullptr)](const QByteArray &) mutable {
        held->invalidate();
        done.put(1);
    });
    EXPECT_TRUE(done.take());
    EXPECT_TRUE(eventually([&] { return weak.expired(); }));
}

TEST_F(Connections, ADroppedReplyIsAnError) {
    TestClient client(listener->endpoint());
    client.proxy()->drop(client.toReplies());
    const auto error = client.errors.take();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), NSXPCConnectionReplyInvalid);
    EXPECT_EQ(client.echo("alive"), QByteArray("alive"));
}

TEST_F(Connections, ASecondReplyIsLoudAndEndsTheConnection) {
    const LogCapture log;
    TestClient client(listener->endpoint());
    client.proxy()->replyTwice(client.toReplies());
    EXPECT_EQ(client.replies.take(), QByteArray("first"));
    EXPECT_TRUE(client.invalidations.take());
    EXPECT_EQ(client.replies.count(), 0u);
    EXPECT_EQ(
        log.count(QStringLiteral("NSXPCConnection: exception in \"replyTwice:\": a message was replied")), 1);
}

TEST_F(Connections, AnExceptionInAMethodEndsThatConnectionOnly) {
    const LogCapture log;
    TestClient other(listener->endpoint());
    ASSERT_EQ(other.echo("x"), QByteArray("x"));
    {
        TestClient client(listener->endpoint());
        client.proxy()->raise(QStringLiteral("so what"), client.toReplies());
        EXPECT_TRUE(client.errors.take());
        EXPECT_TRUE(client.invalidations.take());
    }
    EXPECT_EQ(log.count(QStringLiteral("NSXPCConnection: exception in \"raise:reply:\": so what")), 1);
    EXPECT_EQ(other.echo("alive"), QByteArray("alive"));
}

TEST_F(Connections, AnExceptionInAReplyBlockIsLogged) {
    const LogCapture log;
    TestClient client(listener->endpoint());
    client.proxy()->echo("x", [](const QByteArray &) {
        throw NSException(NSInvalidArgumentException, QStringLiteral("from the block"));
    });
    EXPECT_EQ(client.echo("alive"), QByteArray("alive"));
    EXPECT_EQ(log.count(QStringLiteral("NSXPCConnection: exception in the reply block: from the block")), 1);
}

TEST_F(Connections, HangupIsToldWhileAMessageIsHandled) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("gone"));
    {
        TestClient client(listener->endpoint());
        client.proxy()->waitForHangup(path);
    }
    EXPECT_TRUE(eventually([&] { return QFile::exists(path); }));
}

TEST_F(Connections, ProxiesNeedTheInterfaceOfTheirProtocol) {
    NSXPCConnection connection(listener->endpoint());
    EXPECT_THROW(connection.remoteObjectProxy<TestProtocol>(), NSException);
}

TEST_F(Connections, ValuesThatCannotBeArchivedAreRefusedToTheSender) {
    TestClient client(listener->endpoint());
    EXPECT_THROW(client.proxy()->describe({}, 0, false, 0, QVariant::fromValue(QPoint()), {},
                                          [](const QVariantMap &) {}),
                 NSException);
    EXPECT_EQ(client.echo("alive"), QByteArray("alive"));
}

TEST_F(Connections, AMessageBeyondTheFrameLimitIsAnErrorOfThatMessage) {
    TestClient client(listener->endpoint());
    const QByteArray piece(64 * 1024 * 1024, 'x');
    // Shared, so that only the sum is beyond the limit.
    client.proxy()->echo(QByteArray::fromRawData(piece.constData(), piece.size()), client.toReplies());
    ASSERT_EQ(client.replies.take(), piece);
    QByteArray tooLarge;
    tooLarge.resize(qsizetype(XPCFrame::maximumLength));
    client.proxy()->echo(tooLarge, client.toReplies());
    EXPECT_TRUE(client.errors.take());
    EXPECT_EQ(client.echo("alive"), QByteArray("alive"));
}

TEST_F(Connections, BothSidesMaySendAndNothingExportedRefuses) {
    const LogCapture log;
    TestClient client(listener->endpoint());
    ASSERT_EQ(client.echo("x"), QByteArray("x"));
    const auto accepted = worker()->connection.lock();
    ASSERT_TRUE(accepted);
    accepted->setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
    Inbox<NSError> errors;
    accepted
        ->remoteObjectProxyWithErrorHandler<TestProtocol>([&](const NSError &error) { errors.put(error); })
        ->echo("back", [](const QByteArray &) { FAIL(); });
    const auto error = errors.take();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), NSXPCConnectionReplyInvalid);

    client.connection->setExportedInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
    client.connection->setExportedObject(std::make_shared<TestWorker>());
    Inbox<QByteArray> replies;
    accepted->remoteObjectProxy<TestProtocol>()->echo("back",
                                                      [&](const QByteArray &data) { replies.put(data); });
    EXPECT_EQ(replies.take(), QByteArray("back"));
}

TEST_F(Connections, AcceptedConnectionsKnowTheirPeer) {
    TestClient client(listener->endpoint());
    ASSERT_EQ(client.echo("x"), QByteArray("x"));
    EXPECT_EQ(worker()->connection.lock()->processIdentifier(), ::getpid());
}

TEST_F(Connections, AnEndedListenerIsRefused) {
    const LogCapture log;
    const auto endpoint = listener->endpoint();
    TestClient before(endpoint);
    ASSERT_EQ(before.echo("x"), QByteArray("x"));
    listener.reset();
    EXPECT_TRUE(eventually([&] { return !endpoint.connect(); }));
    TestClient client(endpoint);
    client.proxy()->echo("x", client.toReplies());
    EXPECT_TRUE(client.errors.take());
    EXPECT_EQ(before.echo("accepted earlier"), QByteArray("accepted earlier"));
}

TEST_F(Connections, WithoutADelegateOrItsConsentConnectionsAreClosed) {
    struct Refusing : NSXPCListenerDelegate {
        bool listenerShouldAcceptNewConnection(NSXPCListener *,
                                               const std::shared_ptr<NSXPCConnection> &) override {
            return false;
        }
    };
    delegate.reset();
    {
        TestClient client(listener->endpoint());
        EXPECT_TRUE(client.invalidations.take());
    }
    const auto refusing = std::make_shared<Refusing>();
    listener->setDelegate(refusing);
    TestClient client(listener->endpoint());
    EXPECT_TRUE(client.invalidations.take());
}

TEST(NSXPCConnection, ANilNameIsNoName) {
    EXPECT_THROW(NSXPCConnection{QString()}, NSException);
}

TEST(NSXPCConnection, ANameThatNothingAnswersToFailsEachMessage) {
    const LogCapture log;
    const RuntimeFolder folder;
    for (const char *name : {"zr.test.absent", "", "../escape", "a/b", "@x", "x@", "a@b@c", ".hidden"}) {
        TestClient client(QString::fromLatin1(name));
        EXPECT_TRUE(client.invalidations.take()) << name;
        client.proxy()->echo("x", client.toReplies());
        const auto error = client.errors.take();
        ASSERT_TRUE(error) << name;
        EXPECT_EQ(error->code(), NSXPCConnectionInvalid) << name;
        EXPECT_EQ(client.replies.count(), 0u);
    }
    EXPECT_TRUE(folder.entries().isEmpty());
}
