// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCFrame.h"

#include <QtEndian>
#include <algorithm>
#include <gtest/gtest.h>

using namespace zr;

namespace {

/// A stream of given bytes that hands out at most so many at once and notes how much was asked for.
struct Stream {
    QByteArray bytes;
    std::size_t piece = SIZE_MAX;
    std::size_t largestWish = 0;
    qsizetype at = 0;

    XPCFrameReader reader() {
        return XPCFrameReader([this](char *into, std::size_t count) {
            largestWish = std::max(largestWish, count);
            const auto given = std::min({count, piece, std::size_t(bytes.size() - at)});
            std::copy_n(bytes.constData() + at, given, into);
            at += qsizetype(given);
            return ssize_t(given);
        });
    }
};

QByteArray onTheWire(const XPCFrame &frame) {
    QByteArray bytes = frame.prologue() + frame.archive;
    for (const QByteArray &segment : frame.segments)
        bytes += segment;
    return bytes;
}

XPCFrame sample() {
    XPCFrame frame;
    frame.kind = XPCFrame::Kind::Reply;
    frame.exchange = 0x1122334455667788;
    frame.archive = "archive";
    frame.segments = {QByteArray(100 * 1024, 'a'), QByteArray(""), QByteArray("\0b", 2)};
    return frame;
}

void expectSame(const XPCFrame &a, const XPCFrame &b) {
    EXPECT_EQ(a.kind, b.kind);
    EXPECT_EQ(a.exchange, b.exchange);
    EXPECT_EQ(a.archive, b.archive);
    EXPECT_EQ(a.segments, b.segments);
}

XPCFrameReader::Outcome outcomeOf(const QByteArray &bytes) {
    Stream stream{bytes};
    XPCFrame frame;
    return stream.reader().next(frame);
}

} // namespace

TEST(XPCFrame, IsReadAsItWasWrittenHoweverTheBytesArrive) {
    for (const std::size_t piece : {std::size_t(1), std::size_t(7), std::size_t(70000), SIZE_MAX}) {
        Stream stream{onTheWire(sample()) + onTheWire(sample()), piece};
        XPCFrameReader reader = stream.reader();
        for (int i = 0; i < 2; ++i) {
            XPCFrame frame;
            ASSERT_EQ(reader.next(frame), XPCFrameReader::Outcome::Frame);
            expectSame(frame, sample());
            EXPECT_FALSE(frame.segments[1].isNull());
        }
        XPCFrame frame;
        EXPECT_EQ(reader.next(frame), XPCFrameReader::Outcome::End);
    }
}

TEST(XPCFrame, EmptyStreamEndsBetweenFrames) {
    EXPECT_EQ(outcomeOf({}), XPCFrameReader::Outcome::End);
}

TEST(XPCFrame, TruncatedAnywhereIsBroken) {
    XPCFrame frame = sample();
    frame.segments[0] = "short";
    const QByteArray bytes = onTheWire(frame);
    for (qsizetype length = 1; length < bytes.size(); ++length)
        EXPECT_EQ(outcomeOf(bytes.left(length)), XPCFrameReader::Outcome::Broken) << length;
}

TEST(XPCFrame, WrongMagicVersionOrKindIsBroken) {
    const QByteArray good = onTheWire(sample());
    ASSERT_EQ(outcomeOf(good), XPCFrameReader::Outcome::Frame);
    for (const int offset : {0, 1, 2, 3, 4}) {
        QByteArray bad = good;
        bad[offset] = char(bad[offset] + 1);
        EXPECT_EQ(outcomeOf(bad), XPCFrameReader::Outcome::Broken) << offset;
    }
    for (const int kind : {0, 4, 255}) {
        QByteArray bad = good;
        bad[5] = char(kind);
        EXPECT_EQ(outcomeOf(bad), XPCFrameReader::Outcome::Broken) << kind;
    }
    EXPECT_EQ(outcomeOf(QByteArray(4096, '\xff')), XPCFrameReader::Outcome::Broken);
    EXPECT_EQ(outcomeOf("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"), XPCFrameReader::Outcome::Broken);
}

TEST(XPCFrame, LengthsBeyondTheLimitAreRefusedBeforeAnythingIsRead) {
    for (const quint64 length : {XPCFrame::maximumLength + 1, quint64(1) << 63, ~quint64(0)}) {
        QByteArray bytes = onTheWire(sample());
        qToLittleEndian(length, bytes.data() + 8);
        Stream stream{bytes};
        XPCFrame frame;
        EXPECT_EQ(stream.reader().next(frame), XPCFrameReader::Outcome::Broken);
        EXPECT_LE(stream.largestWish, 64 * 1024u);
    }
}

TEST(XPCFrame, SegmentsBeyondTheFrameOrTheirNumberAreBroken) {
    QByteArray tooMany = onTheWire(sample());
    qToLittleEndian(quint16(XPCFrame::maximumSegments + 1), tooMany.data() + 6);
    EXPECT_EQ(outcomeOf(tooMany), XPCFrameReader::Outcome::Broken);

    // Three lengths whose sum overflows to something small.
    QByteArray overflowing = onTheWire(sample());
    qToLittleEndian(~quint64(0), overflowing.data() + 24);
    qToLittleEndian(quint64(2), overflowing.data() + 32);
    EXPECT_EQ(outcomeOf(overflowing), XPCFrameReader::Outcome::Broken);

    QByteArray noRoomForTheTable = onTheWire(sample());
    qToLittleEndian(quint64(8), noRoomForTheTable.data() + 8);
    EXPECT_EQ(outcomeOf(noRoomForTheTable), XPCFrameReader::Outcome::Broken);
}

TEST(XPCFrame, AHeaderThatPromisesMuchTakesLittleMemory) {
    XPCFrame frame;
    frame.segments = {QByteArray("few")};
    QByteArray bytes = frame.prologue();
    qToLittleEndian(XPCFrame::maximumLength, bytes.data() + 8);
    qToLittleEndian(XPCFrame::maximumLength - 8, bytes.data() + 24);
    Stream stream{bytes + "few"};
    XPCFrame got;
    EXPECT_EQ(stream.reader().next(got), XPCFrameReader::Outcome::Broken);
    EXPECT_LE(stream.largestWish, 1024 * 1024u);
    ASSERT_EQ(got.segments.size(), 1u);
    EXPECT_LE(got.segments[0].capacity(), 2 * 1024 * 1024);
}

TEST(XPCFrame, KeepsItsLimitsWhenWriting) {
    XPCFrame frame;
    frame.segments.assign(XPCFrame::maximumSegments, QByteArray("x"));
    EXPECT_TRUE(frame.fits());
    frame.segments.emplace_back("x");
    EXPECT_FALSE(frame.fits());
    // Views of one buffer: their sum is what counts.
    const QByteArray part(64 * 1024 * 1024, 'x');
    frame.segments.assign(16, part);
    EXPECT_FALSE(frame.fits());
    frame.segments.assign(15, part);
    EXPECT_TRUE(frame.fits());
}

TEST(XPCFrame, LargeBodiesGrowAsTheyArrive) {
    XPCFrame frame;
    QByteArray body(5 * 1024 * 1024 + 3, Qt::Uninitialized);
    for (qsizetype i = 0; i < body.size(); ++i)
        body[i] = char(i * 2654435761u >> 13);
    frame.segments = {body};
    Stream stream{onTheWire(frame), 100000};
    XPCFrame got;
    ASSERT_EQ(stream.reader().next(got), XPCFrameReader::Outcome::Frame);
    EXPECT_EQ(got.segments.front(), body);
    EXPECT_EQ(got.archive, QByteArray(""));
}
