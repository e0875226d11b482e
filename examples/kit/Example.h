// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

/// The examples of the program, by name.
inline std::map<std::string, void (*)()> &examples() {
    static std::map<std::string, void (*)()> all;
    return all;
}

/// Defines an example, which the program runs when it is called with the name. There is a QCoreApplication.
#define EXAMPLE(name)                                                                                        \
    static void name##_example();                                                                            \
    static const bool name##_isListed = examples().emplace(#name, name##_example).second;                    \
    static void name##_example()

/// Prints the condition and whether it holds, and ends the program with an error if it doesn't.
#define expect(...)                                                                                          \
    do {                                                                                                     \
        const bool holds = bool(__VA_ARGS__);                                                                \
        std::printf("%s  %s\n", holds ? "ok    " : "FAILED", #__VA_ARGS__);                                  \
        if (!holds)                                                                                          \
            std::exit(EXIT_FAILURE);                                                                         \
    } while (false)
