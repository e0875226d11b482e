// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSPropertyDescription.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <optional>

namespace zr {

/// A place in a model file, for the messages of errors.
struct ModelPlace {
    QString file, entity, property;

    /// Raises NSInvalidArgumentException with the place and the reason.
    [[noreturn]] void fail(const QString &why) const;
    /// Fails unless the text can be the name of an entity or a property.
    void requireName(const QString &name) const;
};

/// The members of an object in a model file. Each is taken by its kind; another kind fails.
class ModelMembers {
public:
    /// Fails if the value is no JSON object.
    ModelMembers(const ModelPlace &place, const QVariant &object);

    bool has(const QString &key) const { return m_members.contains(key); }
    /// nil if there is none.
    QString text(const QString &key);
    QString requiredText(const QString &key);
    bool flag(const QString &key, bool unlessGiven);
    /// A whole number that isn't negative.
    std::optional<qint64> count(const QString &key);
    QVariantMap object(const QString &key);
    QVariantList array(const QString &key);
    /// Whatever it is; nil if there is none.
    QVariant value(const QString &key);
    /// One of the texts, as its index.
    std::optional<int> choice(const QString &key, const QStringList &texts);

    /// Those that nobody took.
    QVariantMap all() const { return m_members; }
    /// Fails if there is a member that nobody took.
    void end() const;

private:
    ModelPlace m_place;
    QVariantMap m_members;
};

/// An attribute's value as a model file writes it. Fails for one that the attribute can't have.
QVariant modelValue(const ModelPlace &place, NSAttributeType type, const QVariant &json);

} // namespace zr
