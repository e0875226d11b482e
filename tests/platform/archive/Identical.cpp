// SPDX-License-Identifier: MIT
#include "tests/platform/archive/Identical.h"

#include "platform/base/NSError.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <algorithm>
#include <bit>
#include <cmath>

bool identical(const QVariant &a, const QVariant &b) {
    if (a.metaType() != b.metaType())
        return false;
    switch (a.metaType().id()) {
    case QMetaType::Double:
        return std::isnan(a.toDouble())
                   ? std::isnan(b.toDouble())
                   : std::bit_cast<quint64>(a.toDouble()) == std::bit_cast<quint64>(b.toDouble());
    case QMetaType::QString:
        return a.toString() == b.toString() && a.toString().isNull() == b.toString().isNull();
    case QMetaType::QByteArray:
        return a.toByteArray() == b.toByteArray() && a.toByteArray().isNull() == b.toByteArray().isNull();
    case QMetaType::QDateTime:
        return a.toDateTime() == b.toDateTime() && a.toDateTime().timeSpec() == b.toDateTime().timeSpec();
    case QMetaType::QVariantList: {
        const QVariantList left = a.toList(), right = b.toList();
        return std::equal(left.cbegin(), left.cend(), right.cbegin(), right.cend(), identical);
    }
    case QMetaType::QVariantMap: {
        const QVariantMap left = a.toMap(), right = b.toMap();
        return left.keys() == right.keys() &&
               std::equal(left.cbegin(), left.cend(), right.cbegin(), right.cend(), identical);
    }
    default:
        break;
    }
    if (a.metaType() == QMetaType::fromType<NSSet>()) {
        const auto left = a.value<NSSet>(), right = b.value<NSSet>();
        return left.size() == right.size() &&
               std::all_of(left.cbegin(), left.cend(), [&](const QVariant &element) {
                   return right.contains(element) ||
                          std::any_of(right.cbegin(), right.cend(),
                                      [&](const QVariant &other) { return identical(element, other); });
               });
    }
    if (a.metaType() == QMetaType::fromType<NSError>()) {
        const auto left = a.value<NSError>(), right = b.value<NSError>();
        return left.domain() == right.domain() && left.code() == right.code() &&
               identical(left.userInfo(), right.userInfo());
    }
    return a == b;
}
