// SPDX-License-Identifier: MIT
// Fetches a list of URLs, six at once, with a progress bar each on a terminal, and prints each one's log
// line.
//
// usage: fetch [--output FOLDER] [--verify] URL...
//
//   --output FOLDER  write each body into a file there, named after its URL, instead of keeping it in memory
//   --verify         check certificates and host names
//
// Instead of a URL, the path of a file will do. It ends with 0 if all were fetched, with 1 if not, and with
// 64 for arguments that it doesn't understand.
#include "ZRKit/Network/ZRFetchOperation.h"
#include "platform/files/NSFileHandle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// What the network thread tells the main thread of one fetch.
struct Job {
    QUrl url;
    QString path; ///< of the file; nil for memory
    double progress = 0;
    qint64 received = 0;
    bool done = false;
    bool succeeded = false;
    QString line;
};

std::mutex mutex;
std::condition_variable changed;
std::vector<Job> jobs;

QString partOf(const QString &path) {
    return path + QStringLiteral(".part");
}

/// The body goes into a file next to its place and takes that only when it is whole.
bool openFile(Job &job, ZRFetchOperation &operation) {
    QFile part(partOf(job.path));
    if (!part.open(QIODevice::WriteOnly))
        return false;
    part.close();
    operation.setDownloadFileHandle(NSFileHandle::fileHandleForWritingAtPath(part.fileName()));
    return operation.downloadFileHandle() != nullptr;
}

void finish(Job &job, const ZRFetchOperation &operation) {
    // File and data URLs have no status.
    job.succeeded = operation.error().isNil() && (operation.OK() || operation.statusCode() == 0);
    job.line = operation.log().section(u'\n', 0, 0).left(200);
    if (!job.succeeded && operation.error().isNil())
        job.line += QStringLiteral(" [") + operation.localizedErrorString() + u']';
    if (!job.path.isNull()) {
        QFile::remove(job.succeeded ? job.path : partOf(job.path));
        if (job.succeeded && !QFile::rename(partOf(job.path), job.path)) {
            job.line = job.path + QStringLiteral(": cannot be written");
            job.succeeded = false;
        }
    }
    job.done = true;
    changed.notify_one();
}

void start(std::size_t index, bool verify) {
    Job &job = jobs[index];
    const auto operation = std::make_shared<ZRFetchOperation>(job.url);
    operation->setVerifiesServerTrust(verify);
    if (!job.path.isNull() && !openFile(job, *operation)) {
        const std::lock_guard lock(mutex);
        job.line = job.path + QStringLiteral(": cannot be written");
        job.done = true;
        return;
    }
    operation->setProgressBlock([index](const auto &fetching) {
        const std::lock_guard lock(mutex);
        jobs[index].progress = fetching->progress();
        jobs[index].received = fetching->receivedBytes();
    });
    operation->fetchWithBlock([index](const auto &fetched) {
        const std::lock_guard lock(mutex);
        finish(jobs[index], *fetched);
    });
}

void draw(const Job &job) {
    constexpr int width = 30;
    const int filled = job.done ? width : int(job.progress * width);
    std::fprintf(stderr, "\r\033[K[%s%s] %8lld KB  %s\n", std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(width - filled), ' ').c_str(),
                 static_cast<long long>(job.received / 1024),
                 job.url.toDisplayString().left(80).toUtf8().constData());
}

bool allDone() {
    return std::all_of(jobs.begin(), jobs.end(), [](const Job &job) { return job.done; });
}

/// Waits for the end of all, and shows how far each is meanwhile.
void watch(bool isTerminal) {
    std::unique_lock lock(mutex);
    bool drawn = false;
    for (bool over = false; !over;) {
        over = isTerminal ? changed.wait_for(lock, std::chrono::milliseconds(100), allDone)
                          : (changed.wait(lock, allDone), true);
        if (!isTerminal)
            continue;
        if (std::exchange(drawn, true))
            std::fprintf(stderr, "\033[%zuA", jobs.size());
        std::for_each(jobs.begin(), jobs.end(), draw);
    }
}

/// A file of its own for each, named after the last part of its URL unless another has that name.
void nameFiles(const QString &folder) {
    std::set<QString> taken;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const QString number = QString::number(i + 1);
        const QUrl &url = jobs[i].url;
        QString name = url.scheme() == u"data" ? QString() : QFileInfo(url.path()).fileName();
        if (name.isEmpty() || name == u"." || name == u"..")
            name = QStringLiteral("index-") + number;
        while (!taken.insert(name).second)
            name = number + u'-' + name;
        jobs[i].path = QDir(folder).filePath(name);
    }
}

/// What the kit logs would stand between the bars.
void dropLogLines(QtMsgType type, const QMessageLogContext &, const QString &line) {
    if (type != QtInfoMsg)
        std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
}

int complain(const QString &what) {
    std::fprintf(stderr, "fetch: %s\n", what.toLocal8Bit().constData());
    return 64;
}

constexpr const char *usage = "usage: fetch [--output FOLDER] [--verify] URL...\n";

} // namespace

int main(int argc, char **argv) {
    qInstallMessageHandler(dropLogLines);
    QString folder;
    bool verify = false;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument == u"--help") {
            std::fputs(usage, stdout);
            return 0;
        }
        if (argument == u"--output" && i + 1 < argc) {
            folder = QString::fromLocal8Bit(argv[++i]);
        } else if (argument == u"--verify") {
            verify = true;
        } else if (argument.startsWith(u'-')) {
            return complain(argument == u"--output" ? QStringLiteral("--output needs a folder")
                                                    : QStringLiteral("unknown option ") + argument);
        } else {
            QUrl url(argument);
            if (url.isValid() && url.scheme().isEmpty())
                url = QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath());
            if (!url.isValid())
                return complain(QStringLiteral("not a URL: \"") + argument + u'"');
            jobs.emplace_back().url = url;
        }
    }
    if (jobs.empty()) {
        std::fputs(usage, stderr);
        return 64;
    }
    if (!folder.isNull()) {
        if (!QDir().mkpath(folder)) {
            std::fprintf(stderr, "fetch: can't make the folder %s\n", folder.toLocal8Bit().constData());
            return 1;
        }
        nameFiles(folder);
    }
    for (std::size_t i = 0; i < jobs.size(); ++i)
        start(i, verify);
    watch(::isatty(STDERR_FILENO) == 1);
    bool allSucceeded = true;
    for (const Job &job : jobs) {
        std::puts(job.line.toUtf8().constData());
        allSucceeded &= job.succeeded;
    }
    return allSucceeded ? 0 : 1;
}
