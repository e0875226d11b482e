// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

/// The text that the bytes are in UTF-8 (RFC 3629), exactly: a byte-order mark stays, as U+FEFF. nil if they
/// are not valid UTF-8; the empty text for no bytes. Any thread.
QString NSStringFromUTF8(QByteArrayView bytes);

/// The bytes of the text in UTF-8. nil if that would lose something: for nil, and for a text with a
/// surrogate that has no partner. Any thread.
QByteArray NSDataUsingUTF8(QStringView text);
