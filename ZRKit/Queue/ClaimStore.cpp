// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/ClaimStore.h"

#include "platform/base/FileDescriptor.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/base/SystemError.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/net/HTTPExchange.h"
#include "platform/net/TransferLoop.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <QRandomGenerator>
#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace zr;

namespace {

constexpr qsizetype nameLength = 64;
constexpr qint64 largestBody = qint64(1) << 30;
constexpr int tries = 3;
constexpr auto pauseBetweenTries = std::chrono::milliseconds(500);
/// Seconds in which a server says nothing.
constexpr double longestSilence = 60;
using Deadline = std::chrono::steady_clock::time_point;

[[noreturn]] void fail(const QString &reason) {
    throw NSException(NSGenericException, reason);
}

QByteArray newName() {
    std::array<quint32, nameLength / 8> words{};
    QRandomGenerator::system()->fillRange(words.data(), qsizetype(words.size()));
    return QByteArray(reinterpret_cast<const char *>(words.data()), qsizetype(sizeof words)).toHex();
}

bool isName(const QByteArray &name) {
    return name.size() == nameLength && std::all_of(name.begin(), name.end(), [](char unit) {
               return (unit >= '0' && unit <= '9') || (unit >= 'a' && unit <= 'f');
           });
}

void checkName(const QByteArray &name) {
    if (!isName(name))
        fail(QStringLiteral("the message's claim is none"));
}

QString missing() {
    return QStringLiteral("the document's claim is not in the store any more");
}

HTTPExchange::Answer exchangeOnce(const QString &method, const QUrl &url, const QByteArray &body,
                                  Deadline deadline) {
    static NeverDestroyed<TransferLoop> loop(QStringLiteral("ClaimStore"));
    const auto request =
        std::make_shared<NSMutableURLRequest>(url, NSURLRequestReloadIgnoringLocalCacheData, longestSilence);
    request->setHTTPMethod(method);
    request->setHTTPShouldHandleCookies(false);
    if (!body.isNull()) {
        request->setHTTPBody(body);
        request->setValue(QStringLiteral("application/octet-stream"), QStringLiteral("Content-Type"));
    }
    const WorkerPool::Waiting waiting;
    return HTTPExchange{request, std::make_shared<std::atomic<qint64>>(largestBody)}.wait(*loop, deadline);
}

/// 0 if there is no answer.
qint64 statusOf(const HTTPExchange::Answer &answer) {
    return answer.response ? answer.response->statusCode() : 0;
}

/// Tries again if the server can't be reached or is in trouble, which may pass.
HTTPExchange::Answer exchange(std::chrono::milliseconds patience, const QString &method, const QUrl &url,
                              const QByteArray &body = {}) {
    const Deadline deadline = std::chrono::steady_clock::now() + patience;
    for (int attempt = 1;; ++attempt) {
        HTTPExchange::Answer answer = exchangeOnce(method, url, body, deadline);
        if ((answer.response && statusOf(answer) < 500) || attempt == tries ||
            std::chrono::steady_clock::now() + pauseBetweenTries > deadline)
            return answer;
        std::this_thread::sleep_for(pauseBetweenTries);
    }
}

QString problemOf(const HTTPExchange::Answer &answer) {
    QString problem = QStringLiteral("is too large");
    if (answer.response)
        problem = QStringLiteral("status %1").arg(statusOf(answer));
    else if (answer.error)
        problem = answer.error.localizedDescription();
    return QStringLiteral("the store of documents fails: ") + problem;
}

QString problemOf(const std::error_code &error) {
    return QStringLiteral("the store of documents fails: ") + QString::fromStdString(error.message());
}

} // namespace

