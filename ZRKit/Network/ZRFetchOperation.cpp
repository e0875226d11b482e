// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/base/NSException.h"
#include "platform/files/NSFileHandle.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/net/NSHTTPCookie.h"
#include "platform/net/TransferLoop.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSObjectRuntime.h"

#include <QCoreApplication>
#include <algorithm>
#include <utility>

namespace {

const QString errorDomain = QStringLiteral("com.velmora.error");

/// More is not taken at the word of a server alone.
constexpr qint64 mostReserved = 64 << 20;

/// Memory of bodies that nobody kept, for the next ones: taken from the system anew, each page would cost as
/// much as filling it. A few megabytes at most, of the network thread.
class SpareBuffers {
public:
    /// An empty buffer of that capacity, or up to twice as much: whoever keeps it keeps all of it.
    QByteArray take(qsizetype capacity) {
        const auto at = std::find_if(m_buffers.begin(), m_buffers.end(), [&](const QByteArray &buffer) {
            return buffer.capacity() >= capacity && buffer.capacity() / 2 <= capacity;
        });
        QByteArray buffer("");
        if (at == m_buffers.end()) {
            buffer.reserve(capacity);
        } else {
            buffer.swap(*at);
            m_buffers.erase(at);
        }
        return buffer;
    }
    void giveBack(QByteArray &&buffer) {
        if (m_buffers.size() < most && buffer.capacity() >= smallest && buffer.capacity() <= largest &&
            buffer.isDetached()) {
            buffer.resize(0);
            m_buffers.push_back(std::move(buffer));
        }
    }

private:
    static constexpr std::size_t most = 6;
    static constexpr qsizetype smallest = 64 << 10;
    static constexpr qsizetype largest = 2 << 20;
    std::vector<QByteArray> m_buffers;
};
thread_local SpareBuffers spareBuffers;

/// Writes the assertion line where the condition doesn't hold.
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
    const QString text = NSFormat(localized(source).toUtf8().constData(), {username});
    return NSError(errorDomain, code,
                   text.isEmpty() ? QVariantMap() : QVariantMap{{NSLocalizedDescriptionKey, text}});
}

bool isPasswordMethod(const QString &method) {
    return method == NSURLAuthenticationMethodHTTPBasic || method == NSURLAuthenticationMethodHTTPDigest;
}

} // namespace

std::atomic<NSOperationQueue *> ZRFetchOperation::sGlobalOperationQueue{nullptr};

void ZRFetchOperation::initialize() {
    // Never destroyed: its operations may outlive main().
    static const bool made = [] {
        auto *queue = new NSOperationQueue;
        queue->setName(QStringLiteral("com.velmora.zrkit.fetchoperations"));
        queue->setMaxConcurrentOperationCount(6);
        sGlobalOperationQueue = queue;
        return true;
    }();
    static_cast<void>(made);
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
            m_request = std::dynamic_pointer_cast<NSMutableURLRequest>(request);
            if (!m_request)
                m_request = request->mutableCopy();
            m_url = request->URL();
        }
    } else if (type == QMetaType::fromType<QUrl>()) {
        url = urlOrRequest.toUrl();
    } else if (type == QMetaType::fromType<QString>() && !NSIsNil(urlOrRequest)) {
        url = QUrl(urlOrRequest.toString(), QUrl::StrictMode);
    }
    if (url) {
        m_url = url->isValid() ? *url : QUrl();
        m_request =
            std::make_shared<NSMutableURLRequest>(m_url, NSURLRequestReloadIgnoringLocalCacheData, 60);
    }
    check(!m_url.isEmpty(), function, "(_url)", 585);
    check(m_request != nullptr, function, "(_request)", 586);
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
    const bool isNew = !(isExecuting() || isFinished());
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
    copy->m_completeBlock = m_completeBlock;
    copy->m_forcedRedirect = m_forcedRedirect;
    copy->m_verifiesServerTrust = m_verifiesServerTrust;
    copy->m_username = m_username;
    copy->m_password = m_password;
    copy->m_fetchCount = m_fetchCount + 1;
    copy->setURLOrRequest(Request(m_request));
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
    static auto *thread = new TransferLoop(QStringLiteral("ZRFetchOperation"));
    return *thread;
}

