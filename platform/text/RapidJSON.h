// SPDX-License-Identifier: MIT
#pragma once

// RapidJSON asks its empty stack for room by adding to a null pointer, which Clang's sanitizer stops at.
#ifdef __clang__
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#ifdef __clang__
#pragma clang attribute pop
#endif
