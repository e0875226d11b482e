// SPDX-License-Identifier: MIT
#include "platform/files/AtomicFile.h"

#include "platform/base/SystemError.h"
#include "platform/base/WriteAll.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace zr;

namespace {

/// No nameless files here: that is no error, there is another way.
bool meansUnsupported(int number) {
    return number == EOPNOTSUPP || number == EISDIR || number == EINVAL || number == ENOSYS ||
           number == EPERM;
}

constexpr char hiddenPrefix[] = ".atomic-";

QByteArray hiddenName(const QByteArray &suffix) {
    return hiddenPrefix + suffix;
}

} // namespace

bool AtomicFile::isHiddenName(QByteArrayView name) {
    return name.startsWith(hiddenPrefix);
}

std::error_code AtomicFile::open() {
    if (m_path.isEmpty() || m_path.endsWith('/'))
        return systemError(m_path.isEmpty() ? ENOENT : EISDIR);
    struct stat status {};
    if (::stat(m_path.constData(), &status) == 0) {
        if (S_ISDIR(status.st_mode))
            return systemError(EISDIR);
        if (m_existing == Existing::Kept || !S_ISREG(status.st_mode))
            return systemError(EEXIST);
        m_replaces = true;
        // The file behind a link is replaced, not the link.
        const std::unique_ptr<char, decltype(&std::free)> real(::realpath(m_path.constData(), nullptr),
                                                               &std::free);
        if (real)
            m_path = real.get();
    } else if (errno != ENOENT) {
        return systemError();
    }

    const qsizetype slash = m_path.lastIndexOf('/');
    m_name = m_path.mid(slash + 1);
    const QByteArray folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : m_path.left(slash);
    m_folder.reset(::open(folder.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder)
        return systemError();
    const std::error_code error = openNameless();
    if (!error || !meansUnsupported(error.value()))
        return error;
    return errorUnless(::faccessat(m_folder.get(), ".", W_OK | X_OK, AT_EACCESS));
}

std::error_code AtomicFile::commit(const QByteArray &content) {
    if (!m_folder)
        return systemError(EBADF);
    if (!m_file)
        return commitNeighbour(content);
    constexpr int MostTries = 1000;
    std::error_code error;
    for (int i = 0; i < MostTries; ++i) {
        error = fill(content);
        if (!error)
            error = publishNameless();
        if (error != std::errc::resource_unavailable_try_again)
            break;
        // A file that has had a name and lost it gets none again.
        error = openNameless();
        if (error)
            break;
    }
    m_file.reset();
    return error;
}

std::error_code AtomicFile::fill(const QByteArray &content) {
    const std::error_code error = writeAll(m_file.get(), content);
    return !error && m_replaces ? adoptReplaced() : error;
}

std::error_code AtomicFile::adoptReplaced() {
    struct stat status {};
    if (::fstatat(m_folder.get(), m_name.constData(), &status, 0) != 0)
        return errno == ENOENT ? std::error_code() : systemError();
    // Another user's file becomes ours if the system says so.
    if (::fchown(m_file.get(), status.st_uid, status.st_gid) != 0 && errno != EPERM)
        return systemError();
    return errorUnless(::fchmod(m_file.get(), status.st_mode & 0777));
}

std::error_code AtomicFile::openNameless() {
    m_file.reset(::openat(m_folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
    return m_file ? std::error_code() : systemError();
}

std::error_code AtomicFile::publishNameless() {
    const int folder = m_folder.get();
    const QByteArray source = "/proc/self/fd/" + QByteArray::number(m_file.get());
    if (::linkat(AT_FDCWD, source.constData(), folder, m_name.constData(), AT_SYMLINK_FOLLOW) == 0)
        return {};
    if (errno != EEXIST || m_existing == Existing::Kept)
        return systemError();
    // Every writer of this file has the same name for its neighbour. What stands there was left by one that was killed,
    // or is another's that is about to rename it, and then tries again.
    const QByteArray neighbour =
        hiddenName(QCryptographicHash::hash(m_name, QCryptographicHash::Sha1).toHex().left(16));
    while (::linkat(AT_FDCWD, source.constData(), folder, neighbour.constData(), AT_SYMLINK_FOLLOW) != 0) {
        if (errno != EEXIST || (::unlinkat(folder, neighbour.constData(), 0) != 0 && errno != ENOENT))
            return systemError();
    }
    if (::renameat(folder, neighbour.constData(), folder, m_name.constData()) == 0)
        return {};
    if (errno == ENOENT)
        return systemError(EAGAIN);
    const std::error_code error = systemError();
    ::unlinkat(folder, neighbour.constData(), 0);
    return error;
}

std::error_code AtomicFile::commitNeighbour(const QByteArray &content) {
    const QByteArray name = hiddenName(QByteArray::number(QRandomGenerator::system()->generate64(), 36));
    m_file.reset(::openat(m_folder.get(), name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!m_file)
        return systemError();
    std::error_code error = fill(content);
    // Some file systems tell of a full disk only here.
    if (::close(m_file.release()) != 0 && !error)
        error = systemError();
    if (!error) {
        const int folder = m_folder.get();
        const unsigned flags = m_existing == Existing::Kept ? RENAME_NOREPLACE : 0;
        if (::renameat2(folder, name.constData(), folder, m_name.constData(), flags) == 0)
            return {};
        error = systemError();
        if (flags && (error == std::errc::invalid_argument || error == std::errc::function_not_supported))
            error = errorUnless(::linkat(folder, name.constData(), folder, m_name.constData(), 0));
    }
    ::unlinkat(m_folder.get(), name.constData(), 0);
    return error;
}
