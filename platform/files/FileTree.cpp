// SPDX-License-Identifier: MIT
#include "platform/files/FileTree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr size_t PieceSize = 128 << 10;

std::error_code systemError(int number = errno) {
    return {number, std::generic_category()};
}

/// The error of a call that answers -1 where it fails.
std::error_code outcome(ssize_t result) {
    return result < 0 ? systemError() : std::error_code();
}

class Descriptor {
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    operator int() const { return m_descriptor; }
    /// Some file systems tell of a full disk only here.
    int close() { return ::close(std::exchange(m_descriptor, -1)); }

private:
    int m_descriptor;
};

ssize_t readSome(int file, char *at, size_t size) {
    for (;;) {
        const ssize_t count = ::read(file, at, size);
        if (count >= 0 || errno != EINTR)
            return count;
    }
}

/// Fills the piece as far as the file goes; -1 where it can't be read.
ssize_t readPiece(int file, char *piece) {
    size_t done = 0;
    while (done < PieceSize) {
        const ssize_t count = readSome(file, piece + done, PieceSize - done);
        if (count <= 0)
            return count < 0 ? -1 : ssize_t(done);
        done += size_t(count);
    }
    return ssize_t(done);
}

std::error_code writeAll(int file, const char *at, size_t size) {
    while (size > 0) {
        const ssize_t count = ::write(file, at, size);
        if (count < 0 && errno != EINTR)
            return systemError();
        at += qMax<ssize_t>(count, 0);
        size -= size_t(qMax<ssize_t>(count, 0));
    }
    return {};
}

std::error_code copyContent(int from, int to) {
    // The kernel copies without a detour, or shares the blocks, where the file systems can.
    for (;;) {
        const ssize_t count = ::copy_file_range(from, nullptr, to, nullptr, SSIZE_MAX / 2, 0);
        if (count < 0 && errno != EINTR)
            break;
        if (count == 0 && ::lseek(to, 0, SEEK_CUR) > 0)
            return {};
        if (count == 0)
            break;
    }
    const auto piece = std::make_unique_for_overwrite<char[]>(PieceSize);
    for (;;) {
        const ssize_t count = readSome(from, piece.get(), PieceSize);
        if (count <= 0)
            return outcome(count);
        if (const std::error_code error = writeAll(to, piece.get(), size_t(count)))
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
std::error_code adopt(int from, int to, const struct stat &status) {
    copyExtendedAttributes(from, to);
    if (::fchmod(to, status.st_mode & 01777) != 0)
        return systemError();
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    return outcome(::futimens(to, times.data()));
}

std::error_code copyItem(const QByteArray &from, const QByteArray &to);

std::error_code copyFile(const QByteArray &from, const QByteArray &to) {
    const Descriptor source(::open(from.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status {};
    if (source < 0 || ::fstat(source, &status) != 0)
        return systemError();
    Descriptor target(::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (target < 0)
        return systemError();
    std::error_code error = copyContent(source, target);
    if (!error)
        error = adopt(source, target, status);
    if (target.close() != 0 && !error)
        error = systemError();
    return error;
}

std::error_code copyFolder(const QByteArray &from, const QByteArray &to) {
    const Descriptor source(::open(from.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (source < 0 || ::fstat(source, &status) != 0 || ::mkdir(to.constData(), 0700) != 0)
        return systemError();
    const auto names = FileTree::names(from);
    if (!names)
        return systemError();
    for (const QByteArray &name : *names) {
        if (const std::error_code error = copyItem(from + '/' + name, to + '/' + name))
            return error;
    }
    const Descriptor target(::open(to.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return target < 0 ? systemError() : adopt(source, target, status);
}

std::optional<QByteArray> linkTarget(const QByteArray &path) {
    std::array<char, PATH_MAX> target{};
    const ssize_t size = ::readlink(path.constData(), target.data(), target.size());
    return size < 0 ? std::nullopt : std::optional(QByteArray(target.data(), size));
}

std::error_code copyItem(const QByteArray &from, const QByteArray &to) {
    struct stat status {};
    if (::lstat(from.constData(), &status) != 0)
        return systemError();
    switch (status.st_mode & S_IFMT) {
    case S_IFREG:
        return copyFile(from, to);
    case S_IFDIR:
        return copyFolder(from, to);
    case S_IFLNK:
        if (const auto target = linkTarget(from))
            return outcome(::symlink(target->constData(), to.constData()));
        return systemError();
    case S_IFIFO:
        return outcome(::mkfifo(to.constData(), status.st_mode & 07777));
    default:
        return systemError(ENOTSUP);
    }
}

QByteArray parentOf(QByteArray path) {
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.left(slash);
}

QByteArray realPath(const QByteArray &path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr), &std::free);
    return QByteArray(real.get());
}

/// Removes a copy that came to nothing. Its folders may have taken over that nobody changes them.
void discard(const QByteArray &path) {
    struct stat status {};
    if (::lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode)) {
        ::chmod(path.constData(), 0700);
        for (const QByteArray &name : FileTree::names(path).value_or(QByteArrayList()))
            discard(path + '/' + name);
    }
    ::remove(path.constData());
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
    return outcome(::rename(from.constData(), to.constData()));
}

bool areEqualFiles(const QByteArray &one, const QByteArray &other) {
    const Descriptor first(::open(one.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    const Descriptor second(::open(other.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (first < 0 || second < 0)
        return false;
    const auto a = std::make_unique_for_overwrite<char[]>(PieceSize);
    const auto b = std::make_unique_for_overwrite<char[]>(PieceSize);
    for (;;) {
        const ssize_t size = readPiece(first, a.get());
        if (size < 0 || readPiece(second, b.get()) != size ||
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
    const auto close = [](DIR *open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> open(::opendir(folder.constData()), close);
    if (!open)
        return {};
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

std::error_code FileTree::copy(const QByteArray &from, const QByteArray &to) {
    struct stat status {};
    if (::lstat(to.constData(), &status) == 0)
        return systemError(EEXIST);
    if (::lstat(from.constData(), &status) != 0)
        return systemError();
    const QByteArray folder = realPath(parentOf(to));
    if (folder.isNull())
        return systemError();
    // A folder can't be copied into itself: it would have no end.
    if (S_ISDIR(status.st_mode) && (folder + '/').startsWith(realPath(from) + '/'))
        return systemError(EINVAL);
    quint64 random = 0;
    if (::getrandom(&random, sizeof random, 0) != sizeof random)
        random = quint64(::getpid());
    const QByteArray made = folder + "/.copy-" + QByteArray::number(random, 36);
    std::error_code error = copyItem(from, made);
    if (!error)
        error = renameNew(made, to);
    if (error)
        discard(made);
    return error;
}

std::error_code FileTree::move(const QByteArray &from, const QByteArray &to) {
    const std::error_code error = renameNew(from, to);
    if (error != std::errc::cross_device_link)
        return error;
    const std::error_code copied = copy(from, to);
    return copied ? copied : remove(from);
}

std::error_code FileTree::remove(const QByteArray &path) {
    std::error_code error;
    const auto count = std::filesystem::remove_all(path.constData(), error);
    if (!error && count == 0)
        error = systemError(ENOENT);
    return error;
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
        const auto target = linkTarget(one);
        return target && target == linkTarget(other);
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
