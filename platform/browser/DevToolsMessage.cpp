// SPDX-License-Identifier: MIT
#include "platform/browser/DevToolsMessage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr char hexDigits[] = "0123456789abcdef";

/// The second character of a two-character escape, 'u' for those that need four digits, 0 for none.
constexpr std::array<char, 128> makeEscapes() {
    std::array<char, 128> escapes{};
    for (int c = 0; c < 0x20; ++c)
        escapes[size_t(c)] = 'u';
    escapes['\b'] = 'b';
    escapes['\f'] = 'f';
    escapes['\n'] = 'n';
    escapes['\r'] = 'r';
    escapes['\t'] = 't';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    escapes[0x7f] = 'u';
    return escapes;
}
constexpr std::array<char, 128> escapes = makeEscapes();

char *writeAscii(char *out, unsigned char c) {
    const char escape = escapes[c];
    if (!escape) {
        *out++ = char(c);
    } else if (escape == 'u') {
        std::copy_n("\\u00", 4, out);
        out[4] = hexDigits[c >> 4];
        out[5] = hexDigits[c & 15];
        out += 6;
    } else {
        *out++ = '\\';
        *out++ = escape;
    }
    return out;
}

/// Six bytes an UTF-16 unit is the most that escaping takes.
constexpr qsizetype worstCase = 6;

void appendString(QByteArray &json, QStringView text) {
    const qsizetype start = json.size();
    // Twice the text's length is seldom exceeded; each step below makes sure of its own room.
    json.resize(start + text.size() * 2 + 64);
    char *out = json.data() + start;
    char *limit = json.data() + json.size() - 2 * worstCase - 1;
    *out++ = '"';
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (out >= limit) {
            const qsizetype used = out - json.data();
            json.resize(used + (text.size() - i) * 3 + 64);
            out = json.data() + used;
            limit = json.data() + json.size() - 2 * worstCase - 1;
        }
        char32_t c = text[i].unicode();
        if (c < 0x80) {
            out = writeAscii(out, static_cast<unsigned char>(c));
            continue;
        }
        if (QChar::isSurrogate(c)) {
            const bool pair =
                QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate();
            c = pair ? QChar::surrogateToUcs4(char16_t(c), text[++i].unicode())
                     : char32_t(QChar::ReplacementCharacter);
        }
        if (c < 0x800) {
            *out++ = char(0xc0 | (c >> 6));
        } else {
            if (c < 0x10000) {
                *out++ = char(0xe0 | (c >> 12));
            } else {
                *out++ = char(0xf0 | (c >> 18));
                *out++ = char(0x80 | ((c >> 12) & 0x3f));
            }
            *out++ = char(0x80 | ((c >> 6) & 0x3f));
        }
        *out++ = char(0x80 | (c & 0x3f));
    }
    *out++ = '"';
    json.truncate(out - json.constData());
}

bool isPlainAscii(QByteArrayView text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

/// Walks over JSON text that the browser wrote; anything malformed ends the walk.
class Scanner {
public:
    explicit Scanner(QByteArrayView text) : m_at(text.data()), m_end(text.data() + text.size()) {}

    bool take(char c) {
        space();
        if (m_at >= m_end || *m_at != c)
            return false;
        ++m_at;
        return true;
    }

    /// The text between the quotes, escapes untouched; null on failure.
    QByteArrayView string() {
        if (!take('"'))
            return {};
        const char *start = m_at;
        while (m_at < m_end) {
            const auto *quote = static_cast<const char *>(std::memchr(m_at, '"', size_t(m_end - m_at)));
            if (!quote)
                break;
            const char *slash = quote;
            while (slash > start && slash[-1] == '\\')
                --slash;
            m_at = quote + 1;
            if ((quote - slash) % 2 == 0)
                return QByteArrayView(start, quote);
        }
        m_at = m_end;
        return {};
    }

    /// Any value's text; null on failure.
    QByteArrayView value() {
        space();
        const char *start = m_at;
        if (m_at >= m_end)
            return {};
        if (*m_at == '"') {
            if (string().isNull())
                return {};
        } else if (*m_at == '{' || *m_at == '[') {
            int depth = 0;
            do {
                if (*m_at == '"') {
                    if (string().isNull())
                        return {};
                    continue;
                }
                depth += *m_at == '{' || *m_at == '[';
                depth -= *m_at == '}' || *m_at == ']';
                ++m_at;
            } while (depth > 0 && m_at < m_end);
            if (depth > 0)
                return {};
        } else {
            while (m_at < m_end && *m_at != ',' && *m_at != '}' && *m_at != ']')
                ++m_at;
        }
        return QByteArrayView(start, m_at);
    }

    /// Calls back with each member's name and its value's text.
    template <typename Visit>
    bool members(Visit visit) {
        if (!take('{'))
            return false;
        if (take('}'))
            return true;
        do {
            const QByteArrayView name = string();
            if (name.isNull() || !take(':'))
                return false;
            const QByteArrayView text = value();
            if (text.isNull())
                return false;
            visit(name, text);
        } while (take(','));
        return take('}');
    }

private:
    void space() {
        while (m_at < m_end && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t'))
            ++m_at;
    }
    const char *m_at;
    const char *m_end;
};

QByteArrayView unquoted(QByteArrayView text) {
    return text.size() >= 2 && text.front() == '"' ? text.sliced(1, text.size() - 2) : QByteArrayView();
}

constexpr std::array<quint8, 256> makeBase64Values() {
    std::array<quint8, 256> values{};
    values.fill(0xff);
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(alphabet[i])] = quint8(i);
    return values;
}
constexpr std::array<quint8, 256> base64Values = makeBase64Values();

/// Strict Base64 as the browser writes it; null when it is anything else.
QByteArray decodeBase64(QByteArrayView text) {
    if (text.size() % 4 != 0)
        return {};
    qsizetype padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
        ++padding;
    QByteArray bytes(text.size() / 4 * 3, Qt::Uninitialized);
    const auto *in = reinterpret_cast<const uchar *>(text.data());
    auto *out = reinterpret_cast<uchar *>(bytes.data());
    const uchar *lastWhole = in + text.size() - (padding ? 4 : 0);
    quint8 bad = 0;
    for (; in < lastWhole; in += 4, out += 3) {
        const quint8 a = base64Values[in[0]], b = base64Values[in[1]], c = base64Values[in[2]],
                     d = base64Values[in[3]];
        bad |= a | b | c | d;
        out[0] = uchar(a << 2 | b >> 4);
        out[1] = uchar(b << 4 | c >> 2);
        out[2] = uchar(c << 6 | d);
    }
    if (padding) {
        const quint8 a = base64Values[in[0]], b = base64Values[in[1]];
        const quint8 c = padding == 2 ? quint8(0) : base64Values[in[2]];
        bad |= a | b | c;
        out[0] = uchar(a << 2 | b >> 4);
        out[1] = uchar(b << 4 | c >> 2);
    }
    // Valid values take six bits only.
    if (bad & 0xc0)
        return {};
    bytes.truncate(bytes.size() - padding);
    return bytes;
}

} // namespace

