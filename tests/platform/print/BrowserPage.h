// SPDX-License-Identifier: MIT
#pragma once

#include "platform/browser/BrowserProcess.h"
#include "platform/browser/DevToolsSession.h"

#include <QJsonValue>

/// A page of a browser of its own, with scripts on, to ask the real engine what is right.
class BrowserPage {
public:
    /// The browser is started as the product starts it, unless told otherwise.
    explicit BrowserPage(BrowserProcess::TemporaryFiles files = BrowserProcess::TemporaryFiles::Refused,
                         const QStringList &arguments = BrowserProcess::arguments());

    /// The value of a script expression, awaited where it is a promise; undefined where it throws.
    QJsonValue evaluate(const QString &expression);
    /// Goes to a URL and waits for its load event.
    void navigate(const QString &url);
    DevToolsSession &session() { return *m_session; }

private:
    std::unique_ptr<BrowserProcess> m_process;
    std::unique_ptr<DevToolsPipe> m_pipe;
    std::unique_ptr<DevToolsSession> m_browser;
    std::unique_ptr<DevToolsSession> m_session;
    bool m_loaded = false;
};
