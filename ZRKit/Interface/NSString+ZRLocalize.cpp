// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSString+ZRLocalize.h"

#include <QCoreApplication>

QString ZRKit::localizeWithPrefix(const AnyText &text, const AnyText &prefix) {
    // A translation file keeps notes about itself under the empty text.
    if (text.isEmpty())
        return text;
    const QByteArray source = text.toUtf8();
    const QString translated = QCoreApplication::translate(prefix.toUtf8().constData(), source.constData());
    // Without a translation Qt gives what UTF-8 has kept of the text.
    return translated == QString::fromUtf8(source.constData()) ? QString(text) : translated;
}
