// SPDX-License-Identifier: MIT
#include "platform/archive/DecodingBudget.h"

#include "platform/archive/NSPropertyList.h"

#include <algorithm>
#include <bit>

using namespace zr;

namespace {

constexpr int MaxAlike = 16;
constexpr qsizetype ShortKey = 256;

[[noreturn]] void refuse(const QString &reason) {
    throw NSException(NSPropertyListReadCorruptError, reason);
}

} // namespace

DecodingBudget::DecodingBudget(qsizetype documentSize)
    : m_work((quint64(16) << 20) + 32 * quint64(documentSize)) {
}

void DecodingBudget::addValues(quint64 count) {
    if (count > m_values)
        refuse(QStringLiteral("the document holds more than %1 values").arg(MaxValues));
    m_values -= count;
}

void DecodingBudget::addWork(quint64 bytes) {
    if (bytes > m_work)
        refuse(QStringLiteral("the document repeats its contents out of proportion to its size"));
    m_work -= bytes;
}

void DecodingBudget::checkDepth(int depth) {
    if (depth > MaxDepth)
        refuse(QStringLiteral("the document is nested deeper than %1 levels").arg(MaxDepth));
}

void DecodedSize::addElement(const DecodedSize &element) {
    addContent(element);
    height = std::max(height, element.height + 1);
    DecodingBudget::checkDepth(int(height));
}

void DecodedSize::addContent(const DecodedSize &content) {
    values += content.values;
    bytes += content.bytes;
    if (values > DecodingBudget::MaxValues)
        refuse(QStringLiteral("shared parts grow the document to more than %1 values")
                   .arg(DecodingBudget::MaxValues));
}

void SetBuilder::insert(const QVariant &value, const DecodedSize &size) {
    m_budget.addWork(32 * quint64(size.values) + size.bytes);
    const qsizetype before = m_set.size();
    m_set.insert(value);
    if (m_set.size() > before && ++m_alike[std::hash<QVariant>()(value, QHashSeed::globalSeed())] > MaxAlike)
        refuse(QStringLiteral("a set holds too many elements with one hash"));
}

void DictionaryBuilder::insert(const QString &key, const QVariant &value) {
    if (key.size() > ShortKey)
        m_budget.addWork(quint64(key.size()) * 2 * std::bit_width(quint64(m_map.size())));
    const qsizetype before = m_map.size();
    m_map.insert(key, value);
    if (m_map.size() == before)
        refuse(QStringLiteral("a dictionary holds one key twice"));
}
