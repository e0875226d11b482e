// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/NetworkMode.h"
#include "tools/zrpdf-serve/HTTPMessage.h"

#include <QVariantMap>
#include <chrono>

namespace zr {

/// What a request for a PDF asks for. A value; any thread.
struct PDFRequest {
    /// The most that may be asked for.
    struct Limits {
        std::chrono::milliseconds timeout;
        NetworkMode network;
    };

    QVariantMap task = {}; ///< as the service takes it
    std::chrono::milliseconds timeout;

    /// Reads what is known before the body has come. Throws Problem.
    static void checkHead(const HTTPRequest &head, const Limits &limits);
    /// Reads all of it. Throws Problem.
    static PDFRequest read(const HTTPRequest &request, const Limits &limits);
};

} // namespace zr
