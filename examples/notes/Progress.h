// SPDX-License-Identifier: MIT
#pragma once

/// A progress bar on standard error, if that is a terminal; nothing otherwise.
class Progress {
public:
    explicit Progress(int total);
    /// Takes the bar away.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void show(int done);

private:
    const int m_total;
    const bool m_isTerminal;
    int m_filled = -1;
};
