// SPDX-License-Identifier: MIT
#include "platform/files/NSFileManager.h"

#include "platform/base/FileDescriptor.h"
#include "platform/base/SystemError.h"
#include "platform/files/FileTree.h"
#include "platform/files/NSPathUtilities.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace zr;

namespace {

/// Runs the work on the path's bytes; a path that can't name anything gives the error of a missing file.
template <typename Work>
std::error_code withPath(const QString &path, Work work) {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    return bytes.isNull() ? systemError(ENOENT) : work(bytes);
}

template <typename Work>
std::error_code withPaths(const QString &path, const QString &other, Work work) {
    return withPath(path, [&](const QByteArray &first) {
        return withPath(other, [&](const QByteArray &second) { return work(first, second); });
    });
}

QDateTime date(const statx_timestamp &time) {
    return QDateTime::fromMSecsSinceEpoch(time.tv_sec * 1000 + time.tv_nsec / 1'000'000, Qt::UTC);
}

QString typeOf(unsigned mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return NSFileTypeRegular;
    case S_IFDIR:
        return NSFileTypeDirectory;
    case S_IFLNK:
        return NSFileTypeSymbolicLink;
    case S_IFSOCK:
        return NSFileTypeSocket;
    case S_IFCHR:
        return NSFileTypeCharacterSpecial;
    case S_IFBLK:
        return NSFileTypeBlockSpecial;
    default:
        return NSFileTypeUnknown;
    }
}

QByteArray attributeName(const QString &name) {
    return name.isEmpty() ? QByteArray() : "user." + NSFileSystemRepresentation(name);
}

/// The user's extended attributes of a file or folder; links and what can't be opened have none.
QVariantMap extendedAttributes(const QByteArray &path) {
    QVariantMap attributes;
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file)
        return attributes;
    for (const QByteArray &name : FileTree::extendedAttributeNames(file.get())) {
        QByteArray value(XATTR_SIZE_MAX, Qt::Uninitialized);
        const ssize_t size = ::fgetxattr(file.get(), name.constData(), value.data(), size_t(value.size()));
        if (size >= 0)
            attributes.insert(NSStringWithFileSystemRepresentation(name.mid(5)), value.left(size));
    }
    return attributes;
}

} // namespace

const NSFileManager &NSFileManager::defaultManager() {
    static const NSFileManager manager;
    return manager;
}

bool NSFileManager::fileExistsAtPath(const QString &path, bool *isDirectory) const {
    struct stat status {};
    const QByteArray bytes = NSFileSystemRepresentation(path);
    const bool exists = !bytes.isNull() && ::stat(bytes.constData(), &status) == 0;
    if (isDirectory)
        *isDirectory = exists && S_ISDIR(status.st_mode);
    return exists;
}

std::error_code NSFileManager::createDirectoryAtPath(const QString &path,
                                                     bool withIntermediateDirectories) const {
    return withPath(path, [&](const QByteArray &bytes) {
        if (!withIntermediateDirectories)
            return errorUnless(::mkdir(bytes.constData(), 0777));
        std::error_code error;
        std::filesystem::create_directories(bytes.constData(), error);
        return error;
    });
}

std::error_code NSFileManager::copyItemAtPath(const QString &path, const QString &toPath) const {
    return withPaths(path, toPath, &FileTree::copy);
}

std::error_code NSFileManager::moveItemAtPath(const QString &path, const QString &toPath) const {
    return withPaths(path, toPath, &FileTree::move);
}

std::error_code NSFileManager::removeItemAtPath(const QString &path) const {
    return withPath(path, &FileTree::remove);
}

std::optional<QStringList> NSFileManager::contentsOfDirectoryAtPath(const QString &path) const {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    const auto names = bytes.isNull() ? std::nullopt : FileTree::names(bytes);
    if (!names)
        return {};
    QStringList strings;
    for (const QByteArray &name : *names)
        strings.append(NSStringWithFileSystemRepresentation(name));
    return strings;
}

