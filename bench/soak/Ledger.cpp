// SPDX-License-Identifier: MIT
#include "bench/soak/Ledger.h"

#include <algorithm>
#include <cmath>
#include <numeric>

using namespace Qt::StringLiterals;

void Ledger::add(Document::Kind kind, Outcome outcome, double seconds) {
    const std::lock_guard lock(m_mutex);
    Row &row = m_rows[std::size_t(kind)];
    ++row.outcomes[std::size_t(outcome)];
    if (outcome == Outcome::Done)
        row.seconds.push_back(float(seconds));
}

void Ledger::addWrong(Document::Kind kind, const QString &what) {
    const std::lock_guard lock(m_mutex);
    ++m_rows[std::size_t(kind)].wrong;
    complain(kind, u"wrong: "_s + what);
}

void Ledger::addExcused(Document::Kind kind) {
    const std::lock_guard lock(m_mutex);
    ++m_rows[std::size_t(kind)].excused;
}

void Ledger::addUnexplained(Document::Kind kind, const QString &what) {
    const std::lock_guard lock(m_mutex);
    ++m_rows[std::size_t(kind)].unexplained;
    complain(kind, what);
}

void Ledger::complain(Document::Kind kind, const QString &what) {
    constexpr int most = 20;
    if (m_complaints.size() < most)
        m_complaints << QString::fromLatin1(Document::name(kind)) + u": "_s + what;
}

int Ledger::converted() const {
    const std::lock_guard lock(m_mutex);
    return std::accumulate(m_rows.begin(), m_rows.end(), 0, [](int sum, const Row &row) {
        return std::accumulate(row.outcomes.begin(), row.outcomes.end(), sum);
    });
}

int Ledger::wrong() const {
    const std::lock_guard lock(m_mutex);
    return std::accumulate(m_rows.begin(), m_rows.end(), 0,
                           [](int sum, const Row &row) { return sum + row.wrong; });
}

int Ledger::unexplained() const {
    const std::lock_guard lock(m_mutex);
    return std::accumulate(m_rows.begin(), m_rows.end(), 0,
                           [](int sum, const Row &row) { return sum + row.unexplained; });
}

QStringList Ledger::complaints() const {
    const std::lock_guard lock(m_mutex);
    return m_complaints;
}

QString Ledger::table() const {
    const std::lock_guard lock(m_mutex);
    QString text =
        u"| documents | done | failed | too late | lost | abandoned | explained by a harm | unexplained | "
        "wrong | median, ms | 99 %, ms |\n|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n"_s;
    const auto addRow = [&](const QString &name, Row row) {
        std::sort(row.seconds.begin(), row.seconds.end());
        const auto milliseconds = [&](double share) {
            return row.seconds.empty()
                       ? u"-"_s
                       : QString::number(
                             1000 * row.seconds[std::size_t(share * double(row.seconds.size() - 1))], 'f', 0);
        };
        const auto count = [&](Outcome outcome) {
            return QString::number(row.outcomes[std::size_t(outcome)]);
        };
        const int lost =
            row.outcomes[std::size_t(Outcome::Lost)] + row.outcomes[std::size_t(Outcome::Unavailable)];
        const QStringList cells{name,
                                count(Outcome::Done),
                                count(Outcome::Failed),
                                count(Outcome::Late),
                                QString::number(lost),
                                count(Outcome::Abandoned),
                                QString::number(row.excused),
                                QString::number(row.unexplained),
                                QString::number(row.wrong),
                                milliseconds(0.5),
                                milliseconds(0.99)};
        text += u"| "_s + cells.join(u" | "_s) + u" |\n"_s;
    };
    Row all;
    for (std::size_t kind = 0; kind < m_rows.size(); ++kind) {
        const Row &row = m_rows[kind];
        addRow(QString::fromLatin1(Document::name(Document::Kind(kind))), row);
        for (std::size_t i = 0; i < row.outcomes.size(); ++i)
            all.outcomes[i] += row.outcomes[i];
        all.excused += row.excused;
        all.unexplained += row.unexplained;
        all.wrong += row.wrong;
        all.seconds.insert(all.seconds.end(), row.seconds.begin(), row.seconds.end());
    }
    addRow(u"**all**"_s, all);
    return text;
}

void Line::add(double x, double y) {
    m_points.emplace_back(x, y);
}

double Line::mean() const {
    const double sum = std::accumulate(m_points.begin(), m_points.end(), 0.0,
                                       [](double total, const auto &point) { return total + point.second; });
    return m_points.empty() ? 0 : sum / double(m_points.size());
}

Line::Slope Line::slope(double leftOut) const {
    const auto first = std::size_t(leftOut * double(m_points.size()));
    const double n = double(m_points.size() - first);
    if (n < 3)
        return {};
    double x = 0, y = 0;
    for (std::size_t i = first; i < m_points.size(); ++i) {
        x += m_points[i].first / n;
        y += m_points[i].second / n;
    }
    double xx = 0, xy = 0;
    for (std::size_t i = first; i < m_points.size(); ++i) {
        xx += (m_points[i].first - x) * (m_points[i].first - x);
        xy += (m_points[i].first - x) * (m_points[i].second - y);
    }
    if (xx == 0)
        return {};
    const double slope = xy / xx;
    double residual = 0;
    for (std::size_t i = first; i < m_points.size(); ++i) {
        const double off = m_points[i].second - y - slope * (m_points[i].first - x);
        residual += off * off;
    }
    return {slope, std::sqrt(residual / (n - 2) / xx)};
}
