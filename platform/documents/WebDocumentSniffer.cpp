// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentSniffer.h"

#include "platform/documents/WebTextEncoding.h"

#include <QSet>
#include <algorithm>

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool isNameEnd(char c) {
    return isBlank(c) || c == '>' || c == '/';
}

struct Signature {
    QByteArrayView bytes;
    WebDocumentKind kind;
};

template <size_t N>
constexpr QByteArrayView view(const char (&text)[N]) {
    return QByteArrayView(text, N - 1);
}

WebDocumentKind kindOfSignature(QByteArrayView data) {
    static const Signature signatures[] = {
        {view("\x89PNG\r\n\x1A\n"), WebDocumentKind::PNG},
        {view("\xFF\xD8\xFF"), WebDocumentKind::JPEG},
        {view("\xFF\x0A"), WebDocumentKind::JXL},
        {view("\0\0\0\x0CJXL \r\n\x87\n"), WebDocumentKind::JXL},
        {view("GIF87a"), WebDocumentKind::GIF},
        {view("GIF89a"), WebDocumentKind::GIF},
        {view("bplist"), WebDocumentKind::PropertyListArchive},
    };
    for (const Signature &signature : signatures) {
        if (data.startsWith(signature.bytes))
            return signature.kind;
    }
    if (data.startsWith("RIFF") && data.size() >= 14 && data.sliced(8).startsWith("WEBPVP"))
        return WebDocumentKind::WebP;
    // "BM" alone begins many a text: the four reserved bytes must be zero too.
    if (data.startsWith("BM") && data.size() >= 26 && data.sliced(6, 4) == view("\0\0\0\0"))
        return WebDocumentKind::BMP;
    if (data.startsWith(view("\0\0\1\0")) && data.size() > 22)
        return WebDocumentKind::ICO;
    if (data.size() >= 16 && data.sliced(4).startsWith("ftyp")) {
        const QByteArrayView brand = data.sliced(8, 4);
        if (brand == "avif" || brand == "avis")
            return WebDocumentKind::AVIF;
    }
    return WebDocumentKind::Unsupported;
}

/// Text formats that no browser shows as a document.
bool isForeignText(QByteArrayView data) {
    return data.startsWith("%PDF-") || data.startsWith("%!PS-Adobe-") || data.startsWith("{\\rtf");
}

const QSet<QByteArray> &htmlElements() {
    static const QSet<QByteArray> elements = [] {
        const QByteArray names = "a abbr acronym address applet area article aside audio b base basefont bdi "
                                 "bdo bgsound big blink "
                                 "blockquote body br button canvas caption center cite code col colgroup "
                                 "data datalist dd del details "
                                 "dfn dialog dir div dl dt em embed fieldset figcaption figure font footer "
                                 "form frame frameset h1 h2 h3 "
                                 "h4 h5 h6 head header hgroup hr html i iframe img input ins kbd keygen "
                                 "label legend li link main map "
                                 "mark marquee menu meta meter nav nobr noembed noframes noscript object ol "
                                 "optgroup option output p "
                                 "param picture plaintext pre progress q rp rt ruby s samp script search "
                                 "section select slot small "
                                 "source span strike strong style sub summary sup svg table tbody td "
                                 "template textarea tfoot th thead "
                                 "time title tr track tt u ul var video wbr xmp";
        const QList<QByteArray> list = names.split(' ');
        return QSet<QByteArray>(list.begin(), list.end());
    }();
    return elements;
}

/// Reads the start of markup: what is before the root element, and the root element's tag.
struct Prologue {
    bool hasXMLDeclaration = false;
    bool hasHTMLDoctype = false;
    bool hasComment = false;
    QByteArray root;           ///< the root's name as written, empty where there is none
    QByteArrayView attributes; ///< the rest of the root's tag
};

