// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCLink.h"

#include "tests/platform/xpc/Support.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace zr;

namespace {

/// A link and its peer, which is a plain socket.
struct Pair {
    Pair() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        peer.reset(ends[0]);
        link = XPCLink::make(FileDescriptor(ends[1]), XPCLink::End::Accepted);
    }
    /// Takes so many bytes at the peer.
    void take(std::size_t count) const {
        std::vector<char> bytes(count);
        ASSERT_EQ(::recv(peer.get(), bytes.data(), count, MSG_WAITALL), ssize_t(count));
    }
    FileDescriptor peer;
    std::shared_ptr<XPCLink> link;
};

XPCFrame frameOf(qsizetype length) {
    XPCFrame frame;
    frame.segments = {QByteArray(length, 'x')};
    return frame;
}

} // namespace

TEST(XPCLink, BytesAreUnderWayUntilThePeerHasTakenThemAndEachPartMovesItsClock) {
    const Pair pair;
    EXPECT_FALSE(pair.link->hasBytesUnderWay());
    constexpr std::size_t piece = 4 << 20;
    ASSERT_TRUE(pair.link->send(frameOf(4 * piece)));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(pair.link->hasBytesUnderWay());
        const auto before = pair.link->lastMoved();
        pair.take(piece);
        EXPECT_TRUE(eventually([&] { return pair.link->lastMoved() > before; }));
    }
    pair.take(piece + XPCFrame::headerLength + sizeof(quint64));
    EXPECT_TRUE(eventually([&] { return !pair.link->hasBytesUnderWay(); }));
}

TEST(XPCLink, FramesArriveWholeAndInOrderHoweverThePeerTakesThem) {
    const Pair pair;
    QByteArray expected;
    for (int i = 0; i < 40; ++i) {
        XPCFrame frame = frameOf(i * 50'000);
        frame.exchange = quint64(i);
        frame.archive = QByteArray::number(i);
        frame.segments.emplace_back("");
        frame.segments.emplace_back(QByteArray(i % 3, 'e'));
        expected += frame.prologue() + frame.archive + frame.segments[0] + frame.segments[2];
        ASSERT_TRUE(pair.link->send(frame));
    }
    QByteArray got(expected.size(), Qt::Uninitialized);
    for (qsizetype at = 0, step = 1; at < got.size(); step = step * 7 % 100'003) {
        const ssize_t count =
            ::recv(pair.peer.get(), got.data() + at, std::size_t(std::min(step, got.size() - at)), 0);
        ASSERT_GT(count, 0);
        at += count;
    }
    EXPECT_TRUE(got == expected);
}

TEST(XPCLink, APeerThatHasGoneIsToldOnceAndNothingMoreIsSent) {
    Pair pair;
    Inbox<int> losses;
    pair.link->setLossHandler([&] { losses.put(1); });
    ASSERT_TRUE(pair.link->send(frameOf(16 << 20)));
    pair.peer.reset();
    EXPECT_TRUE(losses.take());
    EXPECT_TRUE(pair.link->isLost());
    EXPECT_FALSE(pair.link->hasBytesUnderWay());
    EXPECT_FALSE(pair.link->send(frameOf(1)));
    pair.link->close();
    EXPECT_EQ(losses.count(), 0u);
}
