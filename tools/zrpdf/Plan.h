// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf/ExitCode.h"
#include "tools/zrpdf/Input.h"
#include "tools/zrpdf/Options.h"

#include <QByteArray>
#include <vector>

/// Which document becomes which file. Made before anything is started, so that a plan that contradicts itself
/// does nothing at all.
struct Plan {
    struct Entry {
        Input input;
        QByteArray output; ///< a path, or "-" for standard output
    };

    std::vector<Entry> entries;
    /// Why it can't be carried out, one sentence, or nothing.
    QByteArray problem;
    ExitCode problemCode = ExitCode::Success;

    static Plan make(const Options &options);
};
