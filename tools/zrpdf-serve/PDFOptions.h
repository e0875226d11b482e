// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-serve/HTTPMessage.h"
#include "tools/zrpdf-serve/PDFRequest.h"

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QUrl>

namespace zr {

/// The options of a request for a PDF, wherever they stand: in the query, in fields of the header that begin with
/// "Zrpdf-", or in a form. Each may be given once. A value; any thread.
class PDFOptions {
public:
    explicit PDFOptions(const PDFRequest::Limits &limits)
        : timeout(limits.timeout), network(limits.network), m_limits(limits) {}

    /// Take what is given. Throw Problem for what is unknown, wrong, given before, or more than is allowed.
    void take(const HTTPFields &fields);
    void takeHeader(const HTTPFields &header);

    QString title;   ///< null if it wasn't given
    QString creator; ///< null if it wasn't given
    bool tagged = false;
    std::chrono::milliseconds timeout;
    NetworkMode network;
    QUrl url; ///< empty if it wasn't given

private:
    void take(const QByteArray &name, const QByteArray &value);

    PDFRequest::Limits m_limits;
    QSet<QByteArray> m_taken;
};

} // namespace zr
