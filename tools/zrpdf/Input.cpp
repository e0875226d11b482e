// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Input.h"

#include "platform/base/ASCII.h"
#include "platform/base/SystemError.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qsizetype longestShown = 200;
constexpr qsizetype longestName = 255;

/// The scheme of what looks like a URL, in lower case; empty for anything else.
QByteArray schemeOf(const QByteArray &argument) {
    const qsizetype colon = argument.indexOf(':');
    const auto end = argument.begin() + std::max<qsizetype>(colon, 0);
    if (colon < 1 || !zr::isASCIILetter(argument[0]) || !std::all_of(argument.begin(), end, [](char c) {
            return zr::isASCIILetter(c) || zr::isASCIIDigit(c) || c == '+' || c == '-' || c == '.';
        }))
        return {};
    return argument.left(colon).toLower();
}

bool isAddress(const QByteArray &argument) {
    const QByteArray scheme = schemeOf(argument);
    if (scheme == "http" || scheme == "https")
        return argument.mid(scheme.size()).startsWith("://");
    return scheme == "file" || scheme == "data";
}

QByteArray folderOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.left(slash);
}

/// The file's absolute path, such that a URL's own rules for ".." change nothing about it.
QByteArray absolutePath(const QByteArray &path) {
    if (path.startsWith('/') && !path.contains("/.."))
        return path;
    if (!path.startsWith("..") && !path.contains("/..")) {
        const std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0), &std::free);
        return current ? current.get() + ('/' + path) : path;
    }
    const std::unique_ptr<char, decltype(&std::free)> folder(::realpath(folderOf(path).constData(), nullptr),
                                                             &std::free);
    return folder ? folder.get() + ('/' + path.mid(path.lastIndexOf('/') + 1)) : path;
}

/// Cuts at a character's start, so that a cut name stays readable.
QByteArray cut(const QByteArray &text, qsizetype length) {
    if (text.size() <= length)
        return text;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    return text.left(length);
}

QByteArray pdfName(const QByteArray &stem) {
    return cut(stem, longestName - 4) + ".pdf";
}

/// A name for what has none of its own, made of the URL's last part or its host.
QByteArray stemOf(const QUrl &url) {
    if (url.scheme() == QLatin1String("data"))
        return "document";
    QByteArray path = url.path(QUrl::FullyEncoded).toLatin1();
    while (path.endsWith('/'))
        path.chop(1);
    QByteArray stem = QByteArray::fromPercentEncoding(path.mid(path.lastIndexOf('/') + 1));
    const qsizetype dot = stem.lastIndexOf('.');
    const QByteArray suffix = stem.mid(dot + 1);
    // "page.html" is a page, "v1.2" is no "v1".
    if (dot > 0 && !suffix.isEmpty() && suffix.size() <= 10 && zr::isASCIILetter(suffix[0]) &&
        std::all_of(suffix.begin(), suffix.end(),
                    [](char c) { return zr::isASCIILetter(c) || zr::isASCIIDigit(c); }))
        stem.truncate(dot);
    if (stem.isEmpty())
        stem = url.host(QUrl::FullyEncoded).toLatin1();
    for (char &c : stem)
        if (c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '_';
    while (stem.startsWith('.') || stem.startsWith('-'))
        stem.remove(0, 1);
    return stem.isEmpty() ? QByteArray("document") : stem;
}

} // namespace

Input::Input(const QByteArray &argument) : m_argument(argument) {
    if (argument == "-") {
        m_kind = Kind::Stream;
    } else if (isAddress(argument)) {
        m_kind = Kind::Address;
        m_url = QUrl::fromEncoded(argument);
        if (m_url.isLocalFile() && m_url.host().isEmpty())
            m_path = QByteArray::fromPercentEncoding(m_url.path(QUrl::FullyEncoded).toLatin1());
    } else {
        m_path = argument;
        struct stat status {};
        const bool exists = ::stat(argument.constData(), &status) == 0;
        if (exists && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
            m_kind = Kind::Stream;
        } else {
            // A name is any bytes, and so is what they are escaped to.
            m_url = QUrl::fromEncoded("file://" + absolutePath(argument).toPercentEncoding("/"));
        }
    }
}

bool Input::hasForeignScheme(const QByteArray &argument) {
    const QByteArray scheme = schemeOf(argument);
    return !scheme.isEmpty() && argument.mid(scheme.size()).startsWith("://") && !isAddress(argument);
}

QByteArray Input::shown(const QByteArray &text) {
    QByteArray line;
    for (const char c : cut(text, longestShown)) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            line += c == '\n' ? QByteArray("\\n") : "\\x" + QByteArray(1, c).toHex();
        else
            line += c;
    }
    return text.size() > longestShown ? line + "..." : line;
}

QByteArray Input::shown() const {
    return m_argument == "-" ? QByteArray("standard input") : shown(m_argument);
}

QByteArray Input::problem() const {
    if (m_kind == Kind::Address && !m_url.isValid())
        return "is not a valid URL";
    if (m_path.isEmpty())
        return m_kind == Kind::Address && m_url.isLocalFile() && m_url.host().isEmpty() ? "names no file"
                                                                                        : "";
    struct stat status {};
    if (::stat(m_path.constData(), &status) != 0)
        return zr::systemErrorText().toLocal8Bit();
    if (S_ISDIR(status.st_mode))
        return "is a folder";
    if (::access(m_path.constData(), R_OK) != 0)
        return zr::systemErrorText().toLocal8Bit();
    return "";
}

int Input::openStream() const {
    return m_argument == "-" ? ::fcntl(0, F_DUPFD_CLOEXEC, 3)
                             : ::open(m_path.constData(), O_RDONLY | O_CLOEXEC);
}

QByteArray Input::defaultOutput(const QByteArray &folder) const {
    QByteArray stem = "document";
    if (m_kind == Kind::Address) {
        stem = stemOf(m_url);
    } else if (m_kind == Kind::File) {
        stem = m_path.mid(m_path.lastIndexOf('/') + 1);
        if (const qsizetype dot = stem.lastIndexOf('.'); dot > 0)
            stem.truncate(dot);
    }
    const QByteArray name = pdfName(stem);
    if (!folder.isNull())
        return folder.endsWith('/') ? folder + name : folder + '/' + name;
    const qsizetype slash = m_kind == Kind::File ? m_path.lastIndexOf('/') : -1;
    return m_path.left(slash + 1) + name;
}
