// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVariant>

namespace zr {

/// The object's keyed archive; nil, after a line in the log, if it can't be archived. Any thread.
QByteArray serialize(const QVariant &object);
/// The archived object; nil for empty data, and, after a line in the log, for what is no archive. Any thread.
QVariant unserialize(const QByteArray &data);

} // namespace zr
