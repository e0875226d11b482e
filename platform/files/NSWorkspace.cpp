// SPDX-License-Identifier: MIT
#include "platform/files/NSWorkspace.h"

#include "platform/files/UniformTypes.h"

#include <QHash>
#include <QMimeDatabase>
#include <QSet>
#include <QStringList>
#include <utility>

namespace {

/// Parents by identifier, and identifiers by MIME type; everything in lower case.
struct Hierarchy {
    QHash<QString, QStringList> parents;
    QMultiHash<QString, QString> identifiersOfMIMEType;
};

QStringList words(const char *list) {
    return QString::fromLatin1(list).split(u' ', Qt::SkipEmptyParts);
}

const Hierarchy &hierarchy() {
    static const Hierarchy made = [] {
        Hierarchy h;
        for (const UniformType &type : uniformTypes()) {
            const QString identifier = QString::fromLatin1(type.identifier).toLower();
            h.parents.insert(identifier, words(type.parents));
            for (const QString &mimeType : words(type.mimeTypes))
                h.identifiersOfMIMEType.insert(mimeType, identifier);
        }
        return h;
    }();
    return made;
}

/// The MIME types that a MIME type builds on, its aliases included.
QStringList parentsOfMIMEType(const QString &name) {
    const QMimeType mimeType = QMimeDatabase().mimeTypeForName(name);
    if (!mimeType.isValid())
        return {};
    return mimeType.parentMimeTypes() + mimeType.aliases() + QStringList{mimeType.name()};
}

} // namespace

const NSWorkspace *NSWorkspace::sharedWorkspace() {
    static const NSWorkspace workspace;
    return &workspace;
}

bool NSWorkspace::typeConformsToType(const QString &type, const QString &toType) const {
    const QString wanted = toType.toLower();
    if (type.isEmpty() || wanted.isEmpty())
        return false;
    const Hierarchy &known = hierarchy();
    QStringList open{type.toLower()};
    QSet<QString> seen(open.begin(), open.end());
    while (!open.isEmpty()) {
        const QString current = open.takeLast();
        if (current == wanted)
            return true;
        QStringList next = known.parents.value(current);
        if (current.contains(u'/'))
            next += QStringList(known.identifiersOfMIMEType.values(current)) + parentsOfMIMEType(current);
        for (const QString &parent : std::as_const(next)) {
            if (!seen.contains(parent)) {
                seen.insert(parent);
                open.append(parent);
            }
        }
    }
    return false;
}
