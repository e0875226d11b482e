// SPDX-License-Identifier: MIT
// Prints the entries of an RSS or Atom feed, each with its date and link.
//
// usage: feed URL
//
// Instead of the URL, the path of a file will do.
#include "ZRKit/Network/ZRFetchOperation.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"

#include <QFileInfo>
#include <QTextStream>
#include <QUrl>
#include <future>

using namespace Qt::StringLiterals;

namespace {

struct Answer {
    QString error; ///< nil if there is none
    QVariant tree; ///< nil if it is no XML
};

/// Results are read inside the completion block, which runs on the network thread.
Answer fetch(const QUrl &url) {
    const auto answer = std::make_shared<std::promise<Answer>>();
    const auto operation = std::make_shared<ZRFetchOperation>(url);
    operation->setVerifiesServerTrust(true);
    operation->fetchWithBlock([answer](const auto &fetched) {
        // File and data URLs have no status.
        const bool failed = !fetched->error().isNil() || (fetched->statusCode() != 0 && !fetched->OK());
        answer->set_value({failed ? fetched->localizedErrorString() : QString(), fetched->xml()});
    });
    return answer->get_future().get();
}

/// The text of the first child of that name, or "".
QString text(const QVariant &node, const QString &child) {
    return ZRKit::collapse(ZRKit::stringAtPath(node, u"$%1/0/_content"_s.arg(child)));
}

void print(QTextStream &out, const QVariant &entry) {
    // Atom keeps a link in an attribute, RSS in the element's text.
    const QString link = ZRKit::path(entry, u"$link/0/href"_s, text(entry, u"link"_s)).toString();
    const QString date = text(entry, u"pubDate"_s) + text(entry, u"updated"_s);
    out << text(entry, u"title"_s) << "\n    " << (date.isEmpty() ? u"no date"_s : date) << "\n    " << link
        << "\n";
}

/// What the kit logs is not for the reader of a feed.
void dropLogLines(QtMsgType type, const QMessageLogContext &, const QString &line) {
    if (type != QtInfoMsg)
        QTextStream(stderr) << line << "\n";
}

} // namespace

int main(int argc, char *argv[]) {
    qInstallMessageHandler(dropLogLines);
    QTextStream out(stdout), err(stderr);
    const QString argument = QString::fromLocal8Bit(argc == 2 ? argv[1] : "");
    if (argument.isEmpty() || argument.startsWith(u'-')) {
        err << "usage: feed URL\n";
        return 64;
    }
    QUrl url(argument);
    if (url.isValid() && url.scheme().isEmpty())
        url = QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath());
    const auto [error, feed] = fetch(url);
    if (!error.isNull()) {
        err << "feed: can't read " << argument << ": " << error << "\n";
        return 66;
    }
    if (!feed.isValid()) {
        err << "feed: not an XML document: " << argument << "\n";
        return 65;
    }
    // RSS has its entries below the channel, RSS 1.0 next to it, Atom at the root.
    const QVariant channel = ZRKit::path(feed, u"$channel/0"_s, feed);
    const QString title = text(channel, u"title"_s);
    const QVariantList entries =
        ZRKit::paths(feed, {u"$channel/0/$item"_s, u"$item"_s, u"$entry"_s}).toList();
    if (title.isEmpty() && entries.isEmpty()) {
        err << "feed: not a feed: " << argument << "\n";
        return 65;
    }
    out << title << "\n\n";
    for (const QVariant &entry : entries)
        print(out, entry);
    return 0;
}
