// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/Source.h"

#include "platform/documents/WebDocumentSniffer.h"
#include "platform/files/NSPathUtilities.h"
#include "tools/zrpdf/Input.h"

#include <QMimeData>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace zr;

namespace {

constexpr qsizetype longestName = 100;
/// Text that is looked at for addresses and a name; what is longer than that is a document.
constexpr qsizetype longestArgument = 8192;

QString firstLine(const QString &text) {
    const QString line = text.left(longestArgument).trimmed().section(u'\n', 0, 0).simplified();
    return line.size() <= longestName ? line : line.left(longestName) + u'…';
}

bool isExistingPath(const QByteArray &argument) {
    return argument.startsWith('/') && ::access(argument.constData(), F_OK) == 0;
}

/// A URL of any kind, one without its scheme as people write it, or the path of a file; nothing for anything else.
QByteArray argumentIn(const QString &line) {
    QByteArray argument = line.toUtf8();
    if (isExistingPath(argument))
        return argument;
    if (argument.isEmpty() || line.contains(u' ') || line.contains(u'\t'))
        return {};
    if (Input::hasForeignScheme(argument) || Input(argument).kind() == Input::Kind::Address)
        return argument;
    return argument.startsWith("www.") && argument.size() > 4 ? "https://" + argument : QByteArray();
}

/// Pictures that come as their files' bytes, the best first.
QString pictureFormat(const QMimeData &data) {
    for (const auto type : {"image/svg+xml"_L1, "image/png"_L1, "image/webp"_L1, "image/jpeg"_L1,
                            "image/gif"_L1, "image/bmp"_L1})
        if (data.hasFormat(type))
            return type;
    return {};
}

} // namespace

Source Source::withArgument(const QByteArray &argument) {
    const Input input(argument);
    const bool isAddress = input.kind() == Input::Kind::Address || Input::hasForeignScheme(argument);
    if (!input.path().isEmpty() && !Input::hasForeignScheme(argument)) {
        const QByteArray &path = input.path();
        const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
        return {Kind::File, path, {}, NSStringWithFileSystemRepresentation(name.isEmpty() ? path : name)};
    }
    return {isAddress ? Kind::Address : Kind::File, argument, {}, firstLine(QString::fromUtf8(argument))};
}

Source Source::withMarkup(const QString &html) {
    return {Kind::Markup, {}, html.toUtf8(), u""_s};
}

Source Source::withBytes(const QByteArray &bytes) {
    const bool isText = WebDocumentSniffer::kindOfData(bytes) == WebDocumentKind::PlainText;
    return {
        Kind::Bytes, {}, bytes, isText ? firstLine(QString::fromUtf8(bytes.left(longestArgument))) : u""_s};
}

Source Source::stored(Kind kind, const QByteArray &location, const QByteArray &content, const QString &name) {
    return {kind, location, content, name};
}

QList<Source> Source::sourcesWithText(const QString &text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return {};
    QList<Source> sources;
    if (trimmed.size() <= longestArgument) {
        for (const QString &line : trimmed.split(u'\n')) {
            const QByteArray argument = argumentIn(line.trimmed());
            if (!argument.isEmpty())
                sources << withArgument(argument);
            else if (!line.trimmed().isEmpty())
                return {withDocument(text)};
        }
        return sources;
    }
    // One that holds its document in itself may have any length.
    if (trimmed.startsWith(u"data:") && !trimmed.contains(u'\n'))
        return {withArgument(trimmed.toUtf8())};
    return {withDocument(text)};
}

Source Source::withDocument(const QString &text) {
    const QByteArray bytes = text.toUtf8();
    return WebDocumentSniffer::kindOfData(bytes) == WebDocumentKind::HTML ? withMarkup(text)
                                                                          : withBytes(bytes);
}

QList<Source> Source::sourcesWithMimeData(const QMimeData &data) {
    if (data.hasUrls()) {
        QList<Source> sources;
        for (const QUrl &url : data.urls()) {
            const QString path = NSPathOfFileURL(url);
            sources << withArgument(path.isNull() ? url.toEncoded() : NSFileSystemRepresentation(path));
        }
        return sources;
    }
    if (const QString format = pictureFormat(data); !format.isEmpty() && !data.hasHtml())
        return {withBytes(data.data(format))};
    QList<Source> texts = data.hasText() ? sourcesWithText(data.text()) : QList<Source>();
    const bool isAddress = !texts.isEmpty() && texts.first().content().isEmpty();
    if (!data.hasHtml() || isAddress)
        return texts;
    const QString html = data.html();
    return html.trimmed().isEmpty() ? texts : QList<Source>{withMarkup(html)};
}

bool Source::canRead(const QMimeData &data) {
    return data.hasUrls() || data.hasHtml() || data.hasText() || !pictureFormat(data).isEmpty();
}

QString Source::stem() const {
    if (m_location.isEmpty())
        return m_name.left(longestName).replace(u'/', u'_').trimmed();
    QByteArray name = Input(m_location).defaultOutput(".").mid(2);
    name.chop(4);
    return NSStringWithFileSystemRepresentation(name);
}

QString Source::problem() const {
    if (m_kind == Kind::Markup || m_kind == Kind::Bytes)
        return m_content.isEmpty() ? u"The document is empty"_s : QString();
    if (m_kind == Kind::Address && Input::hasForeignScheme(m_location))
        return u"Only http, https, file and data URLs can be converted"_s;
    const Input input(m_location);
    // Nobody could tell whether, and when, it ends.
    if (input.kind() == Input::Kind::Stream)
        return u"It is a pipe or a device"_s;
    const QByteArray problem = input.problem();
    if (problem == "is a folder")
        return u"It is a folder"_s;
    return problem == "is not a valid URL" ? u"It is not a valid URL"_s : QString::fromLocal8Bit(problem);
}

QVariant Source::taskData() const {
    switch (m_kind) {
    case Kind::Markup:
        return QString::fromUtf8(m_content);
    case Kind::Bytes:
        return m_content;
    case Kind::File:
    case Kind::Address:
        break;
    }
    return Input(m_location).url();
}
