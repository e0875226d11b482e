// SPDX-License-Identifier: MIT
// Prints the entries of an RSS or Atom feed, each with its date and link: feed URL
#include "ZRKit/Network/ZRXML.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/net/ContentsOfURL.h"

#include <QTextStream>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

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

} // namespace

int main(int argc, char *argv[]) {
    QTextStream out(stdout), err(stderr);
    if (argc != 2) {
        err << "usage: feed URL\n";
        return 64;
    }
    const QByteArray data = NSDataWithContentsOfURL(QUrl(QString::fromLocal8Bit(argv[1])));
    if (data.isNull()) {
        err << "feed: can't read " << argv[1] << "\n";
        return 66;
    }
    const auto feed = ZRXML().parseData(data);
    if (!feed) {
        err << "feed: not an XML document: " << argv[1] << "\n";
        return 65;
    }
    // RSS has its entries below the channel, RSS 1.0 beside it, Atom at the root.
    const QVariant channel = ZRKit::path(*feed, u"$channel/0"_s, *feed);
    out << text(channel, u"title"_s) << "\n\n";
    for (const QVariant &entry :
         ZRKit::paths(*feed, {u"$channel/0/$item"_s, u"$item"_s, u"$entry"_s}).toList())
        print(out, entry);
    return 0;
}
