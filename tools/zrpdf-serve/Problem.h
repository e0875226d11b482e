// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-serve/HTTPMessage.h"

#include <QByteArray>
#include <QString>
#include <span>

namespace zr {

/// What can go wrong with a request. Each kind has a status and a code that clients may rely on.
struct Problem {
    enum class Kind {
        BadRequest,
        UnknownOption,
        BadOption,
        RepeatedOption,
        BadForm,
        BadURL,
        NoDocument,
        Unauthorized,
        NetworkNotAllowed,
        TimeoutNotAllowed,
        ForeignOrigin,
        NotFound,
        MethodNotAllowed,
        TooLarge,
        UnsupportedType,
        UnsupportedCoding,
        NotConvertible,
        QueueFull,
        UploadsFull,
        InternalError,
        EngineLost,
        Unavailable,
        Stopping,
        Unhealthy,
        Timeout,
    };

    Kind kind = Kind::BadRequest;
    QString detail = {};    ///< what is wrong with this very request, one sentence
    QString cause = {};     ///< what the converter says led to it; nil if it said nothing
    HTTPFields header = {}; ///< fields that the answer needs

    /// The codes of all kinds, in the order of the kinds.
    static std::span<const char *const> codes();
    int status() const;
    QByteArray code() const;
    /// The problem as a document of RFC 9457, with the members "code", "request_id" and "cause" beside the standard's.
    HTTPAnswer answer(const QByteArray &requestID) const;
};

} // namespace zr
