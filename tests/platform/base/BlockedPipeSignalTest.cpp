// SPDX-License-Identifier: MIT
#include "platform/base/BlockedPipeSignal.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// The error of writing to a pipe that nobody reads.
int errorOfWriting() {
    int ends[2];
    if (::pipe(ends) != 0)
        return 0;
    ::close(ends[0]);
    const int error = ::write(ends[1], "x", 1) < 0 ? errno : 0;
    ::close(ends[1]);
    return error;
}

TEST(BlockedPipeSignalDeathTest, WithoutItABrokenPipeEndsTheProcess) {
    EXPECT_EXIT(
        {
            std::signal(SIGPIPE, SIG_DFL);
            errorOfWriting();
        },
        testing::KilledBySignal(SIGPIPE), "");
}

TEST(BlockedPipeSignal, ABrokenPipeIsAnErrorAndNothingComesLater) {
    std::signal(SIGPIPE, SIG_DFL);
    {
        const zr::BlockedPipeSignal blocked;
        {
            const zr::BlockedPipeSignal again;
            EXPECT_EQ(errorOfWriting(), EPIPE);
        }
        EXPECT_EQ(errorOfWriting(), EPIPE);
    }
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(::sigismember(&mask, SIGPIPE), 0);
}

} // namespace
