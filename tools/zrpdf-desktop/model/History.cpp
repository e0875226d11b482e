// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/History.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "ZRKit/Store/NSManagedObject+ZRKit.h"
#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"
#include "platform/files/NSPathUtilities.h"

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr auto saveDelay = std::chrono::milliseconds(500);

const QString &theDraft() {
    static const QString name = u"Draft"_s;
    return name;
}

} // namespace

History::History() : History(QString()) {
}

History::History(const QString &path)
    : m_data(path.isNull() ? std::make_unique<ZRCoreData>() : std::make_unique<ZRCoreData>(path)) {
    m_saving.setSingleShot(true);
    m_saving.setInterval(saveDelay);
    connect(&m_saving, &QTimer::timeout, this, &History::save);
    m_conversions.setEntityName(Conversion::name());
    m_conversions.setSortDescriptors({NSSortDescriptor(u"number"_s, false)});
}

History::~History() {
    save();
    m_conversions.setContent({});
    m_conversions.setManagedObjectContext(nullptr);
}

bool History::open() {
    m_isKept = m_data->persistentStoreCoordinator() && m_data->context();
    if (m_isKept) {
        m_claim = std::make_unique<QLockFile>(NSPathOfFileURL(m_data->storeURL()) + u".lock"_s);
        m_claim->setStaleLockTime(0);
        m_isAlone = m_claim->tryLock(0) || m_claim->error() != QLockFile::LockFailedError;
    } else {
        m_data = std::make_unique<ZRCoreData>(
            ZRKit::zrPrivateTempFolderFileNameWithSuffix(NSFileManager::defaultManager(), u"db"_s));
    }
    m_context = m_data->context();
    if (m_context)
        adopt();
    Q_EMIT changed();
    return m_isKept;
}

/// Takes over what the store holds.
void History::adopt() {
    m_conversions.setManagedObjectContext(m_context);
    m_conversions.prepareContent();
    const auto drafts = ZRKit::fetchAll(*m_context, theDraft()).value_or(QVariantList());
    update([&] {
        m_draft =
            drafts.isEmpty() ? ZRKit::object(*m_context, theDraft()) : NSManagedObject::from(drafts.first());
        const QList<Conversion *> known = all();
        for (Conversion *conversion : known)
            if (m_isAlone && conversion->isWaiting())
                conversion->setState(Conversion::State::Cancelled);
        for (Conversion *conversion : known.mid(mostKept))
            m_context->deleteObject(conversion);
    });
    m_context->undoManager()->removeAllActions();
}

QList<Conversion *> History::all() const {
    QList<Conversion *> conversions;
    for (const QVariantList objects = m_conversions.arrangedObjects(); const QVariant &object : objects)
        conversions << static_cast<Conversion *>(NSManagedObject::from(object));
    return conversions;
}

Conversion *History::firstQueued() const {
    Conversion *first = nullptr;
    for (Conversion *conversion : all())
        if (conversion->state() == Conversion::State::Queued)
            first = conversion;
    return first;
}

QList<Conversion *> History::add(const QList<Source> &sources) {
    QList<Conversion *> added;
    if (!m_context || sources.isEmpty())
        return added;
    QVariantList content = m_conversions.content();
    const auto *latest =
        static_cast<Conversion *>(NSManagedObject::from(m_conversions.arrangedObjects().value(0)));
    qint64 number = latest ? latest->number() : 0;
    update([&] {
        for (const Source &source : sources) {
            added << Conversion::make(*m_context, ++number, source, title(), creator());
            content << QVariant::fromValue<QObject *>(added.last());
        }
    });
    m_conversions.setContent(content);
    save();
    return added;
}

void History::remove(const QList<Conversion *> &conversions) {
    if (!m_context || conversions.isEmpty())
        return;
    update([&] {
        for (Conversion *conversion : conversions)
            if (conversion->isWaiting())
                conversion->setState(Conversion::State::Cancelled);
    });
    for (Conversion *conversion : conversions)
        m_context->deleteObject(conversion);
    m_context->processPendingChanges();
    m_context->undoManager()->setActionName(u"Remove"_s);
    save();
    Q_EMIT changed();
}

void History::update(const std::function<void()> &change) {
    // What the user did before stays a step of its own.
    m_context->processPendingChanges();
    const auto manager = m_context->undoManager();
    manager->disableUndoRegistration();
    change();
    m_context->processPendingChanges();
    manager->enableUndoRegistration();
    saveSoon();
}

QString History::draftValue(const QString &key) const {
    return m_draft ? m_draft->valueForKey(key).toString() : u""_s;
}

void History::setDraftValue(const QString &value, const QString &key, const QString &actionName) {
    if (!m_draft || draftValue(key) == value)
        return;
    m_context->processPendingChanges();
    m_draft->setValueForKey(value, key);
    m_context->processPendingChanges();
    m_context->undoManager()->setActionName(actionName);
    saveSoon();
    Q_EMIT changed();
}

QString History::title() const {
    return draftValue(u"title"_s);
}

QString History::creator() const {
    return draftValue(u"creator"_s);
}

void History::setTitle(const QString &title) {
    setDraftValue(title, u"title"_s, u"Title"_s);
}

void History::setCreator(const QString &creator) {
    setDraftValue(creator, u"creator"_s, u"Creator"_s);
}

bool History::canUndo() const {
    return m_context && m_context->undoManager()->canUndo();
}

bool History::canRedo() const {
    return m_context && m_context->undoManager()->canRedo();
}

QString History::undoName() const {
    return canUndo() ? m_context->undoManager()->undoActionName() : QString();
}

QString History::redoName() const {
    return canRedo() ? m_context->undoManager()->redoActionName() : QString();
}

void History::undo() {
    if (!canUndo())
        return;
    m_context->undo();
    refill();
}

void History::redo() {
    if (!canRedo())
        return;
    m_context->redo();
    refill();
}

/// Objects that came back are in no list until it is filled anew.
void History::refill() {
    const qsizetype before = m_conversions.content().size();
    if (ZRKit::count(*m_context, Conversion::name(), NSPredicate()) != quint64(before))
        m_conversions.prepareContent();
    save();
    Q_EMIT changed();
}

void History::saveSoon() {
    if (!m_saving.isActive())
        m_saving.start();
}

void History::save() {
    m_saving.stop();
    if (m_context && m_context->hasChanges())
        m_data->save();
}
