// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayView>
#include <system_error>

namespace zr {

/// A file that appears under its name with all of its content, or not at all.
///
/// The content is written to a file without a name in the same folder (O_TMPFILE), which gets its name at the
/// last instant: whatever ends the process before leaves nothing behind. An existing file is replaced by a
/// rename, so that a reader finds the old content or the new: the finished file gets a hidden name first, and a
/// process that is killed between the two calls leaves it under that, for the next writer of the same file to
/// take away. On file systems without nameless files a hidden neighbour is written and renamed instead.
///
///     AtomicFile file("out/report.pdf", AtomicFile::Existing::Kept);
///     std::error_code error = file.open();
///     if (!error)
///         error = file.commit(bytes);
///
/// Not for use from several threads at once. Paths are bytes, as the system has them.
class AtomicFile {
public:
    /// What happens to a file that has the name already: with Kept, open() or commit() fails with EEXIST.
    enum class Existing { Kept, Replaced };

    /// Whether a file has a name that one of these has until its own; an old one is a dead writer's.
    static bool isHiddenName(QByteArrayView name);

    /// Without a commit() nothing happens.
    AtomicFile(const QByteArray &path, Existing existing) : m_path(path), m_existing(existing) {}

    /// Says early what would make commit() fail: a folder that is missing or read-only, an existing file, a
    /// folder of that name. An existing link is followed.
    std::error_code open();
    /// Writes the content and gives it its name. Once, after open().
    /// A replaced file's permissions are kept, and its owner where that is allowed.
    std::error_code commit(const QByteArray &content);

private:
    std::error_code fill(const QByteArray &content);
    std::error_code adoptReplaced();
    std::error_code publishNameless();
    std::error_code commitNeighbour(const QByteArray &content);
    std::error_code openNameless();

    QByteArray m_path;
    QByteArray m_name;
    Existing m_existing;
    FileDescriptor m_folder;
    FileDescriptor m_file;
    bool m_replaces = false;
};

} // namespace zr
