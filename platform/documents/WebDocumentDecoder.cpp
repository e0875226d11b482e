// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentDecoder.h"

#include "platform/documents/WebEncodingDetector.h"

#include <optional>

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// What a declaration inside of ASCII-compatible bytes can mean: they can't be UTF-16.
WebTextEncoding declarable(WebTextEncoding encoding) {
    switch (encoding) {
    case WebTextEncoding::UTF16BE:
    case WebTextEncoding::UTF16LE:
        return WebTextEncoding::UTF8;
    case WebTextEncoding::UserDefined:
        return WebTextEncoding::Windows1252;
    default:
        return encoding;
    }
}

struct Attribute {
    QByteArray name;
    QByteArray value;
};

/// The HTML Standard's prescan of a byte stream, over all bytes it is given.
class Prescan {
public:
    explicit Prescan(QByteArrayView bytes) : m_bytes(bytes) {}

    WebTextEncoding run() {
        for (; m_at < m_bytes.size(); ++m_at) {
            if (m_bytes[m_at] != '<')
                continue;
            const QByteArrayView rest = m_bytes.sliced(m_at);
            if (rest.startsWith("<!--")) {
                skipTo("-->", 2, 2);
            } else if (isTag(rest, "<meta") && rest.size() > 5 && (isBlank(rest[5]) || rest[5] == '/')) {
                m_at += 6;
                const WebTextEncoding found = readMeta();
                if (found != WebTextEncoding::None)
                    return found;
            } else if (rest.size() > 1 &&
                       (isLetter(rest[1]) || (rest[1] == '/' && rest.size() > 2 && isLetter(rest[2])))) {
                m_isInHead = m_isInHead && belongsToHead(rest);
                if (m_at > unconditional && !m_isInHead)
                    break;
                while (m_at < m_bytes.size() && !isBlank(m_bytes[m_at]) && m_bytes[m_at] != '>')
                    ++m_at;
                while (nextAttribute()) {
                }
            } else if (rest.size() > 1 && (rest[1] == '!' || rest[1] == '/' || rest[1] == '?')) {
                skipTo(">", 0, 0);
            }
        }
        return WebTextEncoding::None;
    }

private:
    // A declaration beyond the bytes of the prescan counts while the head lasts: parsers start again there.
    static constexpr qsizetype unconditional = 1024;

    static bool isTag(QByteArrayView rest, QByteArrayView start) {
        return rest.size() >= start.size() &&
               rest.first(start.size()).compare(start, Qt::CaseInsensitive) == 0;
    }

    /// Whether a tag may stand in the head; the first one that may not ends it.
    static bool belongsToHead(QByteArrayView rest) {
        const QByteArrayView tag = rest.sliced(rest[1] == '/' ? 2 : 1);
        if (rest[1] == '/')
            return !isTag(tag, "head") && !isTag(tag, "html") && !isTag(tag, "body");
        for (const QByteArrayView name :
             {"html", "head", "title", "script", "noscript", "style", "link", "object", "base", "template"}) {
            if (isTag(tag, name) && (tag.size() == name.size() || !isLetter(tag[name.size()])))
                return true;
        }
        return false;
    }

    void skipTo(QByteArrayView text, qsizetype searchOffset, qsizetype endOffset) {
        const qsizetype found = m_bytes.indexOf(text, m_at + searchOffset);
        m_at = found < 0 ? m_bytes.size() : found + endOffset;
    }

