// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantMap>
#include <optional>

class QObject;

// Keys of what infoForBinding() gives.
inline const QString NSObservedObjectKey =
    QStringLiteral("NSObservedObject"); ///< the object, nil once it is gone
inline const QString NSObservedKeyPathKey = QStringLiteral("NSObservedKeyPath"); ///< its key path
inline const QString NSOptionsKey = QStringLiteral("NSOptions"); ///< the options, a dictionary

// Options of a binding.
/// The transformer, as a std::shared_ptr<NSValueTransformer>, that turns the observed value into what is set.
inline const QString NSValueTransformerBindingOption = QStringLiteral("NSValueTransformer");
/// Its registered name instead.
inline const QString NSValueTransformerNameBindingOption = QStringLiteral("NSValueTransformerName");
/// What is set for nil and for the null marker, instead of transforming them; otherwise the null marker counts as nil.
inline const QString NSNullPlaceholderBindingOption = QStringLiteral("NSNullPlaceholder");

/// Keeps a key of an object, its binding, at the value of another object's key path.
///
/// Changes of the observed value, as NSKeyValueObserving tells of them, are set on the bound object by key-value
/// coding, on that object's thread: at once if they are made there. The way back is taken when the object asks for
/// it, by setObservedValue(). Neither object is kept alive; the binding ends with the bound one. What transformers
/// and setters raise is logged. Every function must be called on the bound object's thread.
namespace NSKeyValueBinding {

/// Binds, in place of a binding of that name, and sets the present value. A transformer's name is resolved, and the
/// transformer put among the options. Raises NSInvalidArgumentException without objects or key path, for a
/// transformer that is none, and for an unknown name of one.
void bind(QObject *object, const QString &binding, QObject *observed, const QString &keyPath,
          const QVariantMap &options = {});
/// Ends the binding, if there is one. What the object shows stays.
void unbind(QObject *object, const QString &binding);

/// What is bound, under the keys above; std::nullopt if nothing is.
std::optional<QVariantMap> infoForBinding(const QObject *object, const QString &binding);

/// Sets the observed value to what the transformer makes, on its way back, of a value that the user gave. Nothing is
/// set if it has none.
/// \return whether the value was set
bool setObservedValue(QObject *object, const QString &binding, const QVariant &value);

} // namespace NSKeyValueBinding
