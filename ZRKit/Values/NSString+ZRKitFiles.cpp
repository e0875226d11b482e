// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/files/AtomicFile.h"
#include "platform/files/FileContents.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/text/UTF8.h"

using namespace zr;

namespace ZRKit {

namespace {

/// The path of what a text may be written to; nil for anything else.
QString targetPath(const QVariant &file) {
    if (file.typeId() == QMetaType::QString)
        return file.toString();
    return file.typeId() == QMetaType::QUrl ? NSPathOfFileURL(file.toUrl()) : QString();
}

} // namespace

QByteArray data(const AnyText &text) {
    return NSDataUsingUTF8(QString(text));
}

QString stringWithData(const QByteArray &data) {
    return data.isNull() ? QString() : NSStringFromUTF8(data);
}

QString loadFile(const AnyText &path) {
    return stringWithData(NSDataWithContentsOfFile(path));
}

QString loadAsString(const AnyText &text) {
    const QByteArray content = NSDataWithContentsOfFile(text);
    if (content.isNull())
        return {};
    // Latin 1 gives every byte a character, so that nothing is left for ASCII to read.
    const QString decoded = NSStringFromUTF8(content);
    return decoded.isNull() ? QString::fromLatin1(content) : decoded;
}

bool saveToFile(const AnyText &text, const AnyObject &file) {
    const QByteArray path = NSFileSystemRepresentation(targetPath(file.value()));
    const QByteArray content = data(text);
    if (content.isNull() || path.isNull())
        return false;
    AtomicFile target(path, AtomicFile::Existing::Replaced);
    return !target.open() && !target.commit(content);
}

QString joinPath(const AnyText &path, const AnyText &component) {
    if (path.isNull())
        return {};
    QString joined = path;
    joined += u'/';
    joined += component;
    QString result;
    for (const QChar unit : joined) {
        if (unit != u'/' || !result.endsWith(u'/'))
            result += unit;
    }
    if (path.isEmpty() && !component.startsWith(u'/'))
        result.remove(0, 1);
    if (result.size() > 1 && result.endsWith(u'/'))
        result.chop(1);
    return result.isNull() ? QStringLiteral("") : result;
}

} // namespace ZRKit