Prologue readPrologue(QByteArrayView data) {
    Prologue prologue;
    qsizetype at = 0;
    const auto skipPast = [&](QByteArrayView end) {
        const qsizetype found = data.indexOf(end, at);
        at = found < 0 ? data.size() : found + end.size();
    };
    // Past the ">" that ends a document type: an internal subset and quoted text hold others.
    const auto skipDoctype = [&] {
        char quote = 0;
        int depth = 0;
        for (; at < data.size(); ++at) {
            const char c = data[at];
            if (quote) {
                quote = c == quote ? 0 : quote;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '[' || c == ']') {
                depth += c == '[' ? 1 : -1;
            } else if (c == '>' && depth <= 0) {
                ++at;
                return;
            }
        }
    };
    while (true) {
        while (at < data.size() && isBlank(data[at]))
            ++at;
        const QByteArrayView rest = data.sliced(at);
        if (rest.startsWith("<?")) {
            if (rest.size() > 5 && rest.startsWith("<?xml") && isBlank(rest[5]))
                prologue.hasXMLDeclaration = true;
            skipPast(prologue.hasXMLDeclaration ? QByteArrayView("?>") : QByteArrayView(">"));
        } else if (rest.startsWith("<!--")) {
            prologue.hasComment = true;
            at += 2;
            skipPast("-->");
        } else if (rest.size() > 9 && rest.first(9).compare("<!doctype", Qt::CaseInsensitive) == 0) {
            qsizetype name = 9;
            while (name < rest.size() && isBlank(rest[name]))
                ++name;
            prologue.hasHTMLDoctype =
                rest.size() >= name + 4 && rest.sliced(name, 4).compare("html", Qt::CaseInsensitive) == 0;
            skipDoctype();
        } else {
            break;
        }
    }
    const QByteArrayView rest = data.sliced(at);
    if (rest.size() < 2 || rest[0] != '<' || !QChar::isLetter(uint(uchar(rest[1]))))
        return prologue;
    qsizetype end = 1;
    while (end < rest.size() && !isNameEnd(rest[end]))
        ++end;
    prologue.root = rest.sliced(1, end - 1).toByteArray();
    char quote = 0;
    qsizetype close = end;
    for (; close < rest.size() && (quote || rest[close] != '>'); ++close) {
        if (quote ? rest[close] == quote : rest[close] == '"' || rest[close] == '\'')
            quote = quote ? 0 : rest[close];
    }
    prologue.attributes = rest.sliced(end, close - end);
    return prologue;
}

WebDocumentKind kindOfMarkup(QByteArrayView data) {
    const Prologue prologue = readPrologue(data);
    const qsizetype colon = prologue.root.indexOf(':');
    const QByteArray prefix = prologue.root.left(qMax<qsizetype>(colon, 0));
    const QByteArray localName = prologue.root.mid(colon + 1);
    const auto isIn = [&](QByteArrayView nameSpace) {
        const QByteArray attribute = prefix.isEmpty() ? QByteArray("xmlns") : "xmlns:" + prefix;
        return prologue.attributes.contains(attribute) && prologue.attributes.contains(nameSpace);
    };
    if (localName == "svg" && isIn("http://www.w3.org/2000/svg"))
        return WebDocumentKind::SVG;
    if (prologue.hasXMLDeclaration) {
        if (localName == "html")
            return isIn("http://www.w3.org/1999/xhtml") ? WebDocumentKind::XHTML : WebDocumentKind::HTML;
        if (localName == "plist")
            return WebDocumentKind::PropertyListArchive;
        if (prologue.root.toLower() == "html" || prologue.hasHTMLDoctype)
            return WebDocumentKind::HTML;
        return WebDocumentKind::XML;
    }
    if (localName == "plist" && !prologue.hasHTMLDoctype && prologue.attributes.contains("version"))
        return WebDocumentKind::PropertyListArchive;
    if (prologue.hasHTMLDoctype || prologue.hasComment || htmlElements().contains(prologue.root.toLower()))
        return WebDocumentKind::HTML;
    return WebDocumentKind::Unsupported;
}

bool isHeaderNameChar(char c) {
    return c > ' ' && c < 0x7F && c != ':';
}

/// A MIME message: header fields from the first line on, among them a content type of several parts or of
/// HTML.
bool isMIMEMessage(QByteArrayView data) {
    bool hasVersion = false, hasParts = false, hasHTML = false, hasBoundary = false, first = true;
    bool inContentType = false;
    for (qsizetype at = 0; at < data.size();) {
        qsizetype end = data.indexOf('\n', at);
        end = end < 0 ? data.size() : end;
        QByteArrayView line = data.sliced(at, end - at);
        at = end + 1;
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty()) {
            if (first)
                continue;
            break;
        }
        if (line[0] == ' ' || line[0] == '\t') {
            if (first)
                return false;
            hasBoundary |= inContentType && line.toByteArray().toLower().contains("boundary");
            continue;
        }
        if (first && line.startsWith("From ")) {
            first = false;
            continue;
        }
        first = false;
        const qsizetype colon = line.indexOf(':');
        if (colon < 1 || !std::all_of(line.begin(), line.begin() + colon, isHeaderNameChar))
            return false;
        const QByteArray name = line.first(colon).toByteArray().toLower();
        const QByteArray value = line.sliced(colon + 1).trimmed().toByteArray().toLower();
        inContentType = name == "content-type";
        if (inContentType) {
            hasParts = value.startsWith("multipart/");
            hasHTML = value.startsWith("text/html") || value.startsWith("application/xhtml+xml");
            hasBoundary = value.contains("boundary");
        }
        hasVersion |= name == "mime-version";
    }
    return (hasParts && hasBoundary) || (hasVersion && hasHTML);
}

/// Control characters that no text holds, by the standard's rule, within the bytes it looks at.
bool isBinary(QByteArrayView data) {
    constexpr qsizetype examined = 1445;
    const QByteArrayView head = data.first(qMin(examined, data.size()));
    return std::any_of(head.begin(), head.end(), [](char c) {
        const uchar byte = uchar(c);
        return byte <= 0x08 || byte == 0x0B || (byte >= 0x0E && byte <= 0x1A) ||
               (byte >= 0x1C && byte <= 0x1F);
    });
}

