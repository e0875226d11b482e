// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Runner.h"

/// What the zrpdf programs have in common: all but who converts.
struct CommandLineProgram {
    QByteArray help;     ///< the text of --help
    QByteArray helpHint; ///< the command that shows it
    Runner::ConverterMaker makeConverter;
    /// Ends the process with the exit status, while the converter still lives; nullptr if there is no need to.
    void (*leave)(int status) = nullptr;

    /// Does what the options ask for.
    /// \param problem  what is wrong with them, or nothing
    /// \return the exit status
    int run(const Options &options, const QByteArray &problem) const;
};
