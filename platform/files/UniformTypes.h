// SPDX-License-Identifier: MIT
#pragma once

#include <span>

/// A uniform type identifier, the types it builds on, and its MIME type; lists are parted by blanks.
struct UniformType {
    const char *identifier;
    const char *parents;
    const char *mimeTypes;
};

/// The known types. The order has no meaning.
std::span<const UniformType> uniformTypes();
