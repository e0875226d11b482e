// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <optional>
#include <system_error>

/// What is done to whole items, folders with all that they hold among them. Paths are the system's bytes.
namespace FileTree {

/// The names in a folder; nothing, and errno, where it can't be read to its end.
std::optional<QByteArrayList> names(const QByteArray &folder);

/// A copy of the item beside what it is for; see NSFileManager::copyItemAtPath().
std::error_code copy(const QByteArray &from, const QByteArray &to);
/// As NSFileManager::moveItemAtPath().
std::error_code move(const QByteArray &from, const QByteArray &to);
/// Removes the item, with all that it holds; a missing one is an error.
std::error_code remove(const QByteArray &path);
/// As NSFileManager::contentsEqualAtPath().
bool areEqual(const QByteArray &one, const QByteArray &other);

/// The names of an open file's extended attributes, those of the user's own only.
QByteArrayList extendedAttributeNames(int file);

} // namespace FileTree
