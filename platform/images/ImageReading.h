// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QSize>
#include <memory>

class NSImageRep;

namespace zr {

/// The pictures in a file's bytes; see NSImage::imageWithData() for formats, limits and `atLeast`. Any thread.
QList<std::shared_ptr<NSImageRep>> representationsInData(const QByteArray &data, const QSize &atLeast);

} // namespace zr
