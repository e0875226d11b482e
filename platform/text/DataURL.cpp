// SPDX-License-Identifier: MIT
#include "platform/text/DataURL.h"

#include <QByteArrayList>

namespace zr {

DataURL::DataURL(const QByteArray &url) {
    constexpr qsizetype scheme = 5;
    const qsizetype comma = url.indexOf(',');
    if (!url.left(scheme).toLower().startsWith("data:") || comma < 0)
        return;
    bool isBase64 = false;
    QByteArrayList parts = QByteArray::fromPercentEncoding(url.mid(scheme, comma - scheme)).split(';');
    const QByteArray type = parts.takeFirst().trimmed().toLower();
    if (type.contains('/'))
        m_mimeType = type;
    for (const QByteArray &part : parts) {
        const QByteArray parameter = part.trimmed();
        if (parameter.toLower().startsWith("charset=") && m_charset.isEmpty())
            m_charset = parameter.mid(8).replace('"', "");
        isBase64 = parameter.toLower() == "base64";
    }
    m_body = QByteArray::fromPercentEncoding(url.mid(comma + 1));
    if (isBase64)
        m_body = QByteArray::fromBase64(m_body);
    if (m_body.isNull())
        m_body = "";
}

} // namespace zr
