// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QVariant>
#include <memory>

/// Turns values into what is shown, and back if it can. Subclasses say how; the base turns every value into itself,
/// one way only. Transformers don't change: any thread may use one, as far as its subclass allows.
class NSValueTransformer {
public:
    NSValueTransformer() = default;
    virtual ~NSValueTransformer() = default;
    NSValueTransformer(const NSValueTransformer &) = delete;
    NSValueTransformer &operator=(const NSValueTransformer &) = delete;

    /// Whether reverseTransformedValue() can be used.
    virtual bool allowsReverseTransformation() const { return false; }
    /// What the value is turned into; it may be nil, and so may the result.
    virtual QVariant transformedValue(const QVariant &value) const { return value; }
    /// The way back. Here, what transformedValue() makes of it; raises NSInvalidArgumentException if there is no way
    /// back.
    virtual QVariant reverseTransformedValue(const QVariant &value) const;

    /// The transformer registered under the name; nullptr if there is none. There are "NSNegateBoolean", which goes
    /// both ways, "NSIsNil" and "NSIsNotNil", for which the null marker isn't nil. Any thread, as below.
    static std::shared_ptr<NSValueTransformer> valueTransformerForName(const QString &name);
    /// Registers a transformer in place of the one that had the name; nullptr removes that.
    static void setValueTransformerForName(std::shared_ptr<NSValueTransformer> transformer,
                                           const QString &name);
    /// All names, in order.
    static QStringList valueTransformerNames();
};

Q_DECLARE_METATYPE(std::shared_ptr<NSValueTransformer>)
