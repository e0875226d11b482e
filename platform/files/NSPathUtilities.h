// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

/// The path's bytes for the system: UTF-8. Names on disk need not be UTF-8; each byte that isn't stands in a
/// string as a lone surrogate, U+DC00 and the byte, and becomes that byte again. nil for nil, for "", and for
/// a path that no file can have: with a zero in it, or another lone surrogate. Any thread.
QByteArray NSFileSystemRepresentation(const QString &path);
/// The string of a path's or name's bytes, the other way round.
QString NSStringWithFileSystemRepresentation(const QByteArray &bytes);

/// The path of a file URL of this host; nil for any other URL. Escaped bytes that aren't UTF-8 are kept.
QString NSPathOfFileURL(const QUrl &url);
/// The file URL of a path, made absolute from the current folder; nil (an empty, invalid URL) for nil and "".
QUrl NSFileURLWithPath(const QString &path);

/// The user's folders, by the XDG base directory specification.
enum class NSSearchPathDirectory {
    Library,            ///< $XDG_CONFIG_HOME or ~/.config
    Documents,          ///< XDG_DOCUMENTS_DIR of the user's folders, or ~/Documents
    Caches,             ///< $XDG_CACHE_HOME or ~/.cache
    ApplicationSupport, ///< $XDG_DATA_HOME or ~/.local/share
};

/// The path of a user's folder, which need not exist; nil without a home.
QString NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory directory);
/// The user's home folder: $HOME, or if that isn't set, what the user database says. nil if neither knows it.
QString NSHomeDirectory();
/// The folder for files that needn't outlive their process: $TMPDIR. If that isn't set, /tmp is for all users,
/// so this is a folder of the user's own in it, which no other may enter; nil if another user has taken its
/// name.
QString NSTemporaryDirectory();

/// The text behind the last dot of a path's last component, without the dot; "" where there is none, as in
/// ".profile" and "name.".
QString NSPathExtension(const QString &path);
/// The path without its extension and the dot before it.
QString NSPathByDeletingExtension(const QString &path);
/// The path with a dot and the extension; the path itself for "" and nil.
QString NSPathByAppendingExtension(const QString &path, const QString &extension);
