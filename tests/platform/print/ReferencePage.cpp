// SPDX-License-Identifier: MIT
#include "tests/platform/print/ReferencePage.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSize>
#include <algorithm>
#include <gtest/gtest.h>

using namespace zr;

namespace {

constexpr int windowWidth = 800;
constexpr int windowHeight = 1131;
/// The engine's pictures end at 16,384 pixels.
constexpr int pieceHeight = 8000;

/// What is seen of a document's text: [text, painted in order, right to left], and its links.
constexpr char textScript[] = R"js((() => {
    const blocks = 'p, h1, h2, h3, td, th, li, dt, dd';
    const all = (element) => {
        const list = [];
        for (let e = element; e && e !== document.documentElement; e = e.parentElement)
            list.push([e, getComputedStyle(e)]);
        return list;
    };
    // Filters are painted as pictures by the engine; what is scrolled away or cut off isn't seen.
    const isSeen = (list) => list.every(([e, style]) => style.filter === 'none' &&
        (e === document.body || style.overflow === 'visible'));
    const inFlow = (list) => list.every(([, style]) => style.position === 'static' && style.float === 'none' &&
        style.transform === 'none' && style.opacity === '1' && style.mixBlendMode === 'normal' &&
        style.clipPath === 'none' && style.maskImage === 'none' && style.isolation === 'auto');
    const texts = [];
    for (const element of document.querySelectorAll(blocks)) {
        if (element.querySelector(blocks + ', q, math, ruby, kbd, svg, input') || !element.checkVisibility({visibilityProperty: true}) ||
            getComputedStyle(element, '::first-letter').float !== 'none')
            continue;
        const list = all(element);
        const parts = [...element.querySelectorAll('*')].map((part) => [part, getComputedStyle(part)]);
        if (element.innerText.trim() && isSeen(list) && inFlow(parts))
            texts.push([element.innerText, inFlow(list), list[0][1].direction === 'rtl']);
    }
    const links = [...document.querySelectorAll('a[href]')].filter((a) => a.checkVisibility() && isSeen(all(a)))
        .map((a) => a.href.baseVal ?? a.href);
    return {texts, links, whole: document.body.innerText};
})())js";

/// As the product starts it, but for the one switch without which nothing is drawn by itself.
QStringList drawingArguments() {
    QStringList arguments = BrowserProcess::arguments();
    arguments.removeAll(QStringLiteral("--enable-begin-frame-control"));
    return arguments;
}

} // namespace

ReferencePage::ReferencePage(const QString &url) : m_page(drawingArguments(), m_folder.path()) {
    m_page.session().callAndWait("Emulation.setScriptExecutionDisabled", DevToolsParams().add("value", true));
    m_page.session().callAndWait("Emulation.setEmulatedMedia", DevToolsParams().add("media", "screen"));
    m_page.navigate(url);
    m_page.evaluate(QStringLiteral(
        "document.fonts.ready.then(() =>"
        " Promise.all(document.getAnimations().map((animation) => animation.finished))).then(() => 0)"));
}

QSize ReferencePage::size() {
    const QJsonObject content =
        m_page.session().callAndWait("Page.getLayoutMetrics").object()[u"cssContentSize"].toObject();
    return {content[u"width"].toInt(), content[u"height"].toInt()};
}

Picture ReferencePage::shot(const DevToolsParams &params) {
    return Picture::fromPNG(m_page.session().callAndWait("Page.captureScreenshot", params).bytes("data"));
}

Picture ReferencePage::picture() {
    const QSize all = size();
    // The engine's picture beyond a window that nothing overflows is blank for some writing modes.
    if (all == QSize(windowWidth, windowHeight))
        return shot({});
    Picture whole{all.width(), all.height(),
                  std::vector<std::uint8_t>(size_t(all.width()) * size_t(all.height()) * 3)};
    // Frames outside of the window are not painted: such documents are seen piece by piece.
    const bool hasFrames =
        m_page.evaluate(QStringLiteral("document.querySelector('iframe') !== null")).toBool();
    const int step = hasFrames ? windowHeight : pieceHeight;
    for (int y = 0; y < all.height(); y += step) {
        if (hasFrames) {
            const QString scroll = QStringLiteral("scrollTo({top: %1, behavior: 'instant'}), scrollY").arg(y);
            const int top = m_page.evaluate(scroll).toInt();
            whole.draw(shot({}), 0, top);
            continue;
        }
        const QJsonObject clip{{QStringLiteral("x"), 0},
                               {QStringLiteral("y"), y},
                               {QStringLiteral("width"), all.width()},
                               {QStringLiteral("height"), std::min(step, all.height() - y)},
                               {QStringLiteral("scale"), 1}};
        whole.draw(shot(DevToolsParams().add("captureBeyondViewport", true).add("clip", clip)), 0, y);
    }
    return whole;
}

QList<ReferencePage::Text> ReferencePage::texts() {
    QList<Text> texts;
    const QJsonValue found = m_page.evaluate(QString::fromLatin1(textScript));
    for (const QJsonValue &text : found[u"texts"].toArray())
        texts << Text{text[0].toString(), text[1].toBool(), text[2].toBool()};
    return texts;
}

QString ReferencePage::wholeText() {
    return m_page.evaluate(QString::fromLatin1(textScript))[u"whole"].toString();
}

QStringList ReferencePage::links() {
    QStringList links;
    for (const QJsonValue &link : m_page.evaluate(QString::fromLatin1(textScript))[u"links"].toArray())
        links << link.toString();
    return links;
}
