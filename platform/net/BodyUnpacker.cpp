// SPDX-License-Identifier: MIT
#include "platform/net/BodyUnpacker.h"

#include <new>

namespace zr {

namespace {

constexpr int gzipFrame = MAX_WBITS + 16;
constexpr unsigned char firstOfGzip = 0x1F;

} // namespace

BodyUnpacker::BodyUnpacker(Coding coding) : m_coding(coding), m_buffer(64 << 10, Qt::Uninitialized) {
    if (inflateInit2(&m_stream, coding == Coding::Gzip ? gzipFrame : MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
}

/// At the first byte of the body, or behind a member.
void BodyUnpacker::begin(unsigned char byte) {
    const bool isFirst = m_state == State::Before;
    m_state = State::Inside;
    if (!isFirst && (m_coding == Coding::Deflate || byte != firstOfGzip))
        m_state = State::Over;
    else if (!isFirst)
        inflateReset(&m_stream);
    else if (m_coding == Coding::Deflate && (byte & 0x0F) != Z_DEFLATED)
        inflateReset2(&m_stream, -MAX_WBITS); // many servers leave zlib's frame out
}

bool BodyUnpacker::take(QByteArrayView bytes, const std::function<bool(QByteArrayView)> &block) {
    m_stream.next_in = reinterpret_cast<const Bytef *>(bytes.data());
    m_stream.avail_in = uInt(bytes.size());
    do {
        if (m_stream.avail_in > 0 && (m_state == State::Before || m_state == State::Behind))
            begin(*m_stream.next_in);
        if (m_state != State::Inside)
            return true;
        m_stream.next_out = reinterpret_cast<Bytef *>(m_buffer.data());
        m_stream.avail_out = uInt(m_buffer.size());
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
            return false;
        if (result == Z_STREAM_END)
            m_state = State::Behind;
        const qsizetype size = m_buffer.size() - qsizetype(m_stream.avail_out);
        if (size > 0 && !block({m_buffer.constData(), size}))
            return true;
    } while (m_stream.avail_in > 0 || m_stream.avail_out == 0);
    return true;
}

} // namespace zr
