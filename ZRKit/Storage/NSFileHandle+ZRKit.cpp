// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileHandle+ZRKit.h"

#include "platform/files/AtomicFile.h"
#include "platform/files/NSPathUtilities.h"

using namespace zr;

namespace ZRKit {

std::shared_ptr<NSFileHandle> fileHandleForNewFileWritingAtPath(const QString &path) {
    if (path.isEmpty() || path.contains(QChar::Null))
        return nullptr;
    AtomicFile file(NSFileSystemRepresentation(path), AtomicFile::Existing::Replaced);
    // Where this fails, a file that is there may still be opened, as it is.
    if (!file.open())
        file.commit("");
    auto handle = NSFileHandle::fileHandleForWritingAtPath(path);
    if (handle)
        handle->seekToEndOfFile();
    return handle;
}

} // namespace ZRKit
