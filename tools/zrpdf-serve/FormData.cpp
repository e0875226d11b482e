// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/FormData.h"

#include "platform/archive/NSPropertyList.h"
#include "platform/documents/WebArchive.h"
#include "platform/documents/WebMIMEMessage.h"
#include "tools/zrpdf-serve/Problem.h"

#include <QMimeDatabase>
#include <algorithm>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestName = 1024;
constexpr qsizetype mostFields = 64;

Problem badForm(const QString &detail) {
    return {.kind = Problem::Kind::BadForm, .detail = detail};
}

/// Clients escape what would end the quoted name or its line, and nothing else (HTML, "multipart/form-data encoding
/// algorithm").
QByteArray unescaped(QByteArray name) {
    return name.replace("%22", "\"").replace("%0D", "\r").replace("%0A", "\n");
}

QString pathOf(const QByteArray &given) {
    const QByteArray bytes = unescaped(given);
    if (!bytes.isValidUtf8())
        throw badForm(u"The form has a name that is not UTF-8."_s);
    const QString name = QString::fromUtf8(bytes);
    const auto fail = [&](const QString &why) {
        return badForm(u"The file name \"%1\" %2."_s.arg(name.left(80), why));
    };
    if (given.size() > longestName)
        throw fail(u"is too long"_s);
    if (std::any_of(name.begin(), name.end(),
                    [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7F; }))
        throw fail(u"has control characters"_s);
    if (name.contains(u'\\') || name.startsWith(u'/'))
        throw fail(u"is no relative path"_s);
    QStringList steps = name.split(u'/');
    steps.removeAll(u"."_s);
    if (steps.contains(u".."_s))
        throw fail(u"leads out of the form"_s);
    if (steps.isEmpty() || steps.contains(QString()))
        throw fail(u"names nothing"_s);
    return steps.join(u'/');
}

/// Whether it can be the page itself, and isn't a part of it that is called like it.
bool isPage(const FormData::File &file) {
    return !file.type.endsWith("/css") && !file.type.endsWith("javascript");
}

/// What a client that doesn't know a file's type would say; the file's name tells more.
bool tellsNothing(const WebMIMEPart &part) {
    return !part.isTyped || part.type == "application/octet-stream";
}

QByteArray typeByName(const QString &name) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    return type.isDefault() ? QByteArray() : type.name().toLatin1();
}

QByteArray decodedComponent(QByteArray text) {
    return QByteArray::fromPercentEncoding(text.replace('+', ' '));
}

QVariant resource(const FormData::File &file) {
    QVariantMap map{{u"WebResourceURL"_s,
                     QString::fromLatin1(QByteArray(WebArchive::madeUpOrigin).replace("https:", "http:") +
                                         file.name.toUtf8().toPercentEncoding("/"))},
                    {u"WebResourceData"_s, file.data.isNull() ? QByteArray("") : file.data}};
    // What isn't known has no place in a property list.
    if (!file.type.isEmpty())
        map.insert(u"WebResourceMIMEType"_s, QString::fromLatin1(file.type));
    if (!file.charset.isEmpty())
        map.insert(u"WebResourceTextEncodingName"_s, QString::fromLatin1(file.charset));
    return map;
}

} // namespace

FormData FormData::read(const QByteArray &contentType, const QByteArray &body) {
    FormData form;
    if (!contentType.trimmed().toLower().startsWith("multipart/")) {
        for (qsizetype start = 0; start < body.size();) {
            const qsizetype next = body.indexOf('&', start);
            const QByteArray pair = body.mid(start, next < 0 ? -1 : next - start);
            start = next < 0 ? body.size() : next + 1;
            const qsizetype equals = pair.indexOf('=');
            if (!pair.isEmpty() && form.fields.size() == mostFields)
                throw badForm(u"The form has more than %1 fields."_s.arg(mostFields));
            if (!pair.isEmpty())
                form.fields.append({decodedComponent(equals < 0 ? pair : pair.left(equals)),
                                    equals < 0 ? QByteArray() : decodedComponent(pair.mid(equals + 1))});
        }
        return form;
    }
    const auto message = WebMIMEMessage::entityWithBody(contentType, body);
    if (!message)
        throw badForm(
            u"The form can't be read: its Content-Type has no boundary, or it has too many parts."_s);
    const QByteArray boundary = message->parameters.value("boundary");
    if (boundary.size() > 70)
        throw badForm(u"The form's boundary is longer than 70 characters."_s);
    // A form that was cut off must not pass for a smaller one.
    if (body.lastIndexOf("--" + boundary + "--") < 0)
        throw badForm(u"The form's last boundary is missing."_s);
    for (const WebMIMEPart &part : message->parts)
        form.addPart(part);
    return form;
}

void FormData::addPart(const WebMIMEPart &part) {
    if (part.name.isEmpty())
        throw badForm(u"A part of the form has no name."_s);
    if (part.isMultipart())
        throw badForm(u"A part of the form has parts."_s);
    if (part.fileName.isNull() && !part.name.contains('.')) {
        fields.append({unescaped(part.name), part.body});
        return;
    }
    File file;
    file.name = pathOf(part.name.contains('.') ? part.name : part.fileName);
    file.type = tellsNothing(part) ? typeByName(file.name) : part.type;
    file.charset = part.parameters.value("charset");
    file.data = part.body;
    file.isCalledIndex = part.name == "index";
    if (std::any_of(files.begin(), files.end(), [&](const File &each) { return each.name == file.name; }))
        throw badForm(u"Two files of the form are called \"%1\"."_s.arg(file.name));
    files.append(file);
}

const FormData::File &FormData::page() const {
    const auto find = [&](auto condition) { return std::find_if(files.begin(), files.end(), condition); };
    auto found = find([](const File &file) { return file.name == u"index.html"; });
    if (found == files.end())
        found = find([](const File &file) {
            return file.isCalledIndex || (file.name.startsWith(u"index.") && isPage(file));
        });
    return found == files.end() ? files.front() : *found;
}

QByteArray FormData::archive() const {
    const File &main = page();
    QVariantList others;
    for (const File &file : files)
        if (&file != &main)
            others.append(resource(file));
    return NSPropertyList::dataFromPropertyList(QVariantMap{
        {u"WebMainResource"_s, resource(main)}, {u"WebSubresources"_s, others}, {u"ZRHoldsPart"_s, true}});
}
