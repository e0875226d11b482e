// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// All bytes of the file at a path; nil where it can't be read to its end, as for folders, and for a path
/// that is nil, empty or holds a zero. Links are followed. Blocks while it reads; any thread.
QByteArray NSDataWithContentsOfFile(const QString &path);
