// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <csignal>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

/// Puts a file system of 256 KB over a folder, for this process only: as root, or as a user's own root. Where
/// the system allows neither, the process can't make a file of more than 256 KB from here on. Gives the error
/// that a write past that meets. For a child of one thread.
inline std::errc limitSpace(const QByteArray &folder) {
    const auto write = [](const char *path, const QByteArray &text) {
        QFile file(QString::fromLatin1(path));
        return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
    };
    const QByteArray user = QByteArray::number(quint64(::geteuid())),
                     group = QByteArray::number(quint64(::getegid()));
    const bool isOwn =
        ::unshare(CLONE_NEWNS) == 0 ||
        (::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/setgroups", "deny") &&
         write("/proc/self/uid_map", "0 " + user + " 1") && write("/proc/self/gid_map", "0 " + group + " 1"));
    if (isOwn && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        ::mount("none", folder.constData(), "tmpfs", 0, "size=256k") == 0)
        return std::errc::no_space_on_device;
    const rlimit limit{256 << 10, 256 << 10};
    std::signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    return std::errc::file_too_large;
}
