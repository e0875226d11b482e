// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSURLConnection.h"
#include "platform/operations/NSOperation.h"
#include "platform/operations/NSOperationQueue.h"
#include "platform/operations/NSRecursiveLock.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QVariant>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

class NSFileHandle;

/// Fetches one request over HTTP or HTTPS (file and data URLs too) and hands itself to a block when the
/// response is complete.
///
///     ZRFetchOperation::fetch(QStringLiteral("https://example.org/feed.json"), [](const auto &operation) {
///         if (operation->OK())
///             use(operation->json());
///         else
///             report(operation->localizedErrorString());
///     });
///
/// Set it up on one thread, then call fetch(). All fetches of the process share one queue, which runs 6 at
/// once, and one network thread, which runs every completion and progress block: a block that takes long
/// holds up all of them. Results are read inside the completion block; afterwards data, request, url, error
/// and connection are nil again, while the status, the header fields and the user info stay. fetch(),
/// cancel(), description() and everything that reads may be called from any thread, at any time; what is set
/// before fetch() is set on one thread, and the request, which is shared, is read and changed before fetch()
/// or inside the blocks.
///
/// **Servers are not verified by default:** whatever certificate an HTTPS server shows is accepted, so that
/// anybody on the way can read and change what is fetched. setVerifiesServerTrust(true) makes the fetch check
/// certificates and host names and fail if they don't hold.
///
/// Redirects (301, 302, 303, 307) keep the method, the header fields, cookies included, and the body, to
/// whatever host they lead. A proxy is set for the whole process, with NSURLConnection::setProxyURL().
class ZRFetchOperation : public NSOperation, public NSURLConnectionDelegate {
    Q_OBJECT
    Q_PROPERTY(double progress READ progress)
    Q_PROPERTY(bool forcedRedirect READ forcedRedirect WRITE setForcedRedirect)
    Q_PROPERTY(bool cookiesAllowed READ cookiesAllowed WRITE setCookiesAllowed)
    Q_PROPERTY(QUrl url READ url WRITE setUrl)
    Q_PROPERTY(QString username READ username WRITE setUsername)
    Q_PROPERTY(QString password READ password WRITE setPassword)
    Q_PROPERTY(QByteArray data READ data)
    Q_PROPERTY(qint64 statusCode READ statusCode)
    Q_PROPERTY(quint64 fetchCount READ fetchCount WRITE setFetchCount)
    Q_PROPERTY(QVariant userInfo READ userInfo WRITE setUserInfo)
    Q_PROPERTY(QString description READ description)
    Q_PROPERTY(bool OK READ OK)
    Q_PROPERTY(QByteArray dataOK READ dataOK)
    Q_PROPERTY(QString string READ string)
    Q_PROPERTY(QString stringOK READ stringOK)
    Q_PROPERTY(QVariant json READ json)
    Q_PROPERTY(QVariant jsonOK READ jsonOK)
    Q_PROPERTY(QVariant xml READ xml)
    Q_PROPERTY(QVariant xmlOK READ xmlOK)
    Q_PROPERTY(QString log READ log)
    Q_PROPERTY(QString localizedErrorString READ localizedErrorString)

public:
    using Operation = std::shared_ptr<ZRFetchOperation>;
    using Block = std::function<void(const Operation &)>;
    using Request = std::shared_ptr<NSURLRequest>;

    /// Made with std::make_shared. The first argument is a URL, a string or a request; nil leaves it to
    /// setURLOrRequest(). The block is called once, on the network thread, unless the fetch is cancelled.
    explicit ZRFetchOperation(const QVariant &urlOrRequest, Block block = nullptr);
    explicit ZRFetchOperation(const Request &request, Block block = nullptr);
    explicit ZRFetchOperation(const char16_t *url, Block block = nullptr)
        : ZRFetchOperation(QVariant(QString::fromUtf16(url)), std::move(block)) {}
    ZRFetchOperation();
    ~ZRFetchOperation() override;

    /// Makes an operation, starts it and gives it.
    static Operation fetch(const QVariant &urlOrRequest, Block block);
    static Operation fetch(const Request &request, Block block);
    static Operation fetch(const char16_t *url, Block block) {
        return fetch(QVariant(QString::fromUtf16(url)), std::move(block));
    }

    /// A request is taken as it is, and shared if it can be changed. For a URL, or a string that is one, a
    /// GET that passes by local caches, with a time-out of 60 seconds. Anything else is logged.
    void setURLOrRequest(const QVariant &urlOrRequest);
    void setURLOrRequest(const Request &request);
    void setURLOrRequest(const char16_t *url) { setURLOrRequest(QVariant(QString::fromUtf16(url))); }

