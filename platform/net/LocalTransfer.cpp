// SPDX-License-Identifier: MIT
#include "platform/net/LocalTransfer.h"

#include "platform/text/WebDataURL.h"

#include <QFile>
#include <QMimeDatabase>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr qsizetype pieceSize = qsizetype(256) * 1024;

NSURLErrorCode codeOfError(int error) {
    return error == EACCES || error == EPERM ? NSURLErrorNoPermissionsToReadFile : NSURLErrorFileDoesNotExist;
}

} // namespace

LocalTransfer::~LocalTransfer() {
    LocalTransfer::stop();
}

void LocalTransfer::stop() {
    if (m_file >= 0)
        ::close(std::exchange(m_file, -1));
}

void LocalTransfer::start(const std::shared_ptr<NSURLRequest> &request) {
    const std::shared_ptr<NSURLRequest> sent = willSendRequest(request, nullptr);
    if (sent)
        load(sent->URL());
    else
        didFail(NSURLErrorWithCode(NSURLErrorCancelled, request->URL()));
}

void LocalTransfer::load(const QUrl &url) {
    m_url = url;
    if (url.scheme() == u"file") {
        openFile(url);
        return;
    }
    const WebDataURL data(url.scheme() == u"data" ? url.toEncoded(QUrl::RemoveFragment) : QByteArray());
    if (data.body().isNull()) {
        didFail(NSURLErrorWithCode(NSURLErrorBadURL, url));
        return;
    }
    const QString charset = data.charset().isEmpty() ? QString() : QString::fromLatin1(data.charset());
    didReceiveResponse(std::make_shared<NSURLResponse>(url, QString::fromLatin1(data.mimeType()),
                                                       data.body().size(), charset));
    later([this, body = data.body()] {
        if (!body.isEmpty())
            didReceiveData(body);
        later([this] { didFinishLoading(); });
    });
}

void LocalTransfer::openFile(const QUrl &url) {
    const auto fail = [&](NSURLErrorCode code, int error = 0) {
        stop();
        didFail(
            NSURLErrorWithCode(code, url, error ? QString::fromLocal8Bit(std::strerror(error)) : QString()));
    };
    const QString path = url.path(QUrl::FullyDecoded);
    const QString host = url.host();
    if ((!host.isEmpty() && host != u"localhost") || path.isEmpty() || path.contains(QChar::Null)) {
        fail(NSURLErrorFileDoesNotExist);
        return;
    }
    // Without waiting for the writer of a pipe.
    m_file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat about {};
    if (m_file < 0 || ::fstat(m_file, &about) != 0) {
        fail(codeOfError(errno), errno);
        return;
    }
    if (!S_ISREG(about.st_mode)) {
        fail(S_ISDIR(about.st_mode) ? NSURLErrorFileIsDirectory : NSURLErrorNoPermissionsToReadFile);
        return;
    }
    const QString type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension).name();
    m_buffer.resize(pieceSize);
    didReceiveResponse(std::make_shared<NSURLResponse>(url, type, qint64(about.st_size), QString()));
    later([this] { readPiece(); });
}

void LocalTransfer::readPiece() {
    const ssize_t count = ::read(m_file, m_buffer.data(), size_t(m_buffer.size()));
    if (count < 0 && errno != EINTR) {
        const int error = errno;
        stop();
        didFail(NSURLErrorWithCode(NSURLErrorNetworkConnectionLost, m_url,
                                   QString::fromLocal8Bit(std::strerror(error))));
        return;
    }
    if (count == 0) {
        stop();
        didFinishLoading();
        return;
    }
    if (count > 0)
        didReceiveData({m_buffer.constData(), qsizetype(count)});
    later([this] { readPiece(); });
}