void DevToolsParams::key(const char *key) {
    m_members += m_members.isEmpty() ? "\"" : ",\"";
    m_members += key;
    m_members += "\":";
}

DevToolsParams &DevToolsParams::add(const char *name, QStringView text) {
    key(name);
    appendString(m_members, text);
    return *this;
}

DevToolsParams &DevToolsParams::add(const char *name, QByteArrayView utf8) {
    if (!isPlainAscii(utf8))
        return add(name, QStringView(QString::fromUtf8(utf8)));
    key(name);
    m_members.reserve(m_members.size() + utf8.size() + utf8.size() / 8 + 16);
    m_members += '"';
    const char *run = utf8.begin();
    for (const char *at = utf8.begin(); at != utf8.end(); ++at) {
        if (!escapes[static_cast<unsigned char>(*at)])
            continue;
        char escaped[worstCase];
        char *end = writeAscii(escaped, static_cast<unsigned char>(*at));
        m_members.append(run, at - run);
        m_members.append(escaped, end - escaped);
        run = at + 1;
    }
    m_members.append(run, utf8.end() - run);
    m_members += '"';
    return *this;
}

DevToolsParams &DevToolsParams::add(const char *name, double value) {
    return addJson(name, QByteArray::number(value, 'g', 17));
}

DevToolsParams &DevToolsParams::add(const char *name, const QJsonValue &value) {
    // Only arrays and objects make a document of their own.
    const QByteArray wrapped = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return addJson(name, QByteArrayView(wrapped).sliced(1, wrapped.size() - 2));
}

DevToolsParams &DevToolsParams::addJson(const char *name, QByteArrayView json) {
    key(name);
    m_members.append(json.data(), json.size());
    return *this;
}

DevToolsMessage::DevToolsMessage(QByteArray text) : m_text(std::move(text)) {
    m_valid = Scanner(m_text).members([this](QByteArrayView name, QByteArrayView value) {
        if (name == "id")
            m_id = value.toByteArray().toInt();
        else if (name == "method")
            m_method = unquoted(value);
        else if (name == "sessionId")
            m_session = unquoted(value);
        else if (name == "result" || name == "params")
            m_payload = value;
        else if (name == "error")
            m_error = value;
    });
}

DevToolsMessage DevToolsMessage::failure(const QString &why) {
    DevToolsParams reason;
    reason.add("message", why);
    return DevToolsMessage("{\"error\":{" + reason.members() + "}}");
}

QString DevToolsMessage::error() const {
    if (m_error.isEmpty())
        return {};
    const QJsonObject error = QJsonDocument::fromJson(m_error.toByteArray()).object();
    const QString message = error[QLatin1StringView("message")].toString();
    const QString detail = error[QLatin1StringView("data")].toString();
    return detail.isEmpty() ? message : message + QStringLiteral(": ") + detail;
}

QJsonObject DevToolsMessage::object() const {
    return QJsonDocument::fromJson(QByteArray::fromRawData(m_payload.data(), m_payload.size())).object();
}

QByteArray DevToolsMessage::bytes(const char *member) const {
    QByteArrayView found;
    Scanner(m_payload).members([&](QByteArrayView name, QByteArrayView value) {
        if (name == QByteArrayView(member))
            found = unquoted(value);
    });
    return found.isNull() ? QByteArray() : decodeBase64(found);
}
