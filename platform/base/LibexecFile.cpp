// SPDX-License-Identifier: MIT
#include "platform/base/LibexecFile.h"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

QByteArray zr::libexecFile(const QByteArray &name, int access, const QByteArray &beside) {
    QByteArray program(4096, Qt::Uninitialized);
    const ssize_t length = ::readlink("/proc/self/exe", program.data(), std::size_t(program.size()));
    program.truncate(std::max<qsizetype>(length, 0));
    const QByteArray folder = program.left(std::max<qsizetype>(program.lastIndexOf('/'), 0));
    const QByteArray prefix = folder.left(std::max<qsizetype>(folder.lastIndexOf('/'), 0));
    for (const QByteArray &place : {folder + beside, prefix + "/libexec/zrkit",
                                    // For a server, which is among the services itself.
                                    prefix + "/zrkit", QByteArray(ZR_LIBEXEC_DIR)}) {
        QByteArray path = place + '/' + name;
        struct stat status {};
        if (::stat(path.constData(), &status) == 0 && S_ISREG(status.st_mode) &&
            ::access(path.constData(), access) == 0)
            return path;
    }
    return {};
}
