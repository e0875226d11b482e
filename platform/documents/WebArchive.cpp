// SPDX-License-Identifier: MIT
#include "platform/documents/WebArchive.h"

#include "platform/archive/NSPropertyList.h"
#include "platform/base/ASCII.h"
#include "platform/documents/WebDocumentSniffer.h"
#include "platform/documents/WebMIMEMessage.h"
#include "platform/documents/WebReferenceRewriter.h"

#include <QStringDecoder>
#include <QUrl>
#include <QVariantMap>
#include <algorithm>
#include <utility>

namespace zr {

namespace {

constexpr int maximumDepth = 16;
constexpr size_t maximumResources = 20000;

QByteArray schemeOf(QByteArrayView url) {
    const qsizetype colon = url.indexOf(':');
    if (colon < 1)
        return {};
    for (const char c : url.first(colon)) {
        if (!isASCIILetter(uchar(c)) && !isASCIIDigit(uchar(c)) && c != '+' && c != '-' && c != '.')
            return {};
    }
    return url.first(colon).toByteArray().toLower();
}

bool isWebScheme(const QByteArray &scheme) {
    return scheme == "http" || scheme == "https";
}

QByteArray withoutFragment(const QByteArray &url) {
    const qsizetype fragment = url.indexOf('#');
    return fragment < 0 ? url : url.left(fragment);
}

/// One spelling for all spellings of a URL: lower-case scheme and host, no default port, no escapes.
QByteArray lookupKey(const QByteArray &url) {
    QByteArray key = withoutFragment(url);
    const QByteArray scheme = schemeOf(key);
    if (isWebScheme(scheme) && key.size() > scheme.size() + 3) {
        qsizetype path = key.indexOf('/', scheme.size() + 3);
        const qsizetype query = key.indexOf('?', scheme.size() + 3);
        if (path < 0 || (query >= 0 && query < path))
            path = query < 0 ? key.size() : query;
        QByteArray host = key.mid(scheme.size() + 3, path - scheme.size() - 3).toLower();
        if (host.endsWith(scheme == "http" ? ":80" : ":443"))
            host.truncate(host.lastIndexOf(':'));
        QByteArray rest = key.mid(path);
        if (!rest.startsWith('/'))
            rest.prepend('/');
        // http and https are one here: pages ask for either, whichever they were saved with.
        key = "//" + host + rest;
    } else if (!scheme.isEmpty()) {
        key = scheme + key.mid(scheme.size());
    }
    return QByteArray::fromPercentEncoding(key);
}

bool isAbsolute(const QByteArray &url) {
    return !schemeOf(url).isEmpty();
}

/// A made-up address that keeps a file URL's path, so that relative references keep working.
QByteArray madeUpURLForFile(const QByteArray &url) {
    QByteArray path = QUrl::fromEncoded(url).path(QUrl::FullyEncoded).toLatin1();
    while (path.startsWith('/'))
        path.remove(0, 1);
    return WebArchive::madeUpOrigin + path;
}

WebDocumentKind kindOf(const WebResource &resource) {
    if (resource.mimeType.isEmpty() || resource.mimeType == "application/octet-stream")
        return WebDocumentSniffer::kindOfData(resource.data);
    return WebDocumentSniffer::kindOfMIMEType(resource.mimeType);
}

bool isMarkup(WebDocumentKind kind) {
    return kind == WebDocumentKind::HTML || kind == WebDocumentKind::XHTML || kind == WebDocumentKind::SVG ||
           kind == WebDocumentKind::XML;
}

bool canBeMain(WebDocumentKind kind) {
    return kind != WebDocumentKind::Unsupported && kind != WebDocumentKind::MHTML &&
           kind != WebDocumentKind::PropertyListArchive;
}

QByteArray dataOf(const QVariant &value) {
    return value.metaType().id() == QMetaType::QByteArray ? value.toByteArray() : QByteArray();
}

QByteArray textOf(const QVariant &value) {
    return value.metaType().id() == QMetaType::QString ? value.toString().toUtf8() : QByteArray();
}

const WebMIMEPart *partWithID(const WebMIMEPart &part, const QByteArray &contentID) {
    if (part.contentID == contentID)
        return &part;
    for (const WebMIMEPart &inner : part.parts) {
        if (const WebMIMEPart *found = partWithID(inner, contentID))
            return found;
    }
    return nullptr;
}

/// The part of a message that is the page.
const WebMIMEPart *mainPart(const WebMIMEPart &part) {
    if (!part.isMultipart()) {
        WebResource resource;
        resource.data = part.body;
        resource.mimeType = part.type;
        return canBeMain(kindOf(resource)) ? &part : nullptr;
    }
    QByteArray start = part.parameters.value("start").trimmed();
    if (start.startsWith('<') && start.endsWith('>'))
        start = start.mid(1, start.size() - 2);
    if (!start.isEmpty()) {
        const WebMIMEPart *named = partWithID(part, start);
        if (named && named != &part) {
            if (const WebMIMEPart *found = mainPart(*named))
                return found;
        }
    }
    // The last of alternatives is the richest; the first of anything else is the root.
    const bool isReversed = part.type == "multipart/alternative";
    for (size_t i = 0; i < part.parts.size(); ++i) {
        const size_t index = isReversed ? part.parts.size() - 1 - i : i;
        if (const WebMIMEPart *found = mainPart(part.parts[index]))
            return found;
    }
    return nullptr;
}

} // namespace

QByteArray WebResource::contentType() const {
    const auto isPlain = [](const QByteArray &text) {
        return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
            return c > ' ' && c < 0x7F && !QByteArrayView("()<>@,;:\\\"[]?={}").contains(c);
        });
    };
    if (!isPlain(mimeType))
        return {};
    return isPlain(textEncodingName) ? mimeType + "; charset=" + textEncodingName : mimeType;
}

