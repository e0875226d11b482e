// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/ValueKind.h"

#include <QString>
#include <QStringView>
#include <QVariant>
#include <QVariantMap>
#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

/// Texts that come again and again, as names, white space and short values do, are made once, and so are
/// dictionaries that hold nothing but one such text. What came last takes the place of what came before.
class SharedTexts {
public:
    /// A long text is always made anew.
    QString text(QStringView view) { return isShort(view) ? name(view) : view.toString(); }
    /// Of any length; "" for the empty one.
    QString name(QStringView view) {
        if (view.isEmpty())
            return QStringLiteral("");
        QString &known = at(m_texts, place(view));
        if (known != view)
            known = view.toString();
        return known;
    }
    /// A dictionary with this entry only.
    QVariantMap dictionary(const QString &key, const QString &value) {
        if (!isShort(value))
            return {{key, value}};
        QVariantMap &known = at(m_dictionaries, place(value) ^ place(key));
        if (const auto entry = known.constBegin();
            known.isEmpty() || entry.key() != key || zr::held<QString>(*entry) != value)
            known = {{key, value}};
        return known;
    }

private:
    static constexpr qsizetype LongestShared = 48;
    static constexpr int PlaceBits = 10;

    static bool isShort(QStringView view) { return view.size() <= LongestShared; }

    /// From the first four units and the last four.
    static size_t place(QStringView view) {
        quint64 head = 0, tail = 0;
        const auto bytes = size_t(view.size()) * sizeof(QChar);
        if (bytes >= sizeof head) {
            std::memcpy(&head, view.data(), sizeof head);
            std::memcpy(&tail, view.data() + view.size() - 4, sizeof tail);
        } else {
            for (const QChar unit : view)
                head = head << 16 | unit.unicode();
        }
        return ((head ^ std::rotl(tail, 29) ^ bytes) * Q_UINT64_C(0x9e3779b97f4a7c15)) >> (64 - PlaceBits);
    }

    template <typename T>
    static T &at(std::vector<T> &table, size_t place) {
        if (table.empty())
            table.resize(1 << PlaceBits);
        return table[place];
    }

    std::vector<QString> m_texts;
    std::vector<QVariantMap> m_dictionaries;
};
