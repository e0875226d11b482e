// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"
#include "tests/platform/archive/Identical.h"

#include <QByteArray>
#include <QRandomGenerator>
#include <QVariant>
#include <gtest/gtest.h>

/// Makes trees at random; the same seed gives the same trees.
class RandomTrees {
public:
    explicit RandomTrees(quint32 seed) : m_random(seed) {}

    /// A tree of every kind that keyed archives hold, in the types that they are read back as.
    QVariant archivable(int depth = 4);
    /// The same for property lists, without nil and references; sets only where they are wanted.
    QVariant propertyList(bool withSets, int depth = 4);
    QString text();

private:
    enum class Kinds { Archive, PropertyList, PropertyListWithSets };
    QVariant leaf(Kinds kinds);
    QVariant tree(int depth, Kinds kinds);

    QRandomGenerator m_random;
};

/// Runs a function that must throw an NSException of a name, whose reason holds a text.
template <typename Function>
testing::AssertionResult throwsException(Function run, const QString &name, const char *text) {
    try {
        run();
    } catch (const NSException &e) {
        if (e.name() == name && e.reason().contains(QLatin1String(text)))
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "threw " << qPrintable(e.name()) << ": " << qPrintable(e.reason());
    }
    return testing::AssertionFailure() << "nothing was thrown";
}

#define EXPECT_NSEXCEPTION(expression, name, text)                                                           \
    EXPECT_TRUE(throwsException([&] { (void)(expression); }, name, text))
