// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <vector>

/// What can be undone, and done again: groups of steps, the latest first.
///
/// A step is a block that takes a change back; while it does so, it registers the step that makes the change again. Steps
/// that are registered outside a group make a group of their own. Used by one thread, as what it takes back is.
class NSUndoManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool canUndo READ canUndo)
    Q_PROPERTY(bool canRedo READ canRedo)
    Q_PROPERTY(QString undoActionName READ undoActionName)
    Q_PROPERTY(QString redoActionName READ redoActionName)

public:
    NSUndoManager();
    ~NSUndoManager() override;

    /// Opens and closes a group; groups inside others count as parts of them. A group without steps leaves nothing.
    /// endUndoGrouping() raises NSInternalInconsistencyException if no group is open.
    void beginUndoGrouping();
    void endUndoGrouping();
    int groupingLevel() const;

    /// Adds a step for the target, which isn't kept alive; it is told apart by its address only. What could be
    /// done again can't any more, unless undo() or redo() is running. Nothing happens while registration is off.
    void registerUndoWithTarget(const QObject *target, std::function<void()> step);
    /// Turns registration off and on again; calls nest.
    void disableUndoRegistration();
    void enableUndoRegistration();
    bool isUndoRegistrationEnabled() const;

    bool canUndo() const;
    bool canRedo() const;
    /// Takes the latest group back, or does it again; an open outermost group is closed first. Nothing happens if there is
    /// none. Raises NSInternalInconsistencyException inside nested groups, and while it runs. What a step raises ends
    /// it; the rest of the group is lost.
    void undo();
    void redo();
    bool isUndoing() const;
    bool isRedoing() const;

    /// How many groups are kept for undoing, the latest ones; 0 for all.
    int levelsOfUndo() const;
    void setLevelsOfUndo(int levels);

    /// The name of the group that is open, or else of the latest: what a menu says that it undoes.
    void setActionName(const QString &name);
    /// nil if there is none.
    QString undoActionName() const;
    QString redoActionName() const;

    void removeAllActions();
    /// Removes the steps of one target, and groups that are then empty.
    void removeAllActionsWithTarget(const QObject *target);

private:
    struct Step {
        const QObject *target;
        std::function<void()> block;
    };
    struct Group {
        QString name;
        std::vector<Step> steps;
    };
    enum class Mode { Recording, Undoing, Redoing };

    void run(Mode mode);
    void close();
    void trim();

    std::vector<Group> m_undo, m_redo;
    Group m_open;
    Mode m_mode = Mode::Recording;
    int m_level = 0, m_disabled = 0, m_levels = 0;
};
