// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QTemporaryDir>
#include <QVariantMap>
#include <chrono>
#include <random>

/// A document of the soak. Each that has text carries its own number in it, and every one does in its title.
struct Document {
    enum class Kind {
        Page,      ///< of this project's own
        Broken,    ///< markup from a generator
        Damaged,   ///< a page with pictures and fonts that are damaged
        Encoded,   ///< bytes: markup, plain text, SVG and XHTML in many encodings
        File,      ///< beside the files that it refers to
        Served,    ///< from a server
        Bytes,     ///< pictures and archives, damaged, as documents of their own
        Abandoned, ///< nobody waits until it is done
        Endless,   ///< never finishes loading
        Monster,   ///< wants more than there is
    };
    static constexpr int kinds = 10;
    /// What may come of it.
    enum class Expected { Done, DoneOrFailed, DoneOrAbandoned, Late, Anything };

    Kind kind = Kind::Page;
    int number = 0;
    Expected expected = Expected::Done;
    bool hasText = true;
    QVariantMap task;
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    /// Removed when it is done with.
    QString file;

    static const char *name(Kind kind);
    /// The number as it stands in a document.
    static QString mark(int number);
    /// Every number that stands in a text so.
    static QList<int> marks(const QString &text);
};

/// Makes documents, always the same ones of a seed and a number. Any thread.
class Corpus {
public:
    /// \param pages   the folder of this project's pages, with their assets
    /// \param server  the address of the soak's own server, with a slash at its end
    Corpus(unsigned seed, const QString &sources, const QString &server);

    /// \param isCalm  leaves out what harms the service that converts it
    Document document(int number, bool isCalm) const;

private:
    using Random = std::mt19937;

    QString page(Random &random, int number) const;
    QString broken(Random &random, int number) const;
    QString damaged(Random &random, int number) const;
    QVariantMap encoded(Random &random, int number) const;
    QVariantMap bytes(Random &random) const;
    QVariant endless(Random &random, int number) const;
    QString monster(Random &random, int number) const;

    const unsigned m_seed;
    const QString m_server;
    QList<QString> m_pages;
    struct Sample {
        QByteArray data;
        QString type; ///< a MIME type
        QString utiType;
    };
    QList<Sample> m_pictures, m_fonts, m_archives;
    QTemporaryDir m_folder;
};
