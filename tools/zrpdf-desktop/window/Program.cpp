// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/window/Program.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "platform/interface/NSNib.h"
#include "tools/zrpdf-desktop/preview/PreviewView.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

void translate(const QString &name, const QString &folder) {
    auto *const translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(QLocale(), name, u"_"_s, folder))
        QCoreApplication::installTranslator(translator);
}

} // namespace

// In a namespace the names that the resource compiler gives can't be found.
static void initialiseResources() {
    Q_INIT_RESOURCE(desktop);
    Q_INIT_RESOURCE(i18n);
}

void Program::prepare() {
    initialiseResources();
    QCoreApplication::setApplicationName(u"zrpdf-desktop"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(ZR_VERSION));
    QCoreApplication::setOrganizationDomain(u"velmora.com"_s);
    QGuiApplication::setDesktopFileName(u"com.velmora.zrpdf_desktop"_s);
    ZRKit::zrUseAppName(true);
    translate(u"zrpdf-desktop"_s, u":/i18n"_s);
    NSNib::registerClass<PreviewView>();
}

void Program::finish() {
    QGuiApplication::setWindowIcon(QIcon::fromTheme(u"com.velmora.zrpdf_desktop"_s, QIcon(u":/icon.png"_s)));
    // For the dialogs.
    translate(u"qtbase"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath));
}
