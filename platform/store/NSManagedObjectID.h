// SPDX-License-Identifier: MIT
#pragma once

#include <QHashFunctions>
#include <QMetaType>
#include <QObject>
#include <QUrl>
#include <memory>

class NSEntityDescription;

namespace zr {
struct ObjectIdentity;
}

/// Names one object, in whatever context it is looked at; a value, nil if default-constructed.
///
/// An object that was never saved has a temporary identifier, which becomes permanent when the object gets into the
/// store. All copies of the identifier follow, so equality and hash stay what they were. Two identifiers are
/// equal if they name the same object of the same coordinator. Any thread.
class NSManagedObjectID {
    Q_GADGET
    Q_PROPERTY(QUrl URIRepresentation READ URIRepresentation)
    Q_PROPERTY(bool isTemporaryID READ isTemporaryID)
    Q_PROPERTY(quint64 hash READ hash)

public:
    NSManagedObjectID() = default;

    bool isNil() const { return !m_identity; }
    explicit operator bool() const { return bool(m_identity); }

    /// Whether the object is in no store yet.
    bool isTemporaryID() const;
    /// The entity of the object itself, not one that it inherits from. It lives as long as the model.
    const NSEntityDescription *entity() const;
    /// "x-zrstore://<store's identifier>/<entity>/p<number>", or "x-zrstore:///<entity>/t<UUID>-<number>" while it is
    /// temporary; invalid for nil.
    QUrl URIRepresentation() const;
    quint64 hash() const { return qHash(*this); }

    friend bool operator==(const NSManagedObjectID &a, const NSManagedObjectID &b) {
        return a.m_identity == b.m_identity;
    }
    friend size_t qHash(const NSManagedObjectID &id, size_t seed = 0) {
        return ::qHash(id.m_identity.get(), seed);
    }

private:
    friend struct zr::ObjectIdentity;
    explicit NSManagedObjectID(std::shared_ptr<zr::ObjectIdentity> identity)
        : m_identity(std::move(identity)) {}

    std::shared_ptr<zr::ObjectIdentity> m_identity;
};

// Moving a shared pointer's bytes moves it.
Q_DECLARE_TYPEINFO(NSManagedObjectID, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(NSManagedObjectID)
