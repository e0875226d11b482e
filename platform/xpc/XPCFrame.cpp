// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCFrame.h"

#include <QtEndian>
#include <algorithm>
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

XPCFrameReader::XPCFrameReader(Source source)
    : m_source(std::move(source)), m_buffer(std::make_unique_for_overwrite<char[]>(bufferLength)) {
}

bool XPCFrameReader::buffer(std::size_t count) {
    if (m_end - m_begin >= count)
        return true;
    std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    while (m_end < count) {
        const ssize_t got = m_source(m_buffer.get() + m_end, bufferLength - m_end);
        if (got <= 0)
            return false;
        m_end += std::size_t(got);
    }
    return true;
}

bool XPCFrameReader::take(QByteArray &into, quint64 count) {
    if (count == 0) {
        into = QByteArray("");
        return true;
    }
    const quint64 ready = std::min<quint64>(m_end - m_begin, count);
    into = QByteArray();
    into.reserve(qsizetype(std::min(count, std::max(firstChunk, ready))));
    into.append(m_buffer.get() + m_begin, qsizetype(ready));
    m_begin += std::size_t(ready);
    for (quint64 have = ready; have < count;) {
        if (have == quint64(into.capacity()))
            into.reserve(qsizetype(std::min(count, have * 2)));
        const quint64 room = std::min<quint64>(count, quint64(into.capacity()));
        into.resize(qsizetype(room));
        while (have < room) {
            const ssize_t got = m_source(into.data() + have, std::size_t(room - have));
            if (got <= 0)
                return false;
            have += quint64(got);
        }
    }
    return true;
}

XPCFrameReader::Outcome XPCFrameReader::next(XPCFrame &frame) {
    if (!buffer(XPCFrame::headerLength))
        return m_begin == m_end ? Outcome::End : Outcome::Broken;
    const char *header = m_buffer.get() + m_begin;
    const auto kind = quint8(header[5]);
    const std::size_t count = qFromLittleEndian<quint16>(header + 6);
    const auto length = qFromLittleEndian<quint64>(header + 8);
    if (std::memcmp(header, magic, sizeof magic) != 0 || quint8(header[4]) != XPCFrame::version ||
        kind < quint8(XPCFrame::Kind::Message) || kind > quint8(XPCFrame::Kind::Refusal) ||
        count > XPCFrame::maximumSegments || length > XPCFrame::maximumLength)
        return Outcome::Broken;
    frame.kind = XPCFrame::Kind(kind);
    frame.exchange = qFromLittleEndian<quint64>(header + 16);
    m_begin += XPCFrame::headerLength;

    if (!buffer(count * sizeof(quint64)))
        return Outcome::Broken;
    std::array<quint64, XPCFrame::maximumSegments> lengths{};
    quint64 left = length;
    if (left < count * sizeof(quint64))
        return Outcome::Broken;
    left -= count * sizeof(quint64);
    for (std::size_t i = 0; i < count; ++i, m_begin += sizeof(quint64)) {
        lengths[i] = qFromLittleEndian<quint64>(m_buffer.get() + m_begin);
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
