// SPDX-License-Identifier: MIT
// Makes small pictures of all pictures in a folder, several at once, with a progress bar on a terminal.
//
// usage: thumbnails [OPTION...] FOLDER
//
//   -o, --output FOLDER  where they go; FOLDER/thumbnails unless given, made if it is missing
//   -s, --size PIXELS    the longest side, 1 to 4096; 200 unless given. Smaller pictures keep their size
//   -j, --jobs COUNT     how many pictures at once; as many as there are processors unless given
//   -h, --help           prints the usage
//
// A file's name says whether it is a picture. Each picture becomes a JPEG file, or a PNG file if it has transparency, named
// after it: photo.jpg becomes photo.jpg.jpg. A thumbnail appears when it is whole, and replaces an earlier one.
// It ends with 0 if all were made, with 1 if some could not be, each with a line, and with 64 for arguments that it doesn't
// understand, 66 for a folder that can't be read, and 73 for one that can't be made.
#include "ZRKit/Images/NSImage+ZRKit.h"
#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/operations/NSOperationQueue.h"

#include <QFile>
#include <QSaveFile>
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <sysexits.h>
#include <thread>
#include <unistd.h>

using namespace ZRKit;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *usage = "usage: thumbnails [-o FOLDER] [-s PIXELS] [-j COUNT] FOLDER\n";

struct Options {
    QString folder, output;
    int size = 200;
    int jobs = std::max(1, int(std::thread::hardware_concurrency()));
};

/// How far the work is: working threads report, the main thread shows it.
class Progress {
public:
    explicit Progress(int total) : m_total(total) {}

    void finish(const QString &failure) {
        const std::lock_guard lock(m_mutex);
        ++m_done;
        if (!failure.isNull())
            m_failures.append(failure);
        m_changed.notify_one();
    }

    /// Waits for the end of all and gives the failures.
    QStringList watch(bool isTerminal) {
        std::unique_lock lock(m_mutex);
        for (int shown = -1; shown < m_total;) {
            m_changed.wait(lock, [&] { return m_done > shown && (isTerminal || m_done == m_total); });
            shown = m_done;
            if (isTerminal)
                draw(shown);
        }
        if (isTerminal)
            std::fputs("\r\033[K", stderr);
        return m_failures;
    }

private:
    void draw(int done) const {
        constexpr int width = 40;
        const int filled = width * done / m_total;
        std::fprintf(stderr, "\r\033[K[%s%s] %d/%d", std::string(size_t(filled), '#').c_str(),
                     std::string(size_t(width - filled), '.').c_str(), done, m_total);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    const int m_total;
    int m_done = 0;
    QStringList m_failures;
};

void complain(const QString &what) {
    std::fprintf(stderr, "thumbnails: %s\n", NSFileSystemRepresentation(what).constData());
}

/// Decoders log what is wrong with broken files, which would break the bar.
void dropLogLines(QtMsgType, const QMessageLogContext &, const QString &) {
}

[[noreturn]] void reject(const QString &what) {
    complain(what);
    std::exit(EX_USAGE);
}

int number(const QString &option, const QString &text, int most) {
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (!isNumber || value < 1 || value > most)
        reject(option + u" needs a number from 1 to "_s + QString::number(most) + u", not \""_s + text +
               u'"');
    return value;
}

Options optionsOf(const QStringList &arguments) {
    Options options;
    bool optionsEnd = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        const auto is = [&](QStringView brief, QStringView full) {
            return argument == brief || argument == full;
        };
        const auto value = [&] {
            if (i + 1 == arguments.size())
                reject(argument + u" needs a value"_s);
            return arguments[++i];
        };
        if (optionsEnd || !argument.startsWith(u'-')) {
            if (!options.folder.isNull())
                reject(u"more than one folder: "_s + argument);
            options.folder = argument;
        } else if (argument == u"--") {
            optionsEnd = true;
        } else if (is(u"-h", u"--help")) {
            std::fputs(usage, stdout);
            std::exit(EX_OK);
        } else if (is(u"-o", u"--output")) {
            options.output = value();
        } else if (is(u"-s", u"--size")) {
            options.size = number(argument, value(), 4096);
        } else if (is(u"-j", u"--jobs")) {
            options.jobs = number(argument, value(), 1024);
        } else {
            reject(u"unknown option "_s + argument);
        }
    }
    if (options.folder.isEmpty()) {
        std::fputs(usage, stderr);
        std::exit(EX_USAGE);
    }
    if (options.output.isNull())
        options.output = joinPath(options.folder, u"thumbnails"_s);
    return options;
}

bool hasTransparency(const QImage &picture) {
    const QImage pixels = picture.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < pixels.height(); ++y) {
        const auto *const row = reinterpret_cast<const QRgb *>(pixels.constScanLine(y));
        if (std::any_of(row, row + pixels.width(), [](QRgb pixel) { return qAlpha(pixel) < 255; }))
            return true;
    }
    return false;
}

/// The file is written beside its place and takes that when it is whole.
bool save(const QByteArray &data, const QString &path) {
    QSaveFile file(path);
    return !data.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(data) == data.size() &&
           file.commit();
}

/// Says what went wrong; nil if nothing did.
QString makeThumbnail(const Options &options, const QString &name) {
    const QString path = joinPath(options.folder, name);
    // Somewhat larger than the thumbnail, so that its size is the work of the better scaler.
    const int enough = options.size * 3 / 2;
    const auto image = NSImage::imageWithContentsOfFile(path, QSize(enough, enough));
    if (!image)
        return path + u": not a picture that can be read"_s;
    const Image small = fitToSize(image, QSizeF(options.size, options.size));
    const QString target = joinPath(options.output, name);
    const bool isSaved = hasTransparency(CGImage(small))
                             ? save(dataForPNG(small), target + u".png"_s)
                             : save(dataForJPGWithCompressionQuality(small, 0.85), target + u".jpg"_s);
    return isSaved ? QString() : target + u": can't be written"_s;
}

} // namespace

int main(int argc, char **argv) {
    qInstallMessageHandler(dropLogLines);
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(NSStringWithFileSystemRepresentation(argv[i]));
    const Options options = optionsOf(arguments);
    const NSFileManager &files = NSFileManager::defaultManager();
    const auto listed = zrListDir(files, options.folder);
    if (!listed) {
        complain(options.folder + u": can't be read"_s);
        return EX_NOINPUT;
    }
    if (zrMakeDirs(files, options.output).isNull() || !zrIsDir(files, options.output)) {
        complain(options.output + u": can't be made"_s);
        return EX_CANTCREAT;
    }
    QStringList names;
    for (const QVariant &name : *listed) {
        const QString path = joinPath(options.folder, name.toString());
        if (zrIsFile(files, path) && zrIsFile(files, path, QVariantList{u"public.image"_s}))
            names.append(name.toString());
    }
    names.sort();

    Progress progress(int(names.size()));
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(options.jobs);
    for (const QString &name : names)
        queue.addOperationWithBlock([&, name] { progress.finish(makeThumbnail(options, name)); });
    const QStringList failures = progress.watch(::isatty(STDERR_FILENO) == 1);
    for (const QString &failure : failures)
        complain(failure);
    return failures.isEmpty() ? EX_OK : EXIT_FAILURE;
}
