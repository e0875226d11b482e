// SPDX-License-Identifier: MIT
#include "platform/files/AtomicFile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::error_code systemError(int number) {
    return {number, std::generic_category()};
}

int closeDescriptor(int &descriptor) {
    const int result = descriptor >= 0 ? ::close(descriptor) : 0;
    descriptor = -1;
    return result;
}

QByteArray descriptorPath(int descriptor) {
    return "/proc/self/fd/" + QByteArray::number(descriptor);
}

/// No nameless files here: that is no error, there is another way.
bool meansUnsupported(int number) {
    return number == EOPNOTSUPP || number == EISDIR || number == EINVAL || number == ENOSYS ||
           number == EPERM;
}

/// Runs the steps in a process of its own, where the end of this one can't come between them. The steps are
/// system calls only and give an error number.
template <typename Steps>
std::error_code undisturbed(Steps steps) {
    const pid_t child = ::fork();
    if (child < 0)
        return systemError(errno);
    if (child == 0) {
        ::setsid();
        ::_exit(steps());
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;
    return systemError(WIFEXITED(status) ? WEXITSTATUS(status) : EIO);
}

} // namespace

AtomicFile::~AtomicFile() {
    closeDescriptor(m_file);
    closeDescriptor(m_folder);
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
        return systemError(errno);
    }

    const qsizetype slash = m_path.lastIndexOf('/');
    m_name = m_path.mid(slash + 1);
    const QByteArray folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : m_path.left(slash);
    m_folder = ::open(folder.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0)
        return systemError(errno);
    m_file = ::openat(m_folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (m_file >= 0)
        return {};
    const int reason = errno;
    if (meansUnsupported(reason) && ::faccessat(m_folder, ".", W_OK | X_OK, AT_EACCESS) == 0)
        return {};
    return systemError(meansUnsupported(reason) ? errno : reason);
}

std::error_code AtomicFile::commit(const QByteArray &content) {
    if (m_folder < 0)
        return systemError(EBADF);
    if (m_file < 0)
        return commitNeighbour(content);
    std::error_code error = fill(content);
    if (!error)
        error = publishNameless();
    closeDescriptor(m_file);
    return error;
}

std::error_code AtomicFile::fill(const QByteArray &content) {
    for (qsizetype done = 0; done < content.size();) {
        const ssize_t written =
            ::write(m_file, content.constData() + done, std::size_t(content.size() - done));
        if (written < 0 && errno != EINTR)
            return systemError(errno);
        done += written < 0 ? 0 : written;
    }
    return m_replaces ? adoptReplaced() : std::error_code();
}

std::error_code AtomicFile::adoptReplaced() {
    struct stat status {};
    if (::fstatat(m_folder, m_name.constData(), &status, 0) != 0)
        return errno == ENOENT ? std::error_code() : systemError(errno);
    // Another user's file becomes ours where the system says so.
    if (::fchown(m_file, status.st_uid, status.st_gid) != 0 && errno != EPERM)
        return systemError(errno);
    return ::fchmod(m_file, status.st_mode & 0777) == 0 ? std::error_code() : systemError(errno);
}

std::error_code AtomicFile::publishNameless() {
    const QByteArray source = descriptorPath(m_file);
    if (::linkat(AT_FDCWD, source.constData(), m_folder, m_name.constData(), AT_SYMLINK_FOLLOW) == 0)
        return {};
    if (errno != EEXIST || m_existing == Existing::Kept)
        return systemError(errno);
    const QByteArray name = neighbour();
    return undisturbed([&] {
        if (::linkat(AT_FDCWD, source.constData(), m_folder, name.constData(), AT_SYMLINK_FOLLOW) != 0)
            return errno;
        if (::renameat(m_folder, name.constData(), m_folder, m_name.constData()) == 0)
            return 0;
        const int reason = errno;
        ::unlinkat(m_folder, name.constData(), 0);
        return reason;
    });
}

std::error_code AtomicFile::commitNeighbour(const QByteArray &content) {
    const QByteArray name = neighbour();
    m_file = ::openat(m_folder, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (m_file < 0)
        return systemError(errno);
    std::error_code error = fill(content);
    // Some file systems tell of a full disk only here.
    if (closeDescriptor(m_file) != 0 && !error)
        error = systemError(errno);
    if (!error) {
        const unsigned flags = m_existing == Existing::Kept ? RENAME_NOREPLACE : 0;
        if (::renameat2(m_folder, name.constData(), m_folder, m_name.constData(), flags) == 0)
            return {};
        error = systemError(errno);
        if (flags && (error == std::errc::invalid_argument || error == std::errc::function_not_supported))
            error = ::linkat(m_folder, name.constData(), m_folder, m_name.constData(), 0) == 0
                        ? std::error_code()
                        : systemError(errno);
    }
    ::unlinkat(m_folder, name.constData(), 0);
    return error;
}

QByteArray AtomicFile::neighbour() const {
    quint64 random = 0;
    if (::getrandom(&random, sizeof random, 0) != sizeof random)
        random = quint64(::getpid());
    return ".atomic-" + QByteArray::number(random, 36);
}
