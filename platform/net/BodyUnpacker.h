// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <functional>
#define ZLIB_CONST // input is only read
#include <zlib.h>

namespace zr {

/// Unpacks a body of the content coding gzip, in one member or several, or deflate, with zlib's frame or
/// without (RFC 9110, 8.4.1). libcurl's own unpacking refuses a second member and takes a body that is cut
/// short for a whole one. One thread at a time.
class BodyUnpacker {
public:
    enum class Coding { Gzip, Deflate };
    explicit BodyUnpacker(Coding coding);
    ~BodyUnpacker() { inflateEnd(&m_stream); }
    BodyUnpacker(const BodyUnpacker &) = delete;
    BodyUnpacker &operator=(const BodyUnpacker &) = delete;

    /// Gives what the next bytes hold, piece by piece, until the block returns false. False if the bytes
    /// aren't packed that way. Whatever follows the end is ignored.
    bool take(QByteArrayView bytes, const std::function<bool(QByteArrayView)> &block);
    /// Whether the body may end here. An empty one may.
    bool isComplete() const { return m_state != State::Inside; }

private:
    enum class State { Before, Inside, Behind, Over };
    void begin(unsigned char byte);

    const Coding m_coding;
    State m_state = State::Before;
    z_stream m_stream{};
    QByteArray m_buffer;
};

} // namespace zr
