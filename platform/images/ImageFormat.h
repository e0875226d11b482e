// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace zr {

/// Which of the formats that are read a file's first bytes announce, by the name of Qt's plugin for it; nil for any other.
/// Text that could be XML is "svg". No plugin is asked, so that bytes reach only the plugins of these formats. Any thread.
QByteArray imageFormatOf(QByteArrayView bytes);

} // namespace zr
