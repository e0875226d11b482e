// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "platform/base/NSException.h"
#include "platform/files/NSFileHandle.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/net/NSHTTPCookieStorage.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/FullDisk.h"
#include "tests/support/InChild.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LoopbackServers.h"
#include "tests/support/ObserverLog.h"
#include "tests/support/ProcessTree.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTranslator>
#include <thread>

namespace {

using Operation = std::shared_ptr<ZRFetchOperation>;

Operation make(const QVariant &url = {}) {
    return std::make_shared<ZRFetchOperation>(url);
}

QString assertion(const char *function, const char *condition, int line, const char *message = "Assertion") {
    return QStringLiteral("%1 <ZRFetchOperation:%2> %3\n\n    %4 failed assertion\n\n")
        .arg(QString::fromLatin1(message), QString::number(line), QString::fromLatin1(function),
             QString::fromLatin1(condition));
}

QByteArray ok(const QByteArray &body, const QByteArray &more = {}) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + more + "\r\n" +
           body;
}

std::shared_ptr<NSHTTPURLResponse> response(qint64 status, const QVariantMap &fields = {}) {
    return std::make_shared<NSHTTPURLResponse>(QUrl(QStringLiteral("http://host/")), status, fields);
}

QVariantMap fields(const char *name, const char *value) {
    return {{QString::fromLatin1(name), QString::fromLatin1(value)}};
}

TEST(FetchSetUp, ANewOperationHasItsDefaults) {
    const auto operation = std::make_shared<ZRFetchOperation>();
    EXPECT_TRUE(operation->forcedRedirect());
    EXPECT_FALSE(operation->cookiesAllowed());
    EXPECT_FALSE(operation->verifiesServerTrust());
    EXPECT_TRUE(operation->isConcurrent());
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_FALSE(operation->isFinished());
    EXPECT_FALSE(operation->isCancelled());
    EXPECT_EQ(operation->progress(), 0.0);
    EXPECT_EQ(operation->statusCode(), 0);
    EXPECT_EQ(operation->fetchCount(), 0U);
    EXPECT_TRUE(operation->url().isEmpty());
    EXPECT_FALSE(operation->request());
    EXPECT_FALSE(operation->headers());
    EXPECT_TRUE(operation->data().isNull());
    EXPECT_TRUE(operation->error().isNil());
    EXPECT_FALSE(operation->connection());
    EXPECT_FALSE(operation->cookieStorage());
    EXPECT_FALSE(operation->downloadFileHandle());
    EXPECT_TRUE(operation->username().isNull());
    EXPECT_FALSE(operation->userInfo().isValid());
}

TEST(FetchSetUp, AURLAndAStringGiveARequestThatPassesByCaches) {
    const QString text = QStringLiteral("http://host/path?q=1");
    for (const QVariant &each : {QVariant(QUrl(text)), QVariant(text)}) {
        const auto operation = make(each);
        ASSERT_TRUE(operation->request());
        EXPECT_EQ(operation->url(), QUrl(text));
        EXPECT_EQ(operation->request()->URL(), QUrl(text));
        EXPECT_EQ(operation->request()->cachePolicy(), 1);
        EXPECT_EQ(operation->request()->timeoutInterval(), 60);
        EXPECT_EQ(operation->request()->HTTPMethod(), QStringLiteral("GET"));
    }
}

TEST(FetchSetUp, ALiteralIsAString) {
    const auto operation = std::make_shared<ZRFetchOperation>(u"http://host/a");
    EXPECT_EQ(operation->url(), QUrl(QStringLiteral("http://host/a")));
    operation->setURLOrRequest(u"http://host/b");
    EXPECT_EQ(operation->url(), QUrl(QStringLiteral("http://host/b")));
    Gate gate;
    ZRFetchOperation::fetch(u"data:,text", [&](const auto &done) {
        EXPECT_EQ(done->string(), QStringLiteral("text"));
        gate.open();
    });
    ASSERT_TRUE(gate.pass());
    waitForNetworkThread();
}

TEST(FetchSetUp, ARequestIsTakenAsItIs) {
    const QUrl url(QStringLiteral("http://host/"));
    const auto request = std::make_shared<NSMutableURLRequest>(url);
    EXPECT_EQ(std::make_shared<ZRFetchOperation>(request)->request(), request);
    const auto fixed = std::make_shared<NSURLRequest>(url);
    const auto operation = std::make_shared<ZRFetchOperation>(fixed);
    ASSERT_TRUE(operation->request());
    EXPECT_EQ(operation->request()->cachePolicy(), NSURLRequestUseProtocolCachePolicy);
    EXPECT_EQ(operation->url(), url);
    EXPECT_EQ(make(QVariant::fromValue(request))->request(), request);
}

TEST(FetchSetUp, WhatIsNoURLIsAsserted) {
    const char *function = "-[ZRFetchOperation setURLOrRequest:]";
    const LogCapture log;
    make()->setURLOrRequest(QVariant());
    EXPECT_EQ(log.count(assertion(function, "(urlorreq)", 574)), 1);
    EXPECT_EQ(log.count(assertion(function, "(_url)", 585)), 1);
    EXPECT_EQ(log.count(assertion(function, "(_request)", 586)), 1);
    make(42);
    EXPECT_EQ(log.lines().size(), 5);
    make(QStringLiteral("http://[broken/"));
    EXPECT_EQ(log.count(assertion(function, "(_url)", 585)), 3);
    EXPECT_EQ(log.lines().size(), 6);
}

