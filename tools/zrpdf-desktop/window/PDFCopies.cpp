// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/PDFCopies.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"

using namespace Qt::StringLiterals;

QString PDFCopies::copyOf(const QString &path, const QString &fileName) {
    const NSFileManager &files = NSFileManager::defaultManager();
    const QString key = path + u'\n' + fileName;
    if (QString known = m_copies.value(key); !known.isNull() && ZRKit::zrIsFile(files, known))
        return known;
    // A folder for each: two documents may have one name.
    const QString folder =
        ZRKit::zrMakeDirs(files, ZRKit::zrPrivateTempFolderFileNameWithSuffix(files, u"pdf"_s));
    QString copy = folder + u'/' + fileName;
    if (folder.isNull() || !ZRKit::zrCopy(files, path, copy))
        return {};
    m_copies.insert(key, copy);
    return copy;
}
