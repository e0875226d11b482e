// SPDX-License-Identifier: MIT
#include "platform/documents/WebMIMEMessage.h"

#include "platform/documents/WebTextEncoding.h"

#include <utility>

namespace {

constexpr int maximumDepth = 16;
constexpr int maximumParts = 20000;
constexpr qsizetype maximumHeader = 1 << 20;

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

/// The next line without its end, and moves on past it.
QByteArrayView takeLine(QByteArrayView data, qsizetype &at) {
    qsizetype end = data.indexOf('\n', at);
    const qsizetype next = end < 0 ? data.size() : end + 1;
    end = end < 0 ? data.size() : end;
    QByteArrayView line = data.sliced(at, end - at);
    at = next;
    if (line.endsWith('\r'))
        line.chop(1);
    return line;
}

using Fields = QHash<QByteArray, QByteArray>;

/// Reads header fields, unfolded, up to the empty line; the first of several of one name counts.
Fields takeFields(QByteArrayView data, qsizetype &at) {
    Fields fields;
    QByteArray name, value;
    const auto keep = [&] {
        if (!name.isEmpty() && !fields.contains(name))
            fields.insert(name, value.trimmed());
        name.clear();
        value.clear();
    };
    const qsizetype start = at;
    while (at < data.size() && at - start < maximumHeader) {
        const QByteArrayView line = takeLine(data, at);
        if (line.isEmpty())
            break;
        if (isBlank(line[0])) {
            value += ' ';
            value += line.trimmed();
            continue;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon < 1)
            continue;
        keep();
        name = line.first(colon).trimmed().toByteArray().toLower();
        value = line.sliced(colon + 1).toByteArray();
    }
    keep();
    return fields;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

QByteArray decodeHexEscapes(QByteArrayView text, char escape) {
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == escape && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
            hexDigit(text[i + 2]) >= 0) {
            out += char(hexDigit(text[i + 1]) << 4 | hexDigit(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

/// Drops comments in parentheses (RFC 5322) outside of quoted text.
QByteArray withoutComments(QByteArrayView text) {
    QByteArray out;
    int depth = 0;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\' && (quoted || depth > 0) && i + 1 < text.size()) {
            if (depth == 0)
                out.append(text.sliced(i, 2));
            ++i;
            continue;
        }
        if (c == '"' && depth == 0)
            quoted = !quoted;
        if (c == '(' && !quoted)
            ++depth;
        if (depth == 0)
            out += c;
        if (c == ')' && !quoted && depth > 0)
            --depth;
    }
    return out;
}

/// Splits "type/subtype; name=value; ..." with quoted values and the extended parameters of RFC 2231.
QByteArray readContentType(QByteArrayView field, Fields &parameters) {
    const QByteArray text = withoutComments(field);
    qsizetype at = text.indexOf(';');
    QByteArray type = text.left(at < 0 ? text.size() : at).trimmed().toLower();
    Fields pieces;
    while (at >= 0 && at < text.size()) {
        ++at;
        qsizetype equals = at;
        while (equals < text.size() && text[equals] != '=' && text[equals] != ';')
            ++equals;
        const QByteArray name = text.mid(at, equals - at).trimmed().toLower();
        if (equals >= text.size() || text[equals] == ';') {
            at = equals;
            continue;
        }
        at = equals + 1;
        while (at < text.size() && isBlank(text[at]))
            ++at;
        QByteArray value;
        if (at < text.size() && text[at] == '"') {
            for (++at; at < text.size() && text[at] != '"'; ++at) {
                if (text[at] == '\\' && at + 1 < text.size())
                    ++at;
                value += text[at];
            }
            at = text.indexOf(';', at);
        } else {
            const qsizetype end = text.indexOf(';', at);
            value = text.mid(at, end < 0 ? -1 : end - at).trimmed();
            at = end;
        }
        if (!name.isEmpty() && !pieces.contains(name))
            pieces.insert(name, value);
    }
    const auto decodeExtended = [](const QByteArray &value, bool first) {
        const qsizetype language = first ? value.indexOf('\'', value.indexOf('\'') + 1) : -1;
        return decodeHexEscapes(QByteArrayView(value).sliced(language + 1), '%');
    };
    for (const QByteArrayView known : {"boundary", "start", "charset", "type"}) {
        const QByteArray name = known.toByteArray();
        if (pieces.contains(name)) {
            parameters.insert(name, pieces.value(name));
            continue;
        }
        if (pieces.contains(name + '*')) {
            parameters.insert(name, decodeExtended(pieces.value(name + '*'), true));
            continue;
        }
        QByteArray whole;
        for (int n = 0;; ++n) {
            const QByteArray piece = name + '*' + QByteArray::number(n);
            if (pieces.contains(piece))
                whole += pieces.value(piece);
            else if (pieces.contains(piece + '*'))
                whole += decodeExtended(pieces.value(piece + '*'), n == 0);
            else
                break;
        }
        if (!whole.isNull())
            parameters.insert(name, whole);
    }
    return type;
}

QByteArray withoutBrackets(QByteArray text) {
    text = text.trimmed();
    if (text.startsWith('<') && text.endsWith('>'))
        text = text.mid(1, text.size() - 2);
    return text.trimmed();
}

/// A URL of a header field: encoded words decoded, and the blanks of folding gone.
QByteArray readURL(const QByteArray &field) {
    QByteArray url = WebMIMEMessage::decodeEncodedWords(field);
    url = withoutBrackets(url);
    if (url.startsWith('"') && url.endsWith('"') && url.size() > 1)
        url = url.mid(1, url.size() - 2);
    url.replace(' ', "").replace('\t', "");
    return url;
}

class Reader {
public:
    bool read(QByteArrayView data, WebMIMEPart &part, int depth) {
        if (depth > maximumDepth || ++m_count > maximumParts)
            return false;
        qsizetype at = 0;
        if (depth == 0 && data.startsWith("From "))
            takeLine(data, at);
        while (depth == 0 && at < data.size() && (data[at] == '\n' || data[at] == '\r'))
            ++at;
        const Fields fields = takeFields(data, at);
        part.type = readContentType(fields.value("content-type"), part.parameters);
        if (part.type.isEmpty())
            part.type = "text/plain";
        part.contentID = withoutBrackets(fields.value("content-id"));
        part.location = readURL(fields.value("content-location"));
        part.base = readURL(fields.value("content-base"));
        const QByteArrayView body = data.sliced(at);
        if (part.isMultipart())
            return readParts(body, part, depth);
        const QByteArray encoding =
            withoutComments(fields.value("content-transfer-encoding")).trimmed().toLower();
        if (part.type == "message/rfc822" && encoding != "base64" && encoding != "quoted-printable") {
            part.type = "multipart/mixed";
            part.parts.emplace_back();
            return read(body, part.parts.back(), depth + 1);
        }
        if (encoding == "base64")
            part.body = WebMIMEMessage::decodeBase64(body);
        else if (encoding == "quoted-printable")
            part.body = WebMIMEMessage::decodeQuotedPrintable(body);
        else
            part.body = body.toByteArray();
        return true;
    }

private:
    bool readParts(QByteArrayView body, WebMIMEPart &part, int depth) {
        const QByteArray boundary = part.parameters.value("boundary");
        if (boundary.isEmpty())
            return false;
        const QByteArray delimiter = "--" + boundary;
        qsizetype start = -1;
        for (qsizetype at = 0; at < body.size();) {
            const qsizetype found = body.indexOf(delimiter, at);
            if (found < 0)
                break;
            if (found > 0 && body[found - 1] != '\n') {
                at = found + 1;
                continue;
            }
            qsizetype next = found;
            QByteArrayView rest = takeLine(body, next).sliced(delimiter.size());
            const bool isLast = rest.startsWith("--");
            while (!rest.isEmpty() && isBlank(rest.front()))
                rest = rest.sliced(1);
            if (!isLast && !rest.isEmpty()) {
                at = found + 1;
                continue;
            }
            if (start >= 0 && !addPart(withoutLastLineEnd(body.sliced(start, found - start)), part, depth))
                return false;
            start = isLast ? -1 : next;
            if (isLast)
                return true;
            at = next;
        }
        return start < 0 || addPart(body.sliced(qMin(start, body.size())), part, depth);
    }

    bool addPart(QByteArrayView data, WebMIMEPart &part, int depth) {
        part.parts.emplace_back();
        return read(data, part.parts.back(), depth + 1);
    }

    /// The line end before a boundary belongs to the boundary.
    static QByteArrayView withoutLastLineEnd(QByteArrayView data) {
        if (data.endsWith('\n'))
            data.chop(1);
        if (data.endsWith('\r'))
            data.chop(1);
        return data;
    }

    int m_count = 0;
};

} // namespace

std::optional<WebMIMEPart> WebMIMEMessage::messageWithData(const QByteArray &data) {
    WebMIMEPart root;
    if (!Reader().read(data, root, 0))
        return {};
    return root;
}

QByteArray WebMIMEMessage::decodeQuotedPrintable(QByteArrayView body) {
    QByteArray out;
    out.reserve(body.size());
    for (qsizetype at = 0; at < body.size();) {
        const qsizetype start = at;
        QByteArrayView line = takeLine(body, at);
        const QByteArrayView lineEnd = body.sliced(start + line.size(), at - start - line.size());
        while (!line.isEmpty() && isBlank(line.back()))
            line.chop(1);
        const bool isSoft = line.endsWith('=');
        if (isSoft)
            line.chop(1);
        if (line.contains('='))
            out += decodeHexEscapes(line, '=');
        else
            out += line;
        if (!isSoft)
            out += lineEnd;
    }
    return out;
}

QByteArray WebMIMEMessage::decodeBase64(QByteArrayView body) {
    return QByteArray::fromBase64(QByteArray::fromRawData(body.data(), body.size()));
}

QByteArray WebMIMEMessage::decodeEncodedWords(QByteArrayView text) {
    QByteArray out;
    qsizetype at = 0;
    bool afterWord = false;
    while (at < text.size()) {
        const qsizetype start = text.indexOf("=?", at);
        if (start < 0)
            break;
        const qsizetype charsetEnd = text.indexOf('?', start + 2);
        const qsizetype wayEnd = charsetEnd < 0 ? -1 : text.indexOf('?', charsetEnd + 1);
        const qsizetype end = wayEnd < 0 ? -1 : text.indexOf("?=", wayEnd + 1);
        if (end < 0)
            break;
        QByteArray charset = text.sliced(start + 2, charsetEnd - start - 2).toByteArray();
        charset.truncate(charset.indexOf('*') < 0 ? charset.size() : charset.indexOf('*'));
        const QByteArrayView way = text.sliced(charsetEnd + 1, wayEnd - charsetEnd - 1);
        const WebTextEncoding encoding = WebTextEncodingForLabel(charset);
        const bool isBase64 = way.compare("B", Qt::CaseInsensitive) == 0;
        const QByteArrayView between = text.sliced(at, start - at);
        if (encoding == WebTextEncoding::None || (!isBase64 && way.compare("Q", Qt::CaseInsensitive) != 0)) {
            out += text.sliced(at, start + 2 - at);
            at = start + 2;
            afterWord = false;
            continue;
        }
        // Blanks between two encoded words only part them.
        if (!afterWord || !between.trimmed().isEmpty())
            out += between;
        QByteArray word = text.sliced(wayEnd + 1, end - wayEnd - 1).toByteArray();
        word = isBase64 ? QByteArray::fromBase64(word) : decodeHexEscapes(word.replace('_', ' '), '=');
        out += WebDecodeText(word, encoding).toUtf8();
        at = end + 2;
        afterWord = true;
    }
    out += text.sliced(at);
    return out;
}
