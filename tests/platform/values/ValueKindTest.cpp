// SPDX-License-Identifier: MIT
#include "platform/values/ValueKind.h"

#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QStringList>
#include <QVariantHash>
#include <gtest/gtest.h>

using namespace zr;

namespace {

const QString a = QStringLiteral("a"), b = QStringLiteral("b");

/// A dictionary of a class of its own, which knows its entries in the order in which they came.
class Entries {
public:
    class const_iterator {
    public:
        explicit const_iterator(const std::pair<QString, QVariant> *at) : m_at(at) {}
        QString key() const { return m_at->first; }
        QVariant value() const { return m_at->second; }
        const_iterator &operator++() {
            ++m_at;
            return *this;
        }
        friend bool operator==(const_iterator, const_iterator) = default;

    private:
        const std::pair<QString, QVariant> *m_at;
    };

    const_iterator begin() const { return const_iterator(m_entries.constData()); }
    const_iterator end() const { return const_iterator(m_entries.constData() + m_entries.size()); }
    qsizetype size() const { return m_entries.size(); }
    void insert(const QString &key, const QVariant &value) { m_entries.append({key, value}); }
    const QVariant *find(const QString &key) const {
        for (const auto &entry : m_entries) {
            if (entry.first == key)
                return &entry.second;
        }
        return nullptr;
    }

private:
    QList<std::pair<QString, QVariant>> m_entries;
};

const bool isRegistered = registerDictionaryType<Entries>();

QVariant entries() {
    Entries entries;
    entries.insert(b, 2);
    entries.insert(a, 1);
    return QVariant::fromValue(entries);
}

TEST(ValueKind, CountsWhatCollectionsHold) {
    EXPECT_EQ(countOf(QVariantList{1, NSNull()}), 2);
    EXPECT_EQ(countOf(QStringList{a}), 1);
    EXPECT_EQ(countOf(QVariant::fromValue(QList<int>{1, 2, 3})), 3);
    EXPECT_EQ(countOf(QVariantMap{{a, 1}}), 1);
    EXPECT_EQ(countOf(QVariantHash{{a, 1}}), 1);
    EXPECT_EQ(countOf(QVariant::fromValue(QMap<QString, int>{{a, 1}, {b, 2}})), 2);
    EXPECT_EQ(countOf(QVariant::fromValue(NSSet{1, 2, 1})), 2);
    EXPECT_EQ(countOf(entries()), 2);
    for (const QVariant &other : {QVariant(), NSNull(), QVariant(5), QVariant(a)})
        EXPECT_EQ(countOf(other), 0);
}

TEST(ValueKind, FindsElementsInPlace) {
    const QVariant list = QVariantList{1, NSNull()};
    QVariant made;
    EXPECT_EQ(elementOf(list, 0, made), &held<QVariantList>(list).at(0));
    EXPECT_FALSE(made.isValid());
    EXPECT_TRUE(NSIsNull(*elementOf(list, 1, made)));
    EXPECT_EQ(*elementOf(QStringList{a, b}, 1, made), QVariant(b));
    EXPECT_EQ(*elementOf(QVariant::fromValue(QList<int>{5, 6}), 1, made), QVariant(6));
    for (const QVariant &value : {list, QVariant(QStringList{a, b}), QVariant::fromValue(QList<int>{5, 6}),
                                  entries(), QVariant::fromValue(NSSet{1}), QVariant()}) {
        EXPECT_EQ(elementOf(value, 2, made), nullptr);
        EXPECT_EQ(elementOf(value, -1, made), nullptr);
    }
}

TEST(ValueKind, FindsEntriesInPlace) {
    ASSERT_TRUE(isRegistered);
    QVariant made;
    const QVariant map = QVariantMap{{a, 1}}, hash = QVariantHash{{a, 1}}, own = entries();
    EXPECT_EQ(entryOf(map, a, made), &held<QVariantMap>(map).find(a).value());
    EXPECT_EQ(entryOf(hash, a, made), &held<QVariantHash>(hash).find(a).value());
    EXPECT_EQ(entryOf(own, a, made), held<Entries>(own).find(a));
    EXPECT_FALSE(made.isValid());
    EXPECT_EQ(*entryOf(QVariant::fromValue(QMap<QString, int>{{a, 1}}), a, made), QVariant(1));
    for (const QVariant &value : {map, hash, own, QVariant::fromValue(QMap<QString, int>{{a, 1}}),
                                  QVariant(QVariantList{1}), QVariant(a), QVariant()}) {
        EXPECT_EQ(entryOf(value, QStringLiteral("x"), made), nullptr);
        EXPECT_EQ(entryOf(value, QString(), made), nullptr) << "nil";
    }
    QVariant empty = QVariantMap{{QStringLiteral(""), 1}};
    EXPECT_EQ(*entryOf(empty, QStringLiteral(""), made), QVariant(1));
    EXPECT_EQ(entryOf(empty, QString(), made), nullptr);
}

TEST(ValueKind, ARegisteredClassIsADictionaryInItsOwnOrder) {
    EXPECT_EQ(kindOf(entries()), ValueKind::Dictionary);
    EXPECT_EQ(dictionaryOf(entries()), (QVariantMap{{a, 1}, {b, 2}}));
    EXPECT_EQ(entriesOf(entries()), (DictionaryEntries{{b, 2}, {a, 1}}));
    EXPECT_EQ(entriesOf(QVariantMap{{b, 2}, {a, 1}}), (DictionaryEntries{{a, 1}, {b, 2}}));
}

} // namespace
