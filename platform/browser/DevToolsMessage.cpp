// SPDX-License-Identifier: MIT
#include "platform/browser/DevToolsMessage.h"

#include <QJsonDocument>
#include <limits>
#include <openssl/evp.h>

using namespace zr;

namespace {

/// Strict Base64 as the browser writes it; null for anything else. Qt's decoder takes ten times as long, which would be
/// a twentieth of a small document's time.
QByteArray decodedBase64(QByteArrayView text) {
    if (text.size() > std::numeric_limits<int>::max())
        return {};
    QByteArray bytes(text.size() / 4 * 3, Qt::Uninitialized);
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()),
                                     reinterpret_cast<const unsigned char *>(text.data()), int(text.size()));
    if (size < 0)
        return {};
    const qsizetype padding = text.endsWith("==") ? 2 : text.endsWith('=') ? 1 : 0;
    bytes.truncate(size - padding);
    return bytes;
}

} // namespace

DevToolsParams &DevToolsParams::addValue(const char *key, const QJsonValue &value) {
    m_object.insert(QLatin1StringView(key), value);
    return *this;
}

DevToolsParams &DevToolsParams::addText(const char *key, const QString &text) {
    if (text.isValidUtf16())
        return addValue(key, text);
    const QList<uint> characters = text.toUcs4();
    return addValue(key, QString::fromUcs4(reinterpret_cast<const char32_t *>(characters.constData()),
                                           characters.size()));
}

DevToolsMessage::DevToolsMessage(const QByteArray &json)
    : m_text(json), m_message(QJsonDocument::fromJson(json).object()) {
}

DevToolsMessage DevToolsMessage::failure(const QString &why) {
    DevToolsMessage message;
    message.m_message[u"error"] = QJsonObject{{QStringLiteral("message"), why}};
    return message;
}

QString DevToolsMessage::error() const {
    const QJsonValue error = m_message[u"error"];
    const QString message = error[u"message"].toString();
    const QString detail = error[u"data"].toString();
    return detail.isEmpty() ? message : message + QStringLiteral(": ") + detail;
}

QJsonObject DevToolsMessage::object() const {
    return m_message[m_message.contains(u"method") ? u"params" : u"result"].toObject();
}

QByteArray DevToolsMessage::bytes(const char *member) const {
    // Taken where it stands: Base64 has no escapes, and as a string it would be of twice the size.
    const QByteArray opening = '"' + QByteArray(member) + "\":\"";
    const qsizetype found = m_text.indexOf(opening);
    if (found < 0)
        return {};
    const qsizetype start = found + opening.size();
    return decodedBase64(QByteArrayView(m_text).sliced(start, m_text.indexOf('"', start) - start));
}
