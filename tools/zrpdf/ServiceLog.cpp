// SPDX-License-Identifier: MIT
#include "tools/zrpdf/ServiceLog.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr qint64 mostKept = 1 << 20;

/// What is written for each task whatever becomes of it, and the connection's side of what is known already.
constexpr std::array<std::string_view, 6> routine{
    "Started Worker", "==> ", "<== ", "!!! XPC Error: ", "didFinishLoadForFrame ", "NSXPCConnection: "};

bool startsWith(const QByteArray &line, std::string_view start) {
    return line.startsWith(QByteArrayView(start));
}

/// The message for people in the line of a load that failed; nothing where it was no main frame's.
QByteArray loadFailure(const QByteArray &line) {
    const qsizetype frame = line.lastIndexOf(" <WebFrame: ");
    const qsizetype start = line.indexOf('"') + 1;
    const qsizetype end = line.lastIndexOf('"', frame);
    return line.mid(frame).startsWith(" <WebFrame: main") && start < end ? line.mid(start, end - start)
                                                                         : QByteArray();
}

void sort(const QByteArray &line, ServiceLog::Findings &findings) {
    const auto add = [](QList<QByteArray> &list, const QByteArray &text) {
        if (!text.isEmpty() && !list.contains(text))
            list.append(text);
    };
    if (std::any_of(routine.begin(), routine.end(),
                    [&](std::string_view start) { return startsWith(line, start); }))
        return;
    if (startsWith(line, "didFailProvisionalLoadWithError ") || startsWith(line, "didFailLoadWithError "))
        add(findings.reasons, loadFailure(line));
    else if (startsWith(line, "The browser runs without its sandbox"))
        add(findings.remarks, line);
    else
        add(findings.reasons, line);
}

} // namespace

ServiceLog::ServiceLog(bool shown) : m_standardError(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    if (shown)
        return;
    m_collected = ::memfd_create("log", MFD_CLOEXEC);
    const int target = m_collected >= 0 ? m_collected : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::fcntl(target, F_SETFL, O_APPEND);
    ::dup2(target, STDERR_FILENO);
}

ServiceLog::Findings ServiceLog::take() {
    Findings findings;
    if (m_collected < 0)
        return findings;
    QByteArray text;
    std::array<char, 4096> part{};
    for (ssize_t count = 0; (count = ::pread(m_collected, part.data(), part.size(), m_read)) > 0;) {
        text.append(part.data(), count);
        m_read += count;
    }
    // A line that is still being written waits for the next call.
    const qsizetype end = text.lastIndexOf('\n') + 1;
    m_read -= text.size() - end;
    if (m_read > mostKept && end == text.size() && ::ftruncate(m_collected, 0) == 0)
        m_read = 0;
    for (const QByteArray &line : text.left(end).split('\n'))
        sort(line.trimmed(), findings);
    return findings;
}