    /// Adds the operation to the queue and gives it; nil, with a line in the log, once it is executing or
    /// finished.
    Operation fetch();
    Operation fetchWithBlock(Block block);
    /// A new operation that would fetch the present request again, with its completion block, cookies, user
    /// name and password, but not its progress block, file handle or user info. Once the fetch is over there
    /// is no request any more: call it in the completion block.
    Operation copyFetch() const;
    /// copyFetch(), started.
    Operation fetchAgain() const;

    /// The queue of all fetches.
    static NSOperationQueue *sharedOperationQueue();
    /// The thread of all connections and blocks.
    static zr::TransferLoop &networkRequestThread();
    /// A folder of this process's user for files that are being downloaded, made on the first call; nil if
    /// there is no folder for temporary files.
    QString incompleteDownloadDirectoryPath() const;

    void start() override;
    /// Ends the fetch, if it isn't over, without a call of its completion block; any thread.
    void cancel() override;
    bool isConcurrent() const override { return true; }
    bool isExecuting() const override { return m_executing; }
    bool isFinished() const override { return m_finished; }
    bool isCancelled() const override { return m_cancelled; }
    QString description() const;

    // What can be set before fetch().

    /// Fetch the request once more when the response is a 301, 302, 303 or 307 (which it is only if it names
    /// no location), as often as that happens; true by default.
    bool forcedRedirect() const { return m_forcedRedirect; }
    void setForcedRedirect(bool forced) { m_forcedRedirect = forced; }
    /// Use the shared cookie store if there is no store of the fetch's own; false by default.
    bool cookiesAllowed() const { return m_cookiesAllowed; }
    void setCookiesAllowed(bool allowed) { m_cookiesAllowed = allowed; }
    /// A store of the fetch's own: any object with `QVariantList cookiesForURL(QUrl)` and `void
    /// setCookies(QVariantList)` among its invokable methods; a cookie is an NSHTTPCookie. An
    /// NSHTTPCookieStorage is one. It gets the cookies of every response, those that are redirects or ask for
    /// a password included. Any thread may set it.
    std::shared_ptr<QObject> cookieStorage() const { return get(m_cookieStorage); }
    void setCookieStorage(const std::shared_ptr<QObject> &storage) { put(m_cookieStorage, storage); }
    /// Both are needed to answer a server that asks for Basic or Digest authentication.
    QString username() const { return m_username; }
    void setUsername(const QString &username) { m_username = username; }
    QString password() const { return m_password; }
    void setPassword(const QString &password) { m_password = password; }
    /// Whether certificates and host names are verified, against the system's certificates; false by default.
    bool verifiesServerTrust() const { return m_verifiesServerTrust; }
    void setVerifiesServerTrust(bool verifies) { m_verifiesServerTrust = verifies; }
    Block completeBlock() const { return get(m_completeBlock); }
    void setCompleteBlock(Block block) { put(m_completeBlock, std::move(block)); }
    /// Called when a response begins and for each piece of its body unless that was announced as empty.
    Block progressBlock() const { return get(m_progressBlock); }
    void setProgressBlock(Block block) { put(m_progressBlock, std::move(block)); }
    /// Takes the body in place of data; closed before the completion block is called.
    std::shared_ptr<NSFileHandle> downloadFileHandle() const { return get(m_downloadFileHandle); }
    void setDownloadFileHandle(const std::shared_ptr<NSFileHandle> &handle) {
        put(m_downloadFileHandle, handle);
    }
    /// Holds method, header fields and body. nil before a URL is set, and once the fetch is over.
    std::shared_ptr<NSMutableURLRequest> request() const { return get(m_request); }
    void setRequest(const std::shared_ptr<NSMutableURLRequest> &request) { put(m_request, request); }
    QUrl url() const { return get(m_url); }
    void setUrl(const QUrl &url) { put(m_url, url); }
    /// How many times the fetch has been repeated. Any thread.
    quint64 fetchCount() const { return m_fetchCount; }
    void setFetchCount(quint64 count) { m_fetchCount = count; }
    QVariant userInfo() const { return m_userInfo; }
    void setUserInfo(const QVariant &userInfo) { m_userInfo = userInfo; }

    // What the fetch gives.

    /// The received part of the body, from 0 to 1; 0 if the length isn't known. Packed bodies count unpacked
    /// against their packed length, so they may reach 1 early.
    double progress() const;
    qint64 expectedBytes() const { return m_expectedBytes; }
    qint64 receivedBytes() const { return m_receivedBytes; }
    /// The last response's header fields; nil before one. Constant, so that the iterators of two calls belong
    /// together.
    const std::optional<QVariantMap> headers() const { return get(m_headers); }
    /// nil if nothing failed.
    NSError error() const { return get(m_error); }
    std::shared_ptr<NSURLConnection> connection() const { return get(m_connection); }
    /// nil before a response.
    QByteArray data() const { return get(m_data); }
    /// The last HTTP response's; 0 before one, and for file and data URLs.
    qint64 statusCode() const { return m_statusCode; }

