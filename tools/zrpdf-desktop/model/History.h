// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Store/ZRCoreData.h"
#include "platform/store/NSArrayController.h"
#include "tools/zrpdf-desktop/model/Conversion.h"

#include <QLockFile>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

/// What was converted, what is to be, and the title and creator for what comes next: all that the program remembers.
///
/// What the user removes or types can be undone; what happens to a conversion by itself can't. Changes reach the store's
/// file soon after they were made, several at once; add(), remove(), undo() and the end save at once. Main thread.
class History : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY changed)
    Q_PROPERTY(QString creator READ creator WRITE setCreator NOTIFY changed)

public:
    /// How many conversions are kept: the latest ones.
    static constexpr qsizetype mostKept = 1000;

    /// In the file "Data.db" of the application's private folder, or in a file. Nothing is opened yet.
    History();
    explicit History(const QString &path);
    ~History() override;

    /// Opens the store. If that fails the user is told why, and the history lasts as long as the program. What the last
    /// run left unfinished becomes cancelled, unless another program of this user is at work in the same store.
    /// \return whether the store could be opened
    bool open();
    bool isOpen() const { return m_context != nullptr; }
    /// Whether it outlasts the program.
    bool isKept() const { return m_isKept; }
    /// Whether no other program of this user is at work in the same store.
    bool isAlone() const { return m_isAlone; }

    /// All conversions, the latest first; without rows until open().
    NSArrayController &conversions() { return m_conversions; }
    QList<Conversion *> all() const;
    /// The one that has waited longest; nullptr if none does.
    Conversion *firstQueued() const;

    /// Adds documents with the present title and creator, to be converted in this order.
    QList<Conversion *> add(const QList<Source> &sources);
    /// Removes conversions. One that still waits comes back as a cancelled one if that is undone.
    void remove(const QList<Conversion *> &conversions);
    /// Changes conversions in a way that can't be undone.
    void update(const std::function<void()> &change);

    /// What documents that are added get; "" for nothing.
    QString title() const;
    QString creator() const;
    void setTitle(const QString &title);
    void setCreator(const QString &creator);

    bool canUndo() const;
    bool canRedo() const;
    /// What undo() takes back: "Remove", "Title" or "Creator"; nil for nothing.
    QString undoName() const;
    QString redoName() const;
    void undo();
    void redo();

    /// Saves what isn't saved yet.
    void save();

Q_SIGNALS:
    /// Title or creator are others than before, or what can be undone is.
    void changed();

private:
    void adopt();
    QString draftValue(const QString &key) const;
    void setDraftValue(const QString &value, const QString &key, const QString &actionName);
    void refill();
    void saveSoon();

    std::unique_ptr<ZRCoreData> m_data;
    std::shared_ptr<NSManagedObjectContext> m_context;
    NSArrayController m_conversions;
    NSManagedObject *m_draft = nullptr;
    std::unique_ptr<QLockFile> m_claim;
    bool m_isKept = false, m_isAlone = true;
    QTimer m_saving;
};
