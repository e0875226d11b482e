// SPDX-License-Identifier: MIT
#pragma once

#include "platform/files/NSFileManager.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <optional>
#include <type_traits>

/// An application's folders, and short operations on single files; normally of
/// NSFileManager::defaultManager().
///
/// A file is a path's text, used as it is, or a file URL, of which the path is used. Any other value is no
/// path at all, and fails as a missing file does. Failures give nil, false or 0 and are reported nowhere;
/// nothing is raised. Any thread.
///
/// The application's folder is named by its bundle's identifier (zxAppID()), or by its name (zxAppName())
/// after zrUseAppName(true).
namespace ZRKit {

/// Whether the application's folders are named by its name from now on; false at first. For the start of the
/// program.
void zrUseAppName(bool flag);
template <typename T>
requires(!std::is_same_v<T, bool>) void zrUseAppName(T) = delete;

// Folders of the user, which need not exist; see NSSearchPathDirectory for where they are.

QString zrHomeFolder(const NSFileManager &manager);
QString zrCachesFolder(const NSFileManager &manager);
QString zrDocumentFolder(const NSFileManager &manager);
QString zrLibraryFolder(const NSFileManager &manager);
QString zrApplicationSupportFolder(const NSFileManager &manager);

// Folders of the application, made where they are missing; nil where that fails.

/// In the temporary folder, see NSTemporaryDirectory().
QString zrTempFolder(const NSFileManager &manager);
/// In the library folder.
QString zrPrivateLibraryFolder(const NSFileManager &manager);
/// In the application support folder.
QString zrPrivateApplicationSupportFolder(const NSFileManager &manager);
/// The same by its short name.
QString zrPrivateFolder(const NSFileManager &manager);
/// In the caches folder, a folder named by the identifier within another, whatever zrUseAppName() says.
QString zrPrivateCacheFolder(const NSFileManager &manager);
/// A folder in that one, named by the last two hexadecimal digits of the object's hash. Nothing is made.
QString zrPrivateCacheFolderPathOnlyForObject(const NSFileManager &manager, const QVariant &object);

/// A new folder in zrTempFolder(), the same for the life of the process.
QString zrCreatePrivateTempFolder(const NSFileManager &manager);
/// Removes that folder with everything in it, if it was made. It is for the end of the program: the folder is
/// never made again, and its path stays the same.
void zrDestroyPrivateTempFolder(const NSFileManager &manager);
/// A path for a new file in that folder, another at each call, with the suffix, "tmp" for nil. Nothing is
/// made but the folder.
QString zrPrivateTempFolderFileNameWithSuffix(const NSFileManager &manager, const QString &suffix);

/// A path in zrPrivateFolder().
QString zrPathForPrivateFile(const NSFileManager &manager, const QString &name);
/// A folder in zrPrivateFolder(), made where it is missing.
QString zrPathForPrivateFolder(const NSFileManager &manager, const QString &name);
/// A path in zrDocumentFolder().
QString zrPathForDocumentFile(const NSFileManager &manager, const QString &name);

/// What is known of the file system of the home folder, see NSFileManager::attributesOfFileSystemForPath().
std::optional<QVariantMap> zrHomeAttributes(const NSFileManager &manager);

// Single files and folders

/// Makes a folder, with those above it, where nothing is at the path; gives the path. What is there already,
/// even if it is a file, is left as it is. nil where it can't be made.
QString zrMakeDirs(const NSFileManager &manager, const QVariant &path);
/// Copies or moves an item. What exists at the destination stays, and makes it fail.
bool zrCopy(const NSFileManager &manager, const QVariant &source, const QVariant &to);
bool zrMove(const NSFileManager &manager, const QVariant &source, const QVariant &to);
/// Removes an item, a folder with everything in it.
bool zrRemove(const NSFileManager &manager, const QVariant &path);
/// Removes what zrIsFile() holds for, nothing else.
bool zrRemoveFile(const NSFileManager &manager, const QVariant &path);
/// Whether something exists, links followed, and is not, or is, a folder.
bool zrIsFile(const NSFileManager &manager, const QVariant &path);
bool zrIsDir(const NSFileManager &manager, const QVariant &path);
/// The names in a folder, hidden ones too, unsorted; nothing where it can't be read.
std::optional<QVariantList> zrListDir(const NSFileManager &manager, const QVariant &path);
/// Sets the modification date of something that exists to now.
bool zrTouch(const NSFileManager &manager, const QVariant &path);
/// See NSFileManager::attributesOfItemAtPath().
std::optional<QVariantMap> zrAttributes(const NSFileManager &manager, const QVariant &path);
/// In bytes; 0 where nothing is there.
quint64 zrFileSize(const NSFileManager &manager, const QVariant &path);
/// In UTC.
QDateTime zrFileModificationDate(const NSFileManager &manager, const QVariant &path);
/// Whether both hold the same, see NSFileManager::contentsEqualAtPath().
bool zrFileCompare(const NSFileManager &manager, const QVariant &path, const QVariant &with);

// Digests of a file's content, as bytes and in lower-case hexadecimal; of what can't be read, those of no
// bytes. See NSMessageDigestOfFile().

QByteArray zrFileMD5Data(const NSFileManager &manager, const QVariant &path);
QString zrFileMD5String(const NSFileManager &manager, const QVariant &path);
QByteArray zrFileSHA256Data(const NSFileManager &manager, const QVariant &path);
QString zrFileSHA256String(const NSFileManager &manager, const QVariant &path);

/// The uniform type identifier of an item, from its name, see NSTypeIdentifierOfItem().
QString zrFileUTI(const NSFileManager &manager, const QVariant &file);
/// Whether the item's type conforms to one of those listed. A missing list or file logs an assertion line.
bool zrIsFile(const NSFileManager &manager, const QVariant &file,
              const std::optional<QVariantList> &ofUTITypes);

/// The path, or where a file is there already, with " 2", " 3" and so on before its extension, the first at
/// which no file is. A folder doesn't count. Others may take the name before it is used.
QString zrUnusedFileName(const NSFileManager &manager, const QVariant &path);

} // namespace ZRKit
