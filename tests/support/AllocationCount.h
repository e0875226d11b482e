// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/// How often this thread takes memory, by malloc() and its like or by new, while the object lives. A program
/// that uses it brings AllocationCount.cpp, which stands in front of the C library's functions.
class AllocationCount {
public:
    AllocationCount();
    ~AllocationCount();
    AllocationCount(const AllocationCount &) = delete;
    AllocationCount &operator=(const AllocationCount &) = delete;

    quint64 count() const;
};
