// SPDX-License-Identifier: MIT
#include "platform/documents/WebMIMEMessage.h"

#include "platform/base/ASCII.h"
#include "platform/base/NeverDestroyed.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <algorithm>
#include <initializer_list>

namespace zr {

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

/// The header fields of an entity, unfolded, up to the empty line; the first of several of one name counts.
struct Header {
    Fields fields;
    bool isStrict = true; ///< no line is anything else

    static Header take(QByteArrayView data, qsizetype &at) {
        Header header;
        QByteArray name, value;
        const auto keep = [&] {
            if (!name.isEmpty() && !header.fields.contains(name))
                header.fields.insert(name, value.trimmed());
            name.clear();
            value.clear();
        };
        const qsizetype start = at;
        while (at < data.size() && at - start < maximumHeader) {
            const QByteArrayView line = takeLine(data, at);
            if (line.isEmpty())
                break;
            if (isBlank(line[0])) {
                header.isStrict = header.isStrict && !name.isEmpty();
                value += ' ' + line.trimmed().toByteArray();
                continue;
            }
            const qsizetype colon = line.indexOf(':');
            header.isStrict =
                header.isStrict && colon > 0 &&
                std::all_of(line.begin(), line.begin() + colon, [](char c) { return c > ' ' && c < 0x7F; });
            if (colon < 1)
                continue;
            keep();
            name = line.first(colon).trimmed().toByteArray().toLower();
            value = line.sliced(colon + 1).toByteArray();
        }
        keep();
        return header;
    }
};

/// What is before a whole message: the line that mailboxes begin it with, and empty lines.
qsizetype startOfMessage(QByteArrayView data) {
    qsizetype at = 0;
    const auto skipEmptyLines = [&] {
        while (at < data.size() && (data[at] == '\n' || data[at] == '\r'))
            ++at;
    };
    skipEmptyLines();
    if (data.sliced(at).startsWith("From "))
        takeLine(data, at);
    skipEmptyLines();
    return at;
}

QByteArray decodeHexEscapes(QByteArrayView text, char escape) {
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == escape && i + 2 < text.size();
        const int high = isEscape ? hexDigitValue(uchar(text[i + 1])) : -1;
        const int low = isEscape ? hexDigitValue(uchar(text[i + 2])) : -1;
        if (high >= 0 && low >= 0) {
            out += char(high << 4 | low);
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

/// Cuts a field with parameters at its semicolons, and drops comments in parentheses (RFC 5322) and the
/// quotes of values. A value's quoted characters stand for themselves.
QByteArrayList readPieces(QByteArrayView field) {
    QByteArrayList pieces{QByteArray()};
    int depth = 0;
    bool isQuoted = false;
    for (qsizetype i = 0; i < field.size(); ++i) {
        const char c = field[i];
        const bool isEscape = c == '\\' && (isQuoted || depth > 0) && i + 1 < field.size();
        if (isEscape)
            ++i;
        else if (c == '"' && depth == 0)
            isQuoted = !isQuoted;
        else if (c == '(' && !isQuoted)
            ++depth;
        else if (c == ')' && depth > 0)
            --depth;
        else if (c == ';' && !isQuoted && depth == 0)
            pieces.append(QByteArray());
        else if (depth == 0)
            pieces.last() += isQuoted || !isBlank(c) ? c : ' ';
        if (isEscape && depth == 0)
            pieces.last() += field[i];
    }
    return pieces;
}

/// The first word of a field with parameters, in lower case; the parameters that are known, with the extended ones of
/// RFC 2231 put together.
QByteArray readField(QByteArrayView field, std::initializer_list<const char *> knownNames,
                     Fields &parameters) {
    const QByteArrayList pieces = readPieces(field);
    Fields written;
    for (const QByteArray &piece : pieces.sliced(1)) {
        const qsizetype equals = piece.indexOf('=');
        const QByteArray name = piece.left(equals).trimmed().toLower();
        if (equals > 0 && !name.isEmpty() && !written.contains(name))
            written.insert(name, piece.mid(equals + 1).trimmed());
    }
    const auto decodeExtended = [](const QByteArray &value, bool isFirst) {
        const qsizetype language = isFirst ? value.indexOf('\'', value.indexOf('\'') + 1) : -1;
        return decodeHexEscapes(QByteArrayView(value).sliced(language + 1), '%');
    };
    for (const char *known : knownNames) {
        const QByteArray name = known;
        QByteArray value = written.value(name);
        if (value.isNull() && written.contains(name + '*'))
            value = decodeExtended(written.value(name + '*'), true);
        for (int n = 0; !written.contains(name) && !written.contains(name + '*'); ++n) {
            const QByteArray part = name + '*' + QByteArray::number(n);
            if (!written.contains(part) && !written.contains(part + '*'))
                break;
            value += written.contains(part) ? written.value(part)
                                            : decodeExtended(written.value(part + '*'), n == 0);
        }
        if (!value.isNull())
            parameters.insert(name, value);
    }
    return pieces.first().trimmed().toLower();
}

QByteArray withoutBrackets(QByteArray text) {
    text = text.trimmed();
    if (text.startsWith('<') && text.endsWith('>'))
        text = text.mid(1, text.size() - 2);
    return text.trimmed();
}

/// A URL of a header field: encoded words decoded, and the blanks of folding gone.
QByteArray readURL(const QByteArray &field) {
    QByteArray url = withoutBrackets(WebMIMEMessage::decodeEncodedWords(field));
    if (url.startsWith('"') && url.endsWith('"') && url.size() > 1)
        url = url.mid(1, url.size() - 2);
    return url.replace(' ', "").replace('\t', "");
}

class Reader {
public:
    bool read(QByteArrayView data, WebMIMEPart &part, int depth) {
        if (depth > maximumDepth || ++m_count > maximumParts)
            return false;
        qsizetype at = depth == 0 ? startOfMessage(data) : 0;
        const Fields fields = Header::take(data, at).fields;
        return read(fields, data.sliced(at), part, depth);
    }

    bool read(const Fields &fields, QByteArrayView body, WebMIMEPart &part, int depth) {
        part.type = WebMIMEMessage::typeInField(fields.value("content-type"), &part.parameters);
        part.isTyped = !part.type.isEmpty();
        if (!part.isTyped)
            part.type = "text/plain";
        Fields disposition;
        readField(fields.value("content-disposition"), {"name", "filename"}, disposition);
        part.name = disposition.value("name");
        part.fileName = disposition.value("filename");
        part.contentID = withoutBrackets(fields.value("content-id"));
        part.location = readURL(fields.value("content-location"));
        part.base = readURL(fields.value("content-base"));
        if (part.isMultipart())
            return readParts(body, part, depth);
        const QByteArray encoding =
            readPieces(fields.value("content-transfer-encoding")).first().trimmed().toLower();
        if (part.type == "message/rfc822" && encoding != "base64" && encoding != "quoted-printable") {
            part.type = "multipart/mixed";
            return addPart(body, part, depth);
        }
        if (encoding == "base64")
            part.body = QByteArray::fromBase64(QByteArray::fromRawData(body.data(), body.size()));
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
        for (qsizetype at = 0, found; (found = body.indexOf(delimiter, at)) >= 0;) {
            at = found + 1;
            if (found > 0 && body[found - 1] != '\n')
                continue;
            qsizetype next = found;
            const QByteArrayView rest = takeLine(body, next).sliced(delimiter.size());
            const bool isLast = rest.startsWith("--");
            if (!isLast && !rest.trimmed().isEmpty())
                continue;
            if (start >= 0 && !addPart(withoutLastLineEnd(body.sliced(start, found - start)), part, depth))
                return false;
            if (isLast)
                return true;
            at = start = next;
        }
        return start < 0 || addPart(body.sliced(start), part, depth);
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

QByteArray WebMIMEMessage::typeInField(const QByteArray &field, QHash<QByteArray, QByteArray> *parameters) {
    return readField(field, {"boundary", "start", "charset"}, *parameters);
}

std::optional<WebMIMEPart> WebMIMEMessage::entityWithBody(const QByteArray &contentType,
                                                          const QByteArray &body) {
    WebMIMEPart root;
    if (!Reader().read({{"content-type", contentType}}, body, root, 0))
        return {};
    return root;
}

bool WebMIMEMessage::mayHoldPage(QByteArrayView data) {
    qsizetype at = startOfMessage(data);
    const Header header = Header::take(data, at);
    if (!header.isStrict)
        return false;
    const QByteArray type = header.fields.value("content-type").toLower();
    if (type.startsWith("multipart/"))
        return type.contains("boundary");
    return header.fields.contains("mime-version") &&
           (type.startsWith("text/html") || type.startsWith("application/xhtml+xml"));
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
        out += decodeHexEscapes(line, '=');
        if (!isSoft)
            out += lineEnd;
    }
    return out;
}

QByteArray WebMIMEMessage::decodeEncodedWords(const QByteArray &text) {
    // Blanks between two encoded words only part them.
    static const NeverDestroyed<QRegularExpression> words(QStringLiteral(
        R"(=\?([^?*\s]+)(?:\*[^?\s]*)?\?([BbQq])\?([^?]*)\?=(?:\s+(?==\?[^?\s]+\?[BbQq]\?[^?]*\?=))?)"));
    QByteArray out;
    qsizetype copied = 0;
    // One unit of Latin-1 is one byte of the text.
    for (auto each = words->globalMatch(QString::fromLatin1(text)); each.hasNext();) {
        const QRegularExpressionMatch word = each.next();
        QStringDecoder decoder(word.captured(1).toLatin1().constData());
        if (!decoder.isValid())
            continue;
        QByteArray bytes = word.captured(3).toLatin1();
        bytes = word.captured(2).toLower() == u'b' ? QByteArray::fromBase64(bytes)
                                                   : decodeHexEscapes(bytes.replace('_', ' '), '=');
        out += text.mid(copied, word.capturedStart() - copied) + QString(decoder(bytes)).toUtf8();
        copied = word.capturedEnd();
    }
    return out + text.mid(copied);
}

} // namespace zr
