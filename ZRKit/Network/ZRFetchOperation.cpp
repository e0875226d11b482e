// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "ZRKit/Values/KitError.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/files/NSFileHandle.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/net/NSHTTPCookie.h"
#include "platform/net/TransferLoop.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"

#include <QCoreApplication>
#include <QDir>
#include <algorithm>
#include <utility>

using namespace zr;

namespace {

/// More is not taken at the word of a server alone.
constexpr qint64 mostReserved = 64 << 20;

/// Writes the assertion line unless the condition holds.
void check(bool holds, const char *function, const char *condition, int line,
           const char *message = "Assertion") {
    if (!holds)
        ZRKit::zxAssertFailed(function, condition, "ZRFetchOperation", line, message);
}

QString localized(const char *text) {
    return QCoreApplication::translate("", text);
}

/// The text is looked up and filled with the user's name.
NSError errorWithText(int code, const char *source, const QString &username) {
    return kitError(code, NSFormat(localized(source).toUtf8().constData(), {username}));
}

bool isPasswordMethod(const QString &method) {
    return method == NSURLAuthenticationMethodHTTPBasic || method == NSURLAuthenticationMethodHTTPDigest;
}

} // namespace

std::atomic<NSOperationQueue *> ZRFetchOperation::sGlobalOperationQueue{nullptr};

void ZRFetchOperation::initialize() {
    static std::once_flag made;
    std::call_once(made, [] {
        // Never destroyed: its operations may outlive main().
        auto *queue = new NSOperationQueue;
        queue->setName(QStringLiteral("com.velmora.zrkit.fetchoperations"));
        queue->setMaxConcurrentOperationCount(6);
        sGlobalOperationQueue = queue;
    });
}

ZRFetchOperation::ZRFetchOperation(const QVariant &urlOrRequest, Block block) {
    initialize();
    m_lock.setName(QStringLiteral("com.velmora.zrkit.fetchoperationslock"));
    if (!NSIsNil(urlOrRequest))
        setURLOrRequest(urlOrRequest);
    if (block)
        setCompleteBlock(std::move(block));
}

ZRFetchOperation::ZRFetchOperation(const Request &request, Block block)
    : ZRFetchOperation(QVariant(), std::move(block)) {
    if (request)
        setURLOrRequest(request);
}

ZRFetchOperation::ZRFetchOperation() : ZRFetchOperation(QVariant()) {
}

ZRFetchOperation::~ZRFetchOperation() = default;

ZRFetchOperation::Operation ZRFetchOperation::fetch(const QVariant &urlOrRequest, Block block) {
    auto operation = std::make_shared<ZRFetchOperation>(urlOrRequest);
    operation->setCompleteBlock(std::move(block));
    operation->fetch();
    return operation;
}

ZRFetchOperation::Operation ZRFetchOperation::fetch(const Request &request, Block block) {
    return fetch(QVariant::fromValue(request), std::move(block));
}

void ZRFetchOperation::setURLOrRequest(const QVariant &urlOrRequest) {
    constexpr const char *function = "-[ZRFetchOperation setURLOrRequest:]";
    check(!NSIsNil(urlOrRequest), function, "(urlorreq)", 574);
    const QMetaType type = urlOrRequest.metaType();
    std::optional<QUrl> url;
    if (type == QMetaType::fromType<Request>() ||
        type == QMetaType::fromType<std::shared_ptr<NSMutableURLRequest>>()) {
        const Request request = type == QMetaType::fromType<Request>()
                                    ? urlOrRequest.value<Request>()
                                    : urlOrRequest.value<std::shared_ptr<NSMutableURLRequest>>();
        if (request) {
            const auto shared = std::dynamic_pointer_cast<NSMutableURLRequest>(request);
            setRequest(shared ? shared : request->mutableCopy());
            setUrl(request->URL());
        }
    } else if (type == QMetaType::fromType<QUrl>()) {
        url = urlOrRequest.toUrl();
    } else if (type == QMetaType::fromType<QString>() && !NSIsNil(urlOrRequest)) {
        url = QUrl(urlOrRequest.toString(), QUrl::StrictMode);
    }
    if (url) {
        setUrl(url->isValid() ? *url : QUrl());
        setRequest(
            std::make_shared<NSMutableURLRequest>(this->url(), NSURLRequestReloadIgnoringLocalCacheData, 60));
    }
    check(!this->url().isEmpty(), function, "(_url)", 585);
    check(this->request() != nullptr, function, "(_request)", 586);
}

