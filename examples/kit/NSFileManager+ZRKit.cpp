// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileManager+ZRKit.h"

#include "ZRKit/Values/NSString+ZRKit.h"
#include "ZRKit/Values/ZRMacros.h"
#include "examples/kit/Example.h"
#include "platform/files/NSBundle.h"

#include <QTemporaryDir>
#include <QUrl>

using namespace Qt::StringLiterals;
using namespace ZRKit;

EXAMPLE(NSFileManager_ZRKit) {
    const QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "TMPDIR"})
        qputenv(name, home.path().toUtf8());
    const NSFileManager &files = NSFileManager::defaultManager();

    // The application's names and folders
    NSBundle::mainBundle().setInfoDictionary(
        {{u"CFBundleIdentifier"_s, u"com.example.app"_s}, {u"CFBundleName"_s, u"Example"_s}});
    expect(zxAppID() == u"com.example.app"_s);
    expect(zxAppName() == u"Example"_s);
    expect(zrPrivateFolder(files) == joinPath(zrApplicationSupportFolder(files), u"com.example.app"_s));
    expect(zrIsDir(files, zrPrivateFolder(files)));
    expect(zrPrivateCacheFolder(files).endsWith(u"/com.example.app/com.example.app"_s));
    expect(zrPathForPrivateFile(files, u"Data.db"_s) == joinPath(zrPrivateFolder(files), u"Data.db"_s));
    zrUseAppName(true);
    expect(zrPrivateFolder(files).endsWith(u"/Example"_s));

    // Temporary files
    const QString temporary = zrPrivateTempFolderFileNameWithSuffix(files, u"pdf"_s);
    expect(temporary.startsWith(zrCreatePrivateTempFolder(files)) && temporary.endsWith(u".pdf"_s));

    // Making, telling apart, listing
    const QString folder = zrMakeDirs(files, joinPath(home.path(), u"a/b"_s));
    const QString report = joinPath(folder, u"Report.txt"_s);
    expect(saveToFile(u"abc"_s, report));
    expect(zrIsFile(files, report) && !zrIsDir(files, report));
    expect(zrListDir(files, folder) == QVariantList{u"Report.txt"_s});
    expect(zrFileSize(files, QUrl::fromLocalFile(report)) == 3);
    expect(zrTouch(files, report) && zrFileModificationDate(files, report).isValid());
    expect(zrAttributes(files, report)->value(NSFileType) == QVariant(NSFileTypeRegular));
    expect(zrHomeAttributes(files)->contains(NSFileSystemFreeSize));

    // Names that are free, copies, moves
    const QString copy = zrUnusedFileName(files, report);
    expect(copy.endsWith(u"/Report 2.txt"_s));
    expect(zrCopy(files, report, copy) && !zrCopy(files, report, copy));
    expect(zrFileCompare(files, report, copy));
    expect(zrMove(files, copy, joinPath(folder, u"Moved.txt"_s)));

    // Digests and types
    expect(zrFileMD5String(files, report) == u"900150983cd24fb0d6963f7d28e17f72"_s);
    expect(zrFileSHA256Data(files, report).size() == 32);
    expect(zrFileUTI(files, report) == u"public.plain-text"_s);
    expect(zrIsFile(files, report, QVariantList{u"public.image"_s, u"public.text"_s}));

    // Removing
    expect(!zrRemoveFile(files, folder) && zrRemoveFile(files, report));
    expect(zrRemove(files, folder) && !zrIsDir(files, folder));
    zrDestroyPrivateTempFolder(files);
    expect(!zrIsDir(files, zrCreatePrivateTempFolder(files)));
}
