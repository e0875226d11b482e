// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

class QMimeData;

/// One document as the user gave it: a file, an address, or what was pasted. A value; any thread.
class Source {
public:
    /// Stored in the history: the numbers stay.
    enum class Kind {
        File = 0,    ///< a local file, sent as its URL
        Address = 1, ///< a URL
        Markup = 2,  ///< HTML as a text
        Bytes = 3,   ///< a document's bytes: plain text, a picture, an archive
    };

    /// A file's path or a URL, as the command line takes them.
    static Source withArgument(const QByteArray &argument);
    static Source withMarkup(const QString &html);
    static Source withBytes(const QByteArray &bytes);
    /// As it was stored.
    static Source stored(Kind kind, const QByteArray &location, const QByteArray &content,
                         const QString &name);

    /// What a text means that was typed or pasted: a URL, the path of a file that exists, several of these, one a line,
    /// or else a document, HTML if it looks like it. Nothing for blanks.
    static QList<Source> sourcesWithText(const QString &text);
    /// What was dropped or pasted: files and URLs, a picture, HTML or text, the first that is there. HTML beside a text
    /// that is a URL is that URL's link, and the URL counts.
    static QList<Source> sourcesWithMimeData(const QMimeData &data);
    /// Whether sourcesWithMimeData() would find any, without reading what the data hold.
    static bool canRead(const QMimeData &data);

    Kind kind() const { return m_kind; }
    /// The path or URL, as bytes; empty for what was pasted.
    const QByteArray &location() const { return m_location; }
    /// The document's bytes, UTF-8 for a text; empty for files and addresses.
    const QByteArray &content() const { return m_content; }
    /// What to call it in a list: a file's name, a URL, a text's first words; "" for HTML and pictures.
    const QString &name() const { return m_name; }
    /// What to call its PDF, without a suffix.
    QString stem() const;

    /// Why it can't be read, as it is now; empty if nothing is wrong. Looks at files, which may take its time.
    QString problem() const;
    /// What the service is to convert.
    QVariant taskData() const;

private:
    static Source withDocument(const QString &text);
    Source(Kind kind, const QByteArray &location, const QByteArray &content, const QString &name)
        : m_kind(kind), m_location(location), m_content(content), m_name(name) {}

    Kind m_kind;
    QByteArray m_location, m_content;
    QString m_name;
};
