// SPDX-License-Identifier: MIT
#include "platform/files/FolderCursor.h"

#include "platform/base/SystemError.h"

#include <fcntl.h>

using namespace zr;

std::error_code FolderCursor::enter(const QByteArray &name) {
    FileDescriptor folder(::openat(m_folder ? m_folder.get() : AT_FDCWD, name.constData(),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.get(), &status) != 0)
        return systemError();
    if (m_folder)
        m_above.push_back(m_identity);
    m_identity = {status.st_dev, status.st_ino};
    m_folder = std::move(folder);
    return {};
}

std::error_code FolderCursor::leave() {
    FileDescriptor above(::openat(m_folder.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    if (!above || ::fstat(above.get(), &status) != 0)
        return systemError();
    if (m_above.empty() || status.st_dev != m_above.back().device || status.st_ino != m_above.back().number)
        return systemError(ESTALE);
    m_identity = m_above.back();
    m_above.pop_back();
    m_folder = std::move(above);
    return {};
}
