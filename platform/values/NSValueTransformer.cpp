// SPDX-License-Identifier: MIT
#include "platform/values/NSValueTransformer.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSNull.h"

#include <QMap>
#include <mutex>

using namespace zr;

namespace {

class Negation : public NSValueTransformer {
public:
    bool allowsReverseTransformation() const override { return true; }
    QVariant transformedValue(const QVariant &value) const override { return !boolValue(value); }
};

class NilTest : public NSValueTransformer {
public:
    explicit NilTest(bool answer) : m_answer(answer) {}
    QVariant transformedValue(const QVariant &value) const override {
        return NSIsNil(value) ? m_answer : !m_answer;
    }

private:
    const bool m_answer;
};

struct Registry {
    std::mutex mutex;
    QMap<QString, std::shared_ptr<NSValueTransformer>> transformers{
        {QStringLiteral("NSNegateBoolean"), std::make_shared<Negation>()},
        {QStringLiteral("NSIsNil"), std::make_shared<NilTest>(true)},
        {QStringLiteral("NSIsNotNil"), std::make_shared<NilTest>(false)}};
};

Registry &registry() {
    static NeverDestroyed<Registry> shared;
    return *shared;
}

} // namespace

QVariant NSValueTransformer::reverseTransformedValue(const QVariant &value) const {
    if (!allowsReverseTransformation())
        throw NSException(NSInvalidArgumentException, QStringLiteral("The transformer has no way back."));
    return transformedValue(value);
}

std::shared_ptr<NSValueTransformer> NSValueTransformer::valueTransformerForName(const QString &name) {
    const std::lock_guard lock(registry().mutex);
    return registry().transformers.value(name);
}

void NSValueTransformer::setValueTransformerForName(std::shared_ptr<NSValueTransformer> transformer,
                                                    const QString &name) {
    // The one that is replaced goes after the lock.
    const std::lock_guard lock(registry().mutex);
    if (transformer)
        registry().transformers[name].swap(transformer);
    else
        transformer = registry().transformers.take(name);
}

QStringList NSValueTransformer::valueTransformerNames() {
    const std::lock_guard lock(registry().mutex);
    return registry().transformers.keys();
}