ClaimStore::ClaimStore(const QUrl &url, std::chrono::milliseconds patience)
    : m_url(url), m_patience(patience) {
    const auto refuse = [&](const char *why) {
        throw NSException(NSInvalidArgumentException, QString::fromLatin1(why));
    };
    if (url.scheme() == u"file") {
        m_folder = NSPathOfFileURL(url).toUtf8();
        if (!m_folder.startsWith('/'))
            refuse("a store's file URL names a folder of this host");
        struct stat status {};
        if (::stat(m_folder.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
            refuse("the store's folder is not there");
    } else if ((url.scheme() == u"http" || url.scheme() == u"https") && url.isValid() &&
               !url.host().isEmpty()) {
        if (url.hasQuery() || url.hasFragment())
            refuse("a store's URL has no query and no fragment");
    } else {
        refuse("a store is a file, http or https URL");
    }
}

QByteArray ClaimStore::path(const QByteArray &name) const {
    return m_folder + (m_folder.endsWith('/') ? "" : "/") + name;
}

QUrl ClaimStore::url(const QByteArray &name) const {
    QUrl url = m_url;
    const QString path = m_url.path(QUrl::FullyEncoded);
    url.setPath(path + (path.endsWith(u'/') ? QString() : QStringLiteral("/")) + QString::fromLatin1(name),
                QUrl::TolerantMode);
    return url;
}

QByteArray ClaimStore::put(const QByteArray &body) const {
    if (body.size() > largestBody)
        fail(QStringLiteral("the store of documents takes no more than %1 bytes").arg(largestBody));
    QByteArray name = newName();
    if (m_folder.isNull()) {
        const HTTPExchange::Answer answer = exchange(m_patience, QStringLiteral("PUT"), url(name), body);
        if (statusOf(answer) < 200 || statusOf(answer) >= 300)
            fail(problemOf(answer));
    } else {
        AtomicFile file(path(name), AtomicFile::Existing::Kept);
        std::error_code error = file.open();
        if (!error)
            error = file.commit(body);
        if (error)
            fail(problemOf(error));
    }
    return name;
}

QByteArray ClaimStore::get(const QByteArray &name) const {
    checkName(name);
    if (m_folder.isNull()) {
        const HTTPExchange::Answer answer = exchange(m_patience, QStringLiteral("GET"), url(name));
        if (statusOf(answer) == 404 || statusOf(answer) == 410)
            fail(missing());
        if (statusOf(answer) != 200)
            fail(problemOf(answer));
        return answer.body;
    }
    // A link in the folder leads nowhere.
    const FileDescriptor file(::open(path(name).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file)
        fail(errno == ENOENT ? missing() : problemOf(systemError()));
    struct stat status {};
    if (::fstat(file.get(), &status) != 0)
        fail(problemOf(systemError()));
    if (!S_ISREG(status.st_mode) || status.st_size > largestBody)
        fail(QStringLiteral("the document's claim is no file that could be read"));
    QByteArray body(qsizetype(status.st_size), Qt::Uninitialized);
    qsizetype size = 0;
    while (size < body.size()) {
        const ssize_t count = ::read(file.get(), body.data() + size, std::size_t(body.size() - size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(problemOf(systemError()));
        if (count == 0)
            break;
        size += count;
    }
    body.truncate(size);
    return body;
}

void ClaimStore::remove(const QByteArray &name) const {
    checkName(name);
    if (m_folder.isNull()) {
        const HTTPExchange::Answer answer = exchange(m_patience, QStringLiteral("DELETE"), url(name));
        const qint64 status = statusOf(answer);
        if ((status < 200 || status >= 300) && status != 404 && status != 410)
            fail(problemOf(answer));
    } else if (::unlink(path(name).constData()) != 0 && errno != ENOENT) {
        fail(problemOf(systemError()));
    }
}

void ClaimStore::drop(const QByteArray &name) const {
    try {
        remove(name);
    } catch (const NSException &exception) {
        NSLog("A stored document is left to its age: %@", exception.reason());
    }
}

int ClaimStore::removeOlderThan(std::chrono::seconds age) const {
    if (m_folder.isNull())
        return 0;
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(::opendir(m_folder.constData()), ::closedir);
    if (!folder)
        fail(problemOf(systemError()));
    const std::time_t oldest = std::time(nullptr) - age.count();
    int count = 0;
    while (const dirent *const entry = ::readdir(folder.get())) {
        struct stat status {};
        // The folder may hold other things, which are somebody else's.
        if ((isName(QByteArray(entry->d_name)) || AtomicFile::isHiddenName(entry->d_name)) &&
            ::fstatat(::dirfd(folder.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode) && status.st_mtime < oldest &&
            ::unlinkat(::dirfd(folder.get()), entry->d_name, 0) == 0)
            ++count;
    }
    return count;
}
