// SPDX-License-Identifier: MIT
#include "platform/files/FileDigest.h"

#include "platform/base/FileDescriptor.h"
#include "platform/files/NSPathUtilities.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace zr;

namespace {

constexpr size_t PieceSize = 256 << 10;

/// False where the file can't be read to its end.
bool readInto(MessageDigester &digester, int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0 || !(S_ISREG(status.st_mode) || S_ISBLK(status.st_mode)))
        return false;
    // Files of the kernel's own, and devices, say that they are empty.
    off_t left = status.st_size > 0 ? status.st_size : std::numeric_limits<off_t>::max();
    ::posix_fadvise(file, 0, 0, POSIX_FADV_SEQUENTIAL);
    const auto piece = std::make_unique_for_overwrite<char[]>(PieceSize);
    while (left > 0) {
        const ssize_t size = ::read(file, piece.get(), size_t(qMin<off_t>(left, PieceSize)));
        if (size == 0)
            break;
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return false;
        digester.add({piece.get(), qsizetype(size)});
        left -= size;
    }
    return true;
}

} // namespace

QByteArray NSMessageDigestOfFile(MessageDigest digest, const QString &path) {
    const QByteArray name = NSFileSystemRepresentation(path);
    // A pipe without a writer would be waited for.
    const FileDescriptor file(name.isNull() ? -1
                                            : ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    MessageDigester digester(digest);
    const bool isWhole = file && readInto(digester, file.get());
    return isWhole ? digester.result() : NSMessageDigest(digest, {});
}
