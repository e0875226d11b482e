// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <optional>
#include <system_error>

// Keys of attributesOfItemAtPath().
inline const QString NSFileType = QStringLiteral("NSFileType"); ///< one of NSFileType...
inline const QString NSFileSize = QStringLiteral("NSFileSize"); ///< bytes
inline const QString NSFileModificationDate = QStringLiteral("NSFileModificationDate"); ///< UTC
inline const QString NSFileCreationDate = QStringLiteral("NSFileCreationDate"); ///< UTC, where it is known
inline const QString NSFilePosixPermissions = QStringLiteral("NSFilePosixPermissions");
inline const QString NSFileOwnerAccountID = QStringLiteral("NSFileOwnerAccountID");
inline const QString NSFileGroupOwnerAccountID = QStringLiteral("NSFileGroupOwnerAccountID");
inline const QString NSFileReferenceCount = QStringLiteral("NSFileReferenceCount"); ///< hard links
inline const QString NSFileSystemFileNumber = QStringLiteral("NSFileSystemFileNumber");
/// A dictionary of the user's extended attributes, without "user." before their names; only where there are
/// some.
inline const QString NSFileExtendedAttributes = QStringLiteral("NSFileExtendedAttributes");

inline const QString NSFileTypeRegular = QStringLiteral("NSFileTypeRegular");
inline const QString NSFileTypeDirectory = QStringLiteral("NSFileTypeDirectory");
inline const QString NSFileTypeSymbolicLink = QStringLiteral("NSFileTypeSymbolicLink");
inline const QString NSFileTypeSocket = QStringLiteral("NSFileTypeSocket");
inline const QString NSFileTypeCharacterSpecial = QStringLiteral("NSFileTypeCharacterSpecial");
inline const QString NSFileTypeBlockSpecial = QStringLiteral("NSFileTypeBlockSpecial");
inline const QString NSFileTypeUnknown = QStringLiteral("NSFileTypeUnknown");

// Keys of attributesOfFileSystemForPath(); sizes in bytes.
inline const QString NSFileSystemSize = QStringLiteral("NSFileSystemSize");
inline const QString NSFileSystemFreeSize =
    QStringLiteral("NSFileSystemFreeSize"); ///< what this user may use
inline const QString NSFileSystemNodes = QStringLiteral("NSFileSystemNodes");
inline const QString NSFileSystemFreeNodes = QStringLiteral("NSFileSystemFreeNodes");
/// The number of the file system that holds the item; also of attributesOfItemAtPath().
inline const QString NSFileSystemNumber = QStringLiteral("NSFileSystemNumber");

/// Files and folders by their paths.
///
/// A path is as NSFileSystemRepresentation() takes it, so names that aren't UTF-8 work too; nil, "" and paths
/// with a zero in them name nothing. Operations that can fail give the system's reason. They keep no state:
/// any thread.
class NSFileManager {
public:
    static const NSFileManager &defaultManager();

    /// Whether there is something at the path, links followed; and whether it is a folder.
    bool fileExistsAtPath(const QString &path, bool *isDirectory = nullptr) const;

    /// Makes a folder, by default with those above it. A folder that is there already is an error only where
    /// `withIntermediateDirectories` is false.
    std::error_code createDirectoryAtPath(const QString &path, bool withIntermediateDirectories = true) const;

    /// Copies a file, a link (not what it points to) or a folder with all that it holds: content,
    /// permissions, modification dates and the user's extended attributes. What exists at the destination
    /// stays, and makes it fail; a copy appears whole or not at all.
    std::error_code copyItemAtPath(const QString &path, const QString &toPath) const;
    /// Renames an item; across file systems, copies it and removes it then. What exists at the destination
    /// stays, and makes it fail.
    std::error_code moveItemAtPath(const QString &path, const QString &toPath) const;
    /// Removes a file, a link itself, or a folder with all that it holds.
    std::error_code removeItemAtPath(const QString &path) const;

    /// The names in a folder, in no particular order, hidden ones too; nothing where it can't be read.
    std::optional<QStringList> contentsOfDirectoryAtPath(const QString &path) const;

    /// What is known of an item, of a link itself; nothing where there is none. Keys: NSFile... above.
    std::optional<QVariantMap> attributesOfItemAtPath(const QString &path) const;
    /// What is known of the file system that holds an item.
    std::optional<QVariantMap> attributesOfFileSystemForPath(const QString &path) const;
    /// Sets the date of the last change, links followed.
    std::error_code setModificationDate(const QDateTime &date, const QString &path) const;

    /// Whether two items are of one kind and hold the same: files byte by byte, folders the same names and,
    /// below them, the same contents, links the same target. False where one is missing or can't be read.
    bool contentsEqualAtPath(const QString &path, const QString &andPath) const;

    /// An extended attribute of the user's, links followed; the name without "user.". nil where there is
    /// none.
    QByteArray extendedAttribute(const QString &name, const QString &path) const;
    /// Sets one; nil removes it.
    std::error_code setExtendedAttribute(const QString &name, const QByteArray &value,
                                         const QString &path) const;

private:
    NSFileManager() = default;
};
