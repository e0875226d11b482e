// SPDX-License-Identifier: MIT
#include "platform/print/PagePreparation.h"

#include "platform/browser/DevToolsSession.h"
#include "platform/print/PagePreparationScript.h"
#include "platform/print/StyleFreezing.h"

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <algorithm>
#include <vector>

using namespace zr;

namespace {

/// CSS pixels to an inch.
constexpr double pixelsPerInch = 96;
/// The engine's layout ends at 2^25 pixels; positions near it are rounded to its last whole ones.
constexpr double layoutLimit = 33554432 - 64;
/// Imported sheets come anew when the sheet that imports them changes; no sane chain is as long.
constexpr int longestImportChain = 16;
/// Milliseconds that changed sheets get to be in force again; what they need is in the browser's memory.
constexpr int settlingPatience = 3000;

struct StyleSheet {
    QString id;
    QString text;
    StyleScan scan;
};

QSizeF sizeOf(const QJsonValue &object) {
    return {object[u"width"].toDouble(), object[u"height"].toDouble()};
}

class Preparation {
public:
    Preparation(DevToolsSession &page, const QString &mainFrame) : m_page(page), m_mainFrame(mainFrame) {}
    ~Preparation() { stopWatching(); }
    Preparation(const Preparation &) = delete;
    Preparation &operator=(const Preparation &) = delete;

    /// Makes the page ready for the print. False if that failed: `error()` says why.
    bool run() {
        QJsonObject found;
        if (!ask({}, found))
            return false;
        QJsonObject request;
        if (found[u"unmeasured"].toBool()) {
            const DevToolsMessage metrics = m_page.callAndWait("Page.getLayoutMetrics");
            if (metrics.isError())
                return fail(metrics.error());
            const QJsonObject content = metrics.object()[u"cssContentSize"].toObject();
            request[u"size"] = QJsonObject{{QStringLiteral("width"), content[u"width"]},
                                           {QStringLiteral("height"), content[u"height"]}};
            if (!ask(request, found))
                return false;
        }
        const bool hasSheets = found[u"sheets"].toBool();
        if (hasSheets) {
            if (!watchSheets() || !readSheets())
                return false;
            request[u"sheetsKnown"] = true;
            bool hasContainers = false, hasLogicalUnits = false;
            for (const StyleSheet &sheet : m_sheets) {
                if (sheet.scan.hidesSkippedContent)
                    request[u"showSkipped"] = true;
                hasContainers |= sheet.scan.hasContainers;
                hasLogicalUnits |= sheet.scan.hasLogicalUnits;
                if (sheet.scan.hasContainerUnits)
                    request[u"containerUnits"] = true;
            }
            m_viewport.isContainer = hasLogicalUnits && !hasContainers;
            if (m_viewport.isContainer)
                request[u"containerUnits"] = true;
            request[u"conditions"] = QJsonArray::fromStringList(conditions());
            if (!ask(request, found))
                return false;
        }
        m_size = sizeOf(found[u"size"]);
        const QSizeF viewport = sizeOf(found[u"viewport"]);
        m_viewport.width = viewport.width();
        m_viewport.height = viewport.height();
        if (m_size.width() >= layoutLimit || m_size.height() >= layoutLimit)
            return fail(
                QStringLiteral("The document is larger than the engine can lay out (33,554,432 pixels)"));
        m_viewport.widthChanges = m_size.width() > m_viewport.width;
        // Paper comes in whole dots: even that of a short document is a fraction of a pixel off.
        m_viewport.heightChanges = true;
        m_viewport.isVertical = found[u"vertical"].toBool();
        return assignTexts(found[u"texts"].toArray()) &&
               (!hasSheets || freezeSheets(found[u"outcomes"].toArray()));
    }

    /// Takes out of the page what another document in it would inherit; comes after what was called before.
    void forget() {
        m_page.call("Runtime.evaluate", call({{QStringLiteral("step"), QStringLiteral("forget")}}));
    }

