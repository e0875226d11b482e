// SPDX-License-Identifier: MIT
#include "platform/net/LocalTransfer.h"

#include "platform/base/SystemError.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/text/DataURL.h"

#include <QMimeDatabase>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zr {

namespace {

constexpr qsizetype pieceSize = qsizetype(256) * 1024;

} // namespace

void LocalTransfer::start(const std::shared_ptr<NSURLRequest> &request) {
    const auto sent = tell(&NSURLConnectionDelegate::connectionWillSendRequest, request, nullptr);
    m_url = (sent ? sent : request)->URL();
    if (isOver())
        return;
    if (!sent)
        failWith(NSURLErrorCancelled);
    else if (m_url.scheme() == u"file")
        openFile();
    else
        loadData();
}

void LocalTransfer::failWith(NSURLErrorCode code, int error) {
    fail(NSURLErrorWithCode(code, m_url, error ? systemErrorText(error) : QString()));
}

void LocalTransfer::loadData() {
    const zr::DataURL data(m_url.scheme() == u"data" ? m_url.toEncoded(QUrl::RemoveFragment) : QByteArray());
    if (data.body().isNull()) {
        failWith(NSURLErrorBadURL);
        return;
    }
    const QString charset = data.charset().isEmpty() ? QString() : QString::fromLatin1(data.charset());
    tell(&NSURLConnectionDelegate::connectionDidReceiveResponse,
         std::make_shared<NSURLResponse>(m_url, QString::fromLatin1(data.mimeType()), data.body().size(),
                                         charset));
    later([this, body = data.body()] {
        if (!body.isEmpty())
            tell(&NSURLConnectionDelegate::connectionDidReceiveData, body);
        later([this] { finish(); });
    });
}

void LocalTransfer::openFile() {
    const QString path = NSPathOfFileURL(m_url);
    const QByteArray bytes = NSFileSystemRepresentation(path);
    if (bytes.isNull()) {
        failWith(NSURLErrorFileDoesNotExist);
        return;
    }
    // Without waiting for the writer of a pipe.
    m_file.reset(::open(bytes.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat about {};
    if (!m_file || ::fstat(m_file.get(), &about) != 0)
        failWith(errno == EACCES || errno == EPERM ? NSURLErrorNoPermissionsToReadFile
                                                   : NSURLErrorFileDoesNotExist,
                 errno);
    else if (!S_ISREG(about.st_mode))
        failWith(S_ISDIR(about.st_mode) ? NSURLErrorFileIsDirectory : NSURLErrorNoPermissionsToReadFile);
    else {
        const QString type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension).name();
        m_buffer.resize(pieceSize);
        tell(&NSURLConnectionDelegate::connectionDidReceiveResponse,
             std::make_shared<NSURLResponse>(m_url, type, qint64(about.st_size), QString()));
        later([this] { readPiece(); });
    }
}

void LocalTransfer::readPiece() {
    const ssize_t count = ::read(m_file.get(), m_buffer.data(), size_t(m_buffer.size()));
    if (count < 0 && errno != EINTR) {
        failWith(NSURLErrorNetworkConnectionLost, errno);
    } else if (count == 0) {
        finish();
    } else {
        if (count > 0)
            tell(&NSURLConnectionDelegate::connectionDidReceiveData,
                 QByteArrayView(m_buffer.constData(), qsizetype(count)));
        later([this] { readPiece(); });
    }
}

} // namespace zr
