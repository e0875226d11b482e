// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// Two lower-case hexadecimal digits a byte, the high half first, without separators, in a text made at its
/// final length. Any thread.
QString NSHexText(QByteArrayView bytes);
