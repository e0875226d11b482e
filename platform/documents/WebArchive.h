// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <optional>
#include <vector>

namespace zr {

/// One resource of an archive: a page, a style sheet, a picture, a font.
struct WebResource {
    QByteArray url; ///< where the engine asks for it
    QByteArray data;
    QByteArray mimeType;         ///< in lower case, without parameters; empty if unknown
    QByteArray textEncodingName; ///< empty if unknown

    /// The value of a Content-Type header field, without what no such field can hold; empty if there is
    /// none.
    QByteArray contentType() const;
};

/// A web page saved with its parts in one file: a MIME message (MHTML, RFC 2557) or a property list with
/// WebMainResource, WebSubresources and WebSubframeArchives, binary or XML.
///
/// Resources keep their http and https URLs, so the page's references, links and relative addresses stay
/// what they were. Everything else that an archive can name a part by (cid:, file:, no URL at all) moves to
/// a host that exists nowhere, and the references inside of pages and style sheets are rewritten with it:
/// serving the archive never needs another scheme, and never reaches a local file. A value; any thread.
class WebArchive {
public:
    /// The host of parts without a web address; reserved names resolve nowhere (RFC 2606).
    static constexpr const char *madeUpOrigin = "https://archive.invalid/";

    /// Reads an archive of either kind; nothing if the bytes are none, are damaged beyond use, or hold a
    /// main resource that the engine can't show.
    static std::optional<WebArchive> archiveWithData(const QByteArray &data);
    static std::optional<WebArchive> archiveWithMIMEMessage(const QByteArray &data);
    static std::optional<WebArchive> archiveWithPropertyList(const QByteArray &data);

    const WebResource &mainResource() const { return m_resources.front(); }
    /// The resource at a URL the engine asks for, nullptr if the archive has none. Fragments don't count,
    /// nor how characters are escaped, nor whether http or https is asked for.
    const WebResource *resourceForURL(const QByteArray &url) const;
    /// Whether it holds all that the page may have. One that doesn't leaves the rest to where the page's references lead: a
    /// property list says so by "ZRHoldsPart", true, in its outermost dictionary.
    bool isWhole() const { return m_isWhole; }
    /// All resources, the main one first.
    const std::vector<WebResource> &resources() const { return m_resources; }

private:
    class Builder;
    std::vector<WebResource> m_resources;
    bool m_isWhole = true;
    QHash<QByteArray, size_t> m_byURL;
};

} // namespace zr
