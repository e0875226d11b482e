// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QUrl>

/// What a URL of the schemes http, https, file and data refers to; nil on any failure, no bytes if it is
/// empty.
///
/// HTTP goes as with NSURLConnection: it follows up to 20 redirects (308 too), to http and https only,
/// unpacks bodies and verifies certificates. A status of 400 or more is a failure, and so is a minute without
/// a byte, or a body of more than 1 GB. File URLs name a file of this host; data URLs are read as RFC 2397
/// says.
///
/// Blocks the calling thread for the whole download, so it isn't for a thread that must answer. Any thread.
QByteArray NSDataWithContentsOfURL(const QUrl &url);
