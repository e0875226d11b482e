// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <span>

namespace zr {

/// A uniform type identifier, the types it builds on, its MIME types, and the extensions of its files' names
/// in lower case; lists are parted by blanks.
struct UniformType {
    const char *identifier;
    const char *parents;
    const char *mimeTypes;
    const char *extensions;
};

/// The known types. The order has no meaning; no extension is in two of them.
std::span<const UniformType> uniformTypes();

/// The identifier for the extension of a file's name, in any case; nil where none is known.
QString uniformTypeOfExtension(const QString &extension);
/// The identifiers for a MIME type; none where none is known.
QStringList uniformTypesOfMIMEType(const QString &mimeType);

/// The identifier that stands for a kind of files without one of its own: "dyn.a" and the tag in base 32. The
/// tag is ".", followed by an extension, or a MIME type. Equal for equal tags.
QString dynamicUniformType(const QString &tag);
/// The tag of such an identifier; nil for any other.
QString tagOfDynamicUniformType(const QString &identifier);

} // namespace zr

/// The identifier of the item at a path, as NSURLTypeIdentifierKey has it: of a folder, a link or a special
/// file by what it is, of any other by its name, as the table above and the shared MIME database know it,
/// never by its content. nil where nothing is there. Links are not followed. Any thread.
QString NSTypeIdentifierOfItem(const QString &path);
