// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebArchive.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace zr {

/// What a page is to load: markup, an address, or an archive. A value.
struct WebSource {
    /// Text that is parsed where the page is, without an address of its own.
    QString markup = {};
    /// An empty document whose type is the one to parse the markup by; empty for HTML.
    QString blankUrl = {};
    /// The document is nothing without its one picture: if the engine can't decode that, the load fails.
    bool isPicture = false;

    /// Where to go, if it isn't markup.
    QString url = {};
    /// What the request for the address is answered with, in place of its server; nothing where the type is empty.
    QByteArray body = {}, contentType = {};
    /// What all requests are answered from; the address is then that of its main resource.
    std::optional<WebArchive> archive = {};
};

} // namespace zr
