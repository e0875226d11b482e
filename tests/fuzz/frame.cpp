// SPDX-License-Identifier: MIT
// Any stream of bytes gives frames and then ends; a frame that is read is written again the same; whatever a
// frame holds is a call or an NSException. No more memory is asked for than has arrived, but for a first
// step.
#include "platform/base/NSException.h"
#include "platform/xpc/XPCCall.h"
#include "platform/xpc/XPCFrame.h"

#include <algorithm>
#include <cstdlib>

using namespace zr;

namespace {

constexpr std::size_t firstStep = 1024 * 1024;

QByteArray onTheWire(const XPCFrame &frame) {
    QByteArray bytes = frame.prologue() + frame.archive;
    for (const QByteArray &segment : frame.segments)
        bytes += segment;
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    if (size == 0)
        return 0;
    // The first byte says in which pieces the rest arrives.
    const std::size_t piece = bytes[0] ? bytes[0] : size;
    const auto *stream = reinterpret_cast<const char *>(bytes) + 1;
    const std::size_t length = size - 1;
    std::size_t at = 0;
    XPCFrameReader reader([&](char *into, std::size_t count) {
        if (count > std::max(firstStep, at))
            std::abort();
        const std::size_t given = std::min({count, piece, length - at});
        std::copy_n(stream + at, given, into);
        at += given;
        return ssize_t(given);
    });
    QByteArray written;
    for (XPCFrame frame; reader.next(frame) == XPCFrameReader::Outcome::Frame;) {
        written += onTheWire(frame);
        try {
            const XPCCall call = XPCCall::fromFrame(frame);
            const XPCCall again = XPCCall::fromFrame(call.frame(frame.kind, frame.exchange));
            if (again.selector != call.selector || again.values.size() != call.values.size())
                std::abort();
        } catch (const NSException &) {
            continue;
        }
    }
    if (written != QByteArray::fromRawData(stream, written.size()))
        std::abort();
    return 0;
}