    /// Whether the status is 200; 201 to 299 are not.
    bool OK() const { return m_statusCode == 200; }
    /// The following with OK are nil unless OK().
    QByteArray dataOK() const;
    /// The body as UTF-8; empty if there is none, nil if it isn't UTF-8.
    QString string() const;
    QString stringOK() const;
    /// The body read as a JSON array or object; nil if it isn't one.
    QVariant json() const;
    QVariant jsonOK() const;
    /// The body read as XML, as ZRXML makes a tree of it; nil if it can't be.
    QVariant xml() const;
    QVariant xmlOK() const;
    /// A text for the user; empty if all went well.
    QString localizedErrorString() const;
    /// One line for logs: status, URL, error and body.
    QString log() const;
    /// The request as lines for logs: method and URL, then a line for each header field. The argument isn't
    /// used.
    Q_INVOKABLE QString logRequest(const QVariant &unused = {}) const;

    // Steps and answers to the connection, on the network thread.

    void startFetching();
    void addCookiesToRequest(const std::shared_ptr<NSMutableURLRequest> &request);
    void handleCookiesForResponse(const std::shared_ptr<NSHTTPURLResponse> &response);
    void cancelConnection();
    void finished();

    std::shared_ptr<NSURLRequest>
    connectionWillSendRequest(const Connection &connection, const Request &request,
                              const std::shared_ptr<NSURLResponse> &redirectResponse) override;
    bool connectionCanAuthenticateAgainstProtectionSpace(const Connection &connection,
                                                         const NSURLProtectionSpace &space) override;
    void connectionDidReceiveAuthenticationChallenge(const Connection &connection,
                                                     const NSURLAuthenticationChallenge &challenge) override;
    void connectionDidReceiveResponse(const Connection &connection,
                                      const std::shared_ptr<NSURLResponse> &response) override;
    void connectionDidReceiveData(const Connection &connection, QByteArrayView data) override;
    void connectionDidFinishLoading(const Connection &connection) override;
    void connectionDidFailWithError(const Connection &connection, const NSError &error) override;
    /// nil, whatever the response: nothing is ever cached.
    QVariant connectionWillCacheResponse(const Connection &, const QVariant &) { return {}; }

protected:
    /// The queue of all fetches, made with the first operation.
    static std::atomic<NSOperationQueue *> sGlobalOperationQueue;
    /// What loads the request; for subclasses that bring their own.
    virtual std::shared_ptr<NSURLConnection> connectionWithRequest(const Request &request);
    /// Held while the operation starts, makes its connection, and is cancelled.
    NSRecursiveLock &lock() { return m_lock; }

private:
    static void initialize();
    Operation self() const;
    void performOnNetworkThread(void (ZRFetchOperation::*step)());
    void callBlock(const Block &block, const char *name);
    void writeToFile(NSFileHandle &handle, QByteArrayView data);
    void announce(const QString &key, std::atomic<bool> &flag, bool value);
    template <typename Field>
    Field get(const Field &field) const {
        const std::lock_guard lock(m_fieldsMutex);
        return field;
    }
    /// Gives what was there: to let go of it may run code of others, which must not happen under the lock.
    template <typename Field>
    Field put(Field &field, std::type_identity_t<Field> value) {
        const std::lock_guard lock(m_fieldsMutex);
        std::swap(field, value);
        return value;
    }

    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_finished{false};
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_isFinishing{false};
    NSRecursiveLock m_lock;
    std::atomic<qint64> m_expectedBytes{0};
    std::atomic<qint64> m_receivedBytes{0};
    std::atomic<double> m_progress{0};
    std::atomic<qint64> m_statusCode{0};
    bool m_forcedRedirect = true;
    bool m_cookiesAllowed = false;
    bool m_verifiesServerTrust = false;
    QString m_username;
    QString m_password;
    QVariant m_userInfo;
    std::atomic<quint64> m_fetchCount{0};
    /// Guards what follows, which any thread may read while the network thread changes it.
    mutable std::mutex m_fieldsMutex;
    Block m_completeBlock;
    Block m_progressBlock;
    std::shared_ptr<NSFileHandle> m_downloadFileHandle;
    QUrl m_url;
    std::shared_ptr<NSMutableURLRequest> m_request;
    std::optional<QVariantMap> m_headers;
    NSError m_error;
    std::shared_ptr<NSURLConnection> m_connection;
    std::shared_ptr<QObject> m_cookieStorage;
    QByteArray m_data;
};
