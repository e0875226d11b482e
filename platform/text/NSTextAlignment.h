// SPDX-License-Identifier: MIT
#pragma once

/// Where lines stand between their margins.
enum NSTextAlignment : int {
    NSTextAlignmentLeft = 0,
    NSTextAlignmentRight = 1,
    NSTextAlignmentCenter = 2,
    NSTextAlignmentJustified = 3, ///< spread to both margins, but for a paragraph's last line
    NSTextAlignmentNatural =
        4, ///< where the text's direction has it: left, or right if it is written to the left
};
