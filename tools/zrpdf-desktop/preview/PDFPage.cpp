// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/PDFPage.h"

#include <QCoreApplication>
#include <QLibrary>

std::unique_ptr<PDFPage> PDFPage::open(const QByteArray &pdf) {
    using Open = PDFPage *(*)(const QByteArray *pdf);
    // What draws pages takes longer to load than the program's window takes to be there.
    static const auto openPage = reinterpret_cast<Open>(QLibrary::resolve(
        QCoreApplication::applicationDirPath() + QStringLiteral("/../libexec/zrkit/zrpdf-desktop-pages.so"),
        "zrpdfOpenPage"));
    return std::unique_ptr<PDFPage>(openPage ? openPage(&pdf) : nullptr);
}