    const QSizeF &size() const { return m_size; }
    const QString &error() const { return m_error; }

private:
    bool fail(const QString &why) {
        m_error = why;
        return false;
    }

    static DevToolsParams call(const QJsonObject &request) {
        const QByteArray text = "(" + QByteArray(pagePreparationScript) + ")(" +
                                QJsonDocument(request).toJson(QJsonDocument::Compact) + ')';
        return DevToolsParams().add("expression", text).add("returnByValue", true);
    }

    /// Calls the script's function.
    bool ask(const QJsonObject &request, QJsonObject &answer) {
        const DevToolsMessage reply = m_page.callAndWait("Runtime.evaluate", call(request));
        if (reply.isError())
            return fail(reply.error());
        const QJsonObject object = reply.object();
        if (object.contains(u"exceptionDetails"))
            return fail(object[u"exceptionDetails"][u"exception"][u"description"].toString());
        answer = object[u"result"][u"value"].toObject();
        return true;
    }

    /// Has the browser tell of every sheet, whatever its origin, and of those that come later.
    bool watchSheets() {
        m_watching = true;
        m_page.on("CSS.styleSheetAdded", [this](const DevToolsMessage &event) {
            const QJsonObject header = event.object()[u"header"].toObject();
            // Scripts are off: the only constructed sheet is the one that makes the paper.
            if (header[u"frameId"].toString() == m_mainFrame && header[u"origin"].toString() == u"regular" &&
                !header[u"isConstructed"].toBool())
                m_added << header[u"styleSheetId"].toString();
        });
        m_page.on("CSS.styleSheetRemoved", [this](const DevToolsMessage &event) {
            const QString id = event.object()[u"styleSheetId"].toString();
            m_added.removeAll(id);
            std::erase_if(m_sheets, [&](const StyleSheet &sheet) { return sheet.id == id; });
        });
        m_page.call("DOM.enable");
        const DevToolsMessage enabled = m_page.callAndWait("CSS.enable");
        return !enabled.isError() || fail(enabled.error());
    }

    void stopWatching() {
        if (!m_watching)
            return;
        m_page.on("CSS.styleSheetAdded", {});
        m_page.on("CSS.styleSheetRemoved", {});
        m_page.call("CSS.disable");
        m_page.call("DOM.disable");
    }

    /// Reads the sheets that have been told of and not read yet.
    bool readSheets() {
        const QStringList added = std::exchange(m_added, {});
        qsizetype waiting = added.size();
        std::vector<StyleSheet> sheets;
        for (const QString &id : added) {
            m_page.call("CSS.getStyleSheetText", DevToolsParams().add("styleSheetId", id),
                        [this, id, &sheets, &waiting](const DevToolsMessage &reply) {
                            --waiting;
                            // A sheet may have gone since.
                            if (reply.isError())
                                return;
                            const QString text = reply.object()[u"text"].toString();
                            sheets.push_back({id, text, scanStyle(text, m_anyChange)});
                        });
        }
        while (waiting > 0)
            DevToolsPipe::waitForEvents();
        for (StyleSheet &sheet : sheets)
            m_sheets.push_back(std::move(sheet));
        return m_page.isOpen() || fail(QStringLiteral("The browser has gone"));
    }

    QStringList conditions() const {
        QStringList all;
        for (const StyleSheet &sheet : m_sheets)
            all << sheet.scan.conditions;
        all.removeDuplicates();
        return all;
    }

    bool assignTexts(const QJsonArray &texts) {
        if (texts.isEmpty())
            return true;
        QJsonArray frozen;
        for (const auto &text : texts)
            frozen << frozenStyle(text.toString(), m_viewport);
        QJsonObject answer;
        return ask({{QStringLiteral("step"), QStringLiteral("assign")}, {QStringLiteral("texts"), frozen}},
                   answer);
    }

