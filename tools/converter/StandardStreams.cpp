// SPDX-License-Identifier: MIT
#include "tools/converter/StandardStreams.h"

#include "platform/base/FileDescriptor.h"
#include "platform/base/WriteAll.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

void zr::fillStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            (void)!::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int zr::takeStandardError(bool logs) {
    const int own = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (!logs) {
        const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        ::dup2(nowhere.get(), STDERR_FILENO);
    }
    return own;
}

int zr::printText(const QByteArray &text, const QByteArray &program, int failure, int standardError) {
    const auto error = writeAll(STDOUT_FILENO, text);
    if (!error)
        return 0;
    writeAll(standardError, program + ": standard output: " + error.message().c_str() + '\n');
    return failure;
}
