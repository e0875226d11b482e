// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QVariant>

/// Whether two trees are the same in types and values. Not-a-number is the same as itself here; sets are
/// compared with their own equality.
bool identical(const QVariant &a, const QVariant &b);

/// Makes trees at random; the same seed gives the same trees.
class RandomTrees {
public:
    explicit RandomTrees(quint32 seed) : m_random(seed) {}

    /// A tree of every kind that keyed archives hold, in the types that they are read back as.
    QVariant archivable(int depth = 4);
    /// The same for property lists, without nil and references.
    QVariant propertyList(int depth = 4);
    QString text();

private:
    QVariant leaf(bool inArchive);
    QVariant tree(int depth, bool inArchive);

    QRandomGenerator m_random;
};

/// Runs a statement that must throw an NSException of a name; the reason must hold a text.
#define EXPECT_NSEXCEPTION(statement, exceptionName, text)                                                   \
    try {                                                                                                    \
        statement;                                                                                           \
        ADD_FAILURE() << "nothing was thrown";                                                               \
    } catch (const NSException &e) {                                                                         \
        EXPECT_EQ(e.name(), exceptionName);                                                                  \
        EXPECT_TRUE(e.reason().contains(QLatin1String(text))) << qPrintable(e.reason());                     \
    }
