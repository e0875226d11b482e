// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <chrono>
#include <cstdio>

/// What a soak is asked for.
struct SoakOptions {
    int conversions = 0;          ///< how many in all; 0 for as many as there is time for
    std::chrono::seconds time{0}; ///< 0 for as long as it takes
    int instances = 2;            ///< besides the one that no harm is done to
    unsigned seed = 1;
    int shown = 0;       ///< the document that is to be printed, and nothing converted
    bool isCalm = false; ///< whether the service that isn't harmed gets it
    std::chrono::milliseconds harmEvery{2000};
    QByteArray log;       ///< the file that services write to
    bool isShown = false; ///< whether progress is
    /// Complaints and progress; the services have the standard error.
    std::FILE *messages = stderr;
};

/// Prints a document to standard output.
int showDocument(const SoakOptions &options);

/// Converts until it is done, prints what came of it, and returns the exit code. Needs an application object and folders of its
/// own for temporary and runtime files.
int soak(const SoakOptions &options);
