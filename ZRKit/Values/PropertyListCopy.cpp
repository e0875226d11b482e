// SPDX-License-Identifier: MIT
#include "ZRKit/Values/PropertyListCopy.h"

#include "platform/values/ValueKind.h"

using namespace zr;

namespace ZRKit {

std::optional<QVariant> propertyListCopy(const QVariant &given) {
    QVariant made;
    const QVariant &value = plain(given, made);
    switch (kindOf(value)) {
    case ValueKind::Number:
    case ValueKind::Decimal:
    case ValueKind::String:
    case ValueKind::Data:
    case ValueKind::Date:
        return value;
    case ValueKind::Array: {
        QVariantList copy;
        for (const QVariantList elements = arrayOf(value); const QVariant &element : elements) {
            const std::optional<QVariant> copied = propertyListCopy(element);
            if (!copied)
                return std::nullopt;
            copy.append(*copied);
        }
        return copy;
    }
    case ValueKind::Dictionary: {
        QVariantMap copy;
        for (const auto &[key, entry] : entriesOf(value)) {
            const std::optional<QVariant> copied = propertyListCopy(entry);
            if (!copied)
                return std::nullopt;
            copy.insert(key, *copied);
        }
        return copy;
    }
    default:
        return std::nullopt;
    }
}

} // namespace ZRKit
