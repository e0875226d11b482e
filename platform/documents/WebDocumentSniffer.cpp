// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentSniffer.h"

#include "platform/base/ASCII.h"
#include "platform/documents/WebMIMEMessage.h"
#include "platform/text/MarkupScanner.h"

#include <QSet>
#include <QStringDecoder>
#include <algorithm>

namespace zr {

namespace {

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

/// What markup tells before its root element, and by that element's tag.
struct Prologue {
    bool hasXMLDeclaration = false;
    bool hasHTMLDoctype = false;
    bool hasComment = false;
    QByteArray root;         ///< the root's name as written, empty if there is none
    QByteArray nameSpace;    ///< of the root
    bool hasVersion = false; ///< of the root

    explicit Prologue(QByteArrayView data) {
        using Scanner = MarkupScanner<QLatin1StringView>;
        Scanner scanner{QLatin1StringView(data), Scanner::Syntax::XML};
        while (scanner.next()) {
            const QByteArrayView token(scanner.text().data(), scanner.text().size());
            switch (scanner.token()) {
            case Scanner::Token::Comment:
                hasComment = true;
                break;
            case Scanner::Token::Instruction:
                hasXMLDeclaration = hasXMLDeclaration || scanner.name() == QLatin1StringView("xml");
                break;
            case Scanner::Token::Declaration: {
                const QByteArray start =
                    token.first(std::min<qsizetype>(token.size(), 64)).toByteArray().simplified();
                hasHTMLDoctype = start.toLower().startsWith("<!doctype html");
                break;
            }
            case Scanner::Token::Text:
                if (!std::all_of(token.begin(), token.end(), [](char c) { return isASCIISpace(uchar(c)); }))
                    return;
                break;
            case Scanner::Token::StartTag:
                readRoot(scanner);
                return;
            default:
                return;
            }
        }
    }

private:
    void readRoot(const MarkupScanner<QLatin1StringView> &scanner) {
        root = QByteArray(scanner.name().data(), scanner.name().size());
        const qsizetype colon = root.indexOf(':');
        const QByteArray declares = colon < 0 ? QByteArray("xmlns") : "xmlns:" + root.left(colon);
        for (auto attributes = scanner.attributes(); attributes.next();) {
            hasVersion = hasVersion || attributes.name() == QLatin1StringView("version");
            if (attributes.name() == QLatin1StringView(declares))
                nameSpace = QByteArray(attributes.value().data(), attributes.value().size());
        }
    }
};

WebDocumentKind kindOfMarkup(QByteArrayView data) {
    const Prologue prologue(data);
    const QByteArray localName = prologue.root.mid(prologue.root.indexOf(':') + 1);
    const QByteArray lowerRoot = prologue.root.toLower();
    if (localName == "svg" && prologue.nameSpace == "http://www.w3.org/2000/svg")
        return WebDocumentKind::SVG;
    const bool isList = localName == "plist";
    if (prologue.hasXMLDeclaration) {
        if (localName == "html" && prologue.nameSpace == "http://www.w3.org/1999/xhtml")
            return WebDocumentKind::XHTML;
        if (isList)
            return WebDocumentKind::PropertyListArchive;
        const bool isHTML = localName == "html" || lowerRoot == "html" || prologue.hasHTMLDoctype;
        return isHTML ? WebDocumentKind::HTML : WebDocumentKind::XML;
    }
    if (isList && prologue.hasVersion && !prologue.hasHTMLDoctype)
        return WebDocumentKind::PropertyListArchive;
    if (prologue.hasHTMLDoctype || prologue.hasComment || htmlElements().contains(lowerRoot))
        return WebDocumentKind::HTML;
    return WebDocumentKind::Unsupported;
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
    if (WebMIMEMessage::mayHoldPage(text))
        return WebDocumentKind::MHTML;
    return isBinary(text) ? WebDocumentKind::Unsupported : WebDocumentKind::PlainText;
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
    const auto encoding = QStringConverter::encodingForData(data, u'<');
    if (!encoding)
        return kindOfText(data);
    if (*encoding == QStringConverter::Utf8)
        return kindOfText(QByteArrayView(data).sliced(3));
    const QString text = QStringDecoder(*encoding)(data);
    const WebDocumentKind decoded = kindOfText(text.toUtf8());
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

} // namespace zr
