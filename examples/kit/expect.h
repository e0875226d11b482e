// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>

/// How many of an example's claims turned out wrong: what its main() returns.
inline int wrongClaims = 0;

/// Says so where something that an example claims isn't true.
inline void expectHolds(bool holds, const char *claim, const char *file, int line) {
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, claim);
    ++wrongClaims;
}

#define expect(...) expectHolds(bool(__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__)
