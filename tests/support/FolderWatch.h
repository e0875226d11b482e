// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// Notes which files of a folder anybody opens, from its construction on. Folders below it are not watched.
class FolderWatch {
public:
    explicit FolderWatch(const QString &folder);
    ~FolderWatch();
    FolderWatch(const FolderWatch &) = delete;
    FolderWatch &operator=(const FolderWatch &) = delete;

    /// The names of the files opened since the last call, in order; "." for the folder itself.
    QStringList opened();

private:
    int m_fd = -1;
};