TEST(FetchSetUp, NilIsLeftForLaterByTheInitialisers) {
    const LogCapture log;
    make();
    std::make_shared<ZRFetchOperation>(ZRFetchOperation::Request());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(FetchSetUp, TheQueueIsNamedAndRunsSixAtOnce) {
    NSOperationQueue *queue = ZRFetchOperation::sharedOperationQueue();
    EXPECT_EQ(queue->name(), QStringLiteral("com.velmora.zrkit.fetchoperations"));
    EXPECT_EQ(queue->maxConcurrentOperationCount(), 6);
}

/// Reaches the queue's place.
class Queueless : public ZRFetchOperation {
public:
    using ZRFetchOperation::ZRFetchOperation;
    static NSOperationQueue *take(NSOperationQueue *other) { return sGlobalOperationQueue.exchange(other); }
};

TEST(FetchSetUp, AMissingQueueIsAsserted) {
    const auto operation = make(QStringLiteral("http://host/"));
    NSOperationQueue *queue = Queueless::take(nullptr);
    {
        const LogCapture log;
        EXPECT_EQ(ZRFetchOperation::sharedOperationQueue(), nullptr);
        EXPECT_EQ(log.count(assertion("+[ZRFetchOperation sharedOperationQueue]", "sGlobalOperationQueue", 34,
                                      "+ initialize was not called!")),
                  1);
        EXPECT_EQ(operation->fetch(), operation);
        EXPECT_EQ(log.count(assertion("-[ZRFetchOperation fetch]", "(sGlobalOperationQueue)", 560)), 1);
    }
    Queueless::take(queue);
}

/// Reaches the lock.
class Locked : public ZRFetchOperation {
public:
    using ZRFetchOperation::lock;
};

TEST(FetchSetUp, EachHasALockOfItsOwnAndAllHaveTheSameName) {
    const auto one = std::make_shared<Locked>();
    const auto other = std::make_shared<Locked>();
    EXPECT_EQ(one->lock().name(), QStringLiteral("com.velmora.zrkit.fetchoperationslock"));
    EXPECT_EQ(other->lock().name(), one->lock().name());
    EXPECT_NE(&one->lock(), &other->lock());
}

TEST(FetchSetUp, ItsLockKeepsACancellationAwayButNotThatOfItsHolder) {
    const auto operation = std::make_shared<Locked>();
    operation->lock().lock();
    std::thread canceller([&] { operation->cancel(); });
    operation->cancel();
    EXPECT_FALSE(operation->isCancelled());
    operation->lock().unlock();
    canceller.join();
    waitForNetworkThread();
    EXPECT_TRUE(operation->isCancelled());
}

TEST(FetchSetUp, TheDescriptionNamesStateAndURL) {
    const auto operation = make(QStringLiteral("http://host/a%20b"));
    const QRegularExpression form(
        QStringLiteral("^<ZRFetchOperation: 0x[0-9a-f]+, executing: NO, cancelled: NO "
                       "request: http://host/a%20b>$"));
    EXPECT_TRUE(form.match(operation->description()).hasMatch()) << operation->description().toStdString();
    EXPECT_TRUE(make()->description().endsWith(QStringLiteral("request: (null)>")));
}

// Before the next test: a process asks for the folder once.
TEST(FetchSetUp, WithoutATemporaryFolderThereIsNoFolderForIncompleteDownloads) {
    const QTemporaryDir current;
    checkInChild([&] {
        ASSERT_TRUE(QDir::setCurrent(current.path()));
        if (limitSpace("/tmp") != std::errc::no_space_on_device)
            return; // this system lets nobody have a /tmp of one's own
        qunsetenv("TMPDIR");
        ASSERT_EQ(::symlink("/", ("/tmp/user-" + QByteArray::number(quint64(::geteuid()))).constData()), 0);
        EXPECT_TRUE(NSTemporaryDirectory().isNull());
        EXPECT_TRUE(make()->incompleteDownloadDirectoryPath().isNull());
    });
    EXPECT_TRUE(QDir(current.path()).isEmpty());
}

TEST(FetchSetUp, IncompleteDownloadsHaveAFolderOfTheirOwn) {
    const QString path = make()->incompleteDownloadDirectoryPath();
    EXPECT_EQ(path, QDir(NSTemporaryDirectory()).filePath(QStringLiteral("ZRDownloadsIncomplete")));
    EXPECT_TRUE(QFileInfo(path).isDir());
    EXPECT_EQ(make()->incompleteDownloadDirectoryPath(), path);
    EXPECT_TRUE(QDir().rmdir(path));
}

TEST(FetchSetUp, ACopyCarriesWhatRepeatsTheFetch) {
    const auto operation = make(QStringLiteral("http://host/"));
    const auto store = std::make_shared<NSHTTPCookieStorage>();
    int calls = 0;
    operation->setCompleteBlock([&](const auto &) { ++calls; });
    operation->setProgressBlock([](const auto &) {});
    operation->setCookieStorage(store);
    operation->setCookiesAllowed(true);
    operation->setForcedRedirect(false);
    operation->setVerifiesServerTrust(true);
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("secret"));
    operation->setDownloadFileHandle(NSFileHandle::fileHandleForWritingAtPath(QStringLiteral("/dev/null")));
    operation->setUserInfo(7);
    operation->setFetchCount(3);
    const auto copy = operation->copyFetch();
    EXPECT_EQ(copy->cookieStorage(), store);
    EXPECT_TRUE(copy->cookiesAllowed());
    EXPECT_FALSE(copy->forcedRedirect());
    EXPECT_TRUE(copy->verifiesServerTrust());
    EXPECT_EQ(copy->username(), QStringLiteral("user"));
    EXPECT_EQ(copy->password(), QStringLiteral("secret"));
    EXPECT_EQ(copy->fetchCount(), 4U);
    EXPECT_EQ(copy->url(), operation->url());
    EXPECT_EQ(copy->request(), operation->request());
    EXPECT_FALSE(copy->progressBlock());
    EXPECT_FALSE(copy->userInfo().isValid());
    EXPECT_FALSE(copy->downloadFileHandle());
    EXPECT_FALSE(copy->isExecuting());
    copy->completeBlock()(copy);
    EXPECT_EQ(calls, 1);
}

