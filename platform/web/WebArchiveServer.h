// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebArchive.h"

#include <QJsonObject>
#include <functional>

namespace zr {

class DevToolsSession;

/// Answers all requests of a page from an archive.
///
/// \code
/// WebArchiveServer server(page, std::move(archive));
/// page.on("Fetch.requestPaused", [&](const DevToolsMessage &event) { server.answer(event.object()); });
/// server.start([&] { page.call("Page.navigate", DevToolsParams().add("url", server.url())); });
/// \endcode
///
/// Requests for what is not in a whole archive fail, and nothing is asked of a network, a file or a cache. The page's content
/// security policies don't apply: they were written for the address, not for the copy. The page serves no other document
/// afterwards. Main thread only.
class WebArchiveServer {
public:
    /// \param page  the page's session; outlives the server
    WebArchiveServer(DevToolsSession &page, WebArchive archive);
    WebArchiveServer(const WebArchiveServer &) = delete;
    WebArchiveServer &operator=(const WebArchiveServer &) = delete;

    /// Makes every request of the page stop and ask, and calls `ready` when the page may be sent to url().
    void start(std::function<void()> ready);
    /// Whether a request is answered here. Of an archive that isn't whole those aren't that lead elsewhere.
    bool isFor(const QString &url) const;
    /// Answers one request: the parameters of a Fetch.requestPaused event.
    void answer(const QJsonObject &event);

    /// The address of the main resource, to go to.
    const QByteArray &url() const { return m_archive.mainResource().url; }

private:
    void fulfil(const QByteArray &requestId, const WebResource &resource, const QByteArray &contentType,
                const QByteArray &origin);

    DevToolsSession &m_page;
    const WebArchive m_archive;
};

} // namespace zr
