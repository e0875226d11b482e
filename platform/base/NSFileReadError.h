// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/// Codes, in NSCocoaErrorDomain, of files that a program reads. Their numbers never change.
enum NSFileReadError : qint64 {
    NSFileReadCorruptFileError = 259,
    NSFileReadNoSuchFileError = 260,
};
