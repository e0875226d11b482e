// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "ZRKit/Storage/NSFileHandle+ZRKit.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "examples/kit/Example.h"
#include "platform/net/NSHTTPCookieStorage.h"

#include <QFile>
#include <QTemporaryDir>
#include <arpa/inet.h>
#include <condition_variable>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

/// A server of a few pages on loopback, so that the examples need no network.
class Server {
public:
    Server() : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *generic = reinterpret_cast<sockaddr *>(&address);
        expect(::bind(m_listener, generic, size) == 0 && ::listen(m_listener, 8) == 0);
        ::getsockname(m_listener, generic, &size);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~Server() {
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
    }
    QString url(const char *path) const {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(QString::fromLatin1(path));
    }

private:
    static QByteArray answer(const QByteArray &request) {
        const QByteArray path = request.split(' ').value(1);
        const auto page = [](const char *status, const char *fields, const QByteArray &body) {
            return QByteArray("HTTP/1.1 ") + status + "\r\n" + fields +
                   "Connection: close\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" +
                   body;
        };
        if (path == "/feed.json")
            return page("200 OK", "Set-Cookie: seen=1\r\n", "{\"items\": [{\"title\": \"first\"}]}");
        if (path == "/echo")
            return page("200 OK", "", request);
        if (path == "/moved")
            return page("302 Found", "Location: /echo\r\n", "");
        if (path == "/private" && request.contains("Authorization: Basic dXNlcjpzZWNyZXQ=\r\n"))
            return page("200 OK", "", "come in");
        if (path == "/private")
            return page("401 Unauthorized", "WWW-Authenticate: Basic realm=\"house\"\r\n", "");
        return page("404 Not Found", "", "no such page");
    }
    void serve() {
        for (int fd = 0; (fd = ::accept(m_listener, nullptr, nullptr)) >= 0; ::close(fd)) {
            QByteArray request;
            char buffer[4096];
            ssize_t count = 0;
            while (!request.contains("\r\n\r\n") && (count = ::recv(fd, buffer, sizeof buffer, 0)) > 0)
                request.append(buffer, count);
            const QByteArray bytes = answer(request);
            ::send(fd, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL);
            ::shutdown(fd, SHUT_WR);
            while (::recv(fd, buffer, sizeof buffer, 0) > 0) {
            }
        }
    }
    const int m_listener;
    int m_port = 0;
    std::thread m_thread;
};

/// Lets main() wait for a completion block, which runs on the network thread.
class Signal {
public:
    void send() {
        const std::lock_guard lock(m_mutex);
        m_sent = true;
        m_changed.notify_one();
    }
    void wait() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_sent; });
        m_sent = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_sent = false;
};

} // namespace

