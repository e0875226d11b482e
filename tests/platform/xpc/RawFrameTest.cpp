// SPDX-License-Identifier: MIT
// What a listener does with peers that don't speak its language.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/xpc/NSXPCListener.h"
#include "platform/xpc/XPCCall.h"
#include "tests/platform/xpc/Support.h"
#include "tests/platform/xpc/TestWorker.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QtEndian>
#include <gtest/gtest.h>
#include <poll.h>
#include <random>
#include <sys/socket.h>

using namespace zr;

namespace {

QByteArray onTheWire(const XPCFrame &frame) {
    QByteArray bytes = frame.prologue() + frame.archive;
    for (const QByteArray &segment : frame.segments)
        bytes += segment;
    return bytes;
}

XPCFrame message(const char *selector, const QVariantList &values, quint64 exchange = 1) {
    XPCCall call;
    call.selector = QString::fromLatin1(selector);
    call.values = values;
    return call.frame(XPCFrame::Kind::Message, exchange);
}

class RawFrames : public ::testing::Test {
protected:
    RawFrames() {
        listener->setDelegate(delegate);
        listener->resume();
    }
    /// Every other connection must go on, whatever a test sends.
    void TearDown() override {
        EXPECT_EQ(bystander.echo("alive"), QByteArray("alive"));
        TestClient newcomer(listener->endpoint());
        EXPECT_EQ(newcomer.echo("welcome"), QByteArray("welcome"));
    }

    zr::FileDescriptor sendRaw(const QByteArray &bytes) {
        zr::FileDescriptor socket = listener->endpoint().connect();
        EXPECT_EQ(::send(socket.get(), bytes.constData(), std::size_t(bytes.size()), MSG_NOSIGNAL),
                  bytes.size());
        return socket;
    }

    /// Whether the listener's side closes the connection.
    static bool isClosed(const zr::FileDescriptor &socket) {
        char bytes[4096];
        ssize_t got = 0;
        do {
            pollfd wait{socket.get(), POLLIN, 0};
            if (::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) != 1)
                return false;
            got = ::read(socket.get(), bytes, sizeof bytes);
        } while (got > 0);
        return true;
    }

    /// The next frame that comes back; of kind Message where none does.
    static XPCFrame answer(const zr::FileDescriptor &socket) {
        XPCFrameReader reader(
            [&](char *into, std::size_t count) { return ::read(socket.get(), into, count); });
        XPCFrame frame;
        if (reader.next(frame) != XPCFrameReader::Outcome::Frame)
            frame.kind = XPCFrame::Kind::Message;
        return frame;
    }

    const LogCapture log;
    std::shared_ptr<TestDelegate> delegate = std::make_shared<TestDelegate>();
    std::unique_ptr<NSXPCListener> listener = NSXPCListener::anonymousListener();
    TestClient bystander{listener->endpoint()};
};

} // namespace

TEST_F(RawFrames, WellFormedMessagesAreAnswered) {
    const zr::FileDescriptor socket = sendRaw(onTheWire(message("echo:reply:", {QByteArray("abc")}, 77)));
    const XPCFrame reply = answer(socket);
    EXPECT_EQ(reply.kind, XPCFrame::Kind::Reply);
    EXPECT_EQ(reply.exchange, 77u);
    EXPECT_EQ(XPCCall::fromFrame(reply).values, QVariantList{QByteArray("abc")});
}

TEST_F(RawFrames, GarbageEndsItsConnection) {
    EXPECT_TRUE(isClosed(sendRaw("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n")));
    EXPECT_TRUE(isClosed(sendRaw(QByteArray(100000, '\0'))));
    std::mt19937 random(20);
    for (int i = 0; i < 50; ++i) {
        QByteArray bytes(qsizetype(24 + random() % 4096), Qt::Uninitialized);
        for (char &byte : bytes)
            byte = char(random());
        EXPECT_TRUE(isClosed(sendRaw(bytes)));
    }
}

TEST_F(RawFrames, OversizedFramesEndTheirConnection) {
    QByteArray bytes = onTheWire(message("echo:reply:", {QByteArray("abc")}));
    qToLittleEndian(XPCFrame::maximumLength + 1, bytes.data() + 8);
    EXPECT_TRUE(isClosed(sendRaw(bytes)));
}

TEST_F(RawFrames, TruncatedFramesEndWithTheirConnection) {
    const QByteArray bytes = onTheWire(message("echo:reply:", {QByteArray("abc")}));
    for (const qsizetype length :
         {qsizetype(1), qsizetype(23), qsizetype(24), qsizetype(40), bytes.size() - 1}) {
        const zr::FileDescriptor socket = sendRaw(bytes.left(length));
        ASSERT_EQ(::shutdown(socket.get(), SHUT_WR), 0);
        EXPECT_TRUE(isClosed(socket)) << length;
    }
}