void ZRFetchOperation::setURLOrRequest(const Request &request) {
    setURLOrRequest(request ? QVariant::fromValue(request) : QVariant());
}

ZRFetchOperation::Operation ZRFetchOperation::self() const {
    auto *operation = const_cast<ZRFetchOperation *>(this);
    return std::static_pointer_cast<ZRFetchOperation>(operation->shared_from_this());
}

ZRFetchOperation::Operation ZRFetchOperation::fetch() {
    constexpr const char *function = "-[ZRFetchOperation fetch]";
    const bool isNew = !(isExecuting() || m_isFinishing || isFinished());
    check(isNew, function, "(!(self.isExecuting || self.isFinished))", 555);
    if (!isNew) {
        NSLog("Tried to add a fetch request a second time to the queue %@", description());
        return nullptr;
    }
    NSOperationQueue *queue = sGlobalOperationQueue;
    check(queue != nullptr, function, "(sGlobalOperationQueue)", 560);
    if (queue)
        queue->addOperation(self());
    return self();
}

ZRFetchOperation::Operation ZRFetchOperation::fetchWithBlock(Block block) {
    setCompleteBlock(std::move(block));
    return fetch();
}

ZRFetchOperation::Operation ZRFetchOperation::copyFetch() const {
    auto copy = std::make_shared<ZRFetchOperation>();
    copy->setCookieStorage(cookieStorage());
    copy->m_cookiesAllowed = m_cookiesAllowed;
    copy->m_completeBlock = completeBlock();
    copy->m_forcedRedirect = m_forcedRedirect;
    copy->m_verifiesServerTrust = m_verifiesServerTrust;
    copy->m_username = m_username;
    copy->m_password = m_password;
    copy->m_fetchCount = m_fetchCount + 1;
    copy->setURLOrRequest(Request(request()));
    return copy;
}

ZRFetchOperation::Operation ZRFetchOperation::fetchAgain() const {
    Operation copy = copyFetch();
    if (NSOperationQueue *queue = sGlobalOperationQueue)
        queue->addOperation(copy);
    return copy;
}

NSOperationQueue *ZRFetchOperation::sharedOperationQueue() {
    initialize();
    NSOperationQueue *queue = sGlobalOperationQueue;
    check(queue != nullptr, "+[ZRFetchOperation sharedOperationQueue]", "sGlobalOperationQueue", 34,
          "+ initialize was not called!");
    return queue;
}

TransferLoop &ZRFetchOperation::networkRequestThread() {
    // Never destroyed: it runs as long as the process.
    static NeverDestroyed<TransferLoop> thread(QStringLiteral("ZRFetchOperation"));
    return *thread;
}

QString ZRFetchOperation::incompleteDownloadDirectoryPath() const {
    static NeverDestroyed<const QString> path([] {
        const QString folder = NSTemporaryDirectory();
        return folder.isNull()
                   ? QString()
                   : ZRKit::zrMakeDirs(NSFileManager::defaultManager(),
                                       QDir(folder).filePath(QStringLiteral("ZRDownloadsIncomplete")));
    }());
    return *path;
}

QString ZRFetchOperation::description() const {
    const auto word = [](bool flag) { return flag ? "YES" : "NO"; };
    return NSFormat("<%@: %@, executing: %@, cancelled: %@ request: %@>",
                    {metaObject()->className(), QStringLiteral("0x%1").arg(quintptr(this), 0, 16),
                     word(isExecuting()), word(isCancelled()), QVariant(url())});
}