TEST(FetchSetUp, ACopyIsOfThisClassAlways) {
    const auto operation = std::make_shared<Queueless>(QVariant(QStringLiteral("http://host/")));
    ASSERT_TRUE(operation->copyFetch());
    EXPECT_FALSE(std::dynamic_pointer_cast<Queueless>(operation->copyFetch()));
}

TEST(FetchSetUp, ACopyOfOneThatIsOverHasNoRequest) {
    const auto operation = make(QStringLiteral("data:,x"));
    fetched(operation);
    const char *function = "-[ZRFetchOperation setURLOrRequest:]";
    const LogCapture log;
    const auto copy = operation->copyFetch();
    EXPECT_FALSE(copy->request());
    EXPECT_EQ(copy->fetchCount(), 1U);
    EXPECT_EQ(log.count(assertion(function, "(urlorreq)", 574)), 1);
    EXPECT_EQ(log.count(assertion(function, "(_url)", 585)), 1);
    EXPECT_EQ(log.count(assertion(function, "(_request)", 586)), 1);
}

// What the connection tells and asks, said by hand.

TEST(FetchSteps, BrokenPreconditionsAreReportedAndSurvived) {
    const auto operation = make(QStringLiteral("http://host/"));
    const LogCapture log;
    operation->handleCookiesForResponse(nullptr);
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation handleCookiesForResponse:]", "(response)", 128)), 1);
    operation->addCookiesToRequest(nullptr);
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation addCookiesToRequest:]", "(mutableRequest)", 149)), 1);
    operation->connectionDidReceiveData(nullptr, "early");
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation connection:didReceiveData:]", "(_data)", 405)), 1);
    EXPECT_TRUE(operation->data().isNull());
    operation->connectionDidReceiveResponse(nullptr,
                                            std::make_shared<NSURLResponse>(QUrl(), QString(), 3, QString()));
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation connection:didReceiveResponse:]",
                                  "([response isKindOfClass:[NSHTTPURLResponse class]])", 382)),
              1);
    EXPECT_EQ(operation->statusCode(), 0);
    operation->connectionDidFailWithError(nullptr, NSError());
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation connection:didFailWithError:]", "(_error)", 447)), 1);
    operation->connectionDidFailWithError(nullptr, NSError(QStringLiteral("d"), 1));
    operation->connectionDidFinishLoading(nullptr);
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation connectionDidFinishLoading:]", "(!_error)", 425)), 1);
    EXPECT_EQ(log.lines().size(), 6);
}

class Mute : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE QVariantList cookiesForURL(const QUrl &) { return {}; }
};

TEST(FetchSteps, AStoreThatTakesNoCookiesIsAsserted) {
    const auto operation = make(QStringLiteral("http://host/"));
    operation->setCookieStorage(std::make_shared<Mute>());
    const LogCapture log;
    operation->handleCookiesForResponse(response(200));
    EXPECT_TRUE(log.lines().isEmpty());
    operation->handleCookiesForResponse(response(200, fields("Set-Cookie", "a=1")));
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation handleCookiesForResponse:]",
                                  "([_cookieStorage respondsToSelector:@selector(setCookies:)])", 141)),
              1);
}

TEST(FetchSteps, CookiesOfAStoreReplaceTheRequestsAndTurnThePlatformsOwnOff) {
    const QUrl url(QStringLiteral("http://host/"));
    const QString field = QStringLiteral("Cookie");
    const auto operation = make(url);
    operation->setCookiesAllowed(true);
    const auto store = std::make_shared<NSHTTPCookieStorage>();
    operation->setCookieStorage(store);
    const auto request = std::make_shared<NSMutableURLRequest>(url);
    request->setValue(QStringLiteral("own=1"), field);
    operation->addCookiesToRequest(request);
    EXPECT_FALSE(request->HTTPShouldHandleCookies());
    EXPECT_EQ(request->valueForHTTPHeaderField(field), QStringLiteral("own=1"));
    store->setCookie(NSHTTPCookie::cookieWithHeaderLine(QStringLiteral("stored=2"), url));
    operation->addCookiesToRequest(request);
    EXPECT_EQ(request->valueForHTTPHeaderField(field), QStringLiteral("stored=2"));
}

TEST(FetchSteps, WithoutAStoreThePlatformsCookiesAreUsedIfAllowed) {
    const auto operation = make();
    const auto request = std::make_shared<NSMutableURLRequest>(QUrl(QStringLiteral("http://host/")));
    operation->addCookiesToRequest(request);
    EXPECT_FALSE(request->HTTPShouldHandleCookies());
    operation->setCookiesAllowed(true);
    operation->addCookiesToRequest(request);
    EXPECT_TRUE(request->HTTPShouldHandleCookies());
}

