// SPDX-License-Identifier: MIT
#include "platform/files/FileTree.h"

#include "platform/base/FileDescriptor.h"
#include "platform/base/SystemError.h"
#include "platform/base/WriteAll.h"
#include "platform/files/FolderCursor.h"

#include <QRandomGenerator>
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace zr;

namespace {

constexpr size_t PieceSize = 128 << 10;

/// Reads until the piece is full or the file ends; -1 if the file can't be read.
ssize_t readPiece(int file, char *piece, size_t size = PieceSize) {
    size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(file, piece + done, size - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? -1 : ssize_t(done);
        done += size_t(count);
    }
    return ssize_t(done);
}

/// Copies so many bytes from where both files stand, or as many as there are. The kernel copies without a detour, or
/// shares the blocks, if the file systems can.
std::error_code copyBytes(int from, int to, off_t size) {
    while (size > 0) {
        const ssize_t count = ::copy_file_range(from, nullptr, to, nullptr, size_t(size), 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        size -= count;
    }
    const auto piece = std::make_unique_for_overwrite<char[]>(PieceSize);
    while (size > 0) {
        const ssize_t count = readPiece(from, piece.get(), size_t(std::min<off_t>(size, PieceSize)));
        if (count <= 0)
            return errorUnless(count);
        if (const std::error_code error = writeAll(to, {piece.get(), count}))
            return error;
        size -= count;
    }
    return {};
}

std::error_code copyContent(int from, int to) {
    struct stat status {};
    if (::fstat(from, &status) != 0)
        return systemError();
    // Files of the kernel's own say that they are empty, and know no holes.
    if (status.st_size == 0 || ::lseek(from, 0, SEEK_HOLE) < 0) {
        ::lseek(from, 0, SEEK_SET);
        return copyBytes(from, to, LONG_MAX);
    }
    for (off_t end = 0;;) {
        const off_t start = ::lseek(from, end, SEEK_DATA);
        if (start < 0) // nothing but a hole is left
            return errno == ENXIO ? errorUnless(::ftruncate(to, std::max(end, status.st_size)))
                                  : systemError();
        end = ::lseek(from, start, SEEK_HOLE);
        if (end < 0 || ::lseek(from, start, SEEK_SET) < 0 || ::lseek(to, start, SEEK_SET) < 0)
            return systemError();
        if (const std::error_code error = copyBytes(from, to, end - start))
            return error;
    }
}

/// Attributes that the other file system can't keep are left behind.
void copyExtendedAttributes(int from, int to) {
    for (const QByteArray &name : FileTree::extendedAttributeNames(from)) {
        std::array<char, XATTR_SIZE_MAX> value{};
        const ssize_t size = ::fgetxattr(from, name.constData(), value.data(), value.size());
        if (size >= 0)
            (void)::fsetxattr(to, name.constData(), value.data(), size_t(size), 0);
    }
}

/// Permissions and dates. The copy is the copying user's, so it must not run with the rights of its owner.
std::error_code adopt(int from, int to) {
    struct stat status {};
    if (::fstat(from, &status) != 0)
        return systemError();
    copyExtendedAttributes(from, to);
    if (::fchmod(to, status.st_mode & 01777) != 0)
        return systemError();
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    return errorUnless(::futimens(to, times.data()));
}

std::error_code copyFile(int fromFolder, const QByteArray &from, int toFolder, const QByteArray &to) {
    const FileDescriptor source(
        ::openat(fromFolder, from.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!source)
        return systemError();
    FileDescriptor target(::openat(toFolder, to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!target)
        return systemError();
    std::error_code error = copyContent(source.get(), target.get());
    if (!error)
        error = adopt(source.get(), target.get());
    // Some file systems tell of a full disk only here.
    if (::close(target.release()) != 0 && !error)
        error = systemError();
    return error;
}

std::optional<QByteArray> linkTarget(int folder, const QByteArray &name) {
    std::array<char, PATH_MAX> target{};
    const ssize_t size = ::readlinkat(folder, name.constData(), target.data(), target.size());
    return size < 0 ? std::nullopt : std::optional(QByteArray(target.data(), size));
}

/// Everything but a folder.
std::error_code copyLeaf(int fromFolder, const QByteArray &from, mode_t mode, int toFolder,
                         const QByteArray &to) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return copyFile(fromFolder, from, toFolder, to);
    case S_IFLNK:
        if (const auto target = linkTarget(fromFolder, from))
            return errorUnless(::symlinkat(target->constData(), toFolder, to.constData()));
        return systemError();
    case S_IFIFO:
        return errorUnless(::mkfifoat(toFolder, to.constData(), mode & 07777));
    default:
        return systemError(ENOTSUP);
    }
}

/// The names in an open folder.
std::optional<QByteArrayList> namesIn(int folder) {
    const auto close = [](DIR *open) { ::closedir(open); };
    FileDescriptor own(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, decltype(close)> open(own ? ::fdopendir(own.get()) : nullptr, close);
    if (!open)
        return {};
    own.release();
    QByteArrayList names;
    for (;;) {
        errno = 0;
        const dirent *const entry = ::readdir(open.get());
        if (!entry && errno != 0)
            return {};
        if (!entry)
            return names;
        const QByteArray name(&entry->d_name[0]);
        if (name != "." && name != "..")
            names.append(name);
    }
}

/// A folder on the way, and what is still to be done in it.
struct Level {
    QByteArray name;
    QByteArrayList names;
};

/// Copies a folder by walking through it and through its copy side by side.
std::error_code copyFolder(const QByteArray &from, const QByteArray &to) {
    FolderCursor source, target;
    std::vector<Level> levels;
    const auto enter = [&](const QByteArray &name, const QByteArray &copy) -> std::error_code {
        if (const std::error_code error = source.enter(name))
            return error;
        const int folder = levels.empty() ? AT_FDCWD : target.descriptor();
        if (::mkdirat(folder, copy.constData(), 0700) != 0)
            return systemError();
        if (const std::error_code error = target.enter(copy))
            return error;
        const auto names = namesIn(source.descriptor());
        if (!names)
            return systemError();
        levels.push_back({name, *names});
        return {};
    };
    std::error_code error = enter(from, to);
    while (!error && !levels.empty()) {
        if (levels.back().names.isEmpty()) {
            // The way up is taken before the copy gets permissions that may forbid it.
            const FileDescriptor original(::dup(source.descriptor())), copy(::dup(target.descriptor()));
            levels.pop_back();
            if (!levels.empty()) {
                error = source.leave();
                if (!error)
                    error = target.leave();
            }
            if (!error)
                error = adopt(original.get(), copy.get());
            continue;
        }
        const QByteArray name = levels.back().names.takeLast();
        struct stat status {};
        if (::fstatat(source.descriptor(), name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            error = systemError();
        else if (S_ISDIR(status.st_mode))
            error = enter(name, name);
        else
            error = copyLeaf(source.descriptor(), name, status.st_mode, target.descriptor(), name);
    }
    return error;
}

/// Removes all that a folder holds, and with `evenReadOnly` what its owner may not change.
std::error_code emptyFolder(const QByteArray &path, bool evenReadOnly) {
    FolderCursor folder;
    std::vector<Level> levels;
    const auto enter = [&](const QByteArray &name) -> std::error_code {
        if (const std::error_code error = folder.enter(name))
            return error;
        if (evenReadOnly)
            ::fchmod(folder.descriptor(), 0700);
        const auto names = namesIn(folder.descriptor());
        if (!names)
            return systemError();
        levels.push_back({name, *names});
        return {};
    };
    std::error_code error = enter(path);
    while (!error && !levels.empty()) {
        if (levels.back().names.isEmpty()) {
            const QByteArray name = levels.back().name;
            levels.pop_back();
            if (levels.empty())
                break;
            error = folder.leave();
            if (!error && ::unlinkat(folder.descriptor(), name.constData(), AT_REMOVEDIR) != 0 &&
                errno != ENOENT)
                error = systemError();
            continue;
        }
        const QByteArray name = levels.back().names.takeLast();
        struct stat status {};
        if (::fstatat(folder.descriptor(), name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            error = errno == ENOENT ? std::error_code() : systemError();
        else if (S_ISDIR(status.st_mode))
            error = enter(name);
        else if (::unlinkat(folder.descriptor(), name.constData(), 0) != 0 && errno != ENOENT)
            error = systemError();
    }
    return error;
}

std::error_code removeItem(const QByteArray &path, bool evenReadOnly) {
    struct stat status {};
    if (::lstat(path.constData(), &status) != 0)
        return systemError();
    if (!S_ISDIR(status.st_mode))
        return errorUnless(::unlink(path.constData()));
    if (const std::error_code error = emptyFolder(path, evenReadOnly))
        return error;
    return errorUnless(::rmdir(path.constData()));
}

/// The path without slashes at its end, which would have the system follow a link. Refused, as the system refuses them
/// where it can, are "." and ".." at the end, the root, and a slash behind what is neither a folder nor a link.
std::error_code nameItem(QByteArray &path) {
    const qsizetype size = path.size();
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    if (name == "." || name == "..")
        return systemError(EINVAL);
    if (name.isEmpty())
        return systemError(EBUSY);
    struct stat status {};
    if (path.size() < size && ::lstat(path.constData(), &status) == 0 && !S_ISDIR(status.st_mode) &&
        !S_ISLNK(status.st_mode))
        return systemError(ENOTDIR);
    return {};
}

QByteArray parentOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.left(slash);
}

/// Gives an item its name, unless something has it.
std::error_code renameNew(const QByteArray &from, const QByteArray &to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return systemError();
    // This file system can't do both in one step.
    struct stat status {};
    if (::lstat(to.constData(), &status) == 0)
        return systemError(EEXIST);
    return errorUnless(::rename(from.constData(), to.constData()));
}

bool areEqualFiles(const QByteArray &one, const QByteArray &other) {
    const FileDescriptor first(::open(one.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    const FileDescriptor second(::open(other.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!first || !second)
        return false;
    const auto a = std::make_unique_for_overwrite<char[]>(PieceSize);
    const auto b = std::make_unique_for_overwrite<char[]>(PieceSize);
    for (;;) {
        const ssize_t size = readPiece(first.get(), a.get());
        if (size < 0 || readPiece(second.get(), b.get()) != size ||
            std::memcmp(a.get(), b.get(), size_t(size)) != 0)
            return false;
        if (size < ssize_t(PieceSize))
            return true;
    }
}

bool areEqualFolders(const QByteArray &one, const QByteArray &other) {
    auto names = FileTree::names(one);
    auto others = FileTree::names(other);
    if (!names || !others)
        return false;
    std::sort(names->begin(), names->end());
    std::sort(others->begin(), others->end());
    return names == others && std::all_of(names->cbegin(), names->cend(), [&](const QByteArray &name) {
               return FileTree::areEqual(one + '/' + name, other + '/' + name);
           });
}

} // namespace

std::optional<QByteArrayList> FileTree::names(const QByteArray &folder) {
    const FileDescriptor open(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return open ? namesIn(open.get()) : std::nullopt;
}

std::error_code FileTree::copy(const QByteArray &from, const QByteArray &to) {
    QByteArray source = from, target = to;
    struct stat status {};
    if (::lstat(to.constData(), &status) == 0)
        return systemError(EEXIST);
    std::error_code error = nameItem(source);
    if (!error)
        error = nameItem(target);
    if (error)
        return error;
    if (::lstat(source.constData(), &status) != 0)
        return systemError();
    const bool isFolder = S_ISDIR(status.st_mode);
    if (!isFolder && to.endsWith('/'))
        return systemError(ENOTDIR);
    const auto folder = std::filesystem::canonical(parentOf(target).constData(), error);
    if (error)
        return error;
    // A folder can't be copied into itself: it would have no end.
    if (isFolder) {
        const auto real = std::filesystem::canonical(source.constData(), error);
        if (error)
            return error;
        if (std::mismatch(real.begin(), real.end(), folder.begin(), folder.end()).first == real.end())
            return systemError(EINVAL);
    }
    const QByteArray made = QByteArray::fromStdString(folder) + "/.copy-" +
                            QByteArray::number(QRandomGenerator::system()->generate64(), 36);
    error = isFolder ? copyFolder(source, made) : copyLeaf(AT_FDCWD, source, status.st_mode, AT_FDCWD, made);
    if (!error)
        error = renameNew(made, target);
    if (error)
        removeItem(made, true);
    return error;
}

std::error_code FileTree::move(const QByteArray &from, const QByteArray &to) {
    QByteArray source = from;
    std::error_code error = nameItem(source);
    if (!error)
        error = renameNew(source, to);
    if (error != std::errc::cross_device_link)
        return error;
    error = copy(source, to);
    return error ? error : removeItem(source, false);
}

std::error_code FileTree::remove(const QByteArray &path) {
    QByteArray item = path;
    const std::error_code error = nameItem(item);
    return error ? error : removeItem(item, false);
}

bool FileTree::areEqual(const QByteArray &one, const QByteArray &other) {
    struct stat first {
    }, second{};
    if (::lstat(one.constData(), &first) != 0 || ::lstat(other.constData(), &second) != 0 ||
        (first.st_mode & S_IFMT) != (second.st_mode & S_IFMT))
        return false;
    switch (first.st_mode & S_IFMT) {
    case S_IFREG:
        return first.st_size == second.st_size && areEqualFiles(one, other);
    case S_IFDIR:
        return areEqualFolders(one, other);
    case S_IFLNK: {
        const auto target = linkTarget(AT_FDCWD, one);
        return target && target == linkTarget(AT_FDCWD, other);
    }
    case S_IFCHR:
    case S_IFBLK:
        return first.st_rdev == second.st_rdev;
    default:
        return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
    }
}

QByteArrayList FileTree::extendedAttributeNames(int file) {
    const ssize_t size = ::flistxattr(file, nullptr, 0);
    QByteArray list(qMax<ssize_t>(size, 0), Qt::Uninitialized);
    const ssize_t got = size > 0 ? ::flistxattr(file, list.data(), size_t(list.size())) : 0;
    list.truncate(qMax<ssize_t>(got, 0));
    QByteArrayList names = list.split('\0');
    names.removeIf([](const QByteArray &name) { return !name.startsWith("user."); });
    return names;
}
