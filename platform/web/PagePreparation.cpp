// SPDX-License-Identifier: MIT
#include "platform/web/PagePreparation.h"

#include "platform/web/DevToolsSession.h"

namespace {

/// CSS pixels to an inch.
constexpr double pixelsPerInch = 96;
/// Prints a CSS pixel as one point.
constexpr double pixelToPoint = 96.0 / 72.0;
/// Fractions that overflow the paper would begin a second page.
constexpr double slack = 2;

} // namespace

PagePrint printLoadedPage(DevToolsSession &page, const QString &mainFrame, const PagePrintOptions &options) {
    Q_UNUSED(mainFrame);
    page.call("Emulation.setEmulatedMedia", DevToolsParams().add("media", "screen"));
    const DevToolsMessage metrics = page.callAndWait("Page.getLayoutMetrics");
    if (metrics.isError())
        return {{}, {}, metrics.error()};
    const QJsonValue content = metrics.object()[u"cssContentSize"];
    const QSizeF size(content[u"width"].toDouble(), content[u"height"].toDouble());
    const DevToolsMessage printed = page.callAndWait(
        "Page.printToPDF", DevToolsParams()
                               .add("printBackground", true)
                               .add("scale", pixelToPoint)
                               .add("paperWidth", size.width() * pixelToPoint / pixelsPerInch)
                               .add("paperHeight", (size.height() + slack) * pixelToPoint / pixelsPerInch)
                               .add("marginTop", 0)
                               .add("marginBottom", 0)
                               .add("marginLeft", 0)
                               .add("marginRight", 0)
                               .add("generateTaggedPDF", options.tagged)
                               .add("generateDocumentOutline", false));
    if (printed.isError())
        return {{}, {}, printed.error()};
    return {printed.bytes("data"), size, {}};
}
