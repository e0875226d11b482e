// SPDX-License-Identifier: MIT
#include "tests/support/FolderWatch.h"

#include <QFile>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

FolderWatch::FolderWatch(const QString &folder) : m_fd(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    EXPECT_GE(::inotify_add_watch(m_fd, QFile::encodeName(folder).constData(), IN_OPEN), 0);
}

FolderWatch::~FolderWatch() {
    ::close(m_fd);
}

QStringList FolderWatch::opened() {
    QStringList names;
    alignas(inotify_event) char buffer[16 << 10];
    for (ssize_t size; (size = ::read(m_fd, buffer, sizeof buffer)) > 0;) {
        for (ssize_t at = 0; at < size;) {
            inotify_event event;
            std::memcpy(&event, buffer + at, sizeof event);
            names << (event.len ? QFile::decodeName(buffer + at + sizeof event) : QStringLiteral("."));
            at += ssize_t(sizeof event + event.len);
        }
    }
    return names;
}