/// Gathers resources under the names the archive gives them, then settles where the engine finds each.
class WebArchive::Builder {
public:
    /// Adds a resource; the first one is the main one. False if there are too many.
    bool add(WebResource resource, const QByteArray &contentID = {}) {
        if (m_archive.m_resources.size() >= maximumResources)
            return false;
        const QByteArray name = withoutFragment(resource.url);
        const QByteArray scheme = schemeOf(name);
        const size_t index = m_archive.m_resources.size();
        if (isWebScheme(scheme))
            resource.url = name;
        else if (scheme == "file")
            resource.url = madeUpURLForFile(name);
        else
            resource.url = index == 0 ? QByteArray(madeUpOrigin) : madeUpURL(index);
        if (m_archive.m_byURL.contains(lookupKey(resource.url))) {
            // Two frames may show one address differently: only their content IDs tell them apart.
            if (contentID.isEmpty())
                return true;
            resource.url = madeUpURL(index);
        } else if (!scheme.isEmpty() && !isWebScheme(scheme)) {
            addReference(name, resource.url);
        }
        if (!contentID.isEmpty())
            addReference("cid:" + contentID, resource.url);
        m_archive.m_byURL.insert(lookupKey(resource.url), index);
        m_archive.m_resources.push_back(std::move(resource));
        return true;
    }

    std::optional<WebArchive> finish() {
        if (m_archive.m_resources.empty() || m_archive.m_resources.front().data.isEmpty())
            return {};
        WebResource &main = m_archive.m_resources.front();
        const WebDocumentKind kind = kindOf(main);
        if (!canBeMain(kind))
            return {};
        if (main.mimeType.isEmpty() || main.mimeType == "application/octet-stream")
            main.mimeType = WebDocumentSniffer::mimeTypeOfKind(kind);
        if (!m_references.isEmpty())
            rewriteReferences();
        return std::move(m_archive);
    }

private:
    static QByteArray madeUpURL(size_t index) {
        return madeUpOrigin + (".part/" + QByteArray::number(qulonglong(index)));
    }

    void addReference(const QByteArray &name, const QByteArray &url) {
        const QByteArray scheme = schemeOf(name);
        if (!m_schemes.contains(scheme))
            m_schemes.append(scheme);
        const QByteArray key = lookupKey(name);
        if (!m_references.contains(key))
            m_references.insert(key, url);
    }

    void rewriteReferences() {
        const WebReferenceRewriter rewriter(m_schemes, [this](const QByteArray &url, bool isBase) {
            const QByteArray known = m_references.value(lookupKey(url));
            return known.isNull() && isBase && schemeOf(url) == "file" ? madeUpURLForFile(url) : known;
        });
        for (WebResource &resource : m_archive.m_resources) {
            const bool isStyleSheet = resource.mimeType == "text/css";
            const WebDocumentKind kind = kindOf(resource);
            if (!isStyleSheet && !isMarkup(kind))
                continue;
            bringToASCIIBase(resource);
            resource.data = isStyleSheet
                                ? rewriter.rewriteStyleSheet(resource.data)
                                : rewriter.rewriteMarkup(resource.data, kind != WebDocumentKind::HTML);
        }
    }

    /// References can only be found byte by byte: text in UTF-16 or UTF-32 becomes UTF-8 first.
    static void bringToASCIIBase(WebResource &resource) {
        auto encoding = QStringConverter::encodingForData(resource.data);
        if (!encoding)
            encoding = QStringConverter::encodingForName(resource.textEncodingName.constData());
        if (!encoding || *encoding == QStringConverter::Utf8 || *encoding == QStringConverter::Latin1 ||
            *encoding == QStringConverter::System)
            return;
        resource.data = QString(QStringDecoder(*encoding)(resource.data)).toUtf8();
        resource.textEncodingName = "utf-8";
    }

