// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf/Input.h"
#include "tools/zrpdf/Options.h"
#include "tools/zrpdf/Progress.h"

#include <QByteArray>
#include <QSet>
#include <chrono>
#include <optional>

/// Everything that the program tells its user while it works.
class Reporter {
public:
    /// \param standardError  where lines go; -1 for nowhere
    /// \param total          how many inputs there are
    Reporter(const Options &options, int standardError, qsizetype total);

    /// One line on standard error, marked with the program's name.
    void line(const QByteArray &text);
    /// A line that is written once however often it comes. --quiet leaves it out, --verbose has it in the log.
    void remark(const QByteArray &text);

    void succeeded(const Input &input, const QByteArray &output, qint64 bytes, double seconds);
    void failed(const Input &input, const QByteArray &message, double seconds);
    /// Lets a running bar's clock go on.
    void tick();
    /// Takes the bar away and sums several inputs up on a terminal.
    void finish();

    /// Whether tick() changes anything.
    bool hasProgress() const { return m_progress.has_value(); }
    /// What failed on standard output, or nothing.
    const QByteArray &outputProblem() const { return m_outputProblem; }

private:
    void finished(const Input &input);
    void writeObject(const Input &input, const QByteArray &output, const QByteArray &error, qint64 bytes,
                     double seconds);

    const Options &m_options;
    int m_standardError;
    qsizetype m_total;
    qsizetype m_done = 0;
    qsizetype m_failed = 0;
    QByteArray m_last;
    QSet<QByteArray> m_remarks;
    QByteArray m_outputProblem;
    std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
    std::optional<Progress> m_progress;
};