TEST(FetchSteps, AResponseIsReadIntoTheFields) {
    const auto operation = make(QStringLiteral("http://host/"));
    int calls = 0;
    operation->setProgressBlock([&](const auto &) { ++calls; });
    operation->connectionDidReceiveResponse(nullptr, response(206, fields("Content-Length", "1000")));
    EXPECT_EQ(operation->statusCode(), 206);
    EXPECT_EQ(operation->headers(), fields("Content-Length", "1000"));
    EXPECT_FALSE(operation->data().isNull());
    EXPECT_GE(operation->data().capacity(), 1000);
    EXPECT_EQ(operation->expectedBytes(), 1000);
    operation->connectionDidReceiveData(nullptr, QByteArray(250, 'x'));
    EXPECT_EQ(operation->progress(), 0.25);
    operation->connectionDidReceiveData(nullptr, QByteArray(1000, 'x'));
    EXPECT_EQ(operation->receivedBytes(), 1250);
    EXPECT_EQ(operation->progress(), 1.0);
    EXPECT_EQ(calls, 3);
    // The fraction stays until data changes it.
    operation->connectionDidReceiveResponse(nullptr, response(200, fields("Content-Length", "10")));
    EXPECT_EQ(operation->receivedBytes(), 0);
    EXPECT_EQ(operation->progress(), 1.0);
    EXPECT_TRUE(operation->data().isEmpty());
}

TEST(FetchSteps, IteratorsOfTwoCallsAreOfTheSameFields) {
    const auto operation = make(QStringLiteral("http://host/"));
    operation->connectionDidReceiveResponse(nullptr, response(200, fields("Content-Length", "4")));
    QStringList names;
    for (auto it = operation->headers()->begin(); it != operation->headers()->end(); ++it)
        names.append(it.key());
    EXPECT_EQ(names, QStringList(QStringLiteral("Content-Length")));
}

TEST(FetchSteps, WithoutAProgressBlockNothingIsCounted) {
    const auto operation = make(QStringLiteral("http://host/"));
    operation->connectionDidReceiveResponse(nullptr, response(200, fields("Content-Length", "4")));
    operation->connectionDidReceiveData(nullptr, "body");
    EXPECT_EQ(operation->expectedBytes(), 0);
    EXPECT_EQ(operation->receivedBytes(), 0);
    EXPECT_EQ(operation->progress(), 0.0);
    EXPECT_EQ(operation->data(), "body");
}

TEST(FetchSteps, AnUnknownLengthGivesNoCapacityAndNoProgress) {
    const auto operation = make(QStringLiteral("http://host/"));
    int calls = 0;
    operation->setProgressBlock([&](const auto &) { ++calls; });
    operation->connectionDidReceiveResponse(nullptr, response(200));
    EXPECT_EQ(operation->expectedBytes(), -1);
    EXPECT_EQ(operation->data().capacity(), 0);
    for (int i = 0; i < 3; ++i) {
        operation->connectionDidReceiveData(nullptr, "piece");
        EXPECT_EQ(operation->progress(), 0.0);
    }
    EXPECT_EQ(calls, 4);
}

TEST(FetchSteps, AnEmptyBodyIsNoProgress) {
    const auto operation = make(QStringLiteral("http://host/"));
    int calls = 0;
    operation->setProgressBlock([&](const auto &) { ++calls; });
    operation->connectionDidReceiveResponse(nullptr, response(200, fields("Content-Length", "0")));
    operation->connectionDidReceiveData(nullptr, "unannounced");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(operation->data(), "unannounced");
}

TEST(FetchSteps, AnAnnouncementAloneTakesNoMemory) {
    const auto operation = make(QStringLiteral("http://host/"));
    operation->connectionDidReceiveResponse(nullptr,
                                            response(200, fields("Content-Length", "9000000000000000000")));
    EXPECT_LE(operation->data().capacity(), 65 << 20);
    EXPECT_EQ(operation->statusCode(), 200);
}

TEST(FetchSteps, NothingIsCached) {
    EXPECT_FALSE(make()->connectionWillCacheResponse(nullptr, 1).isValid());
}

TEST(FetchSteps, TheProposedRequestIsKeptUnlessItIsARedirect) {
    const auto operation = make(QStringLiteral("http://host/"));
    const auto first = operation->request();
    first->setHTTPMethod(QStringLiteral("PUT"));
    first->setHTTPBody("body");
    const auto proposed = std::make_shared<NSURLRequest>(QUrl(QStringLiteral("http://other/")));
    EXPECT_EQ(operation->connectionWillSendRequest(nullptr, proposed, nullptr), proposed);
    EXPECT_EQ(operation->request(), first);
    const auto sent = operation->connectionWillSendRequest(nullptr, proposed, response(302));
    EXPECT_EQ(sent, operation->request());
    EXPECT_NE(operation->request(), first);
    EXPECT_EQ(sent->URL(), proposed->URL());
    EXPECT_EQ(operation->url(), proposed->URL());
    EXPECT_EQ(sent->HTTPMethod(), QStringLiteral("PUT"));
    EXPECT_EQ(sent->HTTPBody(), "body");
}

