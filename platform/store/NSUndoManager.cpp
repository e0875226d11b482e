// SPDX-License-Identifier: MIT
#include "platform/store/NSUndoManager.h"

#include "platform/base/NSException.h"

#include <QScopeGuard>
#include <algorithm>
#include <utility>

NSUndoManager::NSUndoManager() = default;
NSUndoManager::~NSUndoManager() = default;

void NSUndoManager::beginUndoGrouping() {
    ++m_level;
}

void NSUndoManager::endUndoGrouping() {
    if (m_level == 0)
        throw NSException(NSInternalInconsistencyException, QStringLiteral("No undo group is open."));
    if (--m_level == 0)
        close();
}

int NSUndoManager::groupingLevel() const {
    return m_level;
}

void NSUndoManager::close() {
    Group group = std::exchange(m_open, {});
    if (group.steps.empty())
        return;
    (m_mode == Mode::Undoing ? m_redo : m_undo).push_back(std::move(group));
    trim();
}

void NSUndoManager::trim() {
    if (m_levels > 0 && m_undo.size() > size_t(m_levels))
        m_undo.erase(m_undo.begin(), m_undo.end() - m_levels);
}

void NSUndoManager::registerUndoWithTarget(const QObject *target, std::function<void()> step) {
    if (m_disabled > 0)
        return;
    if (m_mode == Mode::Recording)
        m_redo.clear();
    beginUndoGrouping();
    m_open.steps.push_back({target, std::move(step)});
    endUndoGrouping();
}

void NSUndoManager::disableUndoRegistration() {
    ++m_disabled;
}

void NSUndoManager::enableUndoRegistration() {
    if (m_disabled == 0)
        throw NSException(NSInternalInconsistencyException,
                          QStringLiteral("Undo registration isn't disabled."));
    --m_disabled;
}

bool NSUndoManager::isUndoRegistrationEnabled() const {
    return m_disabled == 0;
}

bool NSUndoManager::canUndo() const {
    return !m_undo.empty() || !m_open.steps.empty();
}

bool NSUndoManager::canRedo() const {
    return !m_redo.empty();
}

void NSUndoManager::undo() {
    if (m_level == 1 && m_mode == Mode::Recording)
        endUndoGrouping();
    run(Mode::Undoing);
}

void NSUndoManager::redo() {
    run(Mode::Redoing);
}

void NSUndoManager::run(Mode mode) {
    if (m_level > 0 || m_mode != Mode::Recording)
        throw NSException(
            NSInternalInconsistencyException,
            QStringLiteral("Nothing can be undone or redone inside a group or while that is being done."));
    auto &groups = mode == Mode::Undoing ? m_undo : m_redo;
    if (groups.empty())
        return;
    const Group group = std::move(groups.back());
    groups.pop_back();
    m_mode = mode;
    beginUndoGrouping();
    m_open.name = group.name;
    const auto end = qScopeGuard([this] {
        endUndoGrouping();
        m_mode = Mode::Recording;
    });
    for (auto step = group.steps.rbegin(); step != group.steps.rend(); ++step)
        step->block();
}

bool NSUndoManager::isUndoing() const {
    return m_mode == Mode::Undoing;
}

bool NSUndoManager::isRedoing() const {
    return m_mode == Mode::Redoing;
}

int NSUndoManager::levelsOfUndo() const {
    return m_levels;
}

void NSUndoManager::setLevelsOfUndo(int levels) {
    m_levels = std::max(levels, 0);
    trim();
}

void NSUndoManager::setActionName(const QString &name) {
    if (m_level > 0)
        m_open.name = name;
    else if (!m_undo.empty())
        m_undo.back().name = name;
}

QString NSUndoManager::undoActionName() const {
    if (!m_open.steps.empty())
        return m_open.name;
    return m_undo.empty() ? QString() : m_undo.back().name;
}

QString NSUndoManager::redoActionName() const {
    return m_redo.empty() ? QString() : m_redo.back().name;
}

void NSUndoManager::removeAllActions() {
    m_undo.clear();
    m_redo.clear();
    m_open.steps.clear();
}

void NSUndoManager::removeAllActionsWithTarget(const QObject *target) {
    const auto isTargets = [target](const Step &step) { return step.target == target; };
    for (auto *groups : {&m_undo, &m_redo}) {
        for (Group &group : *groups)
            std::erase_if(group.steps, isTargets);
        std::erase_if(*groups, [](const Group &group) { return group.steps.empty(); });
    }
    std::erase_if(m_open.steps, isTargets);
}

#include "moc_NSUndoManager.cpp"
