// SPDX-License-Identifier: MIT
#include "platform/files/FileContents.h"

#include "platform/files/NSPathUtilities.h"

#include <QFile>
#include <fcntl.h>

QByteArray NSDataWithContentsOfFile(const QString &path) {
    const QByteArray name = NSFileSystemRepresentation(path);
    if (name.isNull())
        return {};
    // Opened by hand: QFile would take some names for its own resources.
    const int descriptor = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    QFile file;
    if (descriptor < 0 || !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    const QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return {};
    return content.isNull() ? QByteArrayLiteral("") : content;
}
