// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-serve/HTTPMessage.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

namespace zr {

/// What came as a form: fields, and files that refer to one another by name. A value; any thread.
///
/// A part of multipart/form-data (RFC 7578) is a file if it has a file's name or its own name has a dot; all others are
/// fields. A file is called as its part is if that name has a dot, otherwise by its file name: with curl,
/// -F logo.png=@/tmp/x and -F files=@logo.png both make "logo.png". Names are paths: "img/logo.png" is found by
/// <img src="img/logo.png">.
struct FormData {
    struct File {
        QString name; ///< a path without "." and ".."
        QByteArray type;
        QByteArray charset;
        QByteArray data;
        bool isCalledIndex = false; ///< by its part
    };

    HTTPFields fields;
    QList<File> files;

    /// Reads a form of either kind. Throws Problem.
    static FormData read(const QByteArray &contentType, const QByteArray &body);
    static bool isForm(const QByteArray &type) {
        return type == "multipart/form-data" || type == "application/x-www-form-urlencoded";
    }

    /// The file that is the page: index.html, otherwise another that is called index, otherwise the first. There is one.
    const File &page() const;
    /// The page and all the other files as a web archive, which the service answers requests from. What it doesn't hold the
    /// page gets as any page does.
    QByteArray archive() const;

private:
    void addPart(const struct WebMIMEPart &part);
};

} // namespace zr
