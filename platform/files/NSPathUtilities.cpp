// SPDX-License-Identifier: MIT
#include "platform/files/NSPathUtilities.h"

#include "platform/text/UTF8.h"

#include <QDir>
#include <QStandardPaths>
#include <array>
#include <cerrno>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The units that stand for a byte that is not UTF-8.
bool isByteUnit(QChar unit) {
    return unit >= u'\xDC80' && unit <= u'\xDCFF';
}

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

QString belowHome(const QString &path) {
    const QString home = NSHomeDirectory();
    return home.isNull() ? QString() : home + path;
}

/// QStandardPaths takes relative ones too, which the base directory rules have ignored.
QString baseFolder(const char *variable, const QString &atHome) {
    const QString folder = folderOfVariable(variable);
    return folder.isNull() ? belowHome(atHome) : folder;
}

} // namespace

QByteArray NSFileSystemRepresentation(const QString &path) {
    if (path.isEmpty() || path.contains(u'\0'))
        return {};
    QByteArray bytes;
    qsizetype plain = 0;
    for (qsizetype i = 0; i <= path.size(); ++i) {
        const bool isEnd = i == path.size();
        if (!isEnd && (!isByteUnit(path.at(i)) || (i > 0 && path.at(i - 1).isHighSurrogate())))
            continue;
        const QByteArray text = NSDataUsingUTF8(QStringView(path).sliced(plain, i - plain));
        if (text.isNull())
            return {};
        bytes += text;
        if (!isEnd)
            bytes += char(path.at(i).unicode() & 0xFF);
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
        // Qt takes the root for a home that isn't in the environment.
        return folderOfVariable("HOME").isNull()
                   ? belowHome(QStringLiteral("/Documents"))
                   : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    case NSSearchPathDirectory::Caches:
        return baseFolder("XDG_CACHE_HOME", QStringLiteral("/.cache"));
    case NSSearchPathDirectory::ApplicationSupport:
        return baseFolder("XDG_DATA_HOME", QStringLiteral("/.local/share"));
    }
    return {};
}

QString NSHomeDirectory() {
    if (QString folder = folderOfVariable("HOME"); !folder.isNull())
        return folder;
    passwd user{};
    passwd *found = nullptr;
    std::array<char, 16 << 10> texts{};
    if (::getpwuid_r(::geteuid(), &user, texts.data(), texts.size(), &found) != 0 || !found || !user.pw_dir)
        return {};
    return QDir::cleanPath(NSStringWithFileSystemRepresentation(user.pw_dir));
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
