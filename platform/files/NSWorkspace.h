// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// What the desktop knows about kinds of files: uniform type identifiers, and how they build on one another.
class NSWorkspace {
public:
    /// The one workspace of the process.
    static const NSWorkspace *sharedWorkspace();

    /// Whether a type is another one or builds on it, directly or not: "public.jpeg" is a "public.image" and
    /// a "public.data". Case doesn't count. A MIME type may stand for `type`; what the shared MIME database
    /// says it inherits counts too, and so it does for a dynamic identifier, which is data in any case. NO
    /// for nil and empty identifiers, and for unknown ones unless they are equal. Any thread.
    bool typeConformsToType(const QString &type, const QString &toType) const;

private:
    NSWorkspace() = default;
};
