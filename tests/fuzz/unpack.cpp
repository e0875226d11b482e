// SPDX-License-Identifier: MIT
// Any packed body gives the same in one piece as byte by byte.
#include "platform/net/BodyUnpacker.h"

#include <cstdlib>
#include <optional>

using namespace zr;

namespace {

/// nil if the bytes aren't packed that way; bodies that grow without end are left early.
std::optional<QByteArray> unpacked(BodyUnpacker::Coding coding, QByteArrayView bytes, qsizetype pieceSize) {
    constexpr qsizetype most = 1 << 20;
    BodyUnpacker unpacker(coding);
    QByteArray body;
    for (qsizetype at = 0; at < bytes.size(); at += pieceSize) {
        const bool isPacked = unpacker.take(bytes.sliced(at, std::min(pieceSize, bytes.size() - at)),
                                            [&](QByteArrayView piece) {
                                                body.append(piece.data(), piece.size());
                                                return body.size() < most;
                                            });
        if (!isPacked)
            return std::nullopt;
        if (body.size() >= most)
            return body.left(most);
    }
    return body + (unpacker.isComplete() ? '1' : '0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArrayView input(reinterpret_cast<const char *>(bytes), qsizetype(size));
    for (const auto coding : {BodyUnpacker::Coding::Gzip, BodyUnpacker::Coding::Deflate})
        if (unpacked(coding, input, std::max<qsizetype>(input.size(), 1)) != unpacked(coding, input, 1))
            std::abort();
    return 0;
}
