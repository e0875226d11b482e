// SPDX-License-Identifier: MIT
#pragma once

#include "platform/web/WebArchive.h"

class DevToolsMessage;
class DevToolsSession;

/// Answers all requests of a page from an archive, as long as the object lives.
///
/// \code
/// WebArchiveServer server(page, std::move(archive));
/// page.call("Page.navigate", DevToolsParams().add("url", server.url()));
/// \endcode
///
/// What the archive has not fails, and nothing is asked of a network, a file or a cache. The page's content
/// security policies don't apply: they were written for the address, not for the copy. Main thread only; it
/// is the one that handles the session's Fetch.requestPaused.
class WebArchiveServer {
public:
    /// Runs the main run loop until the page is ready to be sent somewhere.
    /// \param page  the page's session; outlives the server
    WebArchiveServer(DevToolsSession &page, WebArchive archive);
    ~WebArchiveServer();
    WebArchiveServer(const WebArchiveServer &) = delete;
    WebArchiveServer &operator=(const WebArchiveServer &) = delete;

    /// The address of the main resource, to go to.
    const QByteArray &url() const { return m_archive.mainResource().url; }

private:
    void answer(const DevToolsMessage &event);
    void fulfil(const QByteArray &requestId, const WebResource &resource, const QByteArray &contentType,
                const QByteArray &origin);

    DevToolsSession &m_page;
    const WebArchive m_archive;
};
