// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <cstddef>
#include <functional>
#include <sys/types.h>
#include <vector>

namespace zr {

/// One unit of the wire between two ends of a connection.
///
/// Its layout stands in docs/wire-format.md. The archive describes the call. Bodies of data are not put into it: they
/// follow as segments, are written from where they are and read into where they stay.
struct XPCFrame {
    enum class Kind : quint8 { Message = 1, Reply = 2, Refusal = 3 };

    static constexpr std::size_t headerLength = 24;
    static constexpr std::size_t maximumSegments = 64;
    static constexpr quint64 maximumLength = quint64(1) << 30;
    static constexpr quint8 version = 1;

    Kind kind = Kind::Message;
    quint64 exchange = 0;
    QByteArray archive;
    std::vector<QByteArray> segments;

    /// The bytes after the header.
    quint64 length() const;
    /// Whether the frame keeps the limits above.
    bool fits() const;
    /// The header and the segments' lengths, as they stand before the archive.
    QByteArray prologue() const;
};

/// Reads frames from a stream of bytes that may hold anything.
class XPCFrameReader {
public:
    /// Gives up to the asked number of bytes; 0 at the stream's end, less on failure.
    using Source = std::function<ssize_t(char *, std::size_t)>;
    enum class Outcome {
        Frame,  ///< one whole frame was read
        End,    ///< the stream ended between two frames
        Broken, ///< what came is no frame, is beyond the limits, or ended inside a frame
    };

    explicit XPCFrameReader(Source source) : m_source(std::move(source)) {}

    /// Reads the next frame. Memory is taken as bytes arrive, not as the header promises. After any outcome
    /// but Frame the reader is of no more use.
    Outcome next(XPCFrame &frame);

private:
    std::size_t read(char *into, std::size_t count);
    bool take(QByteArray &into, quint64 count);

    Source m_source;
};

} // namespace zr