double ZRFetchOperation::progress() const {
    return std::max(std::min(m_progress.load(), 1.0), 0.0);
}

void ZRFetchOperation::performOnNetworkThread(void (ZRFetchOperation::*step)()) {
    networkRequestThread().perform([operation = self(), step] { (*operation.*step)(); });
}

void ZRFetchOperation::announce(const QString &key, std::atomic<bool> &flag, bool value) {
    willChangeValueForKey(key);
    flag = value;
    didChangeValueForKey(key);
}

void ZRFetchOperation::start() {
    const Operation operation = self();
    const std::lock_guard lock(m_lock);
    announce(NSOperationIsExecutingKey, m_executing, true);
    if (m_cancelled)
        finished();
    else
        performOnNetworkThread(&ZRFetchOperation::startFetching);
}

void ZRFetchOperation::cancel() {
    const std::lock_guard lock(m_lock);
    if (!m_finished && !m_cancelled)
        performOnNetworkThread(&ZRFetchOperation::cancelConnection);
}

void ZRFetchOperation::startFetching() {
    constexpr const char *function = "-[ZRFetchOperation startFetching]";
    std::unique_lock lock(m_lock);
    if (m_finished)
        return; // cancelled on the way here
    m_statusCode = 0;
    put(m_data, QByteArray());
    const std::shared_ptr<NSMutableURLRequest> request = this->request();
    if (!request) {
        lock.unlock();
        finished();
        return;
    }
    check(!url().isEmpty(), function, "(_url)", 230);
    check(bool(completeBlock()), function, "(_completeBlock)", 231);
    const auto setDefault = [&](const QString &field, const QString &value) {
        if (request->valueForHTTPHeaderField(field).isNull())
            request->setValue(value, field);
    };
    if (const qsizetype length = request->HTTPBody().size(); length > 0)
        request->setValue(QString::number(length), QStringLiteral("Content-Length"));
    setDefault(QStringLiteral("Accept-Encoding"), QStringLiteral("gzip,deflate"));
    setDefault(QStringLiteral("Cache-Control"), QStringLiteral("max-age=0"));
    addCookiesToRequest(request);
    const std::shared_ptr<NSURLConnection> connection = connectionWithRequest(request);
    put(m_connection, connection);
    check(connection != nullptr, function, "(_connection)", 294);
    if (connection) {
        connection->scheduleInRunLoop(networkRequestThread());
        connection->start();
    }
}

std::shared_ptr<NSURLConnection> ZRFetchOperation::connectionWithRequest(const Request &request) {
    return std::make_shared<NSURLConnection>(request, self());
}

void ZRFetchOperation::addCookiesToRequest(const std::shared_ptr<NSMutableURLRequest> &request) {
    check(request != nullptr, "-[ZRFetchOperation addCookiesToRequest:]", "(mutableRequest)", 149);
    if (!request)
        return;
    const std::shared_ptr<QObject> storage = cookieStorage();
    if (!storage) {
        request->setHTTPShouldHandleCookies(m_cookiesAllowed);
        return;
    }
    request->setHTTPShouldHandleCookies(false);
    QVariantList found;
    try {
        found = NSObjectRuntime::perform(QVariant::fromValue(storage.get()), NSSelector("cookiesForURL:"),
                                         {request->URL()})
                    .toList();
    } catch (...) {
        // A store that fails must not keep the fetch, and its place in the queue, for ever.
        NSLog("Exception in the cookie store of %@: %@", description(), NSException::currentDescription());
    }
    QList<NSHTTPCookie> cookies;
    for (const QVariant &cookie : found)
        cookies.append(cookie.value<NSHTTPCookie>());
    const QString field =
        NSHTTPCookie::requestHeaderFieldsWithCookies(cookies).value(QStringLiteral("Cookie")).toString();
    if (!field.isEmpty())
        request->setValue(field, QStringLiteral("Cookie"));
}

