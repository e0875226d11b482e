// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/PDFOptions.h"

#include "tools/converter/PlainNumber.h"
#include "tools/zrpdf-serve/Problem.h"

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

using Kind = Problem::Kind;

constexpr qsizetype longestValue = 8192;
constexpr const char *headerPrefix = "zrpdf-";

/// A name as it may be shown: what a stranger sent can be anything.
QString shown(const QByteArray &name) {
    QString text = QString::fromUtf8(name.left(40));
    for (QChar &c : text)
        if (!c.isPrint())
            c = u'?';
    return text;
}

Problem badOption(const QByteArray &name, const QString &why) {
    return {.kind = Kind::BadOption, .detail = u"The option %1 %2."_s.arg(shown(name), why)};
}

QString textOf(const QByteArray &name, const QByteArray &value) {
    if (!value.isValidUtf8() || value.contains('\0'))
        throw badOption(name, u"is not UTF-8"_s);
    const QString text = QString::fromUtf8(value);
    // A given text is never the null one.
    return text.isNull() ? u""_s : text;
}

QUrl urlOf(const QByteArray &value) {
    QUrl url(textOf("url", value.trimmed()), QUrl::StrictMode);
    const bool isWeb = url.scheme() == u"http" || url.scheme() == u"https";
    if (!url.isValid() || !isWeb || url.host().isEmpty())
        throw Problem{.kind = Kind::BadURL,
                      .detail = u"The option url is no complete http or https address."_s};
    return url;
}

/// The value of a header field: UTF-8, or, for clients that can't write that, escaped as RFC 8187 has it.
QByteArray fieldValue(const QByteArray &value) {
    constexpr QByteArrayView mark("UTF-8''");
    return value.size() >= mark.size() && value.left(mark.size()).compare(mark, Qt::CaseInsensitive) == 0
               ? QByteArray::fromPercentEncoding(value.mid(mark.size()))
               : value;
}

} // namespace

void PDFOptions::take(const HTTPFields &fields) {
    for (const auto &[name, value] : fields)
        take(name, value);
}

void PDFOptions::takeHeader(const HTTPFields &header) {
    for (const auto &[name, value] : header) {
        // An address is a document, not an option of one.
        if (name == "zrpdf-url")
            throw Problem{.kind = Kind::UnknownOption,
                          .detail = u"url stands in the query or in a form, not in the header."_s};
        if (name.startsWith(headerPrefix))
            take(name.mid(qstrlen(headerPrefix)), fieldValue(value));
    }
}

void PDFOptions::take(const QByteArray &name, const QByteArray &value) {
    if (m_taken.contains(name))
        throw Problem{.kind = Kind::RepeatedOption,
                      .detail = u"The option %1 was given more than once."_s.arg(shown(name))};
    m_taken.insert(name);
    if (value.size() > longestValue)
        throw badOption(name, u"is longer than %1 bytes"_s.arg(longestValue));
    if (name == "title") {
        title = textOf(name, value);
    } else if (name == "creator") {
        creator = textOf(name, value);
    } else if (name == "tagged") {
        if (value != "true" && value != "false")
            throw badOption(name, u"is neither true nor false"_s);
        tagged = value == "true";
    } else if (name == "timeout") {
        const auto seconds = plainSeconds(value);
        if (!seconds)
            throw badOption(name, u"is not a number of seconds, 0.001 or more"_s);
        if (*seconds > m_limits.timeout)
            throw Problem{.kind = Kind::TimeoutNotAllowed,
                          .detail = u"No document is given more than %1 s here."_s.arg(
                              double(m_limits.timeout.count()) / 1000)};
        timeout = *seconds;
    } else if (name == "network") {
        const auto mode = networkModeNamed(value);
        if (!mode)
            throw badOption(name, u"is not all, public or none"_s);
        if (narrower(*mode, m_limits.network) != *mode)
            throw Problem{.kind = Kind::NetworkNotAllowed,
                          .detail = u"The network mode may be %1 at most here."_s.arg(
                              networkModeName(m_limits.network))};
        network = *mode;
    } else if (name == "url") {
        url = urlOf(value);
    } else {
        throw Problem{.kind = Kind::UnknownOption,
                      .detail = u"There is no option called \"%1\"."_s.arg(shown(name))};
    }
}
