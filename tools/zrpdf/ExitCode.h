// SPDX-License-Identifier: MIT
#pragma once

/// What the program's exit status says. Several inputs: that of the first one, as given, that failed.
enum class ExitCode : int {
    Success = 0,
    FailedConversion = 1,
    BadUsage = 2,
    UnreadableInput = 3,
    UnwritableOutput = 4,
    Timeout = 5,
    LostService = 6,
    /// 128 and the signal's number, 130 for an interrupt from the keyboard.
    Interrupted = 128,
};
