// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObject.h"
#include "tools/zrpdf-desktop/model/Source.h"

#include <QDateTime>

/// One document on its way to a PDF, and what became of it: the entity "Conversion" of Conversions.model.json.
///
/// What was pasted is kept in an object of its own, which is read only if it is needed. Main thread.
class Conversion : public NSManagedObject {
    NS_MANAGED_OBJECT(Conversion)

public:
    /// Stored: the numbers stay.
    enum class State { Queued = 0, Converting = 1, Done = 2, Failed = 3, Cancelled = 4 };

    /// Makes one for a document; the titles may be empty.
    static Conversion *make(NSManagedObjectContext &context, qint64 number, const Source &source,
                            const QString &title, const QString &creator);

    qint64 number() const { return valueForKey(QStringLiteral("number")).toLongLong(); }
    QDateTime created() const { return valueForKey(QStringLiteral("created")).toDateTime(); }
    QString label() const { return valueForKey(QStringLiteral("label")).toString(); }
    QString title() const { return valueForKey(QStringLiteral("title")).toString(); }
    QString creator() const { return valueForKey(QStringLiteral("creator")).toString(); }
    Source source() const;
    /// What the source is, without reading what was pasted.
    Source::Kind kind() const { return Source::Kind(valueForKey(QStringLiteral("kind")).toInt()); }

    State state() const { return State(valueForKey(QStringLiteral("state")).toInt()); }
    void setState(State state) { setValueForKey(int(state), QStringLiteral("state")); }
    bool isWaiting() const { return state() == State::Queued || state() == State::Converting; }

    /// Why it failed, as the service or the system says it, and what led to that; nil if it didn't fail.
    QString error() const { return valueForKey(QStringLiteral("error")).toString(); }
    QString cause() const { return valueForKey(QStringLiteral("cause")).toString(); }
    void setError(const QString &error, const QString &cause);

    /// The PDF's name in the cache folder, and its size in bytes; nil and 0 without one.
    QString output() const { return valueForKey(QStringLiteral("output")).toString(); }
    qint64 size() const { return valueForKey(QStringLiteral("size")).toLongLong(); }
    void setOutput(const QString &name, qint64 size);

    /// A name for its PDF that a file may have, with the suffix; made of the title, or else of the source.
    QString suggestedFileName() const;
};
