// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <cstdlib>

/// Prints the condition and whether it holds, and ends the program with an error where it doesn't.
#define expect(...)                                                                                          \
    do {                                                                                                     \
        const bool holds = bool(__VA_ARGS__);                                                                \
        std::printf("%s  %s\n", holds ? "ok    " : "FAILED", #__VA_ARGS__);                                  \
        if (!holds)                                                                                          \
            std::exit(EXIT_FAILURE);                                                                         \
    } while (false)