    bool freezeSheets(const QJsonArray &outcomes) {
        QHash<QString, bool> known;
        const QStringList asked = conditions();
        for (qsizetype i = 0; i < asked.size(); ++i)
            known.insert(asked[i], outcomes[i].toBool());
        QSet<QString> done;
        for (int round = 0; round < longestImportChain && !m_sheets.empty(); ++round) {
            const std::vector<StyleSheet> sheets = std::exchange(m_sheets, {});
            QStringList importing;
            for (const StyleSheet &sheet : sheets) {
                const StyleScan scan = scanStyle(sheet.text, m_viewport);
                // An imported sheet that came anew is as it was first, though its text is told as changed.
                const bool cameAnew = round > 0 && !done.contains(sheet.id);
                if (!cameAnew && !scan.dependsOnViewport && !scan.hasImportantPageRule)
                    continue;
                done << sheet.id;
                const QString frozen = frozenStyle(sheet.text, m_viewport, known);
                m_page.call("CSS.setStyleSheetText",
                            DevToolsParams().add("styleSheetId", sheet.id).add("text", frozen));
                if (scan.imports)
                    importing << sheet.id;
            }
            if (!settle(importing) || !readSheets())
                return false;
        }
        return true;
    }

    /// Waits until the changed sheets are in force again, with what they import and the fonts that they name.
    bool settle(const QStringList &importing) {
        const QDeadlineTimer deadline(settlingPatience);
        // A sheet that imports is told of again once its imports are there; asking is what moves that on.
        const auto isBack = [this](const QString &id) { return m_added.contains(id); };
        QJsonObject answer;
        do {
            if (!ask({{QStringLiteral("step"), QStringLiteral("settle")}}, answer))
                return false;
        } while ((answer[u"loading"].toBool() || !std::all_of(importing.begin(), importing.end(), isBack)) &&
                 !deadline.hasExpired());
        return true;
    }

    DevToolsSession &m_page;
    const QString m_mainFrame;
    const StyleViewport m_anyChange{.widthChanges = true, .heightChanges = true};
    StyleViewport m_viewport;
    std::vector<StyleSheet> m_sheets;
    QStringList m_added;
    QSizeF m_size;
    QString m_error;
    bool m_watching = false;
};

/// A page whose process dies while it prints is told of that after the failure.
QString printingError(DevToolsSession &page, const DevToolsMessage &printed) {
    DevToolsMessage life;
    page.call("Runtime.evaluate", DevToolsParams().add("expression", "1"),
              [&life](const DevToolsMessage &reply) { life = reply; });
    while (!life.isValid())
        DevToolsPipe::waitForEvents();
    return life.isError() ? life.error() : printed.error();
}

} // namespace

PagePrint zr::printLoadedPage(DevToolsSession &page, const QString &mainFrame,
                              const PagePrintOptions &options) {
    Preparation preparation(page, mainFrame);
    if (!preparation.run()) {
        preparation.forget();
        return {{}, {}, preparation.error()};
    }
    const QSizeF size = preparation.size();
    DevToolsMessage printed;
    // The first page holds all; a fraction of a pixel of overflow would begin a second one.
    page.call("Page.printToPDF",
              DevToolsParams()
                  .add("printBackground", true)
                  .add("paperWidth", size.width() / pixelsPerInch)
                  .add("paperHeight", size.height() / pixelsPerInch)
                  .add("marginTop", 0)
                  .add("marginBottom", 0)
                  .add("marginLeft", 0)
                  .add("marginRight", 0)
                  .add("pageRanges", "1")
                  .add("generateTaggedPDF", options.tagged)
                  .add("generateDocumentOutline", false),
              [&printed](const DevToolsMessage &reply) { printed = reply; });
    preparation.forget();
    while (!printed.isValid())
        DevToolsPipe::waitForEvents();
    if (printed.isError())
        return {{}, {}, printingError(page, printed)};
    return {printed.bytes("data"), size, {}};
}
