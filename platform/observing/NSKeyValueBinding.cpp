// SPDX-License-Identifier: MIT
#include "platform/observing/NSKeyValueBinding.h"

#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/values/NSAssociatedObjects.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSValueTransformer.h"

#include <QObject>
#include <QPointer>
#include <QThread>
#include <map>

namespace {

using Transformer = std::shared_ptr<NSValueTransformer>;

const char bindingsKey = 0;

void logFailure(const QString &binding) {
    NSLog("Binding \"%@\" failed: %@", binding, NSException::currentDescription());
}

/// What a binding knows of its two sides. Values on their way to another thread keep it.
struct Bond {
    QObject *object; // has the binding, and with it the last of these
    QString binding;
    QPointer<QObject> observed;
    QString keyPath;
    QVariantMap options;

    Transformer transformer() const {
        return options.value(NSValueTransformerBindingOption).value<Transformer>();
    }

    void show(QVariant value) const {
        if (NSIsNull(value))
            value = QVariant();
        try {
            const QVariant placeholder = options.value(NSNullPlaceholderBindingOption);
            if (NSIsNil(value) && !NSIsNil(placeholder))
                value = placeholder;
            else if (const Transformer shape = transformer())
                value = shape->transformedValue(value);
            NSKeyValueCoding::setValueForKey(object, value, binding);
        } catch (...) {
            logFailure(binding);
        }
    }
};

class Binding : public NSKeyValueObserver {
public:
    explicit Binding(std::shared_ptr<Bond> bond) : m_bond(std::move(bond)) {
        NSKeyValueObserving::addObserver(m_bond->observed, this, m_bond->keyPath,
                                         NSKeyValueObservingOptionNew | NSKeyValueObservingOptionInitial);
    }
    ~Binding() override {
        if (const QObject *const observed = m_bond->observed)
            NSKeyValueObserving::removeObserver(observed, this, m_bond->keyPath);
    }

    std::shared_ptr<const Bond> bond() const { return m_bond; }

    void observeValueForKeyPath(const QString &, QObject *, const QVariantMap &change, void *) override {
        const QVariant value = change.value(NSKeyValueChangeNewKey);
        // Setting the value may end this very binding.
        const std::shared_ptr<const Bond> bond = m_bond;
        if (bond->object->thread() == QThread::currentThread())
            return bond->show(value);
        QMetaObject::invokeMethod(
            bond->object,
            [weak = std::weak_ptr(bond), value] {
                if (const auto present = weak.lock())
                    present->show(value);
            },
            Qt::QueuedConnection);
    }

private:
    const std::shared_ptr<Bond> m_bond;
};

using Bindings = std::map<QString, std::shared_ptr<Binding>>;

std::shared_ptr<Bindings> bindingsOf(const QObject *object) {
    return std::static_pointer_cast<Bindings>(NSAssociatedObjects::get(object, &bindingsKey));
}

std::shared_ptr<Binding> find(const QObject *object, const QString &binding) {
    const auto bindings = bindingsOf(object);
    const auto found = bindings ? bindings->find(binding) : Bindings::iterator();
    return bindings && found != bindings->end() ? found->second : nullptr;
}

QVariantMap withTransformer(QVariantMap options) {
    const QVariant given = options.value(NSValueTransformerBindingOption);
    const QVariant name = options.value(NSValueTransformerNameBindingOption);
    if (!NSIsNil(given)) {
        if (!given.value<Transformer>())
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("%1 is no transformer.").arg(NSDescription(given)));
    } else if (!NSIsNil(name)) {
        const Transformer named = NSValueTransformer::valueTransformerForName(name.toString());
        if (!named)
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("There is no transformer \"%1\".").arg(NSDescription(name)));
        options.insert(NSValueTransformerBindingOption, QVariant::fromValue(named));
    }
    return options;
}

} // namespace

void NSKeyValueBinding::bind(QObject *object, const QString &binding, QObject *observed,
                             const QString &keyPath, const QVariantMap &options) {
    if (!object || !observed || binding.isEmpty() || keyPath.isEmpty())
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("A binding needs two objects, a name and a key path."));
    const auto bond =
        std::make_shared<Bond>(Bond{object, binding, observed, keyPath, withTransformer(options)});
    unbind(object, binding);
    auto bindings = bindingsOf(object);
    if (!bindings) {
        bindings = std::make_shared<Bindings>();
        NSAssociatedObjects::set(object, &bindingsKey, bindings);
    }
    // It shows the present value, and whoever is told of that may bind again.
    const QPointer<QObject> bound = object;
    auto made = std::make_shared<Binding>(bond);
    if (bound)
        (*bindings)[binding].swap(made);
}

void NSKeyValueBinding::unbind(QObject *object, const QString &binding) {
    const auto bindings = bindingsOf(object);
    // It goes after it was taken out.
    if (const auto ended = find(object, binding))
        bindings->erase(binding);
}

std::optional<QVariantMap> NSKeyValueBinding::infoForBinding(const QObject *object, const QString &binding) {
    const auto found = find(object, binding);
    if (!found)
        return std::nullopt;
    const auto bond = found->bond();
    QObject *const observed = bond->observed;
    return QVariantMap{{NSObservedObjectKey, observed ? QVariant::fromValue(observed) : QVariant()},
                       {NSObservedKeyPathKey, bond->keyPath},
                       {NSOptionsKey, bond->options}};
}

bool NSKeyValueBinding::setObservedValue(QObject *object, const QString &binding, const QVariant &value) {
    const auto found = find(object, binding);
    if (!found)
        return false;
    const std::shared_ptr<const Bond> bond = found->bond();
    const Transformer shape = bond->transformer();
    if (!bond->observed || (shape && !shape->allowsReverseTransformation()))
        return false;
    try {
        NSKeyValueCoding::setValueForKeyPath(
            bond->observed.data(), shape ? shape->reverseTransformedValue(value) : value, bond->keyPath);
        return true;
    } catch (...) {
        logFailure(binding);
        return false;
    }
}