void ZRFetchOperation::handleCookiesForResponse(const std::shared_ptr<NSHTTPURLResponse> &response) {
    constexpr const char *function = "-[ZRFetchOperation handleCookiesForResponse:]";
    check(response != nullptr, function, "(response)", 128);
    const std::shared_ptr<QObject> storage = cookieStorage();
    if (!storage || !response)
        return;
    const QList<NSHTTPCookie> cookies =
        NSHTTPCookie::cookiesWithResponseHeaderFields(response->allHeaderFields(), response->URL());
    if (cookies.isEmpty())
        return;
    QVariantList list;
    for (const NSHTTPCookie &cookie : cookies)
        list.append(QVariant::fromValue(cookie));
    const QVariant receiver = QVariant::fromValue(storage.get());
    const NSSelector selector("setCookies:");
    const bool responds = NSObjectRuntime::respondsTo(receiver, selector);
    check(responds, function, "([_cookieStorage respondsToSelector:@selector(setCookies:)])", 141);
    if (responds)
        NSObjectRuntime::perform(receiver, selector, {QVariant(list)});
}

/// Called with a copy: the block may set another one in its place.
void ZRFetchOperation::callBlock(const Block &block, const char *name) {
    try {
        block(self());
    } catch (...) {
        NSLog("Exception in the %@ of %@: %@", name, description(), NSException::currentDescription());
    }
}

void ZRFetchOperation::connectionDidReceiveResponse(const Connection &,
                                                    const std::shared_ptr<NSURLResponse> &response) {
    constexpr const char *function = "-[ZRFetchOperation connection:didReceiveResponse:]";
    if (m_cancelled)
        return;
    const qint64 expected = response ? response->expectedContentLength() : 0;
    QByteArray buffer("");
    if (expected > 0 && !downloadFileHandle())
        buffer.reserve(qsizetype(std::min(expected, mostReserved)));
    check(!buffer.isNull(), function, "(_data)", 378);
    put(m_data, std::move(buffer));
    m_statusCode = 0;
    const auto http = std::dynamic_pointer_cast<NSHTTPURLResponse>(response);
    check(http != nullptr, function, "([response isKindOfClass:[NSHTTPURLResponse class]])", 382);
    if (http) {
        m_statusCode = http->statusCode();
        put(m_headers, std::optional(http->allHeaderFields()));
        handleCookiesForResponse(http);
    }
    if (const Block block = progressBlock()) {
        m_expectedBytes = expected;
        m_receivedBytes = 0;
        callBlock(block, "progress block");
    }
}

void ZRFetchOperation::connectionDidReceiveData(const Connection &, QByteArrayView data) {
    if (m_cancelled)
        return;
    const bool hasBuffer = !this->data().isNull();
    check(hasBuffer, "-[ZRFetchOperation connection:didReceiveData:]", "(_data)", 405);
    if (const Block block = progressBlock(); block && m_expectedBytes != 0) {
        m_receivedBytes += data.size();
        m_progress = double(m_receivedBytes) / double(m_expectedBytes);
        callBlock(block, "progress block");
    }
    if (const auto handle = downloadFileHandle()) {
        writeToFile(*handle, data);
    } else if (hasBuffer) {
        const std::lock_guard lock(m_fieldsMutex);
        m_data.append(data.data(), data.size());
    }
}

void ZRFetchOperation::writeToFile(NSFileHandle &handle, QByteArrayView data) {
    try {
        handle.writeData(data);
    } catch (const NSException &exception) {
        // What can't be kept need not be fetched.
        if (const auto current = connection())
            current->cancel();
        put(m_error, NSError(NSCocoaErrorDomain, 512, {{NSLocalizedDescriptionKey, exception.reason()}}));
        performOnNetworkThread(&ZRFetchOperation::finished);
    }
}

