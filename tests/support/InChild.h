// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs checks in a process of their own, which prints what failed.
template <typename Checks>
void checkInChild(Checks checks) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        checks();
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a check failed in the child";
}

/// Makes the process one of a user whom permissions bind, which root isn't. For a child.
inline void becomeOrdinaryUser() {
    if (::geteuid() == 0) {
        constexpr uid_t nobody = 65534;
        ASSERT_EQ(::setresgid(nobody, nobody, nobody), 0);
        ASSERT_EQ(::setresuid(nobody, nobody, nobody), 0);
    }
}