/// Writes down what a challenge was answered.
class Answers : public NSURLAuthenticationChallengeSender {
public:
    void useCredential(const NSURLCredential &credential, const NSURLAuthenticationChallenge &) override {
        entries.append(credential.isTrust()
                           ? QStringLiteral("trust")
                           : QStringLiteral("use ") + credential.user() + u':' + credential.password());
        persistence = credential.persistence();
    }
    void continueWithoutCredentialForAuthenticationChallenge(const NSURLAuthenticationChallenge &) override {
        entries.append(QStringLiteral("continue"));
    }
    void cancelAuthenticationChallenge(const NSURLAuthenticationChallenge &) override {
        entries.append(QStringLiteral("cancel"));
    }
    QStringList entries;
    int persistence = -1;
};

NSURLProtectionSpace space(const QString &method) {
    return {QStringLiteral("host"), 80, QStringLiteral("http"), QStringLiteral("realm"), method};
}

TEST(FetchChallenges, WhichOnesAreAnswered) {
    const auto operation = make();
    const auto answers = [&](const QString &method) {
        return operation->connectionCanAuthenticateAgainstProtectionSpace(nullptr, space(method));
    };
    EXPECT_TRUE(answers(NSURLAuthenticationMethodServerTrust));
    EXPECT_FALSE(answers(NSURLAuthenticationMethodHTTPBasic));
    operation->setUsername(QStringLiteral("user"));
    EXPECT_FALSE(answers(NSURLAuthenticationMethodHTTPBasic));
    EXPECT_FALSE(answers(NSURLAuthenticationMethodHTTPDigest));
    operation->setPassword(QStringLiteral(""));
    EXPECT_TRUE(answers(NSURLAuthenticationMethodHTTPBasic));
    EXPECT_TRUE(answers(NSURLAuthenticationMethodHTTPDigest));
    EXPECT_FALSE(answers(NSURLAuthenticationMethodNTLM));
    EXPECT_FALSE(answers(NSURLAuthenticationMethodDefault));
    operation->setVerifiesServerTrust(true);
    EXPECT_FALSE(answers(NSURLAuthenticationMethodServerTrust));
}

TEST(FetchChallenges, AServerIsTrustedAndThenContinuedWith) {
    const auto operation = make();
    Answers answers;
    operation->connectionDidReceiveAuthenticationChallenge(
        nullptr, {space(NSURLAuthenticationMethodServerTrust), 0, nullptr, &answers});
    EXPECT_EQ(answers.entries, QStringList({QStringLiteral("trust"), QStringLiteral("continue")}));
    EXPECT_TRUE(operation->error().isNil());
}

TEST(FetchChallenges, APasswordIsTriedOnce) {
    const auto operation = make();
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("secret"));
    for (const QString &method : {NSURLAuthenticationMethodHTTPBasic, NSURLAuthenticationMethodHTTPDigest}) {
        Answers answers;
        operation->connectionDidReceiveAuthenticationChallenge(nullptr,
                                                               {space(method), 0, nullptr, &answers});
        EXPECT_EQ(answers.entries, QStringList(QStringLiteral("use user:secret")));
        EXPECT_EQ(answers.persistence, 0);
        operation->connectionDidReceiveAuthenticationChallenge(nullptr,
                                                               {space(method), 1, nullptr, &answers});
        EXPECT_EQ(answers.entries.last(), QStringLiteral("cancel"));
        EXPECT_EQ(operation->error().domain(), QStringLiteral("com.velmora.error"));
        EXPECT_EQ(operation->error().code(), 1);
        EXPECT_EQ(operation->error().localizedDescription(),
                  QStringLiteral("Credentials for user 'user' were not valid!"));
    }
}

TEST(FetchChallenges, OtherMethodsAreAnError) {
    const auto operation = make();
    Answers answers;
    operation->connectionDidReceiveAuthenticationChallenge(
        nullptr, {space(NSURLAuthenticationMethodNTLM), 0, nullptr, &answers});
    EXPECT_EQ(answers.entries, QStringList(QStringLiteral("cancel")));
    EXPECT_EQ(operation->error().domain(), QStringLiteral("com.velmora.error"));
    EXPECT_EQ(operation->error().code(), 2);
    EXPECT_EQ(operation->error().localizedDescription(),
              QStringLiteral("Unsupported authentication method error!"));
}

/// Translates every text to the same.
class Translation : public QTranslator {
public:
    explicit Translation(const QString &text) : m_text(text) { QCoreApplication::installTranslator(this); }
    QString translate(const char *, const char *, const char *, int) const override { return m_text; }
    bool isEmpty() const override { return false; }

private:
    const QString m_text;
};

/// The error of a challenge that is cancelled.
NSError errorOf(const QString &method) {
    const auto operation = make();
    operation->setUsername(QStringLiteral("user"));
    operation->setPassword(QStringLiteral("wrong"));
    Answers answers;
    operation->connectionDidReceiveAuthenticationChallenge(nullptr, {space(method), 1, nullptr, &answers});
    return operation->error();
}

TEST(FetchChallenges, TheirErrorsAreTranslatedAndNameTheUser) {
    for (const QString &method : {NSURLAuthenticationMethodHTTPBasic, NSURLAuthenticationMethodNTLM}) {
        {
            const Translation german(QStringLiteral("Nichts für %@!"));
            EXPECT_EQ(errorOf(method).localizedDescription(), QStringLiteral("Nichts für user!"));
        }
        const Translation silence(QStringLiteral(""));
        EXPECT_EQ(errorOf(method).domain(), QStringLiteral("com.velmora.error"));
        EXPECT_TRUE(errorOf(method).userInfo().isEmpty());
    }
}

// Life cycle.