std::shared_ptr<NSURLRequest>
ZRFetchOperation::connectionWillSendRequest(const Connection &, const Request &proposed,
                                            const std::shared_ptr<NSURLResponse> &redirectResponse) {
    const std::shared_ptr<NSMutableURLRequest> current = request();
    if (!redirectResponse || !current)
        return proposed;
    if (const auto http = std::dynamic_pointer_cast<NSHTTPURLResponse>(redirectResponse))
        handleCookiesForResponse(http);
    const auto copy = current->mutableCopy();
    setUrl(proposed->URL());
    copy->setURL(proposed->URL());
    setRequest(copy);
    return copy;
}

void ZRFetchOperation::connectionDidFinishLoading(const Connection &) {
    check(error().isNil(), "-[ZRFetchOperation connectionDidFinishLoading:]", "(!_error)", 425);
    const bool isRedirect =
        m_statusCode == 301 || m_statusCode == 302 || m_statusCode == 303 || m_statusCode == 307;
    if (m_forcedRedirect && isRedirect)
        performOnNetworkThread(&ZRFetchOperation::startFetching);
    else
        finished();
}

void ZRFetchOperation::connectionDidFailWithError(const Connection &, const NSError &failure) {
    put(m_error, failure);
    check(!failure.isNil(), "-[ZRFetchOperation connection:didFailWithError:]", "(_error)", 447);
    finished();
}

bool ZRFetchOperation::connectionCanAuthenticateAgainstProtectionSpace(const Connection &,
                                                                       const NSURLProtectionSpace &space) {
    const QString method = space.authenticationMethod();
    if (method == NSURLAuthenticationMethodServerTrust)
        return !m_verifiesServerTrust;
    return isPasswordMethod(method) && !m_username.isNull() && !m_password.isNull();
}

void ZRFetchOperation::connectionDidReceiveAuthenticationChallenge(
    const Connection &, const NSURLAuthenticationChallenge &challenge) {
    NSURLAuthenticationChallengeSender &sender = *challenge.sender();
    // A response that is answered arrives nowhere else.
    if (const auto refusal = std::dynamic_pointer_cast<NSHTTPURLResponse>(challenge.failureResponse()))
        handleCookiesForResponse(refusal);
    const QString method = challenge.protectionSpace().authenticationMethod();
    if (method == NSURLAuthenticationMethodServerTrust) {
        sender.useCredential(NSURLCredential::credentialForTrust(challenge.protectionSpace().serverTrust()),
                             challenge);
        sender.continueWithoutCredentialForAuthenticationChallenge(challenge);
    } else if (!isPasswordMethod(method)) {
        sender.cancelAuthenticationChallenge(challenge);
        put(m_error, errorWithText(2, "Unsupported authentication method error!", m_username));
    } else if (challenge.previousFailureCount() == 0) {
        sender.useCredential(NSURLCredential(m_username, m_password, NSURLCredentialPersistenceNone),
                             challenge);
    } else {
        sender.cancelAuthenticationChallenge(challenge);
        put(m_error, errorWithText(1, "Credentials for user '%@' were not valid!", m_username));
    }
}

void ZRFetchOperation::cancelConnection() {
    const std::lock_guard lock(m_lock);
    announce(NSOperationIsCancelledKey, m_cancelled, true);
    if (const auto current = connection())
        current->cancel();
    finished();
}

void ZRFetchOperation::finished() {
    if (const auto handle = put(m_downloadFileHandle, {}))
        handle->closeFile();
    // A cancellation on the network thread and a start on another may both come here.
    if (!m_executing || m_isFinishing.exchange(true))
        return;
    const Operation operation = self();
    announce(NSOperationIsExecutingKey, m_executing, false);
    announce(NSOperationIsFinishedKey, m_finished, true);
    if (const Block block = completeBlock(); block && !m_cancelled)
        callBlock(block, "completion block");
    put(m_connection, {});
    put(m_data, {});
    put(m_request, {});
    put(m_url, {});
    put(m_error, {});
    put(m_completeBlock, {});
}

#include "moc_ZRFetchOperation.cpp"
