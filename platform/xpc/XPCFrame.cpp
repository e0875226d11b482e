// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCFrame.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstring>

using namespace zr;

namespace {

constexpr char magic[4] = {'Z', 'R', 'X', 'P'};
// Bodies above this grow by doubling as they arrive.
constexpr quint64 firstChunk = quint64(1) << 20;

} // namespace

quint64 XPCFrame::length() const {
    quint64 sum = segments.size() * sizeof(quint64) + quint64(archive.size());
    for (const QByteArray &segment : segments)
        sum += quint64(segment.size());
    return sum;
}

bool XPCFrame::fits() const {
    return segments.size() <= maximumSegments && length() <= maximumLength;
}

QByteArray XPCFrame::prologue() const {
    QByteArray bytes(qsizetype(headerLength + segments.size() * sizeof(quint64)), Qt::Uninitialized);
    char *at = bytes.data();
    std::memcpy(at, magic, sizeof magic);
    at[4] = char(version);
    at[5] = char(kind);
    qToLittleEndian(quint16(segments.size()), at + 6);
    qToLittleEndian(length(), at + 8);
    qToLittleEndian(exchange, at + 16);
    at += headerLength;
    for (const QByteArray &segment : segments) {
        qToLittleEndian(quint64(segment.size()), at);
        at += sizeof(quint64);
    }
    return bytes;
}

/// Reads that many bytes, fewer only at the stream's end.
std::size_t XPCFrameReader::read(char *into, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = m_source(into + done, count - done);
        if (got <= 0)
            break;
        done += std::size_t(got);
    }
    return done;
}

bool XPCFrameReader::take(QByteArray &into, quint64 count) {
    into = QByteArray("");
    for (quint64 have = 0; have < count;) {
        const quint64 room = std::min(count, std::max(firstChunk, have * 2));
        into.resize(qsizetype(room));
        if (read(into.data() + have, std::size_t(room - have)) != room - have)
            return false;
        have = room;
    }
    return true;
}

XPCFrameReader::Outcome XPCFrameReader::next(XPCFrame &frame) {
    std::array<char, XPCFrame::headerLength> header{};
    const std::size_t got = read(header.data(), header.size());
    if (got < header.size())
        return got == 0 ? Outcome::End : Outcome::Broken;
    const auto kind = quint8(header[5]);
    const std::size_t count = qFromLittleEndian<quint16>(header.data() + 6);
    auto left = qFromLittleEndian<quint64>(header.data() + 8);
    if (std::memcmp(header.data(), magic, sizeof magic) != 0 || quint8(header[4]) != XPCFrame::version ||
        kind < quint8(XPCFrame::Kind::Message) || kind > quint8(XPCFrame::Kind::Refusal) ||
        count > XPCFrame::maximumSegments || left > XPCFrame::maximumLength)
        return Outcome::Broken;
    frame.kind = XPCFrame::Kind(kind);
    frame.exchange = qFromLittleEndian<quint64>(header.data() + 16);

    std::array<char, XPCFrame::maximumSegments * sizeof(quint64)> table{};
    const std::size_t tableLength = count * sizeof(quint64);
    if (left < tableLength || read(table.data(), tableLength) != tableLength)
        return Outcome::Broken;
    left -= tableLength;
    std::array<quint64, XPCFrame::maximumSegments> lengths{};
    qFromLittleEndian<quint64>(table.data(), qsizetype(count), lengths.data());
    for (std::size_t i = 0; i < count; ++i) {
        if (lengths[i] > left)
            return Outcome::Broken;
        left -= lengths[i];
    }
    frame.segments.resize(count);
    if (!take(frame.archive, left))
        return Outcome::Broken;
    for (std::size_t i = 0; i < count; ++i) {
        if (!take(frame.segments[i], lengths[i]))
            return Outcome::Broken;
    }
    return Outcome::Frame;
}
