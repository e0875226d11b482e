// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <optional>
#include <system_error>

/// What is done to whole items, among them folders with all that they hold. Paths are the system's bytes. Any thread.
///
/// std::filesystem copies neither holes, dates nor extended attributes, and opens a folder for each level of a tree.
namespace zr::FileTree {

/// The names in a folder; nothing, and errno, if it can't be read to its end.
std::optional<QByteArrayList> names(const QByteArray &folder);

/// As NSFileManager::copyItemAtPath(), moveItemAtPath(), removeItemAtPath() and contentsEqualAtPath().
std::error_code copy(const QByteArray &from, const QByteArray &to);
std::error_code move(const QByteArray &from, const QByteArray &to);
std::error_code remove(const QByteArray &path);
bool areEqual(const QByteArray &one, const QByteArray &other);

/// The names of an open file's extended attributes, those of the user's own only.
QByteArrayList extendedAttributeNames(int file);

} // namespace zr::FileTree
