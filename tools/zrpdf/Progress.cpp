// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Progress.h"

#include "platform/base/WriteAll.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr qsizetype widestBar = 30;

qsizetype columns(int terminal) {
    winsize size{};
    return ::ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// The text's first characters, one column each as far as that can be told without a table.
QByteArray firstColumns(const QByteArray &text, qsizetype count) {
    qsizetype at = 0;
    for (; at < text.size(); ++at)
        if ((static_cast<unsigned char>(text[at]) & 0xC0) != 0x80 && count-- <= 0)
            break;
    return text.left(at);
}

} // namespace

Progress::Progress(int terminal, qsizetype total, bool colours)
    : m_terminal(terminal), m_total(total), m_colours(colours) {
}

bool Progress::isPossible(int descriptor) {
    const char *const type = std::getenv("TERM");
    return ::isatty(descriptor) && !(type && std::strcmp(type, "dumb") == 0);
}

void Progress::draw(qsizetype done, qsizetype failed, const QByteArray &last) {
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_started)
            .count();
    QByteArray counts = QByteArray::number(done) + '/' + QByteArray::number(m_total);
    if (failed > 0)
        counts += ", " + QByteArray::number(failed) + " failed";
    counts += "  " + QByteArray::number(qlonglong(seconds)) + " s";

    const qsizetype width = columns(m_terminal) - 1;
    const qsizetype bar = std::clamp<qsizetype>(width - counts.size() - 4, 0, widestBar);
    const qsizetype filled = m_total > 0 ? bar * done / m_total : 0;
    QByteArray line = "\r\x1b[K";
    qsizetype used = counts.size();
    if (bar > 0) {
        line += '[' + QByteArray(m_colours ? "\x1b[32m" : "") + QByteArray(filled, '#') +
                QByteArray(m_colours ? "\x1b[0m" : "") + QByteArray(bar - filled, '.') + "] ";
        used += bar + 3;
    }
    line += m_colours && failed > 0 ? "\x1b[31m" + counts + "\x1b[0m" : counts;
    if (width - used > 12)
        line += "  " + firstColumns(last, width - used - 2);
    zr::writeAll(m_terminal, line);
    m_drawn = true;
}

void Progress::clear() {
    if (m_drawn)
        zr::writeAll(m_terminal, "\r\x1b[K");
    m_drawn = false;
}
