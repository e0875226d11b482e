// SPDX-License-Identifier: MIT
#include "platform/files/NSWorkspace.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/files/UniformTypes.h"

#include <QHash>
#include <QMimeDatabase>
#include <QSet>
#include <QStringList>
#include <utility>

using namespace zr;

namespace {

/// What each known identifier builds on; in lower case.
const QHash<QString, QStringList> &parentsOfIdentifiers() {
    static const zr::NeverDestroyed made([] {
        QHash<QString, QStringList> parents;
        for (const UniformType &type : uniformTypes())
            parents.insert(QString::fromLatin1(type.identifier),
                           QString::fromLatin1(type.parents).split(u' ', Qt::SkipEmptyParts));
        return parents;
    }());
    return *made;
}

/// The MIME types that a MIME type builds on, its aliases included.
QStringList parentsOfMIMEType(const QString &name) {
    const QMimeType mimeType = QMimeDatabase().mimeTypeForName(name);
    if (!mimeType.isValid())
        return {};
    return mimeType.parentMimeTypes() + mimeType.aliases() + QStringList{mimeType.name()};
}

/// What a dynamic identifier builds on: what its tag stands for, and data in any case.
QStringList parentsOfDynamicType(const QString &identifier) {
    const QString tag = tagOfDynamicUniformType(identifier);
    if (tag.isNull())
        return {};
    const QString mimeType =
        tag.startsWith(u'.')
            ? QMimeDatabase().mimeTypeForFile(u'x' + tag, QMimeDatabase::MatchExtension).name()
            : tag;
    return {mimeType, QStringLiteral("public.data")};
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
    QStringList open{type.toLower()};
    QSet<QString> seen(open.begin(), open.end());
    while (!open.isEmpty()) {
        const QString current = open.takeLast();
        if (current == wanted)
            return true;
        QStringList next = parentsOfIdentifiers().value(current) + parentsOfDynamicType(current);
        if (current.contains(u'/'))
            next += uniformTypesOfMIMEType(current) + parentsOfMIMEType(current);
        for (const QString &parent : std::as_const(next)) {
            if (!seen.contains(parent)) {
                seen.insert(parent);
                open.append(parent);
            }
        }
    }
    return false;
}