WebDocumentKind kindOfText(QByteArrayView text) {
    if (isForeignText(text))
        return WebDocumentKind::Unsupported;
    const WebDocumentKind markup = kindOfMarkup(text);
    if (markup != WebDocumentKind::Unsupported)
        return markup;
    if (isMIMEMessage(text))
        return WebDocumentKind::MHTML;
    return isBinary(text) ? WebDocumentKind::Unsupported : WebDocumentKind::PlainText;
}

/// UTF-16 that begins with markup and has no byte-order mark.
WebTextEncoding encodingOfBareUTF16(QByteArrayView data) {
    if (data.size() < 4)
        return WebTextEncoding::None;
    const auto isMarkup = [&](char a, char b) { return a == '<' && b > ' ' && uchar(b) < 0x7F; };
    if (data[1] == 0 && data[3] == 0 && isMarkup(data[0], data[2]))
        return WebTextEncoding::UTF16LE;
    if (data[0] == 0 && data[2] == 0 && isMarkup(data[1], data[3]))
        return WebTextEncoding::UTF16BE;
    return WebTextEncoding::None;
}

struct TypeOfKind {
    WebDocumentKind kind;
    const char *type;
};

constexpr TypeOfKind types[] = {
    {WebDocumentKind::HTML, "text/html"},
    {WebDocumentKind::XHTML, "application/xhtml+xml"},
    {WebDocumentKind::SVG, "image/svg+xml"},
    {WebDocumentKind::XML, "application/xml"},
    {WebDocumentKind::XML, "text/xml"},
    {WebDocumentKind::PlainText, "text/plain"},
    {WebDocumentKind::PNG, "image/png"},
    {WebDocumentKind::PNG, "image/apng"},
    {WebDocumentKind::JPEG, "image/jpeg"},
    {WebDocumentKind::JPEG, "image/jpg"},
    {WebDocumentKind::JPEG, "image/pjpeg"},
    {WebDocumentKind::GIF, "image/gif"},
    {WebDocumentKind::WebP, "image/webp"},
    {WebDocumentKind::BMP, "image/bmp"},
    {WebDocumentKind::BMP, "image/x-ms-bmp"},
    {WebDocumentKind::ICO, "image/x-icon"},
    {WebDocumentKind::ICO, "image/vnd.microsoft.icon"},
    {WebDocumentKind::AVIF, "image/avif"},
    {WebDocumentKind::JXL, "image/jxl"},
    {WebDocumentKind::MHTML, "multipart/related"},
    {WebDocumentKind::MHTML, "message/rfc822"},
    {WebDocumentKind::PropertyListArchive, "application/x-webarchive"},
};

} // namespace

WebDocumentKind WebDocumentSniffer::kindOfData(const QByteArray &data) {
    if (data.isEmpty())
        return WebDocumentKind::Unsupported;
    const WebDocumentKind kind = kindOfSignature(data);
    if (kind != WebDocumentKind::Unsupported)
        return kind;
    int mark = 0;
    WebTextEncoding encoding = WebTextEncodingOfByteOrderMark(data, &mark);
    if (encoding == WebTextEncoding::UTF8)
        return kindOfText(QByteArrayView(data).sliced(mark));
    if (encoding == WebTextEncoding::None)
        encoding = encodingOfBareUTF16(data);
    if (encoding == WebTextEncoding::None)
        return kindOfText(data);
    const WebDocumentKind decoded =
        kindOfText(WebDecodeText(QByteArrayView(data).sliced(mark), encoding).toUtf8());
    // A MIME message is bytes in itself: in UTF-16 it is the text of one.
    return decoded == WebDocumentKind::MHTML ? WebDocumentKind::PlainText : decoded;
}

WebDocumentKind WebDocumentSniffer::kindOfMIMEType(QByteArrayView mimeType) {
    const qsizetype parameters = mimeType.indexOf(';');
    const QByteArray type =
        (parameters < 0 ? mimeType : mimeType.first(parameters)).trimmed().toByteArray().toLower();
    for (const TypeOfKind &entry : types) {
        if (type == entry.type)
            return entry.kind;
    }
    if (type.endsWith("+xml"))
        return WebDocumentKind::XML;
    const bool isText = type.startsWith("text/") || type == "application/json" || type.endsWith("+json") ||
                        type == "application/javascript" || type == "application/x-javascript";
    return isText && type != "text/rtf" ? WebDocumentKind::PlainText : WebDocumentKind::Unsupported;
}

QByteArray WebDocumentSniffer::mimeTypeOfKind(WebDocumentKind kind) {
    if (kind == WebDocumentKind::MHTML || kind == WebDocumentKind::PropertyListArchive)
        return {};
    for (const TypeOfKind &entry : types) {
        if (entry.kind == kind)
            return entry.type;
    }
    return {};
}

bool WebDocumentSniffer::isPicture(WebDocumentKind kind) {
    return kind >= WebDocumentKind::PNG && kind <= WebDocumentKind::JXL;
}