    WebArchive m_archive;
    QByteArrayList m_schemes;
    QHash<QByteArray, QByteArray> m_references;
};

std::optional<WebArchive> WebArchive::archiveWithData(const QByteArray &data) {
    switch (WebDocumentSniffer::kindOfData(data)) {
    case WebDocumentKind::MHTML:
        return archiveWithMIMEMessage(data);
    case WebDocumentKind::PropertyListArchive:
        return archiveWithPropertyList(data);
    default:
        return {};
    }
}

std::optional<WebArchive> WebArchive::archiveWithMIMEMessage(const QByteArray &data) {
    const auto message = WebMIMEMessage::messageWithData(data);
    if (!message)
        return {};
    const WebMIMEPart *main = mainPart(*message);
    if (!main)
        return {};
    const auto resolve = [](const QByteArray &url, const QByteArray &base) {
        if (url.isEmpty() || isAbsolute(url))
            return url;
        return QUrl::fromEncoded(base).resolved(QUrl::fromEncoded(url)).toEncoded();
    };
    // Relative names without a base are relative to the message itself, which has no address.
    QByteArray root = isAbsolute(main->location) ? main->location : QByteArray(madeUpOrigin);
    if (schemeOf(root) == "cid" || schemeOf(root) == "about")
        root = madeUpOrigin;
    Builder builder;
    const auto add = [&](const WebMIMEPart &part, const QByteArray &base) {
        WebResource resource;
        resource.url = resolve(part.location, isAbsolute(part.base) ? part.base : base);
        resource.data = part.body;
        resource.mimeType = part.type;
        resource.textEncodingName = part.parameters.value("charset");
        return builder.add(std::move(resource), part.contentID);
    };
    const auto addAll = [&](const auto &self, const WebMIMEPart &part, const QByteArray &base) -> bool {
        if (!part.isMultipart())
            return &part == main || add(part, base);
        QByteArray inner = isAbsolute(part.base)       ? part.base
                           : isAbsolute(part.location) ? part.location
                                                       : base;
        for (const WebMIMEPart &child : part.parts) {
            if (!self(self, child, inner))
                return false;
        }
        return true;
    };
    if (!add(*main, root) || !addAll(addAll, *message, root))
        return {};
    return builder.finish();
}

std::optional<WebArchive> WebArchive::archiveWithPropertyList(const QByteArray &data) {
    QVariantMap root;
    try {
        const QVariant value = NSPropertyList::propertyListFromData(data);
        if (value.metaType().id() != QMetaType::QVariantMap)
            return {};
        root = value.toMap();
    } catch (const NSException &) {
        return {};
    }
    Builder builder;
    const auto add = [&](const QVariant &value) {
        const QVariantMap map = value.toMap();
        WebResource resource;
        resource.url = textOf(map.value(QStringLiteral("WebResourceURL")));
        resource.data = dataOf(map.value(QStringLiteral("WebResourceData")));
        resource.mimeType = textOf(map.value(QStringLiteral("WebResourceMIMEType"))).trimmed().toLower();
        resource.textEncodingName = textOf(map.value(QStringLiteral("WebResourceTextEncodingName")));
        return builder.add(std::move(resource));
    };
    const auto addArchive = [&](const auto &self, const QVariantMap &archive, int depth) -> bool {
        if (depth > maximumDepth || !add(archive.value(QStringLiteral("WebMainResource"))))
            return false;
        for (const QVariant &resource : archive.value(QStringLiteral("WebSubresources")).toList()) {
            if (!add(resource))
                return false;
        }
        for (const QVariant &frame : archive.value(QStringLiteral("WebSubframeArchives")).toList()) {
            if (!self(self, frame.toMap(), depth + 1))
                return false;
        }
        return true;
    };
    if (!root.contains(QStringLiteral("WebMainResource")) || !addArchive(addArchive, root, 0))
        return {};
    auto archive = builder.finish();
    const QVariant holdsPart = root.value(QStringLiteral("ZRHoldsPart"));
    if (archive && holdsPart.metaType().id() == QMetaType::Bool)
        archive->m_isWhole = !holdsPart.toBool();
    return archive;
}

const WebResource *WebArchive::resourceForURL(const QByteArray &url) const {
    const auto found = m_byURL.constFind(lookupKey(url));
    return found == m_byURL.constEnd() ? nullptr : &m_resources[*found];
}

} // namespace zr