    /// The standard's "get an attribute"; leaves the position at the tag's end where there is none.
    std::optional<Attribute> nextAttribute() {
        const auto more = [this] { return m_at < m_bytes.size(); };
        while (more() && (isBlank(m_bytes[m_at]) || m_bytes[m_at] == '/'))
            ++m_at;
        if (!more() || m_bytes[m_at] == '>')
            return {};
        Attribute attribute;
        bool hasValue = false;
        for (; more(); ++m_at) {
            const char c = m_bytes[m_at];
            if (c == '=' && !attribute.name.isEmpty()) {
                ++m_at;
                hasValue = true;
                break;
            }
            if (c == '/' || c == '>')
                return attribute;
            if (isBlank(c)) {
                while (more() && isBlank(m_bytes[m_at]))
                    ++m_at;
                if (!more() || m_bytes[m_at] != '=')
                    return attribute;
                ++m_at;
                hasValue = true;
                break;
            }
            attribute.name += QByteArray(1, c).toLower();
        }
        if (!hasValue)
            return {};
        while (more() && isBlank(m_bytes[m_at]))
            ++m_at;
        if (!more() || m_bytes[m_at] == '>')
            return attribute;
        const char quote = m_bytes[m_at];
        if (quote == '"' || quote == '\'') {
            const qsizetype end = m_bytes.indexOf(quote, m_at + 1);
            if (end < 0) {
                m_at = m_bytes.size();
                return {};
            }
            attribute.value = m_bytes.sliced(m_at + 1, end - m_at - 1).toByteArray().toLower();
            m_at = end + 1;
            return attribute;
        }
        const qsizetype start = m_at;
        while (more() && !isBlank(m_bytes[m_at]) && m_bytes[m_at] != '>')
            ++m_at;
        attribute.value = m_bytes.sliced(start, m_at - start).toByteArray().toLower();
        return attribute;
    }

    WebTextEncoding readMeta() {
        QByteArrayList seen;
        bool gotPragma = false;
        std::optional<bool> needsPragma;
        WebTextEncoding encoding = WebTextEncoding::None;
        while (const auto attribute = nextAttribute()) {
            if (seen.contains(attribute->name))
                continue;
            seen.append(attribute->name);
            if (attribute->name == "http-equiv") {
                gotPragma = gotPragma || attribute->value == "content-type";
            } else if (attribute->name == "content" && encoding == WebTextEncoding::None) {
                encoding = WebTextEncodingForLabel(charsetOfContent(attribute->value));
                if (encoding != WebTextEncoding::None)
                    needsPragma = true;
            } else if (attribute->name == "charset") {
                encoding = WebTextEncodingForLabel(attribute->value);
                needsPragma = false;
            }
        }
        if (!needsPragma || (*needsPragma && !gotPragma))
            return WebTextEncoding::None;
        return declarable(encoding);
    }

    /// The standard's "extract a character encoding from a meta element"; `content` is in lower case.
    static QByteArray charsetOfContent(const QByteArray &content) {
        for (qsizetype at = content.indexOf("charset"); at >= 0; at = content.indexOf("charset", at)) {
            at += 7;
            while (at < content.size() && isBlank(content[at]))
                ++at;
            if (at >= content.size() || content[at] != '=')
                continue;
            ++at;
            while (at < content.size() && isBlank(content[at]))
                ++at;
            if (at >= content.size())
                return {};
            const char quote = content[at];
            if (quote == '"' || quote == '\'') {
                const qsizetype end = content.indexOf(quote, at + 1);
                return end < 0 ? QByteArray() : content.mid(at + 1, end - at - 1);
            }
            qsizetype end = at;
            while (end < content.size() && !isBlank(content[end]) && content[end] != ';')
                ++end;
            return content.mid(at, end - at);
        }
        return {};
    }

    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    bool m_isInHead = true;
};

/// The encoding of an XML declaration at the start of the bytes.
WebTextEncoding encodingOfXMLDeclaration(QByteArrayView bytes) {
    using namespace std::string_view_literals;
    const auto startsWith = [&](std::string_view text) {
        return bytes.startsWith(QByteArrayView(text.data(), qsizetype(text.size())));
    };
    if (startsWith("<\0?\0x\0"sv))
        return WebTextEncoding::UTF16LE;
    if (startsWith("\0<\0?\0x"sv))
        return WebTextEncoding::UTF16BE;
    if (!startsWith("<?xml"sv))
        return WebTextEncoding::None;
    const qsizetype end = bytes.indexOf('>');
    if (end < 0)
        return WebTextEncoding::None;
    const QByteArrayView declaration = bytes.first(end);
    qsizetype at = declaration.indexOf("encoding");
    if (at < 0)
        return WebTextEncoding::None;
    at += 8;
    const auto skipBlanks = [&] {
        while (at < declaration.size() && uchar(declaration[at]) <= 0x20)
            ++at;
    };
    skipBlanks();
    if (at >= declaration.size() || declaration[at] != '=')
        return WebTextEncoding::None;
    ++at;
    skipBlanks();
    if (at >= declaration.size() || (declaration[at] != '"' && declaration[at] != '\''))
        return WebTextEncoding::None;
    const qsizetype close = declaration.indexOf(declaration[at], at + 1);
    if (close < 0)
        return WebTextEncoding::None;
    const QByteArrayView label = declaration.sliced(at + 1, close - at - 1);
    for (const char c : label) {
        if (uchar(c) <= 0x20)
            return WebTextEncoding::None;
    }
    const WebTextEncoding encoding = WebTextEncodingForLabel(label);
    return encoding == WebTextEncoding::UTF16BE || encoding == WebTextEncoding::UTF16LE
               ? WebTextEncoding::UTF8
               : encoding;
}

