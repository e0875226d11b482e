// SPDX-License-Identifier: MIT
#include "platform/text/UTF8.h"

#include <QStringConverter>

QString NSStringFromUTF8(QByteArrayView bytes) {
    if (bytes.isEmpty())
        return QStringLiteral("");
    if (!bytes.isValidUtf8())
        return {};
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(bytes);
}

QByteArray NSDataUsingUTF8(QStringView text) {
    if (text.isNull() || !text.isValidUtf16())
        return {};
    return text.isEmpty() ? QByteArrayLiteral("") : text.toUtf8();
}
