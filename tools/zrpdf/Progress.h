// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <chrono>

/// A bar of one line on a terminal: how much is done, what was done last, for how long.
class Progress {
public:
    /// \param terminal  the terminal's descriptor
    /// \param total     how many there are to do
    /// \param colours   whether the bar is coloured
    Progress(int terminal, qsizetype total, bool colours);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// Whether bars can be drawn there: a terminal that can go back to a line's start.
    static bool isPossible(int descriptor);

    void draw(qsizetype done, qsizetype failed, const QByteArray &last);
    /// Takes the bar away, so that a line can be written.
    void clear();

private:
    int m_terminal;
    qsizetype m_total;
    bool m_colours;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
};
