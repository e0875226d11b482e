// SPDX-License-Identifier: MIT
#include "tests/platform/archive/ValueTrees.h"

#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <QUrl>
#include <QUuid>
#include <algorithm>
#include <bit>
#include <cmath>

QString RandomTrees::text() {
    const int length = m_random.bounded(4) ? m_random.bounded(20) : m_random.bounded(600);
    QString text = QStringLiteral("");
    const int kind = m_random.bounded(3);
    for (int i = 0; i < length; ++i) {
        if (kind == 0 || (kind == 1 && m_random.bounded(10)))
            text += QChar(m_random.bounded(0x20, 0x7f));
        else {
            const char32_t c =
                m_random.bounded(2) ? m_random.bounded(0xa0, 0xd800) : m_random.bounded(0x10000, 0x110000);
            text += QString::fromUcs4(&c, 1);
        }
    }
    return text;
}

QVariant RandomTrees::leaf(Kinds kinds) {
    const quint64 bits = m_random.generate64() >> m_random.bounded(64);
    switch (m_random.bounded(kinds == Kinds::Archive ? 12 : 8)) {
    case 0:
        return text();
    case 1: {
        QByteArray data(m_random.bounded(3) ? m_random.bounded(40) : m_random.bounded(70000),
                        Qt::Uninitialized);
        for (char &c : data)
            c = char(m_random.bounded(256));
        return data;
    }
    case 2:
        return m_random.bounded(2) == 1;
    case 3:
        return m_random.bounded(2) ? qlonglong(bits) : -qlonglong(bits >> 1);
    case 4:
        return bits >> 63 ? QVariant(qulonglong(bits)) : QVariant(qlonglong(bits));
    case 5:
        return m_random.bounded(3) ? m_random.generateDouble() * std::pow(10, m_random.bounded(600) - 300)
                                   : std::bit_cast<double>(m_random.generate64());
    case 6:
        // Within the years 1 to 9999.
        return QDateTime::fromMSecsSinceEpoch(
            qint64(m_random.generate64() % Q_UINT64_C(315537897599999)) - Q_INT64_C(62135596800000), Qt::UTC);
    case 7:
        return NSNull();
    case 8:
        return QUrl(QStringLiteral("https://host%1.test/päth/%2?q=%3#f")
                        .arg(m_random.bounded(99))
                        .arg(m_random.bounded(99))
                        .arg(m_random.bounded(99)));
    case 9:
        return QUuid::fromRfc4122(QByteArray(16, char(m_random.bounded(256))));
    case 10:
        return QVariant::fromValue(NSDecimalNumber(m_random.generate64() >> m_random.bounded(64),
                                                   m_random.generate64(), m_random.bounded(-128, 128),
                                                   m_random.bounded(2)));
    default:
        return {};
    }
}

QVariant RandomTrees::tree(int depth, Kinds kinds) {
    static constexpr int containers[] = {7, 5, 6};
    const int kind = depth == 0 ? 0 : m_random.bounded(containers[int(kinds)]);
    const int count = m_random.bounded(m_random.bounded(8) ? 6 : 40);
    switch (kind) {
    case 3: {
        QVariantList list;
        for (int i = 0; i < count; ++i)
            list.append(i > 0 && m_random.bounded(8) == 0 ? list.at(m_random.bounded(i))
                                                          : tree(depth - 1, kinds));
        return list;
    }
    case 4: {
        QVariantMap map;
        for (int i = 0; i < count; ++i)
            map.insert(text(), tree(depth - 1, kinds));
        return map;
    }
    case 5: {
        NSSet set;
        for (int i = 0; i < count; ++i) {
            const QVariant element =
                m_random.bounded(2) ? QVariant(text()) : QVariant(qlonglong(m_random.bounded(1000)));
            set.insert(element);
        }
        return QVariant::fromValue(set);
    }
    case 6: {
        QVariantMap details;
        for (int i = 0; i < count; ++i)
            details.insert(text(), tree(depth - 1, kinds));
        return QVariant::fromValue(NSError(text(), qint64(m_random.generate64()), details));
    }
    default:
        return leaf(kinds);
    }
}

QVariant RandomTrees::archivable(int depth) {
    return tree(depth, Kinds::Archive);
}

QVariant RandomTrees::propertyList(bool withSets, int depth) {
    return tree(depth, withSets ? Kinds::PropertyListWithSets : Kinds::PropertyList);
}
