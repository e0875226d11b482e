// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSURLErrorCode.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>
#include <atomic>
#include <functional>
#include <memory>

namespace zr {

/// Fetches what documents refer to, by http and https from public addresses only (AddressPolicy.h): each is looked at when
/// a connection to it is about to be made. No redirect is followed, no cookie is kept, no proxy is used.
///
/// The work is done by a module, which is loaded with the first fetch. Any thread.
class PublicFetcher {
public:
    /// A header field: name and value.
    using Field = QPair<QString, QString>;
    struct Response {
        int status = 0; ///< 0 if there is no response; `code` and `why` then say what happened
        QList<Field> fields;
        QByteArray body; ///< unpacked
        NSURLErrorCode code = NSURLErrorUnknown;
        QString why;
        bool isTooMuch = false; ///< more bytes came than there were left
    };
    using Handler = std::function<void(const Response &)>;
    /// A fetch that is going on. It ends with the object, and its handler isn't called any more then.
    class Fetch {
    public:
        Fetch() = default;
        virtual ~Fetch() = default;
        Fetch(const Fetch &) = delete;
        Fetch &operator=(const Fetch &) = delete;
    };

    virtual ~PublicFetcher() = default;

    /// The process's one; nullptr if its module is not installed.
    static PublicFetcher *shared();

    /// Asks for a URL with GET.
    /// \param fields     what is sent besides what the transport needs
    /// \param bytesLeft  how many bytes of bodies may come yet; several fetches can share it
    /// \param handler    called once, on the fetcher's thread, where it must not wait; it may not end the fetch there
    virtual std::unique_ptr<Fetch> fetch(const QUrl &url, const QList<Field> &fields,
                                         const std::shared_ptr<std::atomic<qint64>> &bytesLeft,
                                         Handler handler) = 0;
};

} // namespace zr
