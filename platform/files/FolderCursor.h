// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace zr {

/// A folder that is open, from which one goes down into others and up again. It takes one descriptor however deep it is,
/// and no path is ever longer than a name, so that neither the limit of open files nor that of paths counts.
class FolderCursor {
public:
    /// Goes to a folder by its path, or, from a folder, to one in it. A link at the end isn't followed.
    std::error_code enter(const QByteArray &name);
    /// Goes back to the folder above. An error if the folder has meanwhile been moved elsewhere.
    std::error_code leave();

    /// The open folder.
    int descriptor() const { return m_folder.get(); }

private:
    struct Identity {
        dev_t device;
        ino_t number;
    };

    FileDescriptor m_folder;
    Identity m_identity{};
    std::vector<Identity> m_above;
};

} // namespace zr