EXAMPLE(ZRFetchOperation) {
    Server server;
    Signal done;

    // fetch: the results are read inside the block
    ZRFetchOperation::fetch(server.url("/feed.json"), [&](const auto &operation) {
        expect(operation->OK());
        expect(operation->statusCode() == 200);
        const QVariantMap feed = operation->jsonOK().toMap();
        expect(feed[QStringLiteral("items")].toList().size() == 1);
        expect(operation->localizedErrorString().isEmpty());
        done.send();
    });
    done.wait();

    // Set-up: method, header fields and body are the request's
    const auto post = std::make_shared<ZRFetchOperation>(server.url("/echo"));
    post->request()->setHTTPMethod(QStringLiteral("POST"));
    post->request()->setHTTPBody("{}");
    post->request()->setValue(QStringLiteral("application/json"), QStringLiteral("Content-Type"));
    post->fetchWithBlock([&](const auto &operation) {
        expect(operation->stringOK().startsWith(QStringLiteral("POST /echo HTTP/1.1\r\n")));
        expect(operation->stringOK().contains(QStringLiteral("Accept-Encoding: gzip,deflate\r\n")));
        expect(operation->stringOK().contains(QStringLiteral("Content-Length: 2\r\n")));
        done.send();
    });
    done.wait();

    // Failures: a status, and no server at all
    ZRFetchOperation::fetch(server.url("/nothing"), [&](const auto &operation) {
        expect(!operation->OK() && operation->stringOK().isNull());
        expect(operation->string() == QStringLiteral("no such page"));
        expect(operation->localizedErrorString() == QStringLiteral("Not Found"));
        done.send();
    });
    done.wait();
    ZRFetchOperation::fetch(QStringLiteral("http://nowhere.invalid/"), [&](const auto &operation) {
        expect(operation->statusCode() == 0 && !operation->error().isNil());
        expect(operation->log().startsWith(QStringLiteral("000 http://nowhere.invalid/ (ERROR ")));
        done.send();
    });
    done.wait();

    // xml: an element's children are arrays under "$" and their name; a data URL has no status
    ZRFetchOperation::fetch(QStringLiteral("data:,%3Cfeed%3E%3Centry%3Eone%3C%2Fentry%3E%3C%2Ffeed%3E"),
                            [&](const auto &operation) {
                                expect(ZRKit::path(operation->xml(), QStringLiteral("$entry/0/_content")) ==
                                       QVariant(QStringLiteral("one")));
                                expect(!operation->OK() && !operation->xmlOK().isValid());
                                done.send();
                            });
    done.wait();

    // Redirects keep the request
    ZRFetchOperation::fetch(server.url("/moved"), [&](const auto &operation) {
        expect(operation->OK() && operation->url().path() == QStringLiteral("/echo"));
        done.send();
    });
    done.wait();

    // username and password
    const auto guest = std::make_shared<ZRFetchOperation>(server.url("/private"));
    guest->setUsername(QStringLiteral("user"));
    guest->setPassword(QStringLiteral("wrong"));
    guest->fetchWithBlock([&](const auto &operation) {
        expect(operation->error().code() == 1);
        expect(operation->localizedErrorString() ==
               QStringLiteral("Credentials for user 'user' were not valid!"));
        // copyFetch and fetchAgain: once more, with what has changed
        const auto again = operation->copyFetch();
        again->setPassword(QStringLiteral("secret"));
        again->fetchWithBlock([&](const auto &second) {
            expect(second->stringOK() == QStringLiteral("come in") && second->fetchCount() == 1);
            done.send();
        });
    });
    done.wait();

    // cookieStorage: a store of one's own
    const auto store = std::make_shared<NSHTTPCookieStorage>();
    for (const char *path : {"/feed.json", "/echo"}) {
        const auto operation = std::make_shared<ZRFetchOperation>(server.url(path));
        operation->setCookieStorage(store);
        operation->fetchWithBlock([&](const auto &fetched) {
            expect(fetched->string().contains(QStringLiteral("Cookie: seen=1\r\n")) ==
                   (fetched->url().path() == QStringLiteral("/echo")));
            done.send();
        });
        done.wait();
    }
    expect(store->cookies().size() == 1);

    // progressBlock and downloadFileHandle
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("feed")));
    const auto download = std::make_shared<ZRFetchOperation>(server.url("/feed.json"));
    download->setDownloadFileHandle(ZRKit::fileHandleForNewFileWritingAtPath(file.fileName()));
    double last = -1;
    download->setProgressBlock([&](const auto &operation) { last = operation->progress(); });
    download->fetchWithBlock([&](const auto &operation) {
        expect(operation->OK() && operation->data().isEmpty() && last == 1.0);
        done.send();
    });
    done.wait();
    expect(file.open(QIODevice::ReadOnly) && file.readAll().startsWith("{\"items\""));

    // cancel: no completion block any more
    const auto cancelled = std::make_shared<ZRFetchOperation>(server.url("/echo"));
    cancelled->cancel();
    cancelled->fetchWithBlock([](const auto &) { expect(!"a cancelled fetch was completed"); });
    cancelled->waitUntilFinished();
}
