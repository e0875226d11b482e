// SPDX-License-Identifier: MIT
#include "platform/files/NSFileHandle.h"

#include "platform/base/NSException.h"
#include "platform/base/SystemError.h"
#include "platform/base/WriteAll.h"
#include "platform/files/NSPathUtilities.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

[[noreturn]] void raise(const char *what) {
    throw NSException(NSFileHandleOperationException,
                      QStringLiteral("%1: %2").arg(QString::fromLatin1(what), zr::systemErrorText()));
}

/// Repeats a call that a signal interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

std::shared_ptr<NSFileHandle> handleAtPath(const QString &path, int mode) {
    const QByteArray name = NSFileSystemRepresentation(path);
    if (name.isNull())
        return nullptr;
    const int descriptor = uninterrupted([&] { return ::open(name.constData(), mode | O_CLOEXEC); });
    if (descriptor < 0)
        return nullptr;
    auto handle = std::make_shared<NSFileHandle>(descriptor);
    struct stat about {};
    if (::fstat(descriptor, &about) != 0 || S_ISDIR(about.st_mode))
        return nullptr;
    return handle;
}

} // namespace

NSFileHandle::~NSFileHandle() {
    closeFile();
}

std::shared_ptr<NSFileHandle> NSFileHandle::fileHandleForReadingAtPath(const QString &path) {
    return handleAtPath(path, O_RDONLY);
}

std::shared_ptr<NSFileHandle> NSFileHandle::fileHandleForWritingAtPath(const QString &path) {
    return handleAtPath(path, O_WRONLY);
}

std::shared_ptr<NSFileHandle> NSFileHandle::fileHandleForUpdatingAtPath(const QString &path) {
    return handleAtPath(path, O_RDWR);
}

QByteArray NSFileHandle::readDataOfLength(qsizetype length) {
    constexpr qsizetype piece = 1 << 20;
    QByteArray data("");
    // Memory is taken as the bytes arrive: a length may be far more than the file holds.
    while (data.size() < length) {
        const qsizetype had = data.size();
        data.resize(had + std::min(length - had, piece));
        const ssize_t count =
            uninterrupted([&] { return ::read(m_descriptor, data.data() + had, size_t(data.size() - had)); });
        if (count < 0)
            raise("read");
        data.resize(had + count);
        if (count == 0)
            break;
    }
    return data;
}

QByteArray NSFileHandle::readDataToEndOfFile() {
    return readDataOfLength(std::numeric_limits<qsizetype>::max());
}

void NSFileHandle::writeData(QByteArrayView data) {
    if (m_descriptor < 0)
        errno = EBADF;
    if (m_descriptor < 0 || zr::writeAll(m_descriptor, data))
        raise("write");
}

quint64 NSFileHandle::offsetInFile() const {
    const off_t offset = ::lseek(m_descriptor, 0, SEEK_CUR);
    if (offset < 0)
        raise("lseek");
    return quint64(offset);
}

void NSFileHandle::seekToFileOffset(quint64 offset) {
    if (::lseek(m_descriptor, off_t(offset), SEEK_SET) < 0)
        raise("lseek");
}

quint64 NSFileHandle::seekToEndOfFile() {
    const off_t offset = ::lseek(m_descriptor, 0, SEEK_END);
    if (offset < 0)
        raise("lseek");
    return quint64(offset);
}

void NSFileHandle::truncateFileAtOffset(quint64 offset) {
    if (uninterrupted([&] { return ::ftruncate(m_descriptor, off_t(offset)); }) != 0)
        raise("ftruncate");
    seekToFileOffset(offset);
}

void NSFileHandle::synchronizeFile() {
    if (uninterrupted([&] { return ::fsync(m_descriptor); }) != 0)
        raise("fsync");
}

void NSFileHandle::closeFile() {
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}
