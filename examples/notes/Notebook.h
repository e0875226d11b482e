// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Store/ZRCoreData.h"

#include <QDateTime>
#include <functional>

/// One note: the entity "Note" of Notes.model.json.
class Note : public NSManagedObject {
    NS_MANAGED_OBJECT(Note)

public:
    qint64 number() const { return valueForKey(QStringLiteral("number")).toLongLong(); }
    void setNumber(qint64 number) { setValueForKey(number, QStringLiteral("number")); }
    QString title() const { return valueForKey(QStringLiteral("title")).toString(); }
    void setTitle(const QString &title) { setValueForKey(title, QStringLiteral("title")); }
    QString text() const { return valueForKey(QStringLiteral("text")).toString(); }
    void setText(const QString &text) { setValueForKey(text, QStringLiteral("text")); }
    QDateTime created() const { return valueForKey(QStringLiteral("created")).toDateTime(); }
    void setCreated(const QDateTime &created) { setValueForKey(created, QStringLiteral("created")); }
};

/// The notes of one store. Every change is saved at once. What the store says of failures goes to standard error.
class Notebook {
public:
    /// In the file, or in the application's private folder for a nil path.
    explicit Notebook(const QString &path);

    /// Whether the store could be opened; asked once, before anything else.
    bool open();

    /// nullptr if it can't be saved.
    Note *add(const QString &title, const QString &text);
    /// nullptr if there is none of that number.
    Note *find(qint64 number);
    bool edit(Note &note, const QString &title, const QString &text);
    bool remove(Note &note);

    /// The latest notes, the newest first; all for 0.
    QList<Note *> latest(qint64 count);
    /// Those with the words in title or text, whatever their case and accents, the newest first.
    QList<Note *> search(const QString &words);
    quint64 count();

    /// Takes the latest change back, or makes it again; false if there is none, or it can't be saved.
    bool undo();
    bool redo();

    /// All notes as JSON.
    QByteArray exported();
    /// Adds notes of which the block gives title, text and date by their place, some at a time. The other block is told how many
    /// are in. \return how many were added
    int import(int count, const std::function<QVariantMap(int)> &note,
               const std::function<void(int)> &progress);

private:
    QList<Note *> fetch(const std::function<void(NSFetchRequest &)> &setUp);
    qint64 nextNumber();
    bool save();

    std::unique_ptr<ZRCoreData> m_data;
};
