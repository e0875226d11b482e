// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Output.h"

#include "platform/base/FileDescriptor.h"
#include "platform/base/SystemError.h"
#include "platform/base/WriteAll.h"
#include "tools/zrpdf/Interrupts.h"

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
        return isStandardOutput() || ::access(m_path.constData(), W_OK) == 0
                   ? QByteArray("")
                   : zr::systemErrorText().toLocal8Bit();
    m_file.emplace(m_path, m_force ? AtomicFile::Existing::Replaced : AtomicFile::Existing::Kept);
    return text(m_file->open());
}

QByteArray Output::commit(const QByteArray &content) {
    if (!m_isStream)
        return text(m_file->commit(content));
    zr::FileDescriptor opened;
    if (!isStandardOutput()) {
        opened.reset(::open(m_path.constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
        if (!opened)
            return text(zr::systemError());
    }
    std::error_code failure = zr::writeAll(isStandardOutput() ? STDOUT_FILENO : opened.get(), content,
                                           [] { return Interrupts::signal() != 0; });
    if (opened && ::close(opened.release()) != 0 && !failure)
        failure = zr::systemError();
    return text(failure);
}
