// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QUrl>
#include <sys/types.h>

/// One document, as it was named on the command line.
class Input {
public:
    enum class Kind {
        File,    ///< a regular file, sent as its URL
        Address, ///< a URL
        Stream,  ///< standard input, a pipe or the like, sent as its bytes
    };

    explicit Input(const QByteArray &argument);

    Kind kind() const { return m_kind; }
    const QByteArray &argument() const { return m_argument; }
    /// The argument fit for a line of text: control characters escaped, overlong ones cut.
    QByteArray shown() const;
    /// Why it can't be read; empty if it can. Looks at the file each time.
    QByteArray problem() const;
    /// The document's URL; empty for streams.
    const QUrl &url() const { return m_url; }
    /// The local file behind a file or file URL, or the stream's; empty if there is none.
    const QByteArray &path() const { return m_path; }
    /// Opens a stream for reading; -1 with errno set if that fails.
    int openStream() const;

    /// Where its PDF goes by default: beside a file, otherwise in the current folder.
    /// \param folder  the folder to put it instead; null for none
    QByteArray defaultOutput(const QByteArray &folder) const;

    /// Whether the argument is a URL of a kind that can't be converted, such as "ftp://...".
    static bool hasForeignScheme(const QByteArray &argument);
    /// The text with control characters escaped, cut to some length at the end.
    static QByteArray shown(const QByteArray &text);

private:
    QByteArray m_argument;
    Kind m_kind = Kind::File;
    QUrl m_url;
    QByteArray m_path;
};
