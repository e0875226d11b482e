// SPDX-License-Identifier: MIT
#pragma once

#include "platform/text/MessageDigest.h"

#include <QString>

/// The digest of a file's whole content, read piece by piece in constant memory. Of a file that grows while
/// it is read, what it held at the beginning; of what can't be read to its end, of folders, pipes and missing
/// files, that of no bytes. Links are followed. Blocks while it reads; any thread.
QByteArray NSMessageDigestOfFile(zr::MessageDigest digest, const QString &path);
