// SPDX-License-Identifier: MIT
#pragma once

#include "platform/text/Base64.h"

/// The vectorised inner loops of Base64. Each takes as many whole blocks as it can from the start, moves both
/// positions past them, and leaves the rest to the scalar code: what is too short for a block, and for the
/// decoders the first block that holds anything but alphabet characters.
namespace Base64 {

/// Output room: four units for each three bytes.
using EncodeBlocks = void (*)(const uchar *&in, const uchar *end, char16_t *&out);
/// Output room: three bytes for each four units left. A block may write past its bytes, within that room.
using DecodeBlocks = void (*)(const char16_t *&in, const char16_t *end, uchar *&out);

/// Null for Way::Scalar.
EncodeBlocks encodeBlocks(Way way) noexcept;
DecodeBlocks decodeBlocks(Way way) noexcept;

} // namespace Base64
