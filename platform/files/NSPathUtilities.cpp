// SPDX-License-Identifier: MIT
#include "platform/files/NSPathUtilities.h"

#include "platform/text/UTF8.h"

#include <QDir>
#include <QStandardPaths>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr ushort FirstByteUnit = 0xDC80;
constexpr ushort LastByteUnit = 0xDCFF;

/// How many bytes at the start are one character in UTF-8; 0 where they are none.
qsizetype characterSize(QByteArrayView bytes) {
    const auto lead = uchar(bytes.front());
    const qsizetype size = lead < 0x80   ? 1
                           : lead < 0xC2 ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF5 ? 4
                                         : 0;
    return size > 0 && size <= bytes.size() && bytes.first(size).isValidUtf8() ? size : 0;
}

/// The folder that an environment variable names, if it is absolute.
QString folderOfVariable(const char *variable) {
    const QByteArray folder = qgetenv(variable);
    return folder.startsWith('/') ? QDir::cleanPath(NSStringWithFileSystemRepresentation(folder)) : QString();
}

/// QStandardPaths takes relative ones too, which the base directory rules have ignored.
QString baseFolder(const char *variable, const QString &atHome) {
    const QString folder = folderOfVariable(variable);
    return folder.isNull() ? NSHomeDirectory() + atHome : folder;
}

} // namespace

QByteArray NSFileSystemRepresentation(const QString &path) {
    if (path.isEmpty() || path.contains(u'\0'))
        return {};
    QByteArray bytes;
    qsizetype plain = 0;
    for (qsizetype i = 0; i <= path.size(); ++i) {
        const ushort unit = i < path.size() ? path.at(i).unicode() : FirstByteUnit;
        const bool paired = i > 0 && i < path.size() && path.at(i - 1).isHighSurrogate();
        if (unit < FirstByteUnit || unit > LastByteUnit || paired)
            continue;
        bytes += QStringView(path).sliced(plain, i - plain).toUtf8();
        if (i < path.size())
            bytes += char(unit & 0xFF);
        plain = i + 1;
    }
    return bytes;
}

QString NSStringWithFileSystemRepresentation(const QByteArray &bytes) {
    QString whole = NSStringFromUTF8(bytes);
    if (!whole.isNull())
        return whole;
    QString text;
    for (QByteArrayView rest(bytes); !rest.isEmpty();) {
        const qsizetype size = characterSize(rest);
        if (size > 0)
            text += QString::fromUtf8(rest.first(size));
        else
            text += QChar(ushort(0xDC00 | uchar(rest.front())));
        rest = rest.sliced(qMax<qsizetype>(size, 1));
    }
    return text;
}

QString NSPathOfFileURL(const QUrl &url) {
    const bool isHere = url.host().isEmpty() || url.host() == QStringLiteral("localhost");
    if (!isHere || url.scheme() != QStringLiteral("file"))
        return {};
    return NSStringWithFileSystemRepresentation(
        QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
}

QUrl NSFileURLWithPath(const QString &path) {
    const QByteArray bytes = NSFileSystemRepresentation(path.startsWith(u'/') ? path
                                                        : path.isEmpty()      ? path
                                                                         : QDir::currentPath() + u'/' + path);
    return bytes.isNull() ? QUrl() : QUrl::fromEncoded("file://" + bytes.toPercentEncoding("/"));
}

QString NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory directory) {
    switch (directory) {
    case NSSearchPathDirectory::Library:
        return baseFolder("XDG_CONFIG_HOME", QStringLiteral("/.config"));
    case NSSearchPathDirectory::Documents:
        return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    case NSSearchPathDirectory::Caches:
        return baseFolder("XDG_CACHE_HOME", QStringLiteral("/.cache"));
    case NSSearchPathDirectory::ApplicationSupport:
        return baseFolder("XDG_DATA_HOME", QStringLiteral("/.local/share"));
    }
    return {};
}

QString NSHomeDirectory() {
    return QDir::homePath();
}

QString NSTemporaryDirectory() {
    if (QString folder = folderOfVariable("TMPDIR"); !folder.isNull())
        return folder;
    const uid_t user = ::geteuid();
    const QByteArray path = "/tmp/user-" + QByteArray::number(quint64(user));
    struct stat status {};
    if ((::mkdir(path.constData(), 0700) != 0 && errno != EEXIST) ||
        ::lstat(path.constData(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != user ||
        (status.st_mode & 077) != 0)
        return {};
    return QString::fromLatin1(path);
}

QString NSPathExtension(const QString &path) {
    const qsizetype name = path.lastIndexOf(u'/') + 1;
    const qsizetype dot = path.lastIndexOf(u'.');
    return dot > name ? path.mid(dot + 1) : QStringLiteral("");
}

QString NSPathByDeletingExtension(const QString &path) {
    const QString extension = NSPathExtension(path);
    return extension.isEmpty() ? path : path.chopped(extension.size() + 1);
}

QString NSPathByAppendingExtension(const QString &path, const QString &extension) {
    return extension.isEmpty() ? path : path + u'.' + extension;
}