TEST_F(RawFrames, HalfOpenFramesHoldNobodyUp) {
    const QByteArray bytes = onTheWire(message("echo:reply:", {QByteArray("abc")}));
    std::vector<zr::FileDescriptor> open;
    for (int i = 0; i < 32; ++i)
        open.push_back(sendRaw(bytes.left(10 + i)));
    EXPECT_EQ(bystander.echo("meanwhile"), QByteArray("meanwhile"));
}

TEST_F(RawFrames, WhatIsNoArchiveEndsItsConnection) {
    XPCFrame frame;
    frame.exchange = 1;
    for (const QByteArray &archive :
         {QByteArray(), QByteArray("bplist00"), QByteArray("nonsense"),
          NSKeyedArchiver::archivedDataWithRootObject(QStringLiteral("no dictionary")),
          NSKeyedArchiver::archivedDataWithRootObject(QVariantMap()),
          NSKeyedArchiver::archivedDataWithRootObject(
              QVariantMap{{QStringLiteral("selector"), 5}, {QStringLiteral("values"), QVariantList()}}),
          NSKeyedArchiver::archivedDataWithRootObject(
              QVariantMap{{QStringLiteral("selector"), QStringLiteral("note:")},
                          {QStringLiteral("values"), QStringLiteral("no list")}}),
          NSKeyedArchiver::archivedDataWithRootObject(
              QVariantMap{{QStringLiteral("selector"), QStringLiteral("note:")},
                          {QStringLiteral("values"), QVariantList{QStringLiteral("no dictionary")}}}),
          NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{
              {QStringLiteral("selector"), QStringLiteral("echo:reply:")},
              {QStringLiteral("values"), QVariantList{QVariantMap{{QStringLiteral("segment"), 0}}}}}),
          NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{
              {QStringLiteral("selector"), QStringLiteral("echo:reply:")},
              {QStringLiteral("values"),
               QVariantList{QVariantMap{{QStringLiteral("segment"), QStringLiteral("none")}}}}})}) {
        frame.archive = archive;
        EXPECT_TRUE(isClosed(sendRaw(onTheWire(frame)))) << archive.toStdString();
    }
}

TEST_F(RawFrames, RepliesToNothingEndTheirConnection) {
    XPCCall call;
    call.values = {QByteArray("x")};
    EXPECT_TRUE(isClosed(sendRaw(onTheWire(call.frame(XPCFrame::Kind::Reply, 5)))));
    EXPECT_TRUE(isClosed(sendRaw(onTheWire(call.frame(XPCFrame::Kind::Refusal, 5)))));
}

TEST_F(RawFrames, UnknownSelectorsAndOtherArgumentsAreRefusedAndTheConnectionGoesOn) {
    const zr::FileDescriptor socket = sendRaw(onTheWire(message("deleteLater", {}, 1)));
    EXPECT_EQ(answer(socket).kind, XPCFrame::Kind::Refusal);
    for (const XPCFrame &wrong :
         {message("echo:reply:", {QStringLiteral("no data")}, 2), message("echo:reply:", {}, 3),
          message("note:", {QStringLiteral("n")}, 4), message("", {}, 5)}) {
        const QByteArray bytes = onTheWire(wrong);
        ASSERT_EQ(::write(socket.get(), bytes.constData(), std::size_t(bytes.size())), bytes.size());
        const XPCFrame refusal = answer(socket);
        EXPECT_EQ(refusal.kind, XPCFrame::Kind::Refusal);
        EXPECT_EQ(refusal.exchange, wrong.exchange);
        EXPECT_TRUE(XPCCall::fromFrame(refusal).error);
    }
    const QByteArray good = onTheWire(message("echo:reply:", {QByteArray("still")}, 6));
    ASSERT_EQ(::write(socket.get(), good.constData(), std::size_t(good.size())), good.size());
    EXPECT_EQ(answer(socket).kind, XPCFrame::Kind::Reply);
}

TEST_F(RawFrames, APeerThatShutsOnlyItsSendingSideCountsAsGone) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("gone"));
    const zr::FileDescriptor socket = sendRaw(onTheWire(message("waitForHangup:", {path}, 0)));
    ASSERT_EQ(::shutdown(socket.get(), SHUT_WR), 0);
    EXPECT_TRUE(eventually([&] { return QFile::exists(path); }));
    EXPECT_TRUE(isClosed(socket));
}

TEST_F(RawFrames, PeersThatLeaveAtAnyByteLeaveNothing) {
    const QByteArray bytes = onTheWire(message("echo:reply:", {QByteArray(50000, 'b')}));
    std::mt19937 random(21);
    for (int i = 0; i < 300; ++i)
        sendRaw(bytes.left(qsizetype(1 + random() % std::size_t(bytes.size()))));
    EXPECT_TRUE(eventually([&] {
        const auto workers = delegate->workers();
        return workers.size() == 301 &&
               std::count_if(workers.begin(), workers.end(), [](const auto &w) { return !w.expired(); }) == 1;
    }));
}