/// UTF-16 without a mark shows in the zero halves of its first characters.
WebTextEncoding bareUTF16(QByteArrayView bytes) {
    if (bytes.size() < 4 || bytes.size() % 2 != 0)
        return WebTextEncoding::None;
    if (bytes[0] && !bytes[1] && bytes[2] && !bytes[3])
        return WebTextEncoding::UTF16LE;
    if (!bytes[0] && bytes[1] && !bytes[2] && bytes[3])
        return WebTextEncoding::UTF16BE;
    return WebTextEncoding::None;
}

/// The decoding that byte-order mark or outer label settle, if they do.
std::optional<WebDecodedText> decodeAsTold(QByteArrayView bytes, const QByteArray &charset) {
    int mark = 0;
    WebTextEncoding encoding = WebTextEncodingOfByteOrderMark(bytes, &mark);
    if (encoding == WebTextEncoding::None)
        encoding = WebTextEncodingForLabel(charset);
    if (encoding == WebTextEncoding::None)
        encoding = bareUTF16(bytes);
    if (encoding == WebTextEncoding::None)
        return {};
    return WebDecodedText{WebDecodeText(bytes.sliced(mark), encoding), encoding};
}

} // namespace

WebDecodedText WebDocumentDecoder::decodeHTML(const QByteArray &bytes, const QByteArray &charset) {
    if (auto told = decodeAsTold(bytes, charset))
        return *told;
    WebTextEncoding encoding = declaredEncodingOfHTML(bytes);
    if (encoding == WebTextEncoding::None)
        encoding = detectEncoding(bytes, true);
    return {WebDecodeText(bytes, encoding), encoding};
}

WebDecodedText WebDocumentDecoder::decodeXML(const QByteArray &bytes, const QByteArray &charset) {
    if (auto told = decodeAsTold(bytes, charset))
        return *told;
    WebTextEncoding encoding = encodingOfXMLDeclaration(bytes);
    if (encoding == WebTextEncoding::None)
        encoding = WebTextEncoding::UTF8;
    return {WebDecodeText(bytes, encoding), encoding};
}

WebDecodedText WebDocumentDecoder::decodePlainText(const QByteArray &bytes, const QByteArray &charset) {
    if (auto told = decodeAsTold(bytes, charset))
        return *told;
    const WebTextEncoding encoding = detectEncoding(bytes, false);
    return {WebDecodeText(bytes, encoding), encoding};
}

WebTextEncoding WebDocumentDecoder::declaredEncodingOfHTML(QByteArrayView bytes) {
    const WebTextEncoding fallback = encodingOfXMLDeclaration(bytes);
    if (fallback == WebTextEncoding::UTF16LE || fallback == WebTextEncoding::UTF16BE)
        return fallback;
    const WebTextEncoding declared = Prescan(bytes).run();
    return declared == WebTextEncoding::None ? fallback : declared;
}

WebTextEncoding WebDocumentDecoder::detectEncoding(QByteArrayView bytes, bool isMarkup) {
    if (!bytes.contains('\x1B') && WebTextIsValid(bytes, WebTextEncoding::UTF8))
        return WebTextEncoding::UTF8;
    return WebEncodingDetector::detect(bytes, isMarkup);
}

QString WebDocumentDecoder::markupForPlainText(const QString &text) {
    QString escaped = text;
    escaped.replace(u'&', QStringLiteral("&amp;")).replace(u'<', QStringLiteral("&lt;"));
    escaped.replace(u'\0', QChar(QChar::ReplacementCharacter));
    // The parser drops the first newline of a pre element.
    return QStringLiteral(
               "<!DOCTYPE html><html><head><meta name=\"color-scheme\" content=\"light dark\"></head><body>"
               "<pre style=\"word-wrap: break-word; white-space: pre-wrap;\">\n") +
           escaped + QStringLiteral("</pre></body></html>");
}
