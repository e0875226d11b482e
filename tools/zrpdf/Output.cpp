// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Output.h"

#include "tools/zrpdf/Interrupts.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zr;

namespace {

QByteArray text(const std::error_code &error) {
    if (error == std::errc::file_exists)
        return "exists already; --force replaces it";
    if (error == std::errc::is_a_directory)
        return "is a folder";
    return error ? QByteArray(error.message().c_str()) : QByteArray();
}

} // namespace

Output::Output(const QByteArray &path, bool force) : m_path(path), m_force(force) {
    struct stat status {};
    m_isStream = isStandardOutput() || (::stat(path.constData(), &status) == 0 && !S_ISREG(status.st_mode) &&
                                        !S_ISDIR(status.st_mode));
}

QByteArray Output::open() {
    if (m_isStream)
        return isStandardOutput() || ::access(m_path.constData(), W_OK) == 0 ? "" : std::strerror(errno);
    m_file.emplace(m_path, m_force ? AtomicFile::Existing::Replaced : AtomicFile::Existing::Kept);
    return text(m_file->open());
}

QByteArray Output::commit(const QByteArray &content) {
    if (!m_isStream)
        return text(m_file->commit(content));
    const int descriptor =
        isStandardOutput() ? STDOUT_FILENO : ::open(m_path.constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    int failure = descriptor < 0 ? errno : writeAll(descriptor, content, true);
    if (descriptor >= 0 && !isStandardOutput() && ::close(descriptor) != 0 && !failure)
        failure = errno;
    return failure ? std::strerror(failure) : "";
}

QByteArray makeFolder(const QByteArray &path) {
    for (qsizetype slash = path.indexOf('/', 1);; slash = path.indexOf('/', slash + 1)) {
        const QByteArray part = slash < 0 ? path : path.left(slash);
        if (::mkdir(part.constData(), 0777) != 0 && errno != EEXIST) {
            // A folder above may be closed to looks and still lead to one that is there.
            const int reason = errno;
            struct stat status {};
            if (::stat(path.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
                return std::strerror(reason);
        }
        if (slash < 0)
            break;
    }
    struct stat status {};
    if (::stat(path.constData(), &status) != 0)
        return std::strerror(errno);
    return S_ISDIR(status.st_mode) ? "" : std::strerror(ENOTDIR);
}

int writeAll(int descriptor, const QByteArray &content, bool stopOnSignal) {
    for (qsizetype done = 0; done < content.size();) {
        if (stopOnSignal && Interrupts::signal() != 0)
            return EINTR;
        const ssize_t written =
            ::write(descriptor, content.constData() + done, std::size_t(content.size() - done));
        if (written < 0 && errno != EINTR)
            return errno;
        done += written < 0 ? 0 : written;
    }
    return 0;
}
