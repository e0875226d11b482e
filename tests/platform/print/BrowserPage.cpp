// SPDX-License-Identifier: MIT
#include "tests/platform/print/BrowserPage.h"

#include <gtest/gtest.h>

using namespace zr;

BrowserPage::BrowserPage(const QStringList &arguments, const QString &temporaryFolder) {
    m_process = BrowserProcess::start(arguments, temporaryFolder);
    if (!m_process) {
        ADD_FAILURE() << "no browser";
        return;
    }
    m_pipe = std::make_unique<DevToolsPipe>(m_process->commandFd(), m_process->replyFd());
    m_browser = std::make_unique<DevToolsSession>(*m_pipe);
    const QJsonObject target =
        m_browser->callAndWait("Target.createTarget", DevToolsParams().add("url", "about:blank")).object();
    const QJsonObject attached =
        m_browser
            ->callAndWait(
                "Target.attachToTarget",
                DevToolsParams().add("targetId", target[u"targetId"].toString()).add("flatten", true))
            .object();
    m_session = std::make_unique<DevToolsSession>(*m_pipe, attached[u"sessionId"].toString().toUtf8());
    m_session->on("Page.loadEventFired", [this](const DevToolsMessage &) { m_loaded = true; });
    m_session->callAndWait("Page.enable");
}

QJsonValue BrowserPage::evaluate(const QString &expression) {
    const DevToolsMessage reply = m_session->callAndWait(
        "Runtime.evaluate",
        DevToolsParams().add("expression", expression).add("returnByValue", true).add("awaitPromise", true));
    return reply.object()[u"result"].toObject()[u"value"];
}

void BrowserPage::navigate(const QString &url) {
    m_loaded = false;
    const DevToolsMessage reply = m_session->callAndWait("Page.navigate", DevToolsParams().add("url", url));
    ASSERT_EQ(reply.object().value(u"errorText").toString(), QString()) << reply.error().toStdString();
    while (!m_loaded && m_session->isOpen())
        DevToolsPipe::waitForEvents();
}
