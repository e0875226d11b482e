// SPDX-License-Identifier: MIT
#include "platform/text/HexText.h"

QString NSHexText(QByteArrayView bytes) {
    constexpr char16_t digits[] = u"0123456789abcdef";
    QString text(bytes.size() * 2, Qt::Uninitialized);
    QChar *out = text.data();
    for (const char c : bytes) {
        *out++ = digits[uchar(c) >> 4];
        *out++ = digits[uchar(c) & 15];
    }
    return text;
}
