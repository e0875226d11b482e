// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileHandle+ZRKit.h"

#include "ZRKit/Values/NSString+ZRKit.h"
#include "examples/kit/Example.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

EXAMPLE(NSFileHandle_ZRKit) {
    const QTemporaryDir folder;
    const QString path = ZRKit::joinPath(folder.path(), u"download"_s);
    expect(ZRKit::saveToFile(u"old"_s, path));

    // A new, empty file takes the old one's place.
    const auto handle = ZRKit::fileHandleForNewFileWritingAtPath(path);
    expect(handle && handle->offsetInFile() == 0);
    handle->writeData("new");
    handle->closeFile();
    expect(ZRKit::loadFile(path) == u"new"_s);
    expect(!ZRKit::fileHandleForNewFileWritingAtPath(folder.path()));
}
