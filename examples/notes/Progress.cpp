// SPDX-License-Identifier: MIT
#include "examples/notes/Progress.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

Progress::Progress(int total) : m_total(std::max(total, 1)), m_isTerminal(::isatty(STDERR_FILENO)) {
}

Progress::~Progress() {
    if (m_isTerminal)
        std::fputs("\r\033[K", stderr);
}

void Progress::show(int done) {
    constexpr int width = 40;
    const int filled = int(qint64(width) * done / m_total);
    if (!m_isTerminal || filled == m_filled)
        return;
    m_filled = filled;
    std::fprintf(stderr, "\r\033[K[%s%s] %d/%d", std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(width - filled), '.').c_str(), done, m_total);
}