TEST(FetchLife, FlagsAreAnnouncedBeforeTheBlockRuns) {
    const auto operation = make(QStringLiteral("data:,text"));
    ObserverLog log;
    for (const QString &key :
         {NSOperationIsExecutingKey, NSOperationIsFinishedKey, NSOperationIsCancelledKey})
        NSKeyValueObserving::addObserver(operation.get(), &log, key, NSKeyValueObservingOptionPrior);
    const LogCapture lines;
    const Fetched result = fetched(operation);
    EXPECT_TRUE(result.finished);
    EXPECT_FALSE(result.executing);
    EXPECT_EQ(log.entries().join(u' '),
              QStringLiteral("isExecuting:will isExecuting:did isExecuting:will isExecuting:did "
                             "isFinished:will isFinished:did"));
    for (const QString &key :
         {NSOperationIsExecutingKey, NSOperationIsFinishedKey, NSOperationIsCancelledKey})
        NSKeyValueObserving::removeObserver(operation.get(), &log, key);
}

TEST(FetchLife, BlocksRunOnTheNetworkThread) {
    ScriptedServer server([](int, const QByteArray &) { return ScriptedServer::Answer{ok("body")}; });
    const auto &thread = ZRFetchOperation::networkRequestThread();
    EXPECT_FALSE(thread.isCurrentThread());
    const LogCapture unused;
    for (const QVariant &url : {QVariant(server.url()), QVariant(QStringLiteral("data:,x")),
                                QVariant(QStringLiteral("ftp://host/")), QVariant()}) {
        const auto operation = make(url);
        int here = 0;
        int elsewhere = 0;
        Gate gate;
        const auto count = [&] { ++(thread.isCurrentThread() ? here : elsewhere); };
        operation->setProgressBlock([&](const auto &) { count(); });
        operation->fetchWithBlock([&](const auto &) {
            count();
            gate.open();
        });
        ASSERT_TRUE(gate.pass());
        waitForNetworkThread();
        EXPECT_GE(here, 1);
        EXPECT_EQ(elsewhere, 0);
    }
}

TEST(FetchLife, ItStartsOnAThreadOfTheQueue) {
    const std::thread::id caller = std::this_thread::get_id();
    std::thread::id starter;
    bool isNetworkThread = true;
    const auto operation = make(QStringLiteral("data:,x"));
    ObserverLog log([&](const QString &, const QVariantMap &) {
        if (!operation->isExecuting())
            return;
        starter = std::this_thread::get_id();
        isNetworkThread = ZRFetchOperation::networkRequestThread().isCurrentThread();
    });
    NSKeyValueObserving::addObserver(operation.get(), &log, NSOperationIsExecutingKey);
    const LogCapture unused;
    fetched(operation);
    EXPECT_NE(starter, std::thread::id());
    EXPECT_NE(starter, caller);
    EXPECT_FALSE(isNetworkThread);
    NSKeyValueObserving::removeObserver(operation.get(), &log, NSOperationIsExecutingKey);
}

TEST(FetchLife, AnOperationWithoutARequestFinishesAtOnce) {
    const Fetched result = fetched(make());
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.statusCode, 0);
    EXPECT_TRUE(result.error.isNil());
    EXPECT_TRUE(result.data.isNull());
}

TEST(FetchLife, WithoutABlockItIsAssertedAndStillRuns) {
    ScriptedServer server([](int, const QByteArray &) { return ScriptedServer::Answer{ok("x")}; });
    const LogCapture log;
    const auto operation = make(server.url());
    EXPECT_EQ(operation->fetch(), operation);
    operation->waitUntilFinished();
    waitForNetworkThread();
    EXPECT_EQ(operation->statusCode(), 200);
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation startFetching]", "(_completeBlock)", 231)), 1);
}

TEST(FetchLife, ARequestWithoutAURLIsAssertedAndFails) {
    const LogCapture log;
    const Fetched result = fetched(QVariant(QStringLiteral("http://[broken/")));
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation startFetching]", "(_url)", 230)), 1);
    EXPECT_EQ(result.error.domain(), NSURLErrorDomain);
    EXPECT_EQ(result.error.code(), NSURLErrorUnsupportedURL);
}

class Unconnected : public ZRFetchOperation {
public:
    using ZRFetchOperation::ZRFetchOperation;

protected:
    std::shared_ptr<NSURLConnection> connectionWithRequest(const Request &) override { return nullptr; }
};

TEST(FetchLife, WithoutAConnectionItIsAssertedAndWaitsForItsCancellation) {
    const LogCapture log;
    const auto operation = std::make_shared<Unconnected>(QVariant(QStringLiteral("http://host/")));
    bool called = false;
    operation->fetchWithBlock([&](const auto &) { called = true; });
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return operation->isExecuting(); }));
    waitForNetworkThread();
    EXPECT_EQ(log.count(assertion("-[ZRFetchOperation startFetching]", "(_connection)", 294)), 1);
    EXPECT_TRUE(operation->isExecuting());
    operation->cancel();
    operation->waitUntilFinished();
    waitForNetworkThread();
    EXPECT_FALSE(called);
}

TEST(FetchLife, ItCanBeFetchedOnce) {
    const auto operation = make(QStringLiteral("data:,x"));
    fetched(operation);
    const LogCapture log;
    const QString description = operation->description();
    EXPECT_FALSE(operation->fetch());
    EXPECT_EQ(
        log.count(assertion("-[ZRFetchOperation fetch]", "(!(self.isExecuting || self.isFinished))", 555)),
        1);
    EXPECT_EQ(
        log.count(QStringLiteral("Tried to add a fetch request a second time to the queue ") + description),
        1);
}

