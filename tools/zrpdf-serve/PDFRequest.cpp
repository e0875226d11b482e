// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/PDFRequest.h"

#include "platform/documents/WebDocumentSniffer.h"
#include "platform/documents/WebMIMEMessage.h"
#include "tools/zrpdf-serve/FormData.h"
#include "tools/zrpdf-serve/PDFOptions.h"
#include "tools/zrpdf-serve/Problem.h"

#include <QStringDecoder>
#include <QUrl>
#include <algorithm>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

using Kind = Problem::Kind;

constexpr const char *acceptedTypes = "text/html, application/xhtml+xml, image/svg+xml, text/plain, "
                                      "application/xml, image/png, image/jpeg, image/gif, "
                                      "image/webp, multipart/related, application/x-webarchive, "
                                      "multipart/form-data, application/x-www-form-urlencoded";

constexpr auto bodyHint = " If the body is the document itself, its type belongs in Content-Type."_L1;

struct ContentType {
    QByteArray field = {};
    QByteArray type = {}; ///< empty if it tells nothing
    QByteArray charset = {};
};

ContentType contentTypeOf(const HTTPRequest &request) {
    ContentType content{.field = request.field("content-type")};
    QHash<QByteArray, QByteArray> parameters;
    content.type = WebMIMEMessage::typeInField(content.field, &parameters);
    content.charset = parameters.value("charset");
    if (content.type == "application/octet-stream")
        content.type.clear();
    return content;
}

bool isRelatedParts(const QByteArray &type) {
    return type == "multipart/related";
}

void checkType(const QByteArray &type) {
    const bool isKnown = type.isEmpty() || FormData::isForm(type) || isRelatedParts(type) ||
                         (!type.startsWith("multipart/") &&
                          WebDocumentSniffer::kindOfMIMEType(type) != WebDocumentKind::Unsupported);
    if (!isKnown)
        throw Problem{.kind = Kind::UnsupportedType,
                      .detail = u"Documents of the type %1 can't be converted."_s.arg(
                          QString::fromLatin1(type.left(80))),
                      .header = {{"Accept", acceptedTypes}}};
}

/// The document as a task holds it. What its type says goes with it where the bytes alone would be taken for another
/// document.
QVariant document(const QByteArray &data, const QByteArray &type, const QByteArray &charset) {
    const QByteArray encoding = charset.trimmed().toLower();
    const WebDocumentKind told = WebDocumentSniffer::kindOfMIMEType(type);
    const bool isUTF8 = encoding == "utf-8" || encoding == "utf8";
    if (told == WebDocumentKind::HTML && isUTF8)
        return QString(QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless)(data));
    if (type.isEmpty() || (encoding.isEmpty() && told == WebDocumentSniffer::kindOfData(data)) ||
        WebDocumentSniffer::isPicture(told))
        return data;
    const bool isPlain =
        std::all_of(encoding.begin(), encoding.end(), [](char c) { return c > ' ' && c < 0x7F && c != ','; });
    QByteArray url = "data:" + type.toPercentEncoding("/+");
    if (!encoding.isEmpty() && isPlain)
        url += ";charset=" + encoding.toPercentEncoding();
    return QUrl::fromEncoded(url + ";base64," + data.toBase64());
}

} // namespace

void PDFRequest::checkHead(const HTTPRequest &head, const Limits &limits) {
    const QByteArray coding = head.field("content-encoding").toLower();
    if (!coding.isEmpty() && coding != "identity")
        throw Problem{.kind = Kind::UnsupportedCoding,
                      .detail = u"A body comes as it is, not packed."_s,
                      .header = {{"Accept-Encoding", "identity"}}};
    if (head.count("content-type") > 1)
        throw Problem{.kind = Kind::BadRequest, .detail = u"There are two fields Content-Type."_s};
    checkType(contentTypeOf(head).type);
    PDFOptions options(limits);
    options.take(head.query);
    options.takeHeader(head.header);
}

PDFRequest PDFRequest::read(const HTTPRequest &request, const Limits &limits) {
    const ContentType content = contentTypeOf(request);
    PDFOptions options(limits);
    options.take(request.query);
    options.takeHeader(request.header);
    FormData form;
    const bool isForm = FormData::isForm(content.type) && !request.body.isEmpty();
    if (isForm) {
        form = FormData::read(content.field, request.body);
        try {
            options.take(form.fields);
        } catch (Problem problem) {
            // Some clients call everything a form that they aren't told the type of.
            if (problem.kind == Kind::UnknownOption)
                problem.detail += bodyHint;
            throw problem;
        }
    }
    const bool hasBody = isForm ? !form.files.isEmpty() : !request.body.isEmpty();
    if (hasBody && !options.url.isEmpty())
        throw Problem{.kind = Kind::BadRequest,
                      .detail = u"There is a document, and an address of another."_s};
    if (!hasBody && options.url.isEmpty())
        throw Problem{.kind = Kind::NoDocument,
                      .detail = isForm ? u"The form has neither a file nor the field url."_s + bodyHint
                                       : u"There is no document: the body is empty."_s};

    if (!form.files.isEmpty() && form.page().data.isEmpty())
        throw Problem{.kind = Kind::NoDocument,
                      .detail = u"The file \"%1\", which is the page, is empty."_s.arg(form.page().name)};

    PDFRequest read{.timeout = options.timeout};
    QVariant data;
    if (!options.url.isEmpty())
        data = options.url;
    else if (!isForm && isRelatedParts(content.type))
        data = QByteArray("MIME-Version: 1.0\r\nContent-Type: " + content.field + "\r\n\r\n" + request.body);
    else if (!isForm)
        data = document(request.body, content.type, content.charset);
    else if (form.files.size() == 1)
        data = document(form.page().data, form.page().type, form.page().charset);
    else
        data = form.archive();
    read.task.insert(u"data"_s, data);
    read.task.insert(u"network"_s, networkModeName(options.network));
    if (!options.title.isNull())
        read.task.insert(u"pdfTitle"_s, options.title);
    if (!options.creator.isNull())
        read.task.insert(u"pdfCreator"_s, options.creator);
    if (options.tagged)
        read.task.insert(u"tagged"_s, true);
    return read;
}