std::optional<QVariantMap> NSFileManager::attributesOfItemAtPath(const QString &path) const {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    struct statx status {};
    if (bytes.isNull() || ::statx(AT_FDCWD, bytes.constData(), AT_SYMLINK_NOFOLLOW,
                                  STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
        return {};
    QVariantMap attributes{
        {NSFileType, typeOf(status.stx_mode)},
        {NSFileSize, qulonglong(status.stx_size)},
        {NSFileModificationDate, date(status.stx_mtime)},
        {NSFilePosixPermissions, status.stx_mode & 07777U},
        {NSFileOwnerAccountID, status.stx_uid},
        {NSFileGroupOwnerAccountID, status.stx_gid},
        {NSFileReferenceCount, status.stx_nlink},
        {NSFileSystemFileNumber, qulonglong(status.stx_ino)},
        {NSFileSystemNumber, qulonglong(::makedev(status.stx_dev_major, status.stx_dev_minor))},
    };
    if (status.stx_mask & STATX_BTIME)
        attributes.insert(NSFileCreationDate, date(status.stx_btime));
    if (const QVariantMap extended = extendedAttributes(bytes); !extended.isEmpty())
        attributes.insert(NSFileExtendedAttributes, extended);
    return attributes;
}

std::optional<QVariantMap> NSFileManager::attributesOfFileSystemForPath(const QString &path) const {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    struct statvfs system {};
    struct stat status {};
    if (bytes.isNull() || ::statvfs(bytes.constData(), &system) != 0 ||
        ::stat(bytes.constData(), &status) != 0)
        return {};
    return QVariantMap{
        {NSFileSystemSize, qulonglong(system.f_blocks) * system.f_frsize},
        {NSFileSystemFreeSize, qulonglong(system.f_bavail) * system.f_frsize},
        {NSFileSystemNodes, qulonglong(system.f_files)},
        {NSFileSystemFreeNodes, qulonglong(system.f_favail)},
        {NSFileSystemNumber, qulonglong(status.st_dev)},
    };
}

std::error_code NSFileManager::setModificationDate(const QDateTime &date, const QString &path) const {
    const qint64 time = date.toMSecsSinceEpoch();
    const qint64 part = ((time % 1000) + 1000) % 1000;
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT},
                                        timespec{time_t((time - part) / 1000), long(part * 1'000'000)}};
    return withPath(path, [&](const QByteArray &bytes) {
        return errorUnless(::utimensat(AT_FDCWD, bytes.constData(), times.data(), 0));
    });
}

bool NSFileManager::contentsEqualAtPath(const QString &path, const QString &andPath) const {
    bool equal = false;
    withPaths(path, andPath, [&](const QByteArray &one, const QByteArray &other) {
        equal = FileTree::areEqual(one, other);
        return std::error_code();
    });
    return equal;
}

QByteArray NSFileManager::extendedAttribute(const QString &name, const QString &path) const {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    const QByteArray attribute = attributeName(name);
    if (bytes.isNull() || attribute.isNull())
        return {};
    QByteArray value(XATTR_SIZE_MAX, Qt::Uninitialized);
    const ssize_t size =
        ::getxattr(bytes.constData(), attribute.constData(), value.data(), size_t(value.size()));
    return size < 0 ? QByteArray() : value.left(size);
}

std::error_code NSFileManager::setExtendedAttribute(const QString &name, const QByteArray &value,
                                                    const QString &path) const {
    const QByteArray attribute = attributeName(name);
    if (attribute.isNull())
        return systemError(EINVAL);
    return withPath(path, [&](const QByteArray &bytes) {
        return errorUnless(value.isNull() ? ::removexattr(bytes.constData(), attribute.constData())
                                          : ::setxattr(bytes.constData(), attribute.constData(),
                                                       value.constData(), size_t(value.size()), 0));
    });
}