QString ZRFetchOperation::incompleteDownloadDirectoryPath() const {
    static const QString path = [] {
        // nil without a temporary folder, as the joined path is nil then.
        // nil without a temporary folder, as the joined path is nil then.
        return ZRKit::zrMakeDirs(
            NSFileManager::defaultManager(),
            ZRKit::joinPath(NSTemporaryDirectory(), QStringLiteral("ZRDownloadsIncomplete")));
    }();
    return path;
}

QString ZRFetchOperation::description() const {
    const auto word = [](bool flag) { return flag ? "YES" : "NO"; };
    return NSFormat("<%@: %@, executing: %@, cancelled: %@ request: %@>",
                    {metaObject()->className(), QStringLiteral("0x%1").arg(quintptr(this), 0, 16),
                     word(isExecuting()), word(isCancelled()), QVariant(m_url)});
}

std::shared_ptr<QObject> ZRFetchOperation::cookieStorage() const {
    const std::lock_guard lock(m_cookieStorageMutex);
    return m_cookieStorage;
}

void ZRFetchOperation::setCookieStorage(const std::shared_ptr<QObject> &storage) {
    const std::lock_guard lock(m_cookieStorageMutex);
    m_cookieStorage = storage;
}

double ZRFetchOperation::progress() const {
    return std::max(std::min(m_progress, 1.0), 0.0);
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
    m_data = QByteArray();
    if (!m_request) {
        lock.unlock();
        finished();
        return;
    }
    check(!m_url.isEmpty(), function, "(_url)", 230);
    check(bool(m_completeBlock), function, "(_completeBlock)", 231);
    const auto setDefault = [this](const QString &field, const QString &value) {
        if (m_request->valueForHTTPHeaderField(field).isNull())
            m_request->setValue(value, field);
    };
    if (const qsizetype length = m_request->HTTPBody().size(); length > 0)
        m_request->setValue(QString::number(length), QStringLiteral("Content-Length"));
    setDefault(QStringLiteral("Accept-Encoding"), QStringLiteral("gzip,deflate"));
    setDefault(QStringLiteral("Cache-Control"), QStringLiteral("max-age=0"));
    addCookiesToRequest(m_request);
    m_connection = connectionWithRequest(m_request);
    check(m_connection != nullptr, function, "(_connection)", 294);
    if (m_connection) {
        m_connection->scheduleInRunLoop(networkRequestThread());
        m_connection->start();
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

/// To be called with a copy: the block may set another one in its place.
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
    m_data = QByteArray("");
    if (expected > 0 && !m_downloadFileHandle)
        m_data = spareBuffers.take(qsizetype(std::min(expected, mostReserved)));
    check(!m_data.isNull(), function, "(_data)", 378);
    m_statusCode = 0;
    const auto http = std::dynamic_pointer_cast<NSHTTPURLResponse>(response);
    check(http != nullptr, function, "([response isKindOfClass:[NSHTTPURLResponse class]])", 382);
    if (http) {
        m_statusCode = http->statusCode();
        m_headers = http->allHeaderFields();
        handleCookiesForResponse(http);
    }
    if (m_progressBlock) {
        m_expectedBytes = expected;
        m_receivedBytes = 0;
        callBlock(Block(m_progressBlock), "progress block");
    }
}

void ZRFetchOperation::connectionDidReceiveData(const Connection &, QByteArrayView data) {
    if (m_cancelled)
        return;
    check(!m_data.isNull(), "-[ZRFetchOperation connection:didReceiveData:]", "(_data)", 405);
    if (m_progressBlock && m_expectedBytes != 0) {
        m_receivedBytes += data.size();
        m_progress = double(m_receivedBytes) / double(m_expectedBytes);
        callBlock(Block(m_progressBlock), "progress block");
    }
    if (m_downloadFileHandle)
        writeToFile(data);
    else if (!m_data.isNull())
        m_data.append(data.data(), data.size());
}

void ZRFetchOperation::writeToFile(QByteArrayView data) {
    try {
        m_downloadFileHandle->writeData(data);
    } catch (const NSException &exception) {
        // What can't be kept need not be fetched.
        if (m_connection)
            m_connection->cancel();
        m_error = NSError(NSCocoaErrorDomain, 512, {{NSLocalizedDescriptionKey, exception.reason()}});
        performOnNetworkThread(&ZRFetchOperation::finished);
    }
}

std::shared_ptr<NSURLRequest>
ZRFetchOperation::connectionWillSendRequest(const Connection &, const Request &request,
                                            const std::shared_ptr<NSURLResponse> &redirectResponse) {
    if (!redirectResponse || !m_request)
        return request;
    const auto copy = m_request->mutableCopy();
    m_url = request->URL();
    copy->setURL(m_url);
    m_request = copy;
    return copy;
}

void ZRFetchOperation::connectionDidFinishLoading(const Connection &) {
    check(m_error.isNil(), "-[ZRFetchOperation connectionDidFinishLoading:]", "(!_error)", 425);
    const bool isRedirect =
        m_statusCode == 301 || m_statusCode == 302 || m_statusCode == 303 || m_statusCode == 307;
    if (m_forcedRedirect && isRedirect)
        performOnNetworkThread(&ZRFetchOperation::startFetching);
    else
        finished();
}

void ZRFetchOperation::connectionDidFailWithError(const Connection &, const NSError &error) {
    m_error = error;
    check(!m_error.isNil(), "-[ZRFetchOperation connection:didFailWithError:]", "(_error)", 447);
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
    const QString method = challenge.protectionSpace().authenticationMethod();
    if (method == NSURLAuthenticationMethodServerTrust) {
        sender.useCredential(NSURLCredential::credentialForTrust(challenge.protectionSpace().serverTrust()),
                             challenge);
        sender.continueWithoutCredentialForAuthenticationChallenge(challenge);
    } else if (!isPasswordMethod(method)) {
        sender.cancelAuthenticationChallenge(challenge);
        m_error = errorWithText(2, "Unsupported authentication method error!", m_username);
    } else if (challenge.previousFailureCount() == 0) {
        sender.useCredential(NSURLCredential(m_username, m_password, NSURLCredentialPersistenceNone),
                             challenge);
    } else {
        sender.cancelAuthenticationChallenge(challenge);
        m_error = errorWithText(1, "Credentials for user '%@' were not valid!", m_username);
    }
}

void ZRFetchOperation::cancelConnection() {
    const std::lock_guard lock(m_lock);
    announce(NSOperationIsCancelledKey, m_cancelled, true);
    if (m_connection)
        m_connection->cancel();
    finished();
}

void ZRFetchOperation::finished() {
    if (m_downloadFileHandle) {
        m_downloadFileHandle->closeFile();
        m_downloadFileHandle.reset();
    }
    // A cancellation on the network thread and a start on another may both come here.
    if (!m_executing || m_isFinishing.exchange(true))
        return;
    const Operation operation = self();
    announce(NSOperationIsExecutingKey, m_executing, false);
    announce(NSOperationIsFinishedKey, m_finished, true);
    if (!m_cancelled && m_completeBlock)
        callBlock(Block(m_completeBlock), "completion block");
    m_connection.reset();
    spareBuffers.giveBack(std::exchange(m_data, QByteArray()));
    m_request.reset();
    m_url = QUrl();
    m_error = NSError();
    m_completeBlock = nullptr;
}

#include "moc_ZRFetchOperation.cpp"