TEST(FetchLife, AnExecutingOneIsNotQueuedAgain) {
    ScriptedServer server([](int, const QByteArray &) { return ScriptedServer::Answer{"HTTP/1.1 ", false}; });
    const auto operation = make(server.url());
    operation->fetchWithBlock([](const auto &) {});
    ASSERT_TRUE(ProcessTree::waitUntil([&] { return operation->isExecuting(); }));
    {
        const LogCapture log;
        EXPECT_FALSE(operation->fetch());
        EXPECT_EQ(log.count(assertion("-[ZRFetchOperation fetch]", "(!(self.isExecuting || self.isFinished))",
                                      555)),
                  1);
        EXPECT_EQ(log.count(QStringLiteral("Tried to add a fetch request a second time to the queue ")), 1);
    }
    operation->cancel();
    operation->waitUntilFinished();
    EXPECT_TRUE(operation->isCancelled());
}

TEST(FetchLife, AfterTheBlockTheResultsAreGoneButStatusAndHeaders) {
    ScriptedServer server([](int, const QByteArray &) { return ScriptedServer::Answer{ok("body")}; });
    const auto operation = make(server.url());
    operation->setUserInfo(7);
    operation->setUsername(QStringLiteral("user"));
    operation->setProgressBlock([](const auto &) {});
    const Fetched result = fetched(operation);
    EXPECT_EQ(result.data, "body");
    EXPECT_TRUE(operation->data().isNull());
    EXPECT_TRUE(operation->url().isEmpty());
    EXPECT_FALSE(operation->request());
    EXPECT_FALSE(operation->connection());
    EXPECT_TRUE(operation->error().isNil());
    EXPECT_FALSE(operation->completeBlock());
    EXPECT_EQ(operation->statusCode(), 200);
    EXPECT_EQ(operation->headers(), fields("Content-Length", "4"));
    EXPECT_EQ(operation->progress(), 1.0);
    EXPECT_EQ(operation->userInfo(), QVariant(7));
    EXPECT_EQ(operation->username(), QStringLiteral("user"));
    EXPECT_EQ(operation->string(), QStringLiteral(""));
    EXPECT_FALSE(operation->string().isNull());
    EXPECT_FALSE(operation->json().isValid());
    EXPECT_FALSE(operation->xml().isValid());
    EXPECT_EQ(operation->log(), QStringLiteral("200 (null)  "));
    EXPECT_EQ(
        operation->localizedErrorString(),
        QStringLiteral("No valid response from server, check your internet connection or retry later."));
}

TEST(FetchLife, TheClassOperationMakesAndStartsOne) {
    ScriptedServer server([](int, const QByteArray &) { return ScriptedServer::Answer{ok("body")}; });
    Gate gate;
    QString text;
    const auto operation = ZRFetchOperation::fetch(server.url().toString(), [&](const auto &done) {
        text = done->stringOK();
        gate.open();
    });
    ASSERT_TRUE(gate.pass());
    EXPECT_EQ(text, QStringLiteral("body"));
    EXPECT_EQ(operation->fetchCount(), 0U);
    waitForNetworkThread();
}

