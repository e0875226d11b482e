// SPDX-License-Identifier: MIT
#pragma once

#include "platform/browser/BrowserProcess.h"
#include "platform/browser/DevToolsSession.h"

#include <QJsonValue>

/// A page of a browser of its own, with scripts on, to ask the real engine what is right.
class BrowserPage {
public:
    /// The browser is started as the product starts it, unless told otherwise.
    explicit BrowserPage(const QStringList &arguments = zr::BrowserProcess::arguments(),
                         const QString &temporaryFolder = {});

    /// The value of a script expression, awaited if it is a promise; undefined if it throws.
    QJsonValue evaluate(const QString &expression);
    /// Goes to a URL and waits for its load event.
    void navigate(const QString &url);
    zr::DevToolsSession &session() { return *m_session; }

private:
    std::unique_ptr<zr::BrowserProcess> m_process;
    std::unique_ptr<zr::DevToolsPipe> m_pipe;
    std::unique_ptr<zr::DevToolsSession> m_browser;
    std::unique_ptr<zr::DevToolsSession> m_session;
    bool m_loaded = false;
};
