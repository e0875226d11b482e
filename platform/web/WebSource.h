// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebArchive.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>

namespace zr {

/// What a page is to load: markup, an address, an archive, or bytes in an unknown encoding. A value.
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
    /// Set if the body has to be decoded first, by the engine: what to load once its text is known. There is no address.
    std::function<WebSource(const QString &text)> decoded = {};
    /// What all requests are answered from; the address is then that of its main resource.
    std::optional<WebArchive> archive = {};
};

} // namespace zr