TEST(FetchLife, TheClassOperationTakesNil) {
    Gate gate;
    const LogCapture log;
    const auto operation = ZRFetchOperation::fetch(QVariant(), [&](const auto &) { gate.open(); });
    ASSERT_TRUE(operation);
    EXPECT_TRUE(gate.pass());
    waitForNetworkThread();
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(FetchLife, FetchAgainRepeatsItInTheBlock) {
    ScriptedServer server([](int number, const QByteArray &) {
        return ScriptedServer::Answer{number < 2 ? "HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n"
                                                 : ok("now")};
    });
    Gate gate;
    QList<quint64> counts;
    std::vector<Operation> operations;
    std::vector<Operation> copies;
    ZRFetchOperation::fetch(server.url(), [&](const auto &done) {
        operations.push_back(done);
        counts.append(done->fetchCount());
        if (!done->OK())
            copies.push_back(done->fetchAgain());
        else
            gate.open();
    });
    ASSERT_TRUE(gate.pass());
    waitForNetworkThread();
    EXPECT_EQ(counts, QList<quint64>({0, 1, 2}));
    ASSERT_EQ(copies.size(), 2U);
    EXPECT_EQ(copies[0], operations[1]);
    EXPECT_EQ(copies[1], operations[2]);
}

TEST(FetchLife, AtMostSixRunAtOnce) {
    std::atomic<int> waiting{0};
    Gate gate;
    std::atomic<int> most{0};
    ScriptedServer server([&](int, const QByteArray &) {
        const int now = ++waiting;
        int seen = most;
        while (now > seen && !most.compare_exchange_weak(seen, now)) {
        }
        if (now == 6)
            gate.open();
        gate.pass();
        --waiting;
        return ScriptedServer::Answer{ok("x")};
    });
    std::vector<Operation> operations;
    for (int i = 0; i < 20; ++i)
        operations.push_back(ZRFetchOperation::fetch(server.url(), [](const auto &) {}));
    for (const auto &operation : operations)
        operation->waitUntilFinished();
    EXPECT_EQ(most, 6);
    waitForNetworkThread();
}

TEST(FetchLife, ABlockThatThrowsEndsNothingElse) {
    const LogCapture log;
    Gate gate;
    ZRFetchOperation::fetch(QStringLiteral("data:,x"), [&](const auto &) {
        gate.open();
        throw NSException(NSGenericException, QStringLiteral("of a block"));
    });
    ASSERT_TRUE(gate.pass());
    waitForNetworkThread();
    EXPECT_EQ(log.count(QStringLiteral("Exception in the completion block of <ZRFetchOperation")), 1);
    EXPECT_EQ(fetched(QVariant(QStringLiteral("data:,x"))).string, QStringLiteral("x"));
}

TEST(FetchLife, AProgressBlockThatThrowsDoesNotStopTheFetch) {
    const LogCapture log;
    const auto operation = make(QStringLiteral("data:,x"));
    operation->setProgressBlock(
        [](const auto &) { throw NSException(NSGenericException, QStringLiteral("of a block")); });
    EXPECT_EQ(fetched(operation).string, QStringLiteral("x"));
    EXPECT_EQ(log.count(QStringLiteral("Exception in the progress block of <ZRFetchOperation")), 2);
}

// Cancellation.

TEST(FetchCancel, BeforeTheStartItFinishesWithoutTheBlock) {
    const auto operation = make(QStringLiteral("http://127.0.0.1:1/"));
    bool called = false;
    operation->setCompleteBlock([&](const auto &) { called = true; });
    operation->cancel();
    waitForNetworkThread();
    EXPECT_TRUE(operation->isCancelled());
    EXPECT_FALSE(operation->isFinished());
    EXPECT_EQ(operation->fetch(), operation);
    operation->waitUntilFinished();
    operation
        ->cancel(); // waits for the start on the queue's thread, which clears the fields after it finished
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(called);
    EXPECT_FALSE(operation->request());
}

TEST(FetchCancel, WhileItRunsItFinishesWithoutTheBlock) {
    Gate arrived;
    ScriptedServer server([&](int, const QByteArray &) {
        arrived.open();
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", false};
    });
    const auto operation = make(server.url());
    bool called = false;
    operation->fetchWithBlock([&](const auto &) { called = true; });
    ASSERT_TRUE(arrived.pass());
    operation->cancel();
    operation->cancel();
    operation->waitUntilFinished();
    waitForNetworkThread();
    EXPECT_FALSE(called);
    EXPECT_TRUE(operation->isCancelled());
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_FALSE(operation->connection());
}

TEST(FetchCancel, ItIsAnnouncedOnceThenTheEnd) {
    Gate arrived;
    ScriptedServer server([&](int, const QByteArray &) {
        arrived.open();
        return ScriptedServer::Answer{"HTTP/1.1 ", false};
    });
    const auto operation = make(server.url());
    ObserverLog log;
    const QStringList keys{NSOperationIsExecutingKey, NSOperationIsFinishedKey, NSOperationIsCancelledKey};
    for (const QString &key : keys)
        NSKeyValueObserving::addObserver(operation.get(), &log, key, NSKeyValueObservingOptionPrior);
    operation->fetchWithBlock([](const auto &) {});
    ASSERT_TRUE(arrived.pass());
    operation->cancel();
    operation->waitUntilFinished();
    waitForNetworkThread();
    operation->cancel();
    waitForNetworkThread();
    EXPECT_EQ(log.entries().join(u' '),
              QStringLiteral("isExecuting:will isExecuting:did isCancelled:will isCancelled:did "
                             "isExecuting:will isExecuting:did isFinished:will isFinished:did"));
    for (const QString &key : keys)
        NSKeyValueObserving::removeObserver(operation.get(), &log, key);
}

TEST(FetchCancel, ItClosesTheFile) {
    Gate arrived;
    ScriptedServer server([&](int, const QByteArray &) {
        arrived.open();
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", false};
    });
    for (const bool isRunning : {false, true}) {
        const auto operation = make(server.url());
        const auto handle = NSFileHandle::fileHandleForWritingAtPath(QStringLiteral("/dev/null"));
        operation->setDownloadFileHandle(handle);
        if (isRunning) {
            operation->fetchWithBlock([](const auto &) {});
            ASSERT_TRUE(arrived.pass());
        }
        operation->cancel();
        waitForNetworkThread();
        EXPECT_EQ(handle->fileDescriptor(), -1);
        EXPECT_FALSE(operation->downloadFileHandle());
    }
}

TEST(FetchCancel, OnceFinishedItDoesNothing) {
    const auto operation = make(QStringLiteral("data:,x"));
    const LogCapture log;
    fetched(operation);
    operation->cancel();
    waitForNetworkThread();
    EXPECT_FALSE(operation->isCancelled());
}

TEST(FetchCancel, FromItsOwnProgressBlock) {
    ScriptedServer server([](int, const QByteArray &) {
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", false};
    });
    const auto operation = make(server.url());
    bool called = false;
    operation->setProgressBlock([](const auto &running) { running->cancel(); });
    operation->fetchWithBlock([&](const auto &) { called = true; });
    operation->waitUntilFinished();
    waitForNetworkThread();
    EXPECT_FALSE(called);
    EXPECT_TRUE(operation->isCancelled());
}

TEST(FetchCancel, DelegateCallsAreIgnoredAfterwards) {
    const auto operation = make(QStringLiteral("http://host/"));
    operation->cancelConnection();
    operation->connectionDidReceiveResponse(nullptr, response(200));
    operation->connectionDidReceiveData(nullptr, "data");
    EXPECT_EQ(operation->statusCode(), 0);
    EXPECT_TRUE(operation->data().isNull());
}

} // namespace

#include "ZRFetchOperationTest.moc"
