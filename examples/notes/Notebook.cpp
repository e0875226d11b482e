// SPDX-License-Identifier: MIT
#include "examples/notes/Notebook.h"

#include "ZRKit/Network/ZRJSON.h"
#include "ZRKit/Store/NSManagedObject+ZRKit.h"
#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"

using namespace Qt::StringLiterals;

namespace {

/// Notes that are imported in one go: few enough to see progress, and enough for each save to be worth it.
constexpr int portion = 2000;

void fill(Note &note, qint64 number, const QVariantMap &values) {
    const QDateTime created = QDateTime::fromString(values.value(u"created"_s).toString(), Qt::ISODateWithMs);
    note.setNumber(number);
    note.setTitle(values.value(u"title"_s).toString());
    note.setText(values.value(u"text"_s).toString());
    note.setCreated(created.isValid() ? created : QDateTime::currentDateTimeUtc());
}

} // namespace

Notebook::Notebook(const QString &path)
    : m_data(path.isNull() ? std::make_unique<ZRCoreData>() : std::make_unique<ZRCoreData>(path)) {
}

bool Notebook::open() {
    const auto coordinator = m_data->persistentStoreCoordinator();
    return coordinator && m_data->context();
}

QList<Note *> Notebook::fetch(const std::function<void(NSFetchRequest &)> &setUp) {
    const auto found = ZRKit::fetch(*m_data->context(), Note::name(), [&](NSFetchRequest &request) {
        request.setSortDescriptors({NSSortDescriptor(u"number"_s, false)});
        setUp(request);
    });
    QList<Note *> notes;
    for (const QVariant &object : found.value_or(QVariantList()))
        notes << static_cast<Note *>(NSManagedObject::from(object));
    return notes;
}

bool Notebook::save() {
    if (m_data->save())
        return true;
    m_data->context()->rollback();
    return false;
}

qint64 Notebook::nextNumber() {
    const QList<Note *> last = latest(1);
    return last.isEmpty() ? 1 : last.first()->number() + 1;
}

Note *Notebook::add(const QString &title, const QString &text) {
    const qint64 number = nextNumber();
    Note *const note = ZRKit::makeWithMOC<Note>(*m_data->context());
    fill(*note, number, {{u"title"_s, title}, {u"text"_s, text}});
    return save() ? note : nullptr;
}

Note *Notebook::find(qint64 number) {
    const QList<Note *> found = fetch([&](NSFetchRequest &request) {
        request.setPredicate(NSPredicate::predicateWithFormat(u"number == %@"_s, number));
    });
    return found.value(0);
}

bool Notebook::edit(Note &note, const QString &title, const QString &text) {
    note.setTitle(title);
    if (!text.isNull())
        note.setText(text);
    return save();
}

bool Notebook::remove(Note &note) {
    m_data->deleteObject(&note);
    return save();
}

QList<Note *> Notebook::latest(qint64 count) {
    return fetch([&](NSFetchRequest &request) { request.setFetchLimit(count); });
}

QList<Note *> Notebook::search(const QString &words) {
    return fetch([&](NSFetchRequest &request) {
        request.setPredicate(NSPredicate::predicateWithFormat(
            u"title CONTAINS[cd] %@ OR text CONTAINS[cd] %@"_s, words, words));
    });
}

quint64 Notebook::count() {
    return ZRKit::count(*m_data->context(), Note::name(), NSPredicate());
}

bool Notebook::undo() {
    const auto manager = m_data->context()->undoManager();
    if (!manager->canUndo())
        return false;
    m_data->context()->undo();
    return save();
}

bool Notebook::redo() {
    const auto manager = m_data->context()->undoManager();
    if (!manager->canRedo())
        return false;
    m_data->context()->redo();
    return save();
}

QByteArray Notebook::exported() {
    QVariantList all;
    for (const Note *note : latest(0))
        all << QVariantMap{{u"number"_s, note->number()},
                           {u"title"_s, note->title()},
                           {u"text"_s, note->text()},
                           {u"created"_s, note->created().toString(Qt::ISODateWithMs)}};
    return ZRKit::toJSONPretty(all).toUtf8() + '\n';
}

int Notebook::import(int count, const std::function<QVariantMap(int)> &note,
                     const std::function<void(int)> &progress) {
    // A context of its own, so that what has been saved needs no memory any more.
    const auto context = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
    context->setPersistentStoreCoordinator(m_data->persistentStoreCoordinator());
    const qint64 first = nextNumber();
    int done = 0;
    bool isSaved = true;
    while (isSaved && done < count) {
        const int end = std::min(done + portion, count);
        context->performBlockAndWait([&] {
            for (int i = done; i < end; ++i)
                fill(*ZRKit::makeWithMOC<Note>(*context), first + i, note(i));
            isSaved = ZRKit::zr_save(*context);
            context->reset();
        });
        if (isSaved)
            progress(done = end);
    }
    return done;
}
