// SPDX-License-Identifier: MIT
#pragma once

#include "bench/soak/Corpus.h"
#include "tools/converter/Converter.h"

#include <QStringList>
#include <array>
#include <mutex>
#include <vector>

/// What came of the documents. Any thread.
class Ledger {
public:
    using Outcome = zr::Converter::Outcome;
    static constexpr int outcomeCount = 6;

    void add(Document::Kind kind, Outcome outcome, double seconds);
    /// A document that went to somebody else, or to nobody.
    void addWrong(Document::Kind kind, const QString &what);
    /// A failure that a harm done to its service explains.
    void addExcused(Document::Kind kind);
    /// One that nothing explains.
    void addUnexplained(Document::Kind kind, const QString &what);

    int converted() const;
    int wrong() const;
    int unexplained() const;
    /// A row a kind.
    QString table() const;
    /// What is wrong or unexplained, the first of it.
    QStringList complaints() const;

private:
    struct Row {
        std::array<int, outcomeCount> outcomes{};
        int excused = 0, wrong = 0, unexplained = 0;
        std::vector<float> seconds;
    };
    void complain(Document::Kind kind, const QString &what);

    mutable std::mutex m_mutex;
    std::array<Row, Document::kinds> m_rows;
    QStringList m_complaints;
};

/// A straight line through measured points, by least squares.
class Line {
public:
    void add(double x, double y);
    int count() const { return int(m_points.size()); }
    double mean() const;
    struct Slope {
        double value = 0, error = 0; ///< a unit of y for each of x, and its standard error
    };
    /// Leaves out the first share of the points.
    Slope slope(double leftOut) const;

private:
    std::vector<std::pair<double, double>> m_points;
};
